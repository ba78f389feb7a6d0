#!/usr/bin/env bash
# Tests the system: format, layers, one build and its tests.
#
#   scripts/test.sh [--full | --tidy]
#
#   --full     besides: the long tests (the real window on a display, killed programs, a shift at the
#              bench), the scripts themselves, what the programs are hardened with, the tests under
#              the address and undefined-behaviour sanitizers, the second compiler with clang-tidy,
#              and the fuzzers
#   --tidy     clang with clang-tidy alone
#
# A stage that fails does not stop the ones after it; the script ends with a summary and fails when
# any stage failed.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"
cd "$repo_root"

usage() {
  sed -n '4,10s/^# \{0,1\}//p' "$script_dir/test.sh"
}

extent=usual
for argument in "$@"; do
  case "$argument" in
    --full | --tidy) extent=${argument#--} ;;
    --help | -h)
      usage
      exit 0
      ;;
    *)
      usage >&2
      exit 2
      ;;
  esac
done

summary=()
failed=()

# stage NAME COMMAND...: runs it, tells how long it took, remembers how it ended.
stage() {
  local name=$1 start=$SECONDS result=passed
  shift
  say "$name"
  "$@" || result=FAILED
  summary+=("$(printf '%-9s %4d s  %s' "$result" $((SECONDS - start)) "$name")")
  if [[ $result == FAILED ]]; then failed+=("$name"); fi
}

check_format() {
  local files
  mapfile -d '' files < <(find src apps tools tests bench fuzz \( -name '*.cpp' -o -name '*.h' \) -print0)
  ((${#files[@]} > 0)) || return 1
  # In parts, so that both cores work.
  printf '%s\0' "${files[@]}" |
    xargs -0 -P "$(nproc)" -n 25 clang-format --dry-run -Werror || return 1
  echo "clang-format: ${#files[@]} files"
}

check_scripts() {
  shellcheck -x scripts/*.sh scripts/pre-commit examples/*.sh tests/*/*.sh .ci/run && echo "shellcheck: clean"
}

# jobs_of COUNT: so many tests for each core, for those that wait for a line most of the time; there are
# not many more than the ceiling.
jobs_of() {
  local jobs=$(($1 * $(nproc)))
  echo "$((jobs < 48 ? jobs : 48))"
}

# run_tests PRESET [CTEST OPTION...]: builds the preset, or the caller's "targets" of it, and runs its
# tests; ctest's closing lines are kept for the summary.
run_tests() {
  local preset=$1 log status=0
  shift
  build_preset "$preset" ${targets[@]+"${targets[@]}"} || return 1
  log=build/$preset/last-ctest.log
  ctest --preset "$preset" --no-tests=error "$@" 2>&1 | tee "$log" || status=1
  closing_lines+="[$preset]"$'\n'$(sed -n '/tests passed,.*tests failed/,$p' "$log")$'\n'
  # Those that passed at a second try among them.
  closing_lines+=$(grep -E 'Test +#.*\*\*\*(Failed|Timeout|Exception)' "$log" |
    sed 's/^ */did not pass at once: /' || true)$'\n'
  return "$status"
}

run_sanitized_tests() {
  # Leaks count too; a finding ends the test with a stack.
  export ASAN_OPTIONS=${ASAN_OPTIONS-detect_leaks=1:strict_string_checks=1}
  export UBSAN_OPTIONS=${UBSAN_OPTIONS-print_stacktrace=1}
  local targets=(src/all tests/{board,core,fuse,image,job,link,ops,platform,ui,update}/all)
  local status=0
  run_tests asan -j "$(jobs_of 3)" --label-exclude '^system$' --exclude-regex pictures || status=1
  # Of the programs as a whole, the command line and the board that it talks to.
  targets=(cli_test workbench_test)
  run_tests asan -j "$(jobs_of 6)" "${second_try[@]}" --tests-regex '^(cli|workbench)_test_' ||
    status=1
  return "$status"
}

# Builds every source with clang, the second compiler, and clang-tidy beside it; goes on after a
# finding.
run_clang_tidy() {
  configure_preset tidy || return 1
  cmake --build --preset tidy --target {src,apps,tools}/all programming_bench fenwright-icons -- -k 0
}

# Whole programs wait for a real clock, and a display's window manager now and then keeps the keyboard
# from a window: on a machine that is shared, a test of them that fails is tried a second time. The
# summary names it all the same.
second_try=(--repeat until-pass:2)

targets=()  # what a stage builds of its preset; none: all of it
closing_lines=''
start=$SECONDS

groups=(build test)
if [[ $extent == full ]]; then
  groups+=(package)
  # No check is left out for want of its program.
  export FENWRIGHT_EVERY_TOOL=1
fi
stage "packages" "$script_dir/install-packages.sh" "${groups[@]}"
use_ccache
if [[ $extent != tidy ]]; then
  stage "format" check_format
  stage "layers" "$script_dir/check-layers.sh"
  stage "tests (dev)" run_tests dev -j "$(jobs_of 8)" --label-exclude '^(system|long)$'
  stage "system tests (dev)" run_tests dev -j "$(jobs_of 12)" "${second_try[@]}" \
    --label-regex '^system$' --label-exclude '^long$'
fi
if [[ $extent == full ]]; then
  stage "long tests (dev)" run_tests dev -j "$(jobs_of 2)" "${second_try[@]}" \
    --label-regex '^long$'
  stage "hardening" "$script_dir/check-hardening.sh" build/dev
  stage "scripts" check_scripts
  stage "tests (asan)" run_sanitized_tests
fi
if [[ $extent != usual ]]; then
  stage "clang, clang-tidy" run_clang_tidy
fi
if [[ $extent == full ]]; then
  stage "fuzzers" "$script_dir/fuzz.sh"
fi

say "Summary ($((SECONDS - start)) s)"
printf '%s\n' "$closing_lines" "${summary[@]}"
echo
if ((${#failed[@]} > 0)); then
  printf 'scripts/test.sh: FAILED:'
  printf ' [%s]' "${failed[@]}"
  echo
  exit 1
fi
echo "scripts/test.sh: everything passed"
