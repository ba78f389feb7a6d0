#!/usr/bin/env bash
# Builds every example from its source with avr-gcc.
#
#   examples/rebuild.sh           rewrites the HEX and EEP files beside the sources
#   examples/rebuild.sh --check   changes nothing and fails when a committed file is out of date
set -euo pipefail

examples_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

usage() { echo "usage: $(basename "$0") [--check]" >&2; }

# Intel HEX with 16 bytes per record whatever the sections were: the sections go into one plain
# image first. avr-objcopy writes upper-case digits and CR LF, and no record types but 00 and 01
# for an image without a start address.
image_to_hex() {
  local image=$1 hex=$2
  avr-objcopy -I binary -O ihex "$image" "$hex"
}

build_c() {
  local source=$1 mcu=$2 elf=$3
  avr-gcc -std=c99 -Os -Wall -Wextra -Werror -mmcu="$mcu" -o "$elf" "$source"
}

# The chips without RAM have no C run-time: the source brings its own vectors.
build_assembler() {
  local source=$1 mcu=$2 elf=$3
  avr-gcc -Wall -Werror -mmcu="$mcu" -nostartfiles -nostdlib -o "$elf" "$source"
}

# build_example NAME MCU: leaves NAME.hex, and NAME.eep when the program has EEPROM data, in $work.
build_example() {
  local name=$1 mcu=$2
  local elf=$work/$name.elf
  if [[ -f $examples_dir/$name/$name.c ]]; then
    build_c "$examples_dir/$name/$name.c" "$mcu" "$elf"
  else
    build_assembler "$examples_dir/$name/$name.S" "$mcu" "$elf"
  fi
  avr-objcopy -O binary -R .eeprom -R .fuse -R .lock -R .signature "$elf" "$work/$name.code"
  image_to_hex "$work/$name.code" "$work/$name.hex"
  if avr-objdump -h "$elf" | grep -q ' \.eeprom '; then
    avr-objcopy -O binary -j .eeprom --set-section-flags=.eeprom=alloc,load \
      --change-section-lma .eeprom=0 "$elf" "$work/$name.data"
    image_to_hex "$work/$name.data" "$work/$name.eep"
  fi
}

# Every file that the build gave must be there with the same bytes, and no other must be there.
check_example() {
  local name=$1 extension failed=0
  for extension in hex eep; do
    local built=$work/$name.$extension committed=$examples_dir/$name/$name.$extension
    if [[ ! -f $built && ! -f $committed ]]; then
      continue
    fi
    if ! cmp "$built" "$committed"; then
      echo "out of date: $name/$name.$extension" >&2
      failed=1
    fi
  done
  return "$failed"
}

install_example() {
  local name=$1 extension
  for extension in hex eep; do
    if [[ -f $work/$name.$extension ]]; then
      cp "$work/$name.$extension" "$examples_dir/$name/$name.$extension"
      echo "built $name/$name.$extension"
    fi
  done
}

check=0
case "${1-}" in
  '') ;;
  --check) check=1 ;;
  *)
    usage
    exit 2
    ;;
esac

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

status=0
while read -r name mcu; do
  build_example "$name" "$mcu"
  if ((check)); then
    check_example "$name" || status=1
  else
    install_example "$name"
  fi
done <<'END'
blink          at90s8515
counter-eeprom at90s8515
toggle-tiny12  attiny12
END

if ((check && status == 0)); then
  echo "examples: every HEX and EEP file is what its source gives"
fi
exit "$status"
