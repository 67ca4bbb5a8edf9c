// The stream: start and stop over the headless device with the real thread, the slice
// renderer, positions and the conversion to 16 bits.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "music/headless/wave_headless.h"
#include "music/music.h"
#include "tests/music/music_test_util.h"

TEST(MusicStream, ConvertsRoundingHalfToEvenAndClamps) {
    // Eleven values: two passes of four lanes and a scalar tail of three.
    const float in[11] = {0.5f,      1.5f,  2.5f,     -0.5f,     -1.5f, 40000.0f,
                          -40000.0f, 3.49f, 32766.5f, -32768.5f, -2.5f};
    int16_t out[11];
    MusicConvert(in, out, 11);
    const int16_t expected[11] = {0, 2, 2, 0, -2, 32767, -32768, 3, 32766, -32768, -2};
    for (int i = 0; i < 11; ++i) EXPECT_EQ(out[i], expected[i]) << i;
}

TEST(MusicStream, PlayingSliceWrapsWithTheRing) {
    const uint32_t played[6][2] = {{0, 0},
                                   {3535, 0},
                                   {3536, 1},
                                   {kMusicRingBytes, 0},
                                   {kMusicRingBytes * 7 + 3536 * 42 + 5, 42},
                                   {0xFFFFFFFFu, (0x3FFFFFFFu % 88400) / 884}};
    for (const auto& p : played) EXPECT_EQ(MusicPlayingSlice(p[0]), p[1]) << p[0];
}

TEST(MusicStream, TicksLongerThanASliceCarryOver) {
    XmWriterModule m = ToneModule();
    m.bpm = 32;  // 3445 frames a tick
    Cell(m, 0) = {49, 1, 0, 0, 0};
    const std::vector<uint8_t> bytes = XmWrite(m);
    const char* reason = nullptr;
    ASSERT_EQ(MusicRenderOpen(bytes.data(), static_cast<uint32_t>(bytes.size()), kMusicSourceMemory,
                              &reason),
              1);
    const XmPlayer* p = MusicPlayerState();
    const uint32_t left[4] = {2561, 1677, 793, 3354};
    for (int i = 0; i < 4; ++i) {
        RenderSlice();
        EXPECT_EQ(p->framesLeftInTick, left[i]) << "slice " << i;
    }
    // 20 ms a whole slice; the fourth is two chunks, 793 and 91 frames: 17 + 2.
    EXPECT_EQ(p->elapsedMs, 79u);
    EXPECT_EQ(MusicNextSlice(), 4u);
    int loud = 0;
    for (int i = 0; i < 2 * 884; ++i) loud += MusicRingSlice(1)[i] != 0;
    EXPECT_GT(loud, 1000);
    MusicRenderClose();
}

TEST(MusicStream, StartAndStopOnlyWhenThereIsSomethingToDo) {
    StopMusic();  // idle: nothing happens
    EXPECT_EQ(HeadlessWaveIsOpen(), 0);
    EXPECT_NE(StartMusic(nullptr, 0, kMusicSourceMemory), 0u);
    EXPECT_EQ(HeadlessWaveIsOpen(), 0);  // a null source opens nothing

    HeadlessWaveSetOpenFails(1);
    EXPECT_EQ(StartMusicBytes(XmWrite(ToneModule())), 0u);
    HeadlessWaveSetOpenFails(0);
    EXPECT_EQ(StartMusicBytes({'R', 'I', 'F', 'F'}), 0u);
    EXPECT_EQ(HeadlessWaveIsOpen(), 1);  // left open after a failed load, as always
    StopMusic();
}

TEST(MusicStream, ThreadRefillsBehindThePlayPositionAndStops) {
    XmWriterModule m = ToneModule();
    m.tempo = 1;
    for (int r = 0; r < 64; ++r) Cell(m, r) = {static_cast<uint8_t>(40 + r % 12), 1, 0, 0, 0};
    const std::vector<uint8_t> bytes = XmWrite(m);
    for (int round = 0; round < 2; ++round) {
        HeadlessWaveSetPosition(0);
        ASSERT_NE(StartMusicBytes(bytes), 0u);
        EXPECT_EQ(HeadlessWaveIsPlaying(), 1);
        const uint32_t first = GetMusicTime();
        EXPECT_EQ(GetMusicOrder() >> 16, first & 0xFFFF);  // the neighbouring fields
        EXPECT_EQ(GetMusicRow() & 0xFF, (GetMusicOrder() >> 8) & 0xFF);
        // The device has played 30 slices: the thread refills them, one per pause.
        HeadlessWaveSetPosition(3536 * 30 + 100);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (MusicNextSlice() != 30 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_GT(GetMusicTime(), first);
        StopMusic();
        EXPECT_EQ(HeadlessWaveIsOpen(), 0);
        EXPECT_EQ(MusicNextSlice(), 0u);
        EXPECT_EQ(GetMusicTime(), 0u);
    }
}
