// The whole intro through the headless platform on its virtual clock for a full cycle:
// the black last row and column, frames of every scene against reference pictures (the
// references are `capture --at MS --png` frames), and no denormal number met on either
// thread, nor by the tune.
#include <gtest/gtest.h>

#include <cfenv>
#include <cstdlib>
#include <string>
#include <vector>

#include "app/app.h"
#include "app/headless/headless.h"
#include "assets/tune.h"
#include "demo/demo.h"
#include "demo/timeline.h"
#include "display/headless/display_headless.h"
#include "display/present_scale.h"
#include "music/headless/wave_headless.h"
#include "music/music.h"
#include "platform/worker.h"
#include "tools/common/png_image.h"

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace {

// The start-up flushes denormals on x86 and arm64; WebAssembly cannot. Flushing changes
// no result as long as no operation meets a denormal operand or makes a result below
// the normal range, which the processor's sticky flags record: x86 with flushing off
// (denormal operand, underflow), arm64 with it on (input denormal, underflow).
void DenormalWatchStart(void* = nullptr) {
#if defined(__SSE__)
    _mm_setcsr(_mm_getcsr() & ~(0x8040u | 0x3Fu));
#endif
    std::feclearexcept(FE_ALL_EXCEPT);
#if defined(__aarch64__)
    uint64_t fpsr;
    asm volatile("mrs %0, fpsr" : "=r"(fpsr));
    asm volatile("msr fpsr, %0" : : "r"(fpsr & ~uint64_t{0x80}));
#endif
}

int gDenormalMet;
void DenormalWatchRead(void* = nullptr) {
    int met = std::fetestexcept(FE_UNDERFLOW) != 0;
#if defined(__SSE__)
    met |= (_mm_getcsr() & 0x02) != 0;
#elif defined(__aarch64__)
    uint64_t fpsr;
    asm volatile("mrs %0, fpsr" : "=r"(fpsr));
    met |= (fpsr & 0x80) != 0;
#endif
    gDenormalMet |= met;
}

constexpr int kWidth = 640, kHeight = 480;
std::vector<uint16_t> gSurface(kWidth* kHeight);

void Sink(const uint16_t* pixels, int32_t pitchBytes, int32_t, int32_t, void*) {
    for (int y = 0; y < kHeight; ++y)
        std::copy(pixels + y * (pitchBytes / 2), pixels + y * (pitchBytes / 2) + kWidth,
                  gSurface.begin() + y * kWidth);
}

struct Reference {
    uint32_t ms;
    int scene;
    const char* file;
};
const Reference kReferences[] = {{8000, 4, "scene4_008000.png"},
                                 {35000, 0, "scene0_035000.png"},
                                 {64000, 1, "scene1_064000.png"},
                                 {84000, 2, "scene2_084000.png"},
                                 {105000, 3, "scene3_105000.png"}};

int Channel(uint16_t p, int c) {
    return c == 0 ? (p >> 11) << 3 : c == 1 ? ((p >> 5) & 63) << 2 : (p & 31) << 3;
}

// Pixels whose colour differs from the reference by more than one 5-bit step in any
// channel. Frames are exact on one build; other compilers or optimisation levels may
// round a float a hair differently at a triangle's edge or in a lit colour, which moves
// a handful of edge pixels or shifts a colour by one step, so a few are tolerated.
int DifferingPixels(const std::vector<uint16_t>& picture, const std::vector<uint16_t>& reference) {
    int count = 0;
    for (size_t i = 0; i < picture.size(); ++i)
        for (int c = 0; c < 3; ++c)
            if (std::abs(Channel(picture[i], c) - Channel(reference[i], c)) > 8) {
                ++count;
                break;
            }
    return count;
}

}  // namespace

TEST(Show, FullCycleMatchesScheduleAndReferencesAndMeetsNoDenormal) {
    HeadlessReset();
    HeadlessClockSet(1000);
    HeadlessWaveSetOpenFails(1);  // silent: the tune is rendered below
    HeadlessDisplaySetSink(Sink, nullptr);
    AppInit();
    DenormalWatchStart();
    WorkerRun(DenormalWatchStart, nullptr);
    WorkerWait();

    size_t next = 0;
    const int frames = 115000 / 25 + 8;  // each scene lasts up to a frame longer
    for (int n = 0; n < frames; ++n) {
        const uint32_t ms = static_cast<uint32_t>(n) * 25;
        HeadlessClockSet(1000 + ms);
        DemoFrame();
        const TimelineState* state = TimelineStateGet();
        if (n == 0) {
            ASSERT_EQ(state->scene, 4);
            ASSERT_EQ(state->sceneDuration, 15000u);
        }

        // Row 479 is never drawn by the sky, the fillers or the overlay (the scroller
        // ends above it); column 639 only by the overlay's two bands of text.
        for (int x = 0; x < kWidth; ++x) ASSERT_EQ(gSurface[479 * kWidth + x], 0) << "frame " << n;
        for (int y = 60; y < 400; ++y) ASSERT_EQ(gSurface[y * kWidth + 639], 0) << "frame " << n;

        if (next < std::size(kReferences) && ms == kReferences[next].ms) {
            const Reference& ref = kReferences[next++];
            EXPECT_EQ(state->scene, ref.scene) << ref.file;
            std::vector<uint16_t> picture(kWidth * kHeight, 0);
            PresentScaleToScreen(gSurface.data(), kWidth * 2, kWidth, kHeight, picture.data(),
                                 kWidth * 2);
            std::vector<uint16_t> reference(kWidth * kHeight);
            int32_t w = 0, h = 0;
            const std::string path = std::string(INVITRO_SHOW_REFERENCE_DIR) + "/" + ref.file;
            ASSERT_TRUE(PngReadRgb565(path.c_str(), reference.data(), kWidth * kHeight, &w, &h))
                << path;
            ASSERT_EQ(w, kWidth);
            ASSERT_EQ(h, kHeight);
            const int differing = DifferingPixels(picture, reference);
            EXPECT_LE(differing, kWidth * kHeight / 200) << ref.file;
            if (differing > kWidth * kHeight / 200) {
                const std::string failed = std::string(ref.file) + ".actual.png";
                std::string ignored;
                PngWriteRgb565(failed.c_str(), picture.data(), kWidth, kHeight, kWidth * 2,
                               &ignored);
            }
        }
    }
    EXPECT_EQ(next, std::size(kReferences));
    EXPECT_EQ(HeadlessDisplayPresentCount(), frames);
    HeadlessDisplaySetSink(nullptr, nullptr);

    // The whole tune, slice by slice, as the stream renders it.
    ASSERT_TRUE(
        MusicRenderOpen(kTuneXm, static_cast<uint32_t>(kTuneXm_size), kMusicSourceMemory, nullptr));
    for (int slice = 0; slice < 142 * 44100 / static_cast<int>(kMusicSliceFrames) + 1; ++slice)
        RenderSlice();
    MusicRenderClose();
    DenormalWatchRead();
    WorkerRun(DenormalWatchRead, nullptr);
    WorkerWait();
    EXPECT_EQ(gDenormalMet, 0) << "a denormal was met: flushing would change the numbers";
}
