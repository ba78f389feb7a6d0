#!/usr/bin/env bash
# Runs clang-tidy over the sources of src/ and apps/, in parallel.
#
#   scripts/tidy.sh [--all]
#
# A source whose content, headers, compile command and checks have not changed since it was last
# clean is not looked at again, unless --all is given. It needs the clang preset, which is built first.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"
cd "$repo_root"

readonly build_dir=$repo_root/build/clang
readonly cache_dir=$repo_root/build/tidy-cache

case "${1-}" in
  '') ;;
  --all) rm -rf "$cache_dir" ;;
  *) die "usage: tidy.sh [--all]" ;;
esac

use_ccache
build_preset clang src/all apps/all >/dev/null || die "the clang preset does not build"
mkdir -p "$cache_dir"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One line per object: its source, then every project or generated header it was built from.
ninja -C "$build_dir" -t deps | awk -v root="$repo_root/" '
  # ccache makes paths relative to the build folder.
  function absolute(path) {
    if (path ~ /^\//) return path
    return sub(/^\.\.\/\.\.\//, root, path) ? path : root "build/clang/" path
  }
  /^[^ ]/ { if (line != "") print line; line = ""; first = 1; next }
  NF {
    path = absolute($1)
    if (first) { line = path; first = 0 } else if (index(path, root) == 1) line = line " " path
  }
  END { if (line != "") print line }' |
  awk -v root="$repo_root/" 'index($1, root "src/") == 1 || index($1, root "apps/") == 1' |
  sort -u >"$work/sources"

# What a finding depends on beside the sources: the tool, the checks, how the source is compiled.
common_hash=$({ clang-tidy --version; cat .clang-tidy; } | sha256sum)
awk '/"command":/ { command = $0 } /"file":/ { print $2, command }' \
  "$build_dir/compile_commands.json" | sed "s|$repo_root/||g" >"$work/commands"

total=0
: >"$work/todo"
while read -r -a files; do
  total=$((total + 1))
  command=$(grep -F "\"${files[0]#"$repo_root/"}\"" "$work/commands") || command=
  key=$({ echo "$common_hash$command"; cat "${files[@]}"; } | sha256sum | cut -d' ' -f1)
  if [[ ! -e $cache_dir/$key ]]; then
    printf '%s %s\n' "${files[0]}" "$key" >>"$work/todo"
  fi
done <"$work/sources"
((total > 0)) || die "no source found in the clang build"

todo=$(wc -l <"$work/todo")
echo "clang-tidy: $todo of $total sources to look at"

check_one() {
  local source=$1 key=$2 output
  if output=$(clang-tidy -p "$build_dir" --quiet "$source" 2>/dev/null); then
    : >"$cache_dir/$key"
  else
    printf '%s\n' "${output:-clang-tidy failed on $source}"
    return 1
  fi
}
export -f check_one
export build_dir cache_dir

# shellcheck disable=SC2016  # the inner shell expands its own arguments
if ! xargs -r -P "$(nproc)" -n 2 bash -c 'check_one "$@"' tidy <"$work/todo"; then
  echo "clang-tidy: findings above" >&2
  exit 1
fi
echo "clang-tidy: clean"
