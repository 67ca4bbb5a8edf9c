// The main loop: at most one message per turn, then one frame.
#include "app/app.h"
#include "demo/demo.h"
#include "platform/window.h"

int AppMainTurn(int* exitCode) {
    AppMessage msg;
    // One message per frame at most keeps the frame rate independent of message
    // traffic; a burst is worked off over several frames.
    if (MessagePeek(&msg)) {
        if (msg.id == kMessageQuit) {
            AppShutdown();
            *exitCode = static_cast<int>(msg.wParam);
            return 0;
        }
        MessageDispatch(&msg);
    }
    DemoFrame();
    return 1;
}

int AppMainLoop() {
    int exitCode = 0;
    while (AppMainTurn(&exitCode)) {
    }
    return exitCode;
}
