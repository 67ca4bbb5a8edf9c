// Thread, sleep and resources for the Linux builds, shared by the SDL and the headless
// platforms: std::thread and sleep_for; there are no program resources on Linux.
#include <chrono>
#include <thread>

#include "music/wave_device.h"

void WaveThreadStart(void (*entry)()) {
    std::thread(entry).detach();
}

void WaveSleep(uint32_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

int WaveResourceFind(const void*, const void*, const void**, uint32_t*) {
    return 0;
}
