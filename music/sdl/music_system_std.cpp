// Thread, sleep and resources for the Linux builds, shared by the SDL and the headless
// platforms: std::thread and sleep_for; there are no program resources on Linux.
#include <cfenv>
#include <chrono>
#include <thread>

#include "music/wave_device.h"

// The stream thread mixes with the floating-point environment of the thread that starts
// it (rounding, flush to zero: MXCSR on x86-64, FPCR on arm64), as the frame's worker does.
void WaveThreadStart(void (*entry)()) {
    std::fenv_t settings;
    std::fegetenv(&settings);
    std::thread([entry, settings] {
        std::fesetenv(&settings);
        entry();
    }).detach();
}

void WaveSleep(uint32_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

int WaveResourceFind(const void*, const void*, const void**, uint32_t*) {
    return 0;
}
