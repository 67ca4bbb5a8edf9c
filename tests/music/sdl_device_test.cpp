// The SDL wave device with SDL's dummy driver: the ring plays, the position moves, and
// the stream stops cleanly. Without any driver, StartMusic returns 0.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "music/music.h"
#include "music/wave_device.h"
#include "tests/music/music_test_util.h"

TEST(SdlWaveDevice, PlaysTheRingThroughTheDummyDriver) {
#if defined(__SANITIZE_THREAD__)
    // The device reads the ring while the stream thread refills the slices it has
    // already played; that hand-over runs through the play position alone, which
    // ThreadSanitizer cannot see as ordering the sample data.
    GTEST_SKIP() << "not under ThreadSanitizer";
#endif
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    const std::vector<uint8_t> bytes = XmWrite(ToneModule());
    ASSERT_NE(StartMusic(bytes.data(), static_cast<uint32_t>(bytes.size()), kMusicSourceMemory),
              0u);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (WaveDevicePosition() < kMusicRingBytes / 10 &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_GE(WaveDevicePosition(), kMusicRingBytes / 10);
    StopMusic();
    EXPECT_EQ(WaveDevicePosition(), 0u);

    setenv("SDL_AUDIODRIVER", "no-such-driver", 1);
    EXPECT_EQ(StartMusic(bytes.data(), static_cast<uint32_t>(bytes.size()), kMusicSourceMemory),
              0u);
}
