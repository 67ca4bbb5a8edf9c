#!/usr/bin/env bash
# Outputs are exact: every frame of a full capture cycle, its WAV, and xm2wav renders of
# the tune and of the test modules, against the checksums in tests/checksums/.
#   scripts/checksums.sh [BUILD_DIR]           compare (exit 1 and the first difference)
#   scripts/checksums.sh --update [BUILD_DIR]  record them anew
# A change that alters a pixel or a sample updates them in the same commit and says why;
# a speed-up never does.
set -euo pipefail
cd "$(dirname "$0")/.."
update=0
[ "${1:-}" = --update ] && { update=1; shift; }
build=${1:-build/release}
capture=$build/tools/capture/capture
xm2wav=$build/tools/xm2wav/xm2wav
[ -x "$capture" ] && [ -x "$xm2wav" ] || { echo "checksums: build capture and xm2wav first (make build)" >&2; exit 2; }
# A cross build's programs run under its emulator (build/arm64: qemu-aarch64).
emulator=$(sed -n 's/^CMAKE_CROSSCOMPILING_EMULATOR:[A-Z]*=//p' "$build/CMakeCache.txt" 2>/dev/null || true)
run=(${emulator:+"$emulator"})
expected=tests/checksums
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

started=$SECONDS
"${run[@]}" "$capture" --out "$work/cycle" --seconds 115 --sums "$work/frames.sums" 2>/dev/null
renders=("tune.xm:assets/tune.xm" "tune-3-loops.xm:assets/tune.xm --loops 3")
for seed in tests/fuzz/seeds/*.xm; do renders+=("$(basename "$seed"):$seed"); done
{
  echo "$(sha256sum <"$work/cycle/audio.wav" | cut -d' ' -f1)  capture/audio.wav"
  for r in "${renders[@]}"; do
    name=${r%%:*}
    # shellcheck disable=SC2086
    "${run[@]}" "$xm2wav" ${r#*:} "$work/out.wav" >/dev/null 2>&1
    echo "$(sha256sum <"$work/out.wav" | cut -d' ' -f1)  xm2wav/${name%.xm}.wav"
  done
} >"$work/outputs.sha256"

if [ $update = 1 ]; then
  cp "$work/frames.sums" "$work/outputs.sha256" "$expected"/
  echo "checksums: recorded $(wc -l <"$expected/frames.sums") frames and $(wc -l <"$expected/outputs.sha256") files"
  exit 0
fi
status=0
if ! cmp -s "$work/frames.sums" "$expected/frames.sums"; then
  first=$(diff "$expected/frames.sums" "$work/frames.sums" | grep -m1 '^>' | cut -c3-8 || true)
  count=$(diff "$expected/frames.sums" "$work/frames.sums" | grep -c '^>' || true)
  echo "checksums: $count frames of the cycle differ, the first is frame $first ($(( 10#${first:-0} * 25 )) ms)"
  status=1
fi
if ! diff "$expected/outputs.sha256" "$work/outputs.sha256" >"$work/diff"; then
  echo "checksums: these renders differ:"; grep '^>' "$work/diff" | sed 's/^> [0-9a-f]*  /  /'
  status=1
fi
[ $status = 0 ] && echo "checksums: $(wc -l <"$expected/frames.sums") frames and $(wc -l <"$expected/outputs.sha256") renders as recorded ($((SECONDS - started)) s)"
exit $status
