#!/usr/bin/env bash
# capture gives the same bytes for the same command, the right number of frames and
# audio frames, and clear errors for bad arguments.
set -euo pipefail
capture=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

"$capture" --out "$work/a" --seconds 3 --png 2>/dev/null
"$capture" --out "$work/b" --seconds 3 --png 2>/dev/null
diff -r "$work/a" "$work/b" >/dev/null || fail "two captures of the same 3 s differ"

"$capture" --out "$work/c" --seconds 2 --png 2>/dev/null
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

# Bad arguments: a message naming the problem, status 1, nothing left behind.
expect_error() {
  local pattern=$1; shift
  if out=$("$capture" "$@" 2>&1); then fail "capture $* succeeded"; fi
  echo "$out" | grep -q "$pattern" || fail "capture $*: '$out' does not say '$pattern'"
}
expect_error "needs a whole number" --out "$work/f" --fps abc
expect_error "1 to 40" --out "$work/f" --fps 60
expect_error "positive number" --out "$work/f" --seconds -2
expect_error "required" --seconds 1
expect_error "unknown argument" --out "$work/f" --frobnicate
touch "$work/file"
expect_error "not a directory" --out "$work/file" --seconds 1
if [ "$(id -u)" -ne 0 ]; then
  mkdir "$work/ro" && chmod 555 "$work/ro"
  expect_error "cannot write" --out "$work/ro" --seconds 1
fi
"$capture" --help | grep -q "usage: capture" || fail "--help prints no usage"
echo "capture: deterministic, counts and errors as expected"
