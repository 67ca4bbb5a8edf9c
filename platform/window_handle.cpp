// The main window's native handle, shared by the entry point and the platform code.
#include "platform/window.h"

static void* gWindowHandle;

void WindowHandleSet(void* handle) {
    gWindowHandle = handle;
}

void* WindowHandle() {
    return gWindowHandle;
}
