#!/usr/bin/env bash
# Takes pictures of the program's windows and dialogs, on a simulated board and without a display.
#
#   scripts/pictures.sh             the manual's pictures, into docs/manual/images, and the
#                                   README's, docs/images/main-window.png
#   scripts/pictures.sh --review    every picture at 100 %, at 200 % and with a dark palette, into
#                                   build/pictures
#
# The manual's pictures are those that its chapters name. They are at twice the size of a screen,
# and in 256 colours, which keeps them small.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"
cd "$repo_root"

readonly program=build/dev/tools/pictures/fenwright-pictures
readonly images=docs/manual/images

review=0
case "${1-}" in
  --review) review=1 ;;
  '') ;;
  *) die "usage: pictures.sh [--review]" ;;
esac

"$script_dir/install-packages.sh" build test
use_ccache
build_preset dev fenwright-pictures

# take SCALE ARGUMENT...: a large screen, so that no dialog is squeezed.
take() {
  local scale=$1
  shift
  QT_QPA_PLATFORM=offscreen:configfile=tools/pictures/screen.json QT_SCALE_FACTOR=$scale \
    QT_LOGGING_RULES='*.warning=false' "$program" "$@"
}

if ((review)); then
  take 1 build/pictures/100
  take 2 build/pictures/200
  take 1 --dark build/pictures/dark
  echo "wrote build/pictures"
  exit 0
fi

mapfile -t names < <(sed -nE 's#^!\[.*\]\(images/([a-z0-9-]+)\.png\).*#\1#p' docs/manual/*.md | sort -u)
((${#names[@]} > 0)) || die "no chapter names a picture"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
take 2 "$folder" "${names[@]}"
mkdir -p "$images"
for name in "${names[@]}"; do
  convert "$folder/$name.png" +dither -colors 256 -strip "png8:$images/$name.png"
done
take 1 "$folder" window-program
cp "$folder/window-program.png" docs/images/main-window.png
echo "wrote docs/images/main-window.png and $images (${#names[@]} pictures, $(du -sh "$images" | cut -f1))"
