// Heap discipline: once AppInit has run, no frame and no music slice allocates, on the
// main thread or on the stream thread. The first frame is the one exception the show's
// fixed order makes: it builds the font sprite, and nothing else.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "app/app.h"
#include "assets/assets.h"
#include "assets/tune.h"
#include "demo/demo.h"
#include "demo/sprite.h"
#include "engine/zbuffer.h"
#include "tests/reliability/alloc_counter.h"
#include "tests/reliability/show_rig.h"

namespace {

constexpr uint32_t kBytesPerFrame = 44100 * 4 / 40;  // sound played during one 25-ms frame

std::vector<uint8_t> Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>());
}

// Allocations made while rendering `slices` slices of a module (opened uncounted).
int64_t SliceAllocations(const uint8_t* bytes, size_t size, int slices) {
    const char* reason = "";
    if (!MusicRenderOpen(bytes, static_cast<uint32_t>(size), kMusicSourceMemory, &reason)) {
        ADD_FAILURE() << reason;
        return -1;
    }
    AllocCountStart();
    for (int i = 0; i < slices; ++i) RenderSlice();
    const int64_t count = AllocCountStop();
    MusicRenderClose();
    return count;
}

// Stored through a volatile pointer, so that the compiler may not leave the new out.
int* volatile gKept;

}  // namespace

TEST(Allocation, TheCounterSeesTheProgramsMallocAndOperatorNew) {
    // Without this the tests below could pass with a hook that never fires.
    ZBuffer zb = {};
    AllocCountStart();
    ZBufferCreate(&zb, 8, 8, kZBuffer32);  // malloc inside the engine library
    gKept = new int[100];
    const int64_t count = AllocCountStop();
    delete[] gKept;
    EXPECT_EQ(count, 2);
    ZBufferCreate(&zb, 8, 8, kZBuffer16);  // frees the first buffer
}

TEST(Allocation, NoFrameAllocatesWhileTheStreamThreadRefillsTheRing) {
    ShowFreshProcess();
    AppInit();
    ASSERT_EQ(HeadlessWaveIsPlaying(), 1);

    AllocCountStart();
    DemoFrame();
    const int64_t firstFrame = AllocCountStop();
    Sprite probe = {};
    AllocCountStart();
    FontCreate(FontImage, &probe);
    const int64_t font = AllocCountStop();
    EXPECT_EQ(firstFrame, font) << "the first frame allocates more than the font sprite";

    // 400 frames (10 s) while the device "plays" 25 ms a frame: the stream thread renders
    // every slice played, five times round the ring.
    constexpr uint32_t kFrames = 400;
    AllocCountStart();
    for (uint32_t n = 1; n <= kFrames; ++n) {
        HeadlessWaveSetPosition(n * kBytesPerFrame);
        DemoFrame();
    }
    const uint32_t caughtUp = MusicPlayingSlice(kFrames * kBytesPerFrame);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (MusicNextSlice() != caughtUp && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const int64_t later = AllocCountStop();
    EXPECT_EQ(MusicNextSlice(), caughtUp);
    EXPECT_EQ(later, 0) << "frames after the first, or the stream thread, allocated";
    StopMusic();
}

TEST(Allocation, NoSliceAllocatesInTheTuneOrTheEffectModules) {
    // Three minutes of the tune: all of it, and over its restart.
    EXPECT_EQ(SliceAllocations(kTuneXm, kTuneXm_size, 9000), 0);
    // The fuzzer's seed modules between them use every effect and loop kind.
    const char* root = std::getenv("INVITRO_SOURCE_DIR");
    const std::string seeds = std::string(root ? root : ".") + "/tests/fuzz/seeds/";
    for (const char* name :
         {"effects.xm", "effects_amiga.xm", "envelopes.xm", "flow.xm", "wide.xm", "demo.xm"}) {
        const std::vector<uint8_t> bytes = Slurp(seeds + name);
        ASSERT_FALSE(bytes.empty()) << seeds + name;
        EXPECT_EQ(SliceAllocations(bytes.data(), bytes.size(), 1000), 0) << name;
    }
}
