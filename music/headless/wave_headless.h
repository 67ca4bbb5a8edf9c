// Controls of the headless wave device, for tests.
#pragma once
#include <cstdint>

// The byte count the device reports as played.
void HeadlessWaveSetPosition(uint32_t bytesPlayed);
// Non-zero makes WaveDeviceOpen fail (as with no sound card).
void HeadlessWaveSetOpenFails(int fails);
// Whether the device is open, and whether the ring is playing.
int HeadlessWaveIsOpen();
int HeadlessWaveIsPlaying();
