// The per-frame driver: clocks, sky, keyboard, drawing, present and pacing.
#include <cmath>

#include "app/frame_clock.h"
#include "app/keyboard.h"
#include "demo/demo.h"
#include "display/display.h"

static float gSkyTime;
static int32_t gFrameCount;

int DemoFrame() {
    FrameStartStamp();
    Surface* back = DisplayBackSurface();
    SurfaceClear(back, 0, nullptr);

    gSkyTime += 0.01;
    gFrameCount += 1;
    const double s = std::sin(gSkyTime);
    const int32_t red = static_cast<int32_t>(70 + 70 * s);
    const int32_t green = static_cast<int32_t>(91 + 90 * s);
    const int32_t blue = static_cast<int32_t>(118 + 117 * s);
    // Right and bottom are exclusive: the last column and row stay black, on purpose.
    SurfaceFillRect(0, 0, 639, 479, ColourPacker(red, green, blue), back);

    KeyboardRead();
    SurfaceLock();
    SurfaceUnlock();
    DisplayPresent();
    FrameFinish();
    return 1;
}
