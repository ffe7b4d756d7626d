#!/bin/sh
# SPDX-License-Identifier: GPL-3.0-or-later
# Rebuilds the example HEX files with gpasm (Debian package gputils): INHX8M
# and INHX32 for the 12- and 14-bit parts, INHX32 for the 18F part (the only
# format gpasm accepts for it).
set -eu
cd "$(dirname "$0")"
for pair in blink_12c508a:12c508a eeprom_16f84a:16f84a eeprom_16f628a:16f628a eeprom_16f877a:16f877a; do
  name=${pair%%:*}
  part=${pair#*:}
  gpasm -q -p "$part" -a inhx8m "$name.asm" -o "$name.inhx8m.hex"
  gpasm -q -p "$part" "$name.asm" -o "$name.inhx32.hex"
done
gpasm -q -p 18f452 blink_18f452.asm -o blink_18f452.inhx32.hex
rm -f ./*.cod ./*.lst
