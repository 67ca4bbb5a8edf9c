// The web entry. The page calls WebStart once it may start (after its start card, at
// once with ?autostart); the browser's animation frame then runs one turn of the main
// loop whenever a 25-ms slot is due.
//
// The frame clock is latched: a turn sees one time throughout, and the frame wait
// moves the clock on to the end of the frame's 25 ms instead of spinning. The next turn
// runs at the first animation frame at or after that time, stamped with it, so the
// show keeps the desktop's 40 frames a second and its timeline whatever the display's
// refresh rate, and the page sleeps between frames. When the page falls a whole slot
// behind (a slow machine, a hidden tab), the clock jumps to the real time and the
// missed slots count as dropped frames.
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

uint32_t RealMs() {
    return static_cast<uint32_t>(static_cast<uint64_t>(emscripten_get_now()));
}

// One console line a second: what the show did in that time (the tests read it).
void Report(uint32_t now) {
    if (now - gReportStart < 1000) return;
    uint32_t slices = 0;
    double squares = 0;
    WebWaveStatsTake(&slices, &squares);
    const double rms = slices ? std::sqrt(squares / (2.0 * kMusicSliceFrames * slices)) : 0.0;
    std::printf(
        "invitro: %.3f s: %u frames drawn, %u dropped, %u audio slices rendered, rms %.1f\n",
        (now - gReportStart) / 1000.0, gFramesDrawn, gFramesDropped, slices, rms);
    gReportStart = now;
    gFramesDrawn = gFramesDropped = 0;
}

EM_JS(void, WebShowEnded, (int code), {
    if (Module.invitroEnded) Module.invitroEnded(code);
});

EM_BOOL OnAnimationFrame(double, void*) {
    const uint32_t now = RealMs();
    if (gFirstTurn) {
        WebClockSet(now);
        gReportStart = now;
        gFirstTurn = 0;
    } else {
        const int32_t late = static_cast<int32_t>(now - WebClockNow());
        if (late < 0) return EM_TRUE;  // the slot is not due yet
        if (late >= static_cast<int32_t>(kFrameMs)) {
            gFramesDropped += static_cast<uint32_t>(late) / kFrameMs;
            WebClockSet(now);
        }
    }
    int exitCode = 0;
    if (AppMainTurn(&exitCode)) {
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
    WebClockSet(live ? RealMs() : kVirtualStart);
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
