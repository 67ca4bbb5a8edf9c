// The SDL wave device with SDL's dummy driver: the ring plays round more than once while
// the stream thread refills it, the position moves, and the stream stops cleanly. Without any
// driver, StartMusic returns 0 and one line says the show goes on silent.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "music/music.h"
#include "music/wave_device.h"
#include "tests/music/music_test_util.h"

TEST(SdlWaveDevice, PlaysTheRingThroughTheDummyDriver) {
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    const std::vector<uint8_t> bytes = XmWrite(ToneModule());
    ASSERT_NE(StartMusicBytes(bytes), 0u);
    // Past the first round of the ring: by then the device plays slices that the stream
    // thread has rendered again, the hand-over ThreadSanitizer checks in that build.
    const uint32_t past = kMusicRingBytes + kMusicRingBytes / 10;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(8);
    while (WaveDevicePosition() < past && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_GE(WaveDevicePosition(), past);
    StopMusic();
    EXPECT_EQ(WaveDevicePosition(), 0u);

    setenv("SDL_AUDIODRIVER", "no-such-driver", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(StartMusicBytes(bytes), 0u);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(said.rfind("invitro: no sound, the show goes on silent: ", 0), 0u) << said;
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
}
