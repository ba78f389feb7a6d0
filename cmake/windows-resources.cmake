# fenwright_add_resources(PROGRAM)
#
# On Windows the program gets its icon, its version record and its manifest: UTF-8 as the code page,
# long paths, sharp at every scale of the screen.
function(fenwright_add_resources program)
  if(NOT WIN32)
    return()
  endif()
  set(source ${CMAKE_CURRENT_BINARY_DIR}/${program}.rc)
  configure_file(${PROJECT_SOURCE_DIR}/packaging/windows/program.rc.in ${source} @ONLY)
  set_property(
    SOURCE ${source} APPEND
    PROPERTY OBJECT_DEPENDS ${PROJECT_SOURCE_DIR}/packaging/windows/fenwright.ico
             ${PROJECT_SOURCE_DIR}/packaging/windows/fenwright.manifest)
  target_sources(${program} PRIVATE ${source})
  if(MSVC)
    # Its linker would add a manifest of its own.
    target_link_options(${program} PRIVATE /MANIFEST:NO)
  endif()
endfunction()
