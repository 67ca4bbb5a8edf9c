// The headless wave device (tests, tools): plays nothing. It opens unless told to
// fail, and the bytes it has "played" are whatever the caller last set.
#include <atomic>

#include "music/headless/wave_headless.h"
#include "music/wave_device.h"

namespace {
std::atomic<uint32_t> gBytesPlayed;
std::atomic<int> gOpenFails;
std::atomic<int> gOpen;
std::atomic<int> gPlaying;
}  // namespace

void HeadlessWaveSetPosition(uint32_t bytesPlayed) {
    gBytesPlayed.store(bytesPlayed);
}
void HeadlessWaveSetOpenFails(int fails) {
    gOpenFails.store(fails);
}
int HeadlessWaveIsOpen() {
    return gOpen.load();
}
int HeadlessWaveIsPlaying() {
    return gPlaying.load();
}

int WaveDeviceOpen() {
    if (gOpenFails.load()) return 0;
    gOpen.store(1);
    return 1;
}

void WaveDevicePrepare(void*, uint32_t) {}

void WaveDeviceWrite() {
    gBytesPlayed.store(0);
    gPlaying.store(1);
}

uint32_t WaveDevicePosition() {
    return gBytesPlayed.load();
}

void WaveDeviceUnprepare() {}

void WaveDeviceReset() {
    gPlaying.store(0);
}

void WaveDeviceClose() {
    gOpen.store(0);
}
