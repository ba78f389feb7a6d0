#!/usr/bin/env bash
# Installs the build into a folder and looks at it as a desktop and a user do.
#
#   install_test.sh CMAKE BUILD VERSION
#
# installed.txt lists what has to be there, and all of it but man pages and completion. What validates
# desktop entries and the like is asked where it is installed (scripts/install-packages.sh package).
set -euo pipefail
# What may be read by all is a matter of the install, not of the one who runs this.
umask 022

readonly cmake=$1 build=$2 version=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
readonly prefix=$scratch/usr
export HOME=$scratch/home XDG_DATA_HOME=$scratch/home/share
mkdir -p "$HOME"

failures=0
# check WHAT COMMAND...
check() {
  local what=$1
  shift
  if ! "$@" >"$scratch/log" 2>&1; then
    failures=$((failures + 1))
    echo "FAILED: $what"
    cat "$scratch/log"
  fi
}
# check_with PROGRAM WHAT COMMAND...: where the program is installed, or FENWRIGHT_EVERY_TOOL is set.
check_with() {
  if [[ -n ${FENWRIGHT_EVERY_TOOL-} ]] || command -v "$1" >/dev/null; then
    shift
    check "$@"
  else
    echo "not asked: $1 is not installed"
  fi
}

"$cmake" --install "$build" --prefix "$prefix" >"$scratch/log" 2>&1 || { cat "$scratch/log" && exit 1; }

lists_what_is_installed() {
  local shell_files=$build/shell
  {
    cat "$here/installed.txt"
    if [[ -d $shell_files ]]; then find "$shell_files" -type f -printf '%P\n'; fi
  } | LC_ALL=C sort >"$scratch/expected"
  (cd "$prefix" && find . -type f -printf '%P\n' | LC_ALL=C sort) | diff "$scratch/expected" -
}
check "what is installed is what installed.txt lists" lists_what_is_installed

can_be_read_by_all() { [[ -z $(find "$prefix" ! -perm -o+r -o -type d ! -perm -o+x) ]]; }
check "everybody can read it" can_be_read_by_all

readonly desktop=$prefix/share/applications/fenwright.desktop
readonly metainfo=$prefix/share/metainfo/fenwright.metainfo.xml
readonly mime=$prefix/share/mime/packages/fenwright.xml
check_with desktop-file-validate "the desktop entry is valid" desktop-file-validate "$desktop"
check_with appstreamcli "the software centre's record is valid" \
  appstreamcli validate --no-net "$metainfo"

# value KEY: of the desktop entry.
value() { sed -n "s/^$1=//p" "$desktop"; }
starts_what_is_installed() {
  local command icon
  command=$(value Exec)
  icon=$(value Icon)
  [[ $command == *' %f' && -x $prefix/bin/${command%% *} ]] &&
    [[ -f $prefix/share/icons/hicolor/48x48/apps/$icon.png ]]
}
check "the desktop entry names a program and an icon that are installed" starts_what_is_installed

opens_hex_files() {
  local type
  type=$(value MimeType)
  type=${type%;}
  grep -qF "<mime-type type=\"$type\">" "$mime" && grep -qF '<glob pattern="*.hex"/>' "$mime" &&
    grep -qF "<mediatype>$type</mediatype>" "$metainfo"
}
check "the entry opens the type that .hex files get" opens_hex_files
gives_hex_files_their_type() {
  update-mime-database "$prefix/share/mime" && grep -qF "$(value MimeType | tr -d ';'):*.hex" \
    "$prefix/share/mime/globs2"
}
check_with update-mime-database "the desktop knows .hex files" gives_hex_files_their_type

# Some put their name before it.
tells_version() { [[ $("$prefix/bin/$1" --version) =~ (^|\ )"$version"$ ]]; }
check "fenwright tells the version" tells_version fenwright
check "fenwright-cli tells the version" tells_version fenwright-cli
check "the software centre's record tells the version" grep -qF "<release version=\"$version\"" \
  "$metainfo"
check "the changelog tells the version" grep -qF "## [$version]" \
  "$prefix/share/doc/fenwright/CHANGELOG.md"

readonly examples=$prefix/share/doc/fenwright/examples
check "an installed example can be programmed" "$prefix/bin/fenwright-cli" --simulate \
  --device AT90S8515 program "$examples/counter-eeprom/counter-eeprom.hex"

# Links out of the installed documents, one a line.
follows_links() {
  local document target status=0
  while IFS= read -r document; do
    while IFS= read -r target; do
      [[ $target =~ ^[a-z]+: || -e $(dirname "$document")/${target%%#*} ]] || {
        echo "$document: $target"
        status=1
      }
    done < <(grep -oE '\]\([^) ]+\)' "$document" | sed 's/^](//; s/)$//')
  done < <(find "$prefix" -name '*.md')
  return "$status"
}
check "links of the installed documents lead to installed ones" follows_links

has_a_whole_manual() { [[ $(head -c 5 "$prefix/share/fenwright/readme_tarnwick6.pdf") == %PDF- ]]; }
check "the manual is where the program looks for it" has_a_whole_manual

((failures == 0)) || exit 1
echo "the installed tree: everything passed"
