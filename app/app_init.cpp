// Start-up and tear-down of the intro, each in its fixed order.
#include <cstdlib>

#include "app/app.h"
#include "app/frame_clock.h"
#include "app/keyboard.h"
#include "app/window.h"
#include "display/display.h"

int AppInit() {
    ScreenSaverActivate(0);
    // The results of the start-up steps are not checked: a part that fails to start
    // stays inert and the show goes on without it.
    DisplayInit(640, 480, 16, 0, 0);
    InputCreate();
    KeyboardCreate();
    CursorShow(0);
    std::srand(FrameStartStamp());
    FloatingPointSetup();
    return 1;
}

int AppShutdown() {
    KeyboardRelease();
    InputRelease();
    DisplayRelease();
    ScreenSaverActivate(1);
    return 1;
}
