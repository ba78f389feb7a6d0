# The one place that says how the programs are hardened against what a mistake in them, or in a
# library, could be used for; every target of the system links it. scripts/check-hardening.sh reads
# from a built program what has become of it.
#
# What is built to find mistakes goes without: the sanitizers look for the same ones and more, and
# the checked calls would hide some from them.
add_library(fenwright_hardening INTERFACE)
# What the libraries of a folder link for it; tests/ empties it.
set(FENWRIGHT_HARDENING fenwright_hardening)
if(FENWRIGHT_SANITIZE OR FENWRIGHT_FUZZ)
  return()
endif()
if(MSVC)
  # The stack's guard, and addresses that change from run to run, are its default.
  target_compile_options(fenwright_hardening INTERFACE /guard:cf)
  target_link_options(fenwright_hardening INTERFACE /GUARD:CF)
  return()
endif()

include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
include(CheckPIESupported)

# fenwright_harden_compiler(FLAG CACHE-NAME), fenwright_harden_linker(FLAG CACHE-NAME): a flag that
# not every compiler, linker or processor has.
function(fenwright_harden_compiler flag name)
  check_cxx_compiler_flag(${flag} ${name})
  if(${name})
    target_compile_options(fenwright_hardening INTERFACE ${flag})
  endif()
endfunction()

function(fenwright_harden_linker flag name)
  check_linker_flag(CXX ${flag} ${name})
  if(${name})
    target_link_options(fenwright_hardening INTERFACE ${flag})
  endif()
endfunction()

target_compile_options(fenwright_hardening INTERFACE -fstack-protector-strong)
# It needs optimisation. Some distributions set it themselves, to this or another value.
target_compile_options(
  fenwright_hardening
  INTERFACE
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>")

if(WIN32)
  # The guard and the checked calls are in a library, which this adds.
  target_link_options(fenwright_hardening INTERFACE -fstack-protector-strong)
  target_link_options(fenwright_hardening INTERFACE -Wl,--dynamicbase -Wl,--nxcompat
                      -Wl,--high-entropy-va)
  # Checked indirect calls take a compiler and a linker that know them; GCC 12 does not.
  fenwright_harden_compiler(-mguard=cf FENWRIGHT_COMPILER_HAS_GUARD_CF)
  if(FENWRIGHT_COMPILER_HAS_GUARD_CF)
    fenwright_harden_linker(-Wl,--guard-cf FENWRIGHT_LINKER_HAS_GUARD_CF)
  endif()
else()
  check_pie_supported(LANGUAGES CXX)
  target_link_options(fenwright_hardening INTERFACE -Wl,-z,relro -Wl,-z,now)
  # x86 alone has it.
  fenwright_harden_compiler(-fcf-protection=full FENWRIGHT_COMPILER_HAS_CF_PROTECTION)
endif()
