# The one place that says which warnings the project builds with; every target links it.
add_library(fenwright_warnings INTERFACE)
if(MSVC)
  # Sources and texts are UTF-8; the C++ rules as the other compilers know them.
  target_compile_options(fenwright_warnings INTERFACE /W4 /utf-8 /permissive- /EHsc
                                                      /Zc:__cplusplus)
  target_compile_definitions(fenwright_warnings INTERFACE _CRT_SECURE_NO_WARNINGS)
  return()
endif()
target_compile_options(
  fenwright_warnings
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wconversion
            -Wsign-conversion
            -Wnon-virtual-dtor
            -Woverloaded-virtual
            -Wold-style-cast
            -Wcast-align
            -Wunused
            -Wnull-dereference
            -Wdouble-promotion
            -Wformat=2
            $<$<BOOL:${FENWRIGHT_WERROR}>:-Werror>
            # Designated initialisers leave out fields on purpose: they keep their defaults.
            -Wno-missing-field-initializers
            # GCC 12 reports both inside libstdc++'s own strings (for the latter see GCC's bug 105651).
            $<$<CXX_COMPILER_ID:GNU>:-Wno-null-dereference>
            $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
