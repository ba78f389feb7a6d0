#!/usr/bin/env bash
# Installs the Debian packages of one or more groups of scripts/packages.txt, only those missing.
#
#   scripts/install-packages.sh [build|run|test|mutation|package|package-test|windows|windows-test|examples]...    (default: build run test)
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"
package_list=$script_dir/packages.txt

# packages_of GROUP: the group's package names, one a line.
packages_of() {
  local group=$1 line in_group=0
  while read -r line; do
    line=${line%%#*}
    line=${line%"${line##*[![:space:]]}"}
    case "$line" in
      '') ;;
      "[$group]") in_group=1 ;;
      '['*) in_group=0 ;;
      *) if ((in_group)); then printf '%s\n' "$line"; fi ;;
    esac
  done <"$package_list"
}

is_installed() {
  [[ $(dpkg-query -W -f='${db:Status-Abbrev}' "$1" 2>/dev/null) == ii* ]]
}

groups=("$@")
if ((${#groups[@]} == 0)); then
  groups=(build run test)
fi

wanted=()
for group in "${groups[@]}"; do
  names=$(packages_of "$group")
  [[ -n $names ]] || die "no group \"$group\" in $package_list"
  mapfile -t -O "${#wanted[@]}" wanted <<<"$names"
done

command -v dpkg-query >/dev/null ||
  die "this is no Debian system; install what corresponds to: ${wanted[*]}"

missing=()
for name in "${wanted[@]}"; do
  if ! is_installed "$name" && [[ " ${missing[*]} " != *" $name "* ]]; then
    missing+=("$name")
  fi
done
if ((${#missing[@]} == 0)); then
  exit 0
fi

need_root "install: ${missing[*]}"

echo "Installing ${#missing[@]} Debian packages (${groups[*]}): ${missing[*]}"
apt_get update
apt_get install -y --no-install-recommends "${missing[@]}" >/dev/null
