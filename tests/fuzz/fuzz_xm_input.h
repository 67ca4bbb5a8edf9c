// One input of the module fuzzer: the bytes as a module image read through the memory
// source and, when they load, a few hundred slices through the player and the mixer.
// Shared by the libFuzzer target and the test that replays the corpus.
#pragma once
#include <cstddef>
#include <cstdint>

// Slices rendered for a module that loads: 300 x 884 frames, six seconds of music.
constexpr int kFuzzSlices = 300;

// Loads and plays data. Aborts when the player breaks one of its own invariants (so
// that the fuzzer reports it); anything else it survives is a pass.
void FuzzXmModule(const uint8_t* data, size_t size);
