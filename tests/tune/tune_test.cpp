// The intro's own tune, read from the embedded bytes through the memory source and
// played for its whole length by the tracker player and mixer.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <set>

#include "assets/tune.h"
#include "music/music_source.h"
#include "music/xm_module.h"
#include "music/xm_player.h"

namespace {

constexpr double kRate = 44100.0;

struct Tune {
    XmModule module{};
    int loaded = 0;
    Tune() {
        MusicSource source{};
        if (MusicSourceOpen(&source, kTuneXm, static_cast<uint32_t>(kTuneXm_size),
                            kMusicSourceMemory)) {
            loaded = LoadXmModule(&module, &source, nullptr);
            MusicSourceClose(&source);
        }
    }
    ~Tune() { XmModuleFree(&module); }
};

// What a full play-through looked like.
struct Playback {
    double seconds = 0.0;       // until the song started over
    uint32_t wrappedTo = 0;     // the order it started over at
    uint64_t samples = 0;       // left and right counted separately
    uint64_t clipped = 0;       // beyond the 16-bit range
    double sumSquares = 0.0;    // in units of full scale
    double longestQuiet = 0.0;  // seconds with both sides below -60 dBFS
    std::set<uint32_t> orders;
};

// Renders from the start until the song starts over, measuring as it goes.
Playback PlayOnce(XmModule* module) {
    static XmPlayer player;  // large: the voices live in it
    XmPlayerReset(&player, module);

    Playback out;
    constexpr uint32_t kChunk = 441;
    float buffer[kChunk * 2];
    uint64_t frames = 0, quietRun = 0, quietLongest = 0;
    while (player.songLoops == 0 && frames < static_cast<uint64_t>(400 * kRate)) {
        for (float& v : buffer) v = 0.0f;
        XmPlayerRender(&player, buffer, kChunk);
        const uint32_t take = player.songLoops ? player.songLoopFrame : kChunk;
        for (uint32_t f = 0; f < take; ++f) {
            bool quiet = true;
            for (int side = 0; side < 2; ++side) {
                const double v = buffer[f * 2 + side];
                if (v > 32767.0 || v < -32768.0) ++out.clipped;
                out.sumSquares += (v / 32768.0) * (v / 32768.0);
                if (std::fabs(v) >= 32.768) quiet = false;  // -60 dBFS
            }
            quietRun = quiet ? quietRun + 1 : 0;
            if (quietRun > quietLongest) quietLongest = quietRun;
        }
        frames += take;
        out.orders.insert(player.order);
    }
    out.seconds = frames / kRate;
    out.wrappedTo = player.order;
    out.samples = frames * 2;
    out.longestQuiet = quietLongest / kRate;
    return out;
}

TEST(Tune, LoadsFromMemoryAndStartsAtSpeedFourBpm125) {
    Tune tune;
    ASSERT_TRUE(tune.loaded);
    EXPECT_LT(kTuneXm_size, 65536ul);
    const XmModule& m = tune.module;
    EXPECT_EQ(m.defaultTempo, 4);
    EXPECT_EQ(m.defaultBpm, 125);
    EXPECT_TRUE(m.flags & kXmLinearFrequencies);
    EXPECT_GE(m.channels, 8);
    EXPECT_LE(m.channels, 16);
    EXPECT_LT(m.restartPosition, m.songLength);

    static XmPlayer player;
    XmPlayerReset(&player, &tune.module);
    EXPECT_EQ(player.speed, 4u);
    EXPECT_EQ(player.samplesPerTick, 882u);
    EXPECT_EQ(player.order, 0u);
}

TEST(Tune, PlaysTwoToThreeMinutesThenStartsOverAtTheRestartPosition) {
    Tune tune;
    ASSERT_TRUE(tune.loaded);
    const Playback p = PlayOnce(&tune.module);
    EXPECT_GE(p.seconds, 120.0);
    EXPECT_LE(p.seconds, 180.0);
    EXPECT_EQ(p.wrappedTo, tune.module.restartPosition);
    EXPECT_EQ(p.orders.size(), tune.module.songLength) << "every order is played";

    // The mix: loud enough, never silent for long, almost never clipped.
    const double rmsDb = 10.0 * std::log10(p.sumSquares / p.samples);
    EXPECT_GE(rmsDb, -20.0);
    EXPECT_LE(rmsDb, -10.0);
    EXPECT_LT(p.clipped, p.samples / 10000) << "less than 0.01 % clipped";
    EXPECT_LT(p.longestQuiet, 2.0);
}

}  // namespace
