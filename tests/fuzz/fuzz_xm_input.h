// One input of the module fuzzers: the bytes as a module image read through the memory
// source. FuzzXmLoad only loads, walks what was loaded and frees it (fast, for the
// loader); FuzzXmModule also plays a few hundred slices through the player and the
// mixer. Shared by the libFuzzer targets and the test that replays the corpus.
#pragma once
#include <cstddef>
#include <cstdint>

// Slices rendered for a module that loads: 100 x 884 frames (two seconds of music), or
// about 1000 ticks if fewer (ten times the tune's): a tick a frame costs no more.
constexpr int kFuzzSlices = 100;
constexpr uint32_t kFuzzTicks = 1000;

// Loads and plays data. Aborts when the player breaks one of its own invariants (so
// that the fuzzer reports it); anything else it survives is a pass.
void FuzzXmModule(const uint8_t* data, size_t size);

// Loads data, reads every note, sample value and envelope point of what was loaded,
// and frees it. Aborts when the loaded module breaks what the player relies on.
void FuzzXmLoad(const uint8_t* data, size_t size);
