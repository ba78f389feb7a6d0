#!/usr/bin/env bash
# Cross-builds the Windows programs and packs them: static fenwright.exe and fenwright-cli.exe, a
# portable archive and an installer, all in build/windows/dist.
#
#   scripts/build-windows.sh
#
# The first run also builds Qt for Windows, which takes long; scripts/build-windows-qt.sh keeps it
# for the next ones. FENWRIGHT_QT_DIR=FOLDER takes the Qt that is in that folder instead.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"
cd "$repo_root"

readonly build_dir=$repo_root/build/windows
readonly dist_dir=$build_dir/dist
readonly manual=readme_tarnwick6.pdf

"$script_dir/install-packages.sh" build windows

say "Qt for Windows"
if [[ -z ${FENWRIGHT_QT_DIR-} ]]; then
  FENWRIGHT_QT_DIR=$("$script_dir/build-windows-qt.sh" | tail -n 1)
fi
FENWRIGHT_QT_DIR=$(realpath -e -- "$FENWRIGHT_QT_DIR")
export FENWRIGHT_QT_DIR
echo "$FENWRIGHT_QT_DIR"

say "Building the windows preset in build/windows"
use_ccache
# What CMake has found in the folder of another Qt it would go on using.
configured_qt=$(sed -n 's/^FENWRIGHT_QT_DIR:[^=]*=//p' "$build_dir/CMakeCache.txt" 2>/dev/null || true)
if [[ -n $configured_qt && $configured_qt != "$FENWRIGHT_QT_DIR" ]]; then
  configure_preset windows --fresh
fi
build_preset windows
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:[^=]*=//p' "$build_dir/CMakeCache.txt")
[[ -n $version ]] || die "the build does not tell the version"

# The manual is made here, by the build for this system.
if [[ -f tools/manual/CMakeLists.txt ]]; then
  say "Making the manual"
  build_preset dev manual guide
fi

# windows_text FILE: the text as every editor of Windows reads it. Older ones take a text without the
# mark at the beginning for one in the system's code page.
windows_text() {
  printf '\xEF\xBB\xBF'
  sed 's/\r*$/\r/' "$1"
}

# removal_of FOLDER: the installer's commands that remove what is in FOLDER from $INSTDIR, and
# nothing else.
# shellcheck disable=SC2016  # $INSTDIR is the installer's
removal_of() {
  find "$1" -mindepth 1 -type f -printf '%P\n' | LC_ALL=C sort |
    sed 's|/|\\|g; s|.*|Delete "$INSTDIR\\&"|'
  find "$1" -mindepth 1 -depth -type d -printf '%P\n' |
    sed 's|/|\\|g; s|.*|RMDir "$INSTDIR\\&"|'
}

say "Packing version $version"
readonly name=fenwright-$version-windows
readonly folder=$dist_dir/$name
rm -rf "$dist_dir"
mkdir -p "$folder"
# For scripts/package.sh, which takes no files of another commit.
tree_commit >"$build_dir/commit"
for program in fenwright fenwright-cli; do
  x86_64-w64-mingw32-strip -o "$folder/$program.exe" "$build_dir/apps/$program/$program.exe"
done
for document in "$manual" guide_english.pdf; do
  if [[ -f build/dev/apps/fenwright/$document ]]; then
    cp "build/dev/apps/fenwright/$document" "$folder/"
  fi
done
"$script_dir/check-hardening.sh" "$build_dir" "$folder"/*.exe
windows_text packaging/windows/readme_fenwright.txt >"$folder/readme_fenwright.txt"
while IFS= read -r file; do
  mkdir -p "$folder/$(dirname "$file")"
  cp "$file" "$folder/$file"
done < <(find examples -mindepth 1 -type f ! -name '*.sh' | LC_ALL=C sort)

# The licences: our own, and the notices of what is linked into the programs, as Debian has them.
windows_text LICENSE >"$folder/LICENSE.txt"
windows_text THIRD-PARTY.md | sed 's/(LICENSE)/(LICENSE.txt)/' >"$folder/THIRD-PARTY.md"
mkdir "$folder/licenses"
for file in licenses/*.txt; do
  windows_text "$file" >"$folder/$file"
done
# notices_of PACKAGE FILE: those of a package whose code is in the programs or the installer.
notices_of() { windows_text "/usr/share/doc/$1/copyright" >"$folder/licenses/$2"; }
notices_of qt6-base-dev qt6-base.txt
notices_of qt6-translations-l10n qt6-translations.txt
notices_of mingw-w64-x86-64-dev mingw-w64.txt
notices_of nsis nsis.txt
# shellcheck disable=SC2016  # dpkg-query fills in the names
dpkg-query -W -f='${source:Package} ${source:Version}\n' qt6-base-dev qt6-translations-l10n \
  g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev libcli11-dev libfmt-dev nlohmann-json3-dev nsis \
  fonts-noto-cjk |
  LC_ALL=C sort -u >"$build_dir/versions.txt"
windows_text "$build_dir/versions.txt" >"$folder/licenses/versions.txt"

(cd "$dist_dir" && cmake -E tar cf "$name.zip" --format=zip "$name")
removal_of "$folder" >"$build_dir/removal.nsh"
makensis -V2 -INPUTCHARSET UTF8 "-DVERSION=$version" "-DSOURCE=$folder" \
  "-DREMOVAL=$build_dir/removal.nsh" "-DOUTPUT=$dist_dir/fenwright-$version-setup.exe" \
  "$repo_root/packaging/windows/installer.nsi"

(cd "$dist_dir" && du -h --apparent-size "$name"/*.exe ./*.zip ./*-setup.exe)
