// Controls of the web wave device, for the page's shell.
#pragma once
#include <cstdint>

// 0 keeps the device from opening (the show then runs silent, as with no sound card):
// the virtual-clock runs of tests and benchmarks have no one listening.
void WebWaveSetEnabled(int enabled);

// Since the last call: the slices the stream has rendered, the sum of the squares of
// their samples (both channels), and the output's calls that found no sound to play,
// for the page's once-a-second report.
void WebWaveStatsTake(uint32_t* slices, double* sumSquares, uint32_t* underruns);

// The page's end: the output is closed, as the process exit ends the sound on the
// desktop. Nothing plays or refills afterwards.
void WebWaveEnd();
