// The main loop: at most one message per turn, then one frame.
#include "app/app.h"
#include "app/window.h"
#include "demo/demo.h"

int AppMainLoop() {
    for (;;) {
        AppMessage msg;
        // One message per frame at most keeps the frame rate independent of message
        // traffic; a burst is worked off over several frames.
        if (MessagePeek(&msg)) {
            if (msg.id == kMessageQuit) {
                AppShutdown();
                return static_cast<int>(msg.wParam);
            }
            MessageDispatch(&msg);
        }
        DemoFrame();
    }
}
