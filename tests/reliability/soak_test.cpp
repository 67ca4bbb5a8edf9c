// The soak: two full cycles of the schedule (230 s of show time, 9200 frames on the
// virtual clock) through the real main loop with the music rendered alongside, ended by
// Escape. Every frame must be drawn and presented, the scenes must run 4, 0, 1, 2, 3
// twice with their durations, and the run must tear down cleanly.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "app/app.h"
#include "assets/tune.h"
#include "display/display.h"
#include "music/xm_player.h"
#include "tests/reliability/show_rig.h"

namespace {

constexpr int kSoakFrames = 9200;  // 2 x 115 s at 40 frames a second

struct Soak {
    int frames = 0;
    std::vector<int> scenes;       // each scene as it began
    std::vector<int> sceneFrames;  // how many frames each one lasted
    uint32_t lastFrameStart = 0;
    int unevenFrames = 0;     // frames not 25 ms after the one before
    int unchangedFrames = 0;  // frames whose scroller band equals the last one's
    uint64_t lastHash = 0;
    uint32_t musicSlices = 0;  // slices rendered alongside
    int64_t musicEnergy = 0;   // sum of |sample| over them
};

// Audio frames due by the end of show frame n (0-based) at 40 frames a second.
uint64_t MusicFramesBy(uint64_t n) {
    return (n + 1) * 44100 / 40;
}

// The scroller band moves 4 pixels every frame, so a drawn frame always differs there.
uint64_t BandHash(const uint16_t* pixels, int32_t pitchBytes) {
    uint64_t h = 1469598103934665603ull;
    for (int y = 400; y < 480; y += 2) {
        const uint16_t* row = pixels + y * (pitchBytes / 2);
        for (int x = 0; x < 640; x += 3) h = (h ^ row[x]) * 1099511628211ull;
    }
    return h;
}

void SoakSink(const uint16_t* pixels, int32_t pitchBytes, int32_t, int32_t, void* user) {
    Soak* s = static_cast<Soak*>(user);
    const TimelineState* t = TimelineStateGet();
    if (s->scenes.empty() || s->scenes.back() != t->scene) {
        s->scenes.push_back(t->scene);
        s->sceneFrames.push_back(0);
    }
    s->sceneFrames.back() += 1;
    const uint32_t start = HeadlessClockNow();
    if (s->frames > 0 && start - s->lastFrameStart != 25) s->unevenFrames += 1;
    s->lastFrameStart = start;
    const uint64_t hash = BandHash(pixels, pitchBytes);
    if (s->frames > 0 && hash == s->lastHash) s->unchangedFrames += 1;
    s->lastHash = hash;

    // The music, a slice whenever the sound due by the end of this frame needs one.
    while (uint64_t{s->musicSlices} * kMusicSliceFrames < MusicFramesBy(s->frames)) {
        const int16_t* slice = MusicRingSlice(MusicNextSlice());
        RenderSlice();
        for (uint32_t i = 0; i < 2 * kMusicSliceFrames; ++i) s->musicEnergy += std::abs(slice[i]);
        s->musicSlices += 1;
    }
    s->frames += 1;
    // Seen at the end of this frame: the destroy message is taken before the next one
    // is drawn, the quit message before the one after, so this is the last frame but one.
    if (s->frames == kSoakFrames - 1) HeadlessEscapeAsyncSet(1);
}

}  // namespace

TEST(Soak, TwoScheduleCyclesWithMusicThenEscape) {
    ShowFreshProcess();
    // As capture does: the device stays closed and the music is rendered here.
    HeadlessWaveSetOpenFails(1);
    Soak soak;
    soak.scenes.reserve(16);
    HeadlessDisplaySetSink(SoakSink, &soak);
    AppInit();
    const char* reason = "";
    ASSERT_EQ(
        MusicRenderOpen(kTuneXm, static_cast<uint32_t>(kTuneXm_size), kMusicSourceMemory, &reason),
        1)
        << reason;

    EXPECT_EQ(AppMainLoop(), 0);

    EXPECT_EQ(soak.frames, kSoakFrames);
    EXPECT_EQ(HeadlessDisplayPresentCount(), kSoakFrames);
    EXPECT_EQ(TimelineStateGet()->frameCount, kSoakFrames);
    EXPECT_EQ(soak.unevenFrames, 0);
    EXPECT_EQ(soak.unchangedFrames, 0);
    EXPECT_EQ(HeadlessClockNow(), kShowClockBase + 25u * kSoakFrames);

    // A scene changes at the first frame past its duration: 15, 40, 20, 20 and 20 s,
    // each plus one 25-ms frame. The last scene is cut short by the end of the run.
    const std::vector<int> order = {4, 0, 1, 2, 3, 4, 0, 1, 2, 3};
    ASSERT_EQ(soak.scenes, order);
    const std::vector<int> lengths = {601, 1601, 801, 801, 801, 601, 1601, 801, 801, 791};
    EXPECT_EQ(soak.sceneFrames, lengths);

    // The music ran alongside for the whole 230 s, was heard, and started over.
    EXPECT_EQ(soak.musicSlices, (230u * 44100 + kMusicSliceFrames - 1) / kMusicSliceFrames);
    EXPECT_GT(soak.musicEnergy / (2 * kMusicSliceFrames * int64_t{soak.musicSlices}), 500);
    EXPECT_GE(MusicPlayerState()->songLoops, 1u);

    // Escape went through the main loop: AppShutdown ran once and released the display.
    EXPECT_EQ(HeadlessScreenSaverActive(), 1);
    EXPECT_EQ(DisplayBackSurface(), nullptr);
    HeadlessDisplaySetSink(nullptr, nullptr);
    MusicRenderClose();
}
