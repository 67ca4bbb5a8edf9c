// Frame-start stamp, the 25-ms busy wait and the frames-per-second figure.
#include "platform/frame_clock.h"

#include "platform/keyboard.h"
#include "platform/window.h"

static uint32_t gFrameStart;
static float gFramesPerSecond;

uint32_t FrameStartStamp() {
    gFrameStart = TickNow();
    return gFrameStart;
}

uint32_t FrameStartTick() {
    return gFrameStart;
}

uint32_t WaitFrameTime(uint32_t ms) {
    // A busy wait, not a sleep: the pacing is a minimum frame time.
    uint32_t now = TickNow();
    while (now - gFrameStart < ms) {
        FrameClockSpin();
        now = TickNow();
    }
    return now;
}

float FramesPerSecondUpdate() {
    gFramesPerSecond = 1000.0f / static_cast<float>(TickNow() - gFrameStart);
    return gFramesPerSecond;
}

float FramesPerSecond() {
    return gFramesPerSecond;
}

void FrameFinish() {
    WaitFrameTime(25);
    FramesPerSecondUpdate();
    if (KeyboardEscapeDown()) WindowPostDestroy();
}
