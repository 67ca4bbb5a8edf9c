#!/usr/bin/env bash
# xm2wav as a hostile but realistic user runs it: standard output closed, numbers that
# are not plain decimals, names after --, a narrow terminal, a module beyond the memory
# the loader may take, and memory that runs out.
#   xm2wav_tool_test.sh XM2WAV TUNE.xm
set -euo pipefail
xm2wav=$(realpath "$1")
tune=$(realpath "$2")
source "$(dirname "$0")/lib.sh"
cd "$work"

# Standard output closed: the summary line does not land in the WAV.
"$xm2wav" "$tune" plain.wav > /dev/null
"$xm2wav" "$tune" closed.wav >&-
cmp -s plain.wav closed.wav || fail "with standard output closed the WAV differs"
if "$xm2wav" "$tune" - >&- 2>said; then fail "xm2wav to - with standard output closed ran"; fi
grep -q "standard output is closed" said || fail "to - with standard output closed: $(cat said)"

for bad in "--loops| 5" "--loops|0x10" "--loops|+2" "--seconds|0x10" "--seconds|inf" "--seconds|5 "; do
  if out=$("$xm2wav" "$tune" x.wav "${bad%%|*}" "${bad#*|}" 2>&1); then fail "xm2wav $bad ran"; fi
  echo "$out" | grep -q "needs a" || fail "xm2wav $bad: '$out'"
done
cp "$tune" ./-t.xm
"$xm2wav" --seconds 1 -- -t.xm -t.wav > /dev/null && [ -s ./-t.wav ] || fail "names after -- are not files"

script -qec "stty cols 30; '$xm2wav' '$tune' narrow.wav" /dev/null > tty.txt
widest=$(tr '\r' '\n' < tty.txt | sed 's/\x1b\[K//g' | grep rendering \
  | awk '{ if (length($0) > m) m = length($0) } END { print m }')
[ "$widest" -le 29 ] || fail "a progress line of $widest columns on a 30-column terminal"

if [ -n "${INVITRO_NO_MEMORY_LIMIT:-}" ]; then
  echo "xm2wav: streams, numbers, names and progress as expected (memory limits skipped)"
  exit 0
fi
# module SAMPLES FILE: one 8-bit sample of SAMPLES points (zeros; the file is sparse).
module() {
  python3 - "$1" "$2" <<'PY'
import struct, sys
points, path = int(sys.argv[1]), sys.argv[2]
head = b"Extended Module: " + b"big".ljust(20) + b"\x1a" + b"test".ljust(20) + b"\x04\x01"
head += struct.pack("<IHHHHHHHH", 276, 1, 0, 1, 1, 1, 1, 6, 125) + bytes(256)
pattern = struct.pack("<IBHH", 9, 0, 1, 0)
instrument = struct.pack("<I22sBH", 263, b"", 0, 1).ljust(263, b"\0")
sample = struct.pack("<IIIBbBBbB22s", points, 0, 0, 64, 0, 0, 128, 0, 0, b"")
with open(path, "wb") as f:
    f.write(head + pattern + instrument + sample)
    f.truncate(f.tell() + points)
PY
}
# Beyond what loading may take: one line, before anything is allocated (a memory limit
# of 512 MB would stop a load that tried).
module 110000000 huge.xm
if out=$(ulimit -v 524288; "$xm2wav" huge.xm x.wav 2>&1); then fail "a 1.1-GB load ran"; fi
[ "$(echo "$out" | wc -l)" -eq 1 ] && echo "$out" | grep -q "loads at most 1024 MB" \
  || fail "a module beyond the bound: '$out'"
# Within it, but beyond the memory there is: a message, not a crash.
module 40000000 large.xm
if out=$(ulimit -v 262144; "$xm2wav" large.xm x.wav 2>&1); then fail "a 400-MB load in 256 MB ran"; fi
echo "$out" | grep -q "out of memory" || fail "a load beyond the memory there is: '$out'"
if out=$(ulimit -v 262144; head -c 200000000 /dev/zero | "$xm2wav" - x.wav 2>&1); then
  fail "200 MB on standard input in 256 MB ran"
fi
[ "$out" = "xm2wav: out of memory" ] || fail "reading beyond the memory there is: '$out'"
echo "xm2wav: streams, numbers, names, progress and memory as expected"
