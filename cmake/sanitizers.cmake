# A read or write through a null pointer ends the program under the address sanitizer as well, and these
# processors read and write at any address: the checks for both would be a fifth of the compilation.
set(sanitizers -fsanitize=address,undefined -fno-sanitize=null,alignment -fno-sanitize-recover=all
               -fno-omit-frame-pointer)
if(FENWRIGHT_SANITIZE)
  add_compile_options(${sanitizers})
  add_link_options(-fsanitize=address,undefined)
endif()
if(FENWRIGHT_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
    message(FATAL_ERROR "The fuzzers need libFuzzer, which comes with clang.")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link ${sanitizers})
  add_link_options(-fsanitize=address,undefined)
endif()
