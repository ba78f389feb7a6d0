#!/usr/bin/env bash
# Checks that the programs of a build are hardened as cmake/hardening.cmake asks, as far as their
# files and the commands that made them show it; names what is missing.
#
#   scripts/check-hardening.sh BUILD_FOLDER [PACKED_PROGRAM...]
#
# Without debug information and symbols, as it is packed, a program still shows what it tells the
# system that loads it: those that are named are looked at for that.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"

(($# > 0)) || die "which build folder?"
readonly build_dir=$1
shift
[[ -f $build_dir/compile_commands.json ]] || die "$build_dir is no build folder"

failures=0
missing() {
  printf '%s: %s\n' "$1" "$2" >&2
  failures=$((failures + 1))
}

# require PROGRAM WHAT TEXT PATTERN: one line of the text must have the pattern.
require() { grep -qE -- "$4" <<<"$3" || missing "$1" "$2"; }

# check_commands: what leaves no trace in a program that never needs it.
check_commands() {
  local source_dir commands flag file
  source_dir=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$build_dir/CMakeCache.txt")
  commands=$(awk -v source="$source_dir" -v build="$(realpath "$build_dir")" -F '"' '
    $2 == "command" { command = $0 }
    $2 == "file" && $4 ~ /\.c(pp|xx)$/ {
      for (part in parts) {
        if (index($4, source parts[part]) == 1 || index($4, build parts[part]) == 1) {
          print $4 "\t" command
          break
        }
      }
    }
    BEGIN { parts[1] = "/src/"; parts[2] = "/apps/" }' "$build_dir/compile_commands.json")
  [[ -n $commands ]] || die "$build_dir/compile_commands.json has no command for src/ or apps/"
  for flag in -D_FORTIFY_SOURCE=2 -fstack-protector-strong; do
    while IFS=$'\t' read -r file _; do
      missing "$file" "compiled without $flag"
    done < <(grep -v -- " $flag " <<<"$commands")
  done
}

# The program's functions that others can call begin with the mark of a target of indirect calls.
# (The mark of the whole program needs a C library that has it, too.)
check_indirect_calls() {
  local program=$1 functions marked unmarked
  # Other letters than T are functions that the compiler may know all callers of.
  functions=$(nm --defined-only "$program" |
    sed -nE 's/^0*([0-9a-f]+) T (main|_ZNK?9fenwright.*)$/\1/p' | sort -u)
  marked=$(objdump -d --no-show-raw-insn "$program" |
    sed -nE 's/^ *([0-9a-f]+):\s+endbr64.*/\1/p' | sort -u)
  [[ -n $functions ]] || missing "$program" "no symbols: it cannot be checked any more"
  unmarked=$(comm -23 <(echo "$functions") <(echo "$marked") | wc -l)
  ((unmarked == 0)) || missing "$program" "control-flow protection (in $unmarked functions)"
}

check_elf() {
  local program=$1 head dynamic segments
  head=$(readelf -hW "$program")
  dynamic=$(readelf -dW "$program")
  segments=$(readelf -lW "$program")
  require "$program" "position-independent program" "$head" 'Type: *DYN'
  require "$program" "position-independent program" "$dynamic" 'FLAGS_1.*PIE'
  require "$program" "read-only relocations" "$segments" '^ *GNU_RELRO '
  require "$program" "binding at the start" "$dynamic" '\(FLAGS\).*BIND_NOW'
  require "$program" "stack without code" "$segments" '^ *GNU_STACK .* RW '
  require "$program" "stack protector" "$symbols" '__stack_chk_fail'
  if grep -q 'Machine: .*X86-64' <<<"$head"; then check_indirect_calls "$program"; fi
}

# check_pe_header PROGRAM: what Windows is told.
check_pe_header() {
  local program=$1 head
  head=$(x86_64-w64-mingw32-objdump -p "$program" | sed '/^PE File Base Relocations/,$d')
  require "$program" "addresses that change (dynamicbase)" "$head" '^\s+DYNAMIC_BASE$'
  require "$program" "addresses that change: relocations" "$head" \
    '^Entry 5 [0-9a-f]+ 0*[1-9a-f][0-9a-f]* Base Relocation'
  if grep -q 'relocations stripped' <<<"$head"; then
    missing "$program" "addresses that change: relocations are stripped"
  fi
  require "$program" "addresses of 64 bits (high-entropy-va)" "$head" '^\s+HIGH_ENTROPY_VA$'
  require "$program" "data without code (nxcompat)" "$head" '^\s+NX_COMPAT$'
  if grep -q '^FENWRIGHT_LINKER_HAS_GUARD_CF:INTERNAL=1$' "$build_dir/CMakeCache.txt"; then
    require "$program" "control-flow guard" "$head" '^\s+GUARD_CF$'
  fi
}

check_pe() {
  check_pe_header "$1"
  require "$1" "stack protector" "$symbols" '__stack_chk_fail'
}

check_commands
programs=0
fortified=0
for program in "$build_dir"/apps/*/fenwright{,-cli,-board}{,.exe}; do
  [[ -f $program ]] || continue
  programs=$((programs + 1))
  if [[ $program == *.exe ]]; then
    symbols=$(x86_64-w64-mingw32-nm "$program" 2>&1)
    check_pe "$program"
  else
    symbols=$(readelf -W --dyn-syms "$program")
    check_elf "$program"
  fi
  # A program has checked calls where the compiler cannot tell that they are safe.
  if grep -E '_chk(@|$)' <<<"$symbols" | grep -qv 'stack_chk'; then fortified=1; fi
done
expected=3
if compgen -G "$build_dir/apps/*/*.exe" >/dev/null; then expected=2; fi
((programs == expected)) || missing "$build_dir" "$programs programs instead of $expected"
((fortified)) || missing "$build_dir" "no program has a checked call (_FORTIFY_SOURCE)"
for program in "$@"; do
  programs=$((programs + 1))
  check_pe_header "$program"
done

if ((failures > 0)); then
  echo "hardening: $failures missing in $build_dir" >&2
  exit 1
fi
echo "hardening: $programs programs of $build_dir, nothing missing"
