#!/usr/bin/env bash
# capture --contact-sheet: one thumbnail every 2.5 s, eight to a row, a new row when
# the scene changes, each captioned in the intro's font.
set -euo pipefail
capture=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

# 20 s: 0 to 15 s are scene 4 (seven thumbnails, the change comes just after 15 s),
# 17.5 s is scene 0 on a second row. Cells are 213 x 160 with a 24-pixel caption and
# 4 pixels between them and round the sheet.
"$capture" --out "$work" --seconds 20 --contact-sheet "$work/sheet.png" 2>/dev/null
size=$(identify -format '%w x %h' "$work/sheet.png")
[ "$size" = "1740 x 380" ] || fail "a sheet of 8 + 1 thumbnails on two rows is $size, not 1740 x 380"
# The first caption ("0:00.0  scene 4") is drawn; the empty eighth cell of row one is not.
captioned=$(convert "$work/sheet.png" -crop 150x20+6+166 +repage -format %k info:)
empty=$(convert "$work/sheet.png" -crop 213x184+1523+4 +repage -format %k info:)
[ "$captioned" -gt 4 ] || fail "the first caption is missing ($captioned colours)"
[ "$empty" -eq 1 ] || fail "the cell after the last scene-4 thumbnail is not empty"
echo "contact sheet: layout and captions as expected"
