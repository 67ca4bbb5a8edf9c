#!/usr/bin/env bash
# Reliability checks for CI, on a clean clone:
#   1. the whole test suite, the soak included, under AddressSanitizer + UBSan;
#   2. the stream thread's start/stop and streaming tests under ThreadSanitizer;
#   3. the module fuzzer (libFuzzer, clang-14) for a bounded time.
# FUZZ_SECONDS sets the fuzzing time (default 300). Exits non-zero at the first failure.
set -euo pipefail
cd "$(dirname "$0")/.."
fuzz_seconds=${FUZZ_SECONDS:-300}
started=$(date +%s)
step() { echo; echo "=== $* ($(( $(date +%s) - started )) s)"; }

step "Debian packages"
scripts/deps.sh build sanitize

step "ASan + UBSan: build"
cmake --preset asan >/dev/null
cmake --build --preset asan

step "ASan + UBSan: the test suite and the two-cycle soak"
ctest --preset asan

step "TSan: build the tests that run the stream thread"
cmake --preset tsan >/dev/null
cmake --build --preset tsan --target test_music test_music_sdl test_app test_reliability_alloc \
  test_reliability_edges

step "TSan: stream start/stop, streaming and the shell around it"
ctest --preset tsan -R '^(MusicStream|SdlWaveDevice|MainLoop|EdgePaths|Allocation)\.'

step "Fuzzer: build (clang-14, libFuzzer + ASan + UBSan)"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

step "Fuzzer: ${fuzz_seconds} s on the module loader, player and mixer (two workers)"
corpus=$(mktemp -d)
trap 'rm -rf "$corpus"' EXIT
cp tests/fuzz/seeds/*.xm assets/tune.xm "$corpus"/
if compgen -G "tests/fuzz/regressions/*" >/dev/null; then cp tests/fuzz/regressions/* "$corpus"/; fi
artifacts=build/fuzz/artifacts
mkdir -p "$artifacts"
log=build/fuzz/fuzz.log
status=0
# Fork mode uses both cores; by default it would shrug off timeouts and running out of
# memory, which here are failures as much as crashes are.
build/fuzz/tests/fuzz/fuzz_xm "$corpus" -fork=2 -ignore_timeouts=0 -ignore_ooms=0 \
  -max_total_time="$fuzz_seconds" -timeout=20 -rss_limit_mb=2048 -max_len=65536 \
  -artifact_prefix="$artifacts/" >"$log" 2>&1 || status=$?
last=$(grep -E '^#[0-9]+: cov:' "$log" | tail -n 1 || true)
echo "last status: $last"
runs=$(echo "$last" | sed -E 's/^#([0-9]+):.*/\1/')
seconds=$(echo "$last" | sed -E 's/.* time: ([0-9]+)s.*/\1/')
[ -n "$runs" ] && [ "${seconds:-0}" -gt 0 ] &&
  echo "fuzz executions: $runs in $seconds s ($(( runs / seconds )) a second)"
if [ "$status" -ne 0 ]; then
  tail -n 60 "$log"
  echo "The fuzzer found a problem; the input is in $artifacts/. Fix it and add the input to"
  echo "tests/fuzz/regressions/ (see tests/fuzz/README.md)."
  exit 1
fi

step "All reliability checks passed"
