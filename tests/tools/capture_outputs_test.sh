#!/usr/bin/env bash
# capture's outputs, as a hostile but realistic user meets them: every output follows
# the same rules (a link is followed, a FIFO is written in place, - is standard output),
# two outputs of one run may not name one file, temporaries never collide, a closed
# standard stream takes no output, ffmpeg reads every name as a file, a reader that
# goes away is reported, numbers are plain decimals, and the progress line fits the
# terminal.
set -euo pipefail
capture=$(realpath "$1")
source "$(dirname "$0")/lib.sh"
is_png() { [ "$(head -c 8 "$1" | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ]; }
cd "$work"

# --contact-sheet and the PNG frames: through a link, into a FIFO, to standard output.
echo old > real.png && ln -s real.png link.png
"$capture" --out a --seconds 2.5 --contact-sheet link.png 2>/dev/null
[ -L link.png ] && is_png real.png || fail "--contact-sheet through a link replaced the link"
mkfifo fifo.png
cat fifo.png > from-fifo.png &
"$capture" --out a --seconds 2.5 --contact-sheet fifo.png 2>/dev/null
wait $!
[ -p fifo.png ] && is_png from-fifo.png || fail "--contact-sheet did not write into the FIFO"
"$capture" --out a --seconds 2.5 --contact-sheet - 2>/dev/null > stdout.png
is_png stdout.png && [ ! -e ./- ] || fail "--contact-sheet - did not write to standard output"
mkdir b && ln -s ../frame.png b/frame_000000.png
"$capture" --out b --seconds 0.05 --png 2>/dev/null
[ -L b/frame_000000.png ] && is_png frame.png || fail "a PNG frame replaced the link in its place"

# Two outputs of one run naming one file: refused at once, nothing written.
refused() {
  local out
  if out=$(timeout 10 "$capture" --out c --seconds 3000 "$@" 2>&1); then fail "capture $* ran"; fi
  echo "$out" | grep -qE "same file|one of the recording's PNG frames" || fail "capture $*: '$out'"
  [ -z "$(ls -A c)" ] || fail "capture $* left $(ls -A c)"
}
refused --sums c/audio.wav
refused --sums x --contact-sheet x
refused --contact-sheet ./c/../c/audio.wav
refused --sums - --contact-sheet -
refused --png --sums c/frame_000001.png

# Two captures into one folder at once: each writes every frame of its own.
"$capture" --out d --seconds 3 --png 2>d1.err &
first=$!
"$capture" --out d --seconds 3 --png 2>d2.err || fail "one of two captures into d: $(cat d2.err)"
wait $first || fail "one of two captures into d: $(cat d1.err)"
[ "$(ls d | grep -c '^frame_.*\.png$')" -eq 120 ] && [ "$(ls -A d | wc -l)" -eq 121 ] \
  || fail "two captures into d left $(ls -A d | grep -v '^frame_' | tr '\n' ' ')"

# Started with standard output closed: no output lands on descriptor 1.
"$capture" --out e --seconds 1 --sums e.sums >&- 2>/dev/null
[ "$(stat -c %s e/audio.wav)" -eq $((44 + 44100 * 4)) ] && [ "$(wc -l < e.sums)" -eq 40 ] \
  || fail "with standard output closed, the outputs are wrong"
if "$capture" --out e --seconds 1 --sums - >&- 2>said; then fail "--sums - with stdout closed ran"; fi
grep -q "standard output is closed" said || fail "--sums - with stdout closed: $(cat said)"

# Decimal numbers only, and -- ends the options.
for bad in "--seconds|0x10" "--seconds|inf" "--fps|+5" "--start| 5" "--threads|0x2"; do
  if out=$("$capture" --out f "${bad%%|*}" "${bad#*|}" 2>&1); then fail "capture $bad ran"; fi
  echo "$out" | grep -q "needs a" || fail "capture $bad: '$out'"
done
if out=$("$capture" --out f --seconds 1 -- --png 2>&1); then fail "capture -- --png ran"; fi
echo "$out" | grep -q "unexpected argument '--png'" || fail "capture -- --png: '$out'"

# The progress line on a 60-column terminal: every update fits, none wraps.
script -qec "stty cols 60; '$capture' --out g --seconds 1 --start 1000" /dev/null > tty.txt
widest=$(tr '\r' '\n' < tty.txt | sed 's/\x1b\[K//g' | awk '{ if (length($0) > m) m = length($0) } END { print m }')
[ "$widest" -le 59 ] || fail "a progress line of $widest columns on a 60-column terminal"

if ! command -v ffmpeg >/dev/null; then
  echo "capture outputs: no ffmpeg, MP4 checks skipped"
  exit 0
fi
# Names ffmpeg would read as a protocol or an option are files all the same.
mkdir h && cd h
for name in file:c.mp4 a:b.mp4 2026-11-24T12:30.mp4 -x.mp4; do
  "$capture" --out ../f --seconds 0.5 --mp4 "$name" 2>/dev/null || fail "--mp4 $name failed"
  [ "$(video_frames "$name")" = 20 ] || fail "--mp4 $name is not 20 frames"
done
[ "$(ls -A | wc -l)" -eq 4 ] || fail "--mp4 left $(ls -A | tr '\n' ' ')"
cd ..
# A reader that stops early: ffmpeg's broken pipe is reported.
{ "$capture" --out f --seconds 2 --mp4 - 2>said && echo 0 > status || echo $? > status; } \
  | head -c 1000 > /dev/null
[ "$(cat status)" -eq 1 ] && grep -q "Broken pipe" said || fail "a broken pipe: $(cat status) $(cat said)"
echo "capture outputs: rules, clashes, temporaries, streams, numbers, names and pipes as expected"
