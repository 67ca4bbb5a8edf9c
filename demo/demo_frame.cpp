// The per-frame driver: clocks, sky, keyboard, scene, drawing, present and pacing.
#include "app/frame_clock.h"
#include "app/keyboard.h"
#include "demo/demo.h"
#include "demo/timeline.h"
#include "display/display.h"

int DemoFrame() {
    FrameStartStamp();
    TimelineStart(TickNow());
    Surface* back = DisplayBackSurface();
    SurfaceClear(back, 0, nullptr);

    int32_t red, green, blue;
    TimelineSkyAdvance(&red, &green, &blue);
    // Right and bottom are exclusive: the last column and row stay black, on purpose.
    SurfaceFillRect(0, 0, 639, 479, ColourPacker(red, green, blue), back);

    KeyboardRead();
    TimelineScheduleStep(TickNow());
    TimelineSceneCamera();
    SurfaceLock();
    SurfaceUnlock();
    DisplayPresent();
    FrameFinish();
    return 1;
}
