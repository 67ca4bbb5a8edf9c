// The web entry. The page calls WebStart once it may start (after its start card, at
// once with ?autostart); the browser's animation frame then runs one turn of the main
// loop whenever a 25-ms slot is due.
//
// The frame clock is latched: a turn sees one time throughout, and the frame wait
// moves the clock on to the end of the frame's 25 ms instead of spinning. So the slots
// lie on a whole-millisecond grid 25 ms apart, as the desktop's frames do, and never
// drift. A slot runs at the display refresh nearest to it: the first refresh less than
// half a refresh before it, by the refresh's own time and the refresh period seen so
// far. At any refresh rate the show draws 40 frames a second, each at most half a
// refresh from its slot, and the page sleeps between frames. When the page falls a
// whole slot behind (a slow machine, a hidden tab), the clock jumps to the real time
// and the missed slots count as dropped frames.
#include <emscripten.h>
#include <emscripten/html5.h>

#include <cmath>
#include <cstdio>

#include "app/app.h"
#include "app/web/web_shell.h"
#include "demo/demo.h"
#include "demo/timeline.h"
#include "display/display.h"
#include "music/music.h"
#include "music/web/wave_web.h"
#include "platform/window.h"

namespace {

constexpr uint32_t kFrameMs = 25;
// The virtual show's first tick, as the offline tools take it (a zero tick means "not
// started" to the timeline).
constexpr uint32_t kVirtualStart = 1000;

char gCanvasSelector[] = "#screen";
int gStarted, gLive;
int gFirstTurn = 1;
uint32_t gVirtualFrames;

uint32_t gReportStart, gFramesDrawn, gFramesDropped;
// The refresh period, from the animation frames' own times, and the last of those.
double gRefreshMs = 1000.0 / 60, gLastRefresh = -1;
int gTrapAsked;

uint32_t MsOf(double time) {
    return static_cast<uint32_t>(static_cast<uint64_t>(time));
}

// One console line a second: what the show did in that time (the tests read it).
void Report(uint32_t now) {
    if (now - gReportStart < 1000) return;
    uint32_t slices = 0, underruns = 0;
    double squares = 0;
    WebWaveStatsTake(&slices, &squares, &underruns);
    const double rms = slices ? std::sqrt(squares / (2.0 * kMusicSliceFrames * slices)) : 0.0;
    std::printf(
        "invitro: %.3f s: %u frames drawn, %u dropped, %u audio slices rendered, rms %.1f, "
        "underruns %u\n",
        (now - gReportStart) / 1000.0, gFramesDrawn, gFramesDropped, slices, rms, underruns);
    gReportStart = now;
    gFramesDrawn = gFramesDropped = 0;
}

EM_JS(void, WebShowEnded, (int code), {
    if (Module.invitroEnded) Module.invitroEnded(code);
});

EM_BOOL OnAnimationFrame(double time, void*) {
    if (gLastRefresh >= 0) {
        // Gaps (a stall, a hidden page) say nothing of the display.
        const double period = time - gLastRefresh;
        if (period > 1 && period < 50) gRefreshMs += (period - gRefreshMs) / 8;
    }
    gLastRefresh = time;
    const uint32_t now = MsOf(time);
    const int first = gFirstTurn;
    if (first) {
        WebClockSet(now);
        gReportStart = now;
        gFirstTurn = 0;
    } else {
        const double late = time - WebClockNow();
        if (late < -gRefreshMs / 2) return EM_TRUE;  // a later refresh is nearer the slot
        if (late >= kFrameMs) {
            gFramesDropped += static_cast<uint32_t>(late) / kFrameMs;
            WebClockSet(now);
        }
    }
    if (gTrapAsked) __builtin_trap();
    int exitCode = 0;
    const double started = emscripten_get_now();
    if (AppMainTurn(&exitCode)) {
        if (first)
            std::printf("invitro: the first frame took %.1f ms\n", emscripten_get_now() - started);
        ++gFramesDrawn;
        Report(now);
        return EM_TRUE;
    }
    // The page's end stands for the process exit: the sound stops with it.
    WebWaveEnd();
    std::printf("invitro: the show has ended\n");
    WebShowEnded(exitCode);
    return EM_FALSE;
}

}  // namespace

// Starts the show: live (1) on the real clock with sound, driven by the animation
// frame; or virtual (0), silent, one frame per WebVirtualFrame call. Returns 0 when the
// canvas cannot be drawn on.
extern "C" EMSCRIPTEN_KEEPALIVE int WebStart(int live) {
    if (gStarted) return 0;
    gStarted = 1;
    gLive = live;
    WindowHandleSet(gCanvasSelector);
    WebClockSet(live ? MsOf(emscripten_get_now()) : kVirtualStart);
    WebWaveSetEnabled(live);
    AppInit();
    if (!DisplayBackSurface()) {
        WebWaveEnd();
        return 0;
    }
    if (live) emscripten_request_animation_frame_loop(OnAnimationFrame, nullptr);
    return 1;
}

// The test and benchmark hook: the next frame of a virtual show, whose clock moves 25 ms
// a frame from its start, as the offline capture runs it. Returns the scene drawn, or
// -1 when no virtual show runs.
extern "C" EMSCRIPTEN_KEEPALIVE int WebVirtualFrame() {
    if (!gStarted || gLive) return -1;
    WebClockSet(kVirtualStart + gVirtualFrames * kFrameMs);
    ++gVirtualFrames;
    DemoFrame();
    return TimelineStateGet()->scene;
}

// The tests' way to see what a fault inside a frame does to the page: the next turn
// traps as a fault in the program's code would.
extern "C" EMSCRIPTEN_KEEPALIVE void WebTrapNextTurn() {
    gTrapAsked = 1;
}
