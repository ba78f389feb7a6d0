# fenwright_add_library(NAME folder-relative sources... LINK targets...)
#
# One static library per folder of src/. The LINK list is the layer rule: a folder may use just
# what it names here. src/ is the include root, so includes read "folder/file.h".
function(fenwright_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(
    ${name}
    PUBLIC ${ARG_LINK}
    PRIVATE fenwright_warnings)
endfunction()

# fenwright_add_test(NAME sources... LINK targets... [TIMEOUT seconds])
#
# A GoogleTest program, run as one CTest test per GoogleTest case's suite program; every test has a
# time-out and a settings folder of its own, so that a run never touches the user's settings.
function(fenwright_add_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LINK;ENVIRONMENT" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src
                                             ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${ARG_LINK} fenwright_warnings GTest::gtest GTest::gmock
                                        GTest::gtest_main)
  add_test(NAME ${name} COMMAND ${name})
  set(home ${CMAKE_CURRENT_BINARY_DIR}/${name}_home)
  set_tests_properties(
    ${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT}
                       ENVIRONMENT
                       "HOME=${home};XDG_CONFIG_HOME=${home}/config;XDG_DATA_HOME=${home}/data;${ARG_ENVIRONMENT}")
endfunction()
