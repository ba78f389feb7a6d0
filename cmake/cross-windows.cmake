# The libraries of the cross build for Windows.
#
# The host's include folder as a whole would put its C library before the one for Windows, so what
# is headers alone is copied into a folder of its own.
set(host_headers ${CMAKE_BINARY_DIR}/host-headers)
foreach(folder CLI fmt nlohmann)
  if(NOT EXISTS /usr/include/${folder})
    message(FATAL_ERROR "/usr/include/${folder} is missing: scripts/install-packages.sh build")
  endif()
  file(COPY /usr/include/${folder} DESTINATION ${host_headers})
endforeach()

function(fenwright_add_headers name)
  string(REPLACE "::" "_" plain_name ${name})
  add_library(${plain_name} INTERFACE)
  target_include_directories(${plain_name} SYSTEM INTERFACE ${host_headers})
  add_library(${name} ALIAS ${plain_name})
endfunction()

fenwright_add_headers(CLI11::CLI11)
fenwright_add_headers(nlohmann_json::nlohmann_json)
fenwright_add_headers(fmt::fmt)
target_compile_definitions(fmt_fmt INTERFACE FMT_HEADER_ONLY)

set(gtest_force_shared_crt ON)
set(INSTALL_GTEST OFF)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
foreach(name gtest gtest_main gmock)
  if(NOT TARGET GTest::${name})
    add_library(GTest::${name} ALIAS ${name})
  endif()
endforeach()

# Qt is where scripts/build-windows-qt.sh put it; its tools are the host's.
set(FENWRIGHT_QT_DIR "" CACHE PATH "Folder of the static Qt for Windows")
list(APPEND CMAKE_FIND_ROOT_PATH ${FENWRIGHT_QT_DIR})
list(APPEND CMAKE_PREFIX_PATH ${FENWRIGHT_QT_DIR})

# The static Qt has no folder of translations; the programs bring its Japanese texts themselves.
set(FENWRIGHT_QT_TRANSLATION /usr/share/qt6/translations/qtbase_ja.qm)
if(NOT EXISTS ${FENWRIGHT_QT_TRANSLATION})
  message(FATAL_ERROR "${FENWRIGHT_QT_TRANSLATION} is missing: scripts/install-packages.sh windows")
endif()
