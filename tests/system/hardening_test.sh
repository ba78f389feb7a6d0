#!/usr/bin/env bash
# Tests scripts/check-hardening.sh on small programs in a made-up build folder: it accepts hardened
# ones, and names what is missing when one thing at a time is left out.
#
#   hardening_test.sh CHECK_SCRIPT COMPILER
set -euo pipefail

readonly check=$1 compiler=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

mkdir "$scratch/src"
readonly source=$scratch/src/program.cpp
cat >"$source" <<'END'
#include <cstdlib>
#include <cstring>
namespace fenwright {
int Length(const char* text) {
  char copy[16];
  std::strcpy(copy, text);
  return static_cast<int>(std::strlen(copy));
}
}
int main(int count, char** texts) { return fenwright::Length(texts[count - 1]); }
END

readonly compiling=(-O2 -fPIE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong)
readonly linking=(-pie '-Wl,-z,relro' '-Wl,-z,now')
protection=()
if [[ $(uname -m) == x86_64 ]]; then protection=(-fcf-protection=full); fi

# make_build NAME OPTION...: a build folder, with the options behind the usual ones.
make_build() {
  local folder=$scratch/$1 program
  shift
  local command=("$compiler" "${compiling[@]}" "${protection[@]}" "${linking[@]}" "$@")
  for program in fenwright fenwright-cli fenwright-board; do
    mkdir -p "$folder/apps/$program"
  done
  "${command[@]}" -o "$folder/apps/fenwright/fenwright" "$source"
  for program in fenwright-cli fenwright-board; do
    cp "$folder/apps/fenwright/fenwright" "$folder/apps/$program/$program"
  done
  echo "CMAKE_HOME_DIRECTORY:INTERNAL=$scratch" >"$folder/CMakeCache.txt"
  printf '[\n{\n  "command": "%s -c %s",\n  "file": "%s"\n}\n]\n' "${command[*]}" "$source" \
    "$source" >"$folder/compile_commands.json"
}

failures=0
# expect NAME TEXT: the check of that folder fails and says so.
expect() {
  local output
  if output=$("$check" "$scratch/$1" 2>&1); then
    echo "$1: accepted"
  elif ! grep -qF -- "$2" <<<"$output"; then
    printf '%s: "%s" is not in:\n%s\n' "$1" "$2" "$output"
  else
    return 0
  fi
  failures=$((failures + 1))
}

make_build whole
"$check" "$scratch/whole" || failures=$((failures + 1))

make_build no-pie -no-pie -fno-pie
expect no-pie "position-independent program"
make_build no-relro -Wl,-z,norelro
expect no-relro "read-only relocations"
make_build lazy -Wl,-z,lazy
expect lazy "binding at the start"
make_build stack-code -Wl,-z,execstack
expect stack-code "stack without code"
make_build no-guard -fno-stack-protector
expect no-guard "stack protector"
make_build plain-calls -U_FORTIFY_SOURCE
expect plain-calls "no program has a checked call"
if ((${#protection[@]} > 0)); then
  make_build no-marks -fcf-protection=none
  expect no-marks "control-flow protection"
fi

make_build unprotected
sed -i 's/ -D_FORTIFY_SOURCE=2//; s/ -fstack-protector-strong//' "$scratch/unprotected/compile_commands.json"
expect unprotected "compiled without -D_FORTIFY_SOURCE=2"
expect unprotected "compiled without -fstack-protector-strong"

make_build stripped
strip "$scratch/stripped/apps/fenwright/fenwright"
if ((${#protection[@]} > 0)); then expect stripped "no symbols"; fi

make_build incomplete
rm "$scratch/incomplete/apps/fenwright/fenwright"
expect incomplete "2 programs instead of 3"

((failures == 0))
