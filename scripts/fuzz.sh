#!/usr/bin/env bash
# Builds the fuzzers and runs them, two at a time.
#
#   scripts/fuzz.sh [SECONDS] [NAME...]    10 seconds each, all of fuzz/, unless told otherwise
#
# Without SECONDS each begins with the same seed and the repository's inputs alone: the same sources
# take about the same way. With SECONDS it goes on from what earlier runs have kept, in another way
# each time. For a night: scripts/fuzz.sh 3600. Each starts with the inputs in fuzz/corpus/NAME; those
# that it finds worth keeping go to build/fuzz/corpus/NAME (build/fuzz/check/NAME without SECONDS). An
# input that breaks a rule is kept in build/fuzz/findings, and the script fails.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"
cd "$repo_root"

readonly build_dir=build/fuzz

seconds=10
seed=1
corpus=$build_dir/check
if [[ ${1-} =~ ^[0-9]+$ ]]; then
  seconds=$1
  seed=0  # the fuzzer's word for one of its own
  corpus=$build_dir/corpus
  shift
fi

mapfile -t all < <(cd fuzz && printf '%s\n' *_fuzz.cpp | sed 's/_fuzz\.cpp$//')
names=("$@")
if ((${#names[@]} == 0)); then names=("${all[@]}"); fi
for name in "${names[@]}"; do
  [[ -f fuzz/${name}_fuzz.cpp ]] || die "no fuzzer \"$name\"; there are: ${all[*]}"
done

# run_fuzzer NAME: what it says goes to a log.
run_fuzzer() {
  local name=$1 words=$1 seeds=("fuzz/corpus/$1") options=()
  case "$name" in
    hex_reader | update_words)
      words=hex
      seeds+=(tests/image/tool_chains examples/blink)
      ;;
  esac
  if [[ -f fuzz/$words.dict ]]; then options=(-dict="fuzz/$words.dict"); fi
  mkdir -p "$corpus/$name"
  "$build_dir/fuzz/${name}_fuzz" -max_total_time="$seconds" -seed="$seed" -timeout=20 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix="$build_dir/findings/$name-" "${options[@]}" \
    "$corpus/$name" "${seeds[@]}" >"$build_dir/logs/$name" 2>&1
}

# tell NAME STATUS
tell() {
  local name=$1 status=$2 log=$build_dir/logs/$1 finding
  if ((status == 0)); then
    printf '%-16s %9d inputs tried, %d kept\n' "$name" \
      "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")" \
      "$(find "$corpus/$name" -type f | wc -l)"
    return
  fi
  printf '%-16s FAILED\n' "$name"
  grep -E '^broken: |ERROR|runtime error|SUMMARY|^ +#[0-9]+ .*fenwright' "$log" | head -n 20 ||
    tail -n 20 "$log"
  finding=$(sed -n 's/.*Test unit written to //p' "$log" | tail -n 1)
  if [[ -n $finding ]]; then
    echo "to see it again: $build_dir/fuzz/${name}_fuzz $finding"
  fi
}

if ((seed != 0)); then rm -rf "$corpus"; fi
use_ccache
build_preset fuzz "${names[@]/%/_fuzz}"
mkdir -p "$build_dir/logs" "$build_dir/findings"
export UBSAN_OPTIONS=${UBSAN_OPTIONS-print_stacktrace=1}

declare -A running=()
failed=0
# wait_for_one: takes the end of any of those that run.
wait_for_one() {
  local pid status=0
  wait -n -p pid "${!running[@]}" || status=$?
  if ((status != 0)); then failed=1; fi
  tell "${running[$pid]}" "$status"
  unset "running[$pid]"
}
for name in "${names[@]}"; do
  if ((${#running[@]} == 2)); then wait_for_one; fi
  run_fuzzer "$name" &
  running[$!]=$name
done
while ((${#running[@]} > 0)); do wait_for_one; done

if ((failed)); then
  echo "scripts/fuzz.sh: FAILED" >&2
  exit 1
fi
