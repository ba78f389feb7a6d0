#!/usr/bin/env bash
# Makes what is published, in build/packages: the Debian package, the source archive, the Windows
# archive and installer when scripts/build-windows.sh has made them, and SHA256SUMS.
#
#   scripts/package.sh
#
# All of it is made from the last commit's time on, so that the same commit gives the same files;
# scripts/test-package.sh tries the Debian package in a bare system.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"
cd "$repo_root"

readonly build_dir=$repo_root/build/release
readonly package_dir=$repo_root/build/packages

"$script_dir/install-packages.sh" build package

in_repository=0
if [[ $(git rev-parse --show-toplevel 2>/dev/null || true) == "$repo_root" ]]; then
  in_repository=1
  SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
  export SOURCE_DATE_EPOCH
fi

say "Building the release preset in build/release"
use_ccache
build_preset release package-files
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:[^=]*=//p' "$build_dir/CMakeCache.txt")
[[ -n $version ]] || die "the build does not tell the version"

rm -rf "$package_dir" "$build_dir/packages"
mkdir -p "$package_dir"

say "Packing version $version for Debian"
cpack_log=$(mktemp)
(cd "$build_dir" && umask 022 && cpack -G DEB) >"$cpack_log" 2>&1 || {
  cat "$cpack_log" >&2
  die "cpack failed"
}
rm -f "$cpack_log"
cp "$build_dir"/packages/fenwright_"$version"-*.deb "$package_dir/"
lintian --fail-on error "$package_dir"/*.deb || die "lintian finds errors in the Debian package"

if ((in_repository)); then
  say "Packing the sources"
  if [[ -n $(git status --porcelain) ]]; then
    echo "package.sh: what is not committed is not in the source archive" >&2
  fi
  git archive --format=tar --prefix="fenwright-$version/" HEAD |
    xz -9 >"$package_dir/fenwright-$version.tar.xz"
else
  echo "package.sh: no source archive: this is no clone of the repository" >&2
fi

windows_files=(build/windows/dist/fenwright-"$version"-{windows.zip,setup.exe})
if [[ ! -f ${windows_files[0]} ]]; then
  echo "package.sh: no Windows files: scripts/build-windows.sh makes them" >&2
elif [[ $(cat build/windows/commit) != "$(tree_commit)" ]]; then
  echo "package.sh: no Windows files: those that are there are of another commit;" \
    "scripts/build-windows.sh makes them" >&2
else
  cp "${windows_files[@]}" "$package_dir/"
fi

(cd "$package_dir" && sha256sum -- fenwright* >SHA256SUMS)
say "build/packages"
cat "$package_dir/SHA256SUMS"
