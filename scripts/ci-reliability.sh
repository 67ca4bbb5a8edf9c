#!/usr/bin/env bash
# Reliability checks for CI, on a clean clone:
#   1. the whole test suite, the soak included, under AddressSanitizer + UBSan;
#   2. the stream thread's start/stop and streaming tests under ThreadSanitizer;
#   3. the module fuzzers (libFuzzer, clang-14) for a bounded time: the loader alone,
#      then loading and playing, both from the committed corpus.
# FUZZ_SECONDS sets the fuzzing time of both together (default 300; a fifth of it goes
# to the loader, which runs some twenty times as many inputs a second). Exits non-zero
# at the first failure.
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

step "TSan: stream start/stop, streaming, the frame's worker thread and the shell around them"
ctest --preset tsan -R '^(MusicStream|SdlWaveDevice|MainLoop|EdgePaths|Allocation)\.'

step "Fuzzers: build (clang-14, libFuzzer + ASan + UBSan)"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

# Both fuzzers start from the minimised corpus of a long campaign, the seeds, the tune
# and every input that once crashed; what they add stays in the temporary copy.
corpus=$(mktemp -d)
trap 'rm -rf "$corpus"' EXIT
cp tests/fuzz/corpus/* tests/fuzz/seeds/*.xm assets/tune.xm "$corpus"/
if compgen -G "tests/fuzz/regressions/*" >/dev/null; then cp tests/fuzz/regressions/* "$corpus"/; fi
artifacts=build/fuzz/artifacts
mkdir -p "$artifacts"

# fuzz TARGET SECONDS: runs one fuzzer on the corpus with both cores (fork mode), where
# timeouts and running out of memory fail as much as crashes do.
fuzz() {
  local target=$1 seconds=$2 log=build/fuzz/$1.log status=0
  build/fuzz/tests/fuzz/"$target" "$corpus" -fork=2 -ignore_timeouts=0 -ignore_ooms=0 \
    -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -max_len=65536 \
    -artifact_prefix="$artifacts/" >"$log" 2>&1 || status=$?
  local last runs elapsed
  last=$(grep -E '^#[0-9]+: cov:' "$log" | tail -n 1 || true)
  echo "last status: $last"
  runs=$(echo "$last" | sed -E 's/^#([0-9]+):.*/\1/')
  elapsed=$(echo "$last" | sed -E 's/.* time: ([0-9]+)s.*/\1/')
  [ -n "$runs" ] && [ "${elapsed:-0}" -gt 0 ] &&
    echo "$target executions: $runs in $elapsed s ($(( runs / elapsed )) a second)"
  if [ "$status" -ne 0 ]; then
    tail -n 60 "$log"
    echo "$target found a problem; the input is in $artifacts/. Fix it and add the input to"
    echo "tests/fuzz/regressions/ (see tests/fuzz/README.md)."
    exit 1
  fi
}

load_seconds=$(( fuzz_seconds / 5 ))
step "Fuzzer: ${load_seconds} s on the module loader alone (two workers)"
fuzz fuzz_xm_load "$load_seconds"
step "Fuzzer: $(( fuzz_seconds - load_seconds )) s on the loader, player and mixer (two workers)"
fuzz fuzz_xm $(( fuzz_seconds - load_seconds ))

step "All reliability checks passed"
