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
    PRIVATE fenwright_warnings ${FENWRIGHT_HARDENING})
endfunction()

# fenwright_add_test(NAME sources... LINK targets... [SHARDS n] [EXCEPT filter]
#                    [LABELS labels...] [ENVIRONMENT variables...])
#
# A GoogleTest program, run as one CTest test; with SHARDS as NAME_1 to NAME_n, which share its
# tests out among them and can run at the same time. EXCEPT leaves out the tests of that filter:
# fenwright_add_serial_test() runs them. Every test has a settings folder of its own, so that a run
# never touches the user's settings.
function(fenwright_add_test name)
  cmake_parse_arguments(ARG "" "SHARDS;EXCEPT" "SOURCES;LINK;LABELS;ENVIRONMENT"
                        ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src
                                             ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${ARG_LINK} fenwright_warnings GTest::gtest GTest::gmock
                                        GTest::gtest_main)
  if(TARGET fenwright_test_prelude)
    target_precompile_headers(${name} REUSE_FROM fenwright_test_prelude)
  endif()
  set(command ${name})
  if(ARG_EXCEPT)
    list(APPEND command --gtest_filter=-${ARG_EXCEPT})
  endif()
  if(NOT ARG_SHARDS)
    add_test(NAME ${name} COMMAND ${command})
    fenwright_set_up_test(${name} "${ARG_LABELS}" "${ARG_ENVIRONMENT}")
    return()
  endif()
  foreach(shard RANGE 1 ${ARG_SHARDS})
    math(EXPR index "${shard} - 1")
    add_test(NAME ${name}_${shard} COMMAND ${command})
    fenwright_set_up_test(
      ${name}_${shard} "${ARG_LABELS}"
      "GTEST_TOTAL_SHARDS=${ARG_SHARDS};GTEST_SHARD_INDEX=${index};${ARG_ENVIRONMENT}")
  endforeach()
endfunction()

# fenwright_add_serial_test(NAME PROGRAM FILTER [ENVIRONMENT variables...])
#
# Some tests of a GoogleTest program, with nothing else running beside them.
function(fenwright_add_serial_test name program filter)
  cmake_parse_arguments(ARG "" "" "ENVIRONMENT" ${ARGN})
  add_test(NAME ${name} COMMAND ${program} --gtest_filter=${filter})
  fenwright_set_up_test(${name} "" "${ARG_ENVIRONMENT}")
  set_tests_properties(${name} PROPERTIES RUN_SERIAL TRUE)
endfunction()

function(fenwright_set_up_test name labels environment)
  set(home ${CMAKE_CURRENT_BINARY_DIR}/${name}_home)
  set_tests_properties(
    ${name} PROPERTIES LABELS "${labels}"
                       ENVIRONMENT
                       "HOME=${home};XDG_CONFIG_HOME=${home}/config;XDG_DATA_HOME=${home}/data;${environment}")
endfunction()
