#!/usr/bin/env bash
# capture gives the same bytes for the same command, the right number of frames and
# audio frames, clear errors for bad arguments before any long work, outputs that
# replace nothing they should not, a clean stop on Ctrl-C, and ffmpeg's own words
# when it dies.
set -euo pipefail
capture=$1
source "$(dirname "$0")/lib.sh"

"$capture" --out "$work/a" --seconds 3 --png 2>/dev/null
"$capture" --out "$work/b" --seconds 3 --png 2>/dev/null
diff -r "$work/a" "$work/b" >/dev/null || fail "two captures of the same 3 s differ"

"$capture" --out "$work/c" --seconds 2 --png 2>"$work/said"
[ "$(wc -l < "$work/said")" -eq 1 ] || fail "redirected, capture said more than one line"
frames=$(ls "$work/c" | grep -c '^frame_.*\.png$')
[ "$frames" -eq 80 ] || fail "2 s at 40 fps gave $frames frames, not 80"
bytes=$(stat -c %s "$work/c/audio.wav")
[ "$bytes" -eq $((44 + 88200 * 4)) ] || fail "2 s of audio is $bytes bytes, not 44 + 88200 x 4"
# The first 2 s of the 3-s capture are the 2-s capture.
cmp -s "$work/a/frame_000079.png" "$work/c/frame_000079.png" || fail "frame 79 differs"

# A recording that starts later is the same as the tail of one that starts earlier.
"$capture" --out "$work/d" --seconds 1 --start 2000 --png 2>/dev/null
cmp -s "$work/a/frame_000080.png" "$work/d/frame_000000.png" || fail "--start 2000 differs"
"$capture" --out "$work/e" --at 2000 --png 2>/dev/null
cmp -s "$work/a/frame_000080.png" "$work/e/shot_002000.png" || fail "--at 2000 differs"

# One thread draws what two do, in every scene (two frames a second of a whole cycle).
"$capture" --out "$work/t1" --fps 2 --threads 1 --sums "$work/t1.sums" 2>/dev/null
"$capture" --out "$work/t2" --fps 2 --threads 2 --sums "$work/t2.sums" 2>/dev/null
[ "$(wc -l < "$work/t1.sums")" -eq 230 ] || fail "a cycle at 2 fps is not 230 frames"
cmp -s "$work/t1.sums" "$work/t2.sums" || fail "one thread and two draw different frames"

# Bad arguments: a message naming the problem, status 1, nothing left behind.
expect_error() {
  local pattern=$1; shift
  if out=$("$capture" "$@" 2>&1); then fail "capture $* succeeded"; fi
  echo "$out" | grep -q "$pattern" || fail "capture $*: '$out' does not say '$pattern'"
}
expect_error "needs a whole number" --out "$work/f" --fps abc
expect_error "1 to 40" --out "$work/f" --fps 60
expect_error "1 to 2" --out "$work/f" --threads 3
expect_error "above 0" --out "$work/f" --seconds -2
expect_error "less than one frame" --out "$work/f" --seconds 1e-9
expect_error "4-GB limit" --out "$work/f" --seconds 30000
expect_error "whole number" --out "$work/f" --start 1e3
expect_error "needs a value" --out "$work/f" --fps
# Found before the render, which would take hours.
expect_error "No such file or directory" --out "$work/f" --seconds 20000 --mp4 /nonexistent/x.mp4
expect_error "own audio.wav" --out "$work/f" --mp4 "$work/f/audio.wav"
expect_error "required" --seconds 1
expect_error "unknown argument" --out "$work/f" --frobnicate
touch "$work/file"
expect_error "not a directory" --out "$work/file" --seconds 1
if [ "$(id -u)" -ne 0 ]; then
  mkdir "$work/ro" && chmod 555 "$work/ro"
  expect_error "cannot write" --out "$work/ro" --seconds 1
fi
[ -z "$(ls -A "$work/f")" ] || fail "a refused capture left $(ls -A "$work/f")"
"$capture" --help | grep -q "usage: capture" || fail "--help prints no usage"

if ! command -v ffmpeg >/dev/null; then
  echo "capture: no ffmpeg, MP4 checks skipped"
  exit 0
fi

# The MP4 replaces the file a link points to; standard output gets a fragmented one.
echo old > "$work/target.mp4"
ln -s target.mp4 "$work/link.mp4"
"$capture" --out "$work/g" --seconds 1 --mp4 "$work/link.mp4" 2>/dev/null
[ -L "$work/link.mp4" ] || fail "the link to the MP4 was replaced"
[ "$(video_frames "$work/target.mp4")" = 40 ] || fail "the linked MP4 is not 40 frames"
"$capture" --out "$work/g" --seconds 1 --mp4 - 2>/dev/null > "$work/stdout.mp4"
[ "$(video_frames "$work/stdout.mp4")" = 40 ] || fail "the MP4 on stdout is not 40 frames"

# Ctrl-C or SIGTERM: what was made is finished (same length), nothing else is left.
for signal in INT TERM; do
  out="$work/stop$signal"
  "$capture" --out "$out" --seconds 20 --png --mp4 "$out.mp4" 2>/dev/null &
  pid=$!
  while [ ! -e "$out/frame_000020.png" ]; do sleep 0.05; done
  kill -$signal $pid
  status=0; wait $pid || status=$?
  [ $status -eq 130 ] || fail "SIG$signal: exit status $status, not 130"
  frames=$(ls "$out" | grep -c '^frame_.*\.png$')
  samples=$(sox --i -s "$out/audio.wav")
  [ "$samples" -eq $((frames * 44100 / 40)) ] || fail "SIG$signal: $frames frames, $samples samples"
  [ "$(video_frames "$out.mp4")" = "$frames" ] || fail "SIG$signal: MP4 length"
  left=$(ls -A "$out" "$work" | grep -e '\.capture-video' -e 'audio.wav.' -e 'mp4.' || true)
  [ -z "$left" ] || fail "SIG$signal left $left"
done

# An ffmpeg that dies after a few frames: its words, exit status 1, nothing left.
mkdir "$work/bin"
cat > "$work/bin/ffmpeg" <<'EOF'
#!/bin/sh
[ "$1" = -version ] && exit 0
head -c 2000000 > /dev/null
echo "Conversion failed: no space left on device" >&2
exit 1
EOF
chmod +x "$work/bin/ffmpeg"
if out=$(PATH="$work/bin:$PATH" "$capture" --out "$work/h" --seconds 5 --mp4 "$work/h.mp4" 2>&1)
then fail "capture went on without ffmpeg"; fi
echo "$out" | grep -q "stopped taking frames.*no space left" || fail "ffmpeg's death: '$out'"
[ -z "$(ls -A "$work/h")" ] && [ ! -e "$work/h.mp4" ] || fail "a failed MP4 left files behind"
echo "capture: deterministic, counts, errors, outputs and stops as expected"
