// The headless shell: virtual clock, keyboard state and window set by the caller.
#include <cstring>

#include "app/headless/headless.h"
#include "app/soft/soft_window.h"
#include "platform/frame_clock.h"
#include "platform/keyboard.h"

static uint32_t gClock;
static uint8_t gPhysicalKeys[256];
static uint8_t gKeyState[256];
static int gEscapeAsync;
static int gCreateFails, gReadFails;
static int gInput, gKeyboard;
static int gScreenSaverActive = 1;
static int gCursorShown = 1;

void HeadlessClockSet(uint32_t ms) {
    gClock = ms;
}
uint32_t HeadlessClockNow() {
    return gClock;
}
uint32_t TickNow() {
    return gClock;
}
void FrameClockSpin() {
    ++gClock;
}

void HeadlessKeySet(int scanCode, uint8_t value) {
    gPhysicalKeys[scanCode & 255] = value;
}
void HeadlessEscapeAsyncSet(int down) {
    gEscapeAsync = down;
}
void HeadlessKeyboardSetFail(int createFails, int readFails) {
    gCreateFails = createFails;
    gReadFails = readFails;
}

int InputCreate() {
    gInput = !gCreateFails;
    return gInput;
}

int KeyboardCreate() {
    gKeyboard = gInput && !gCreateFails;
    return gKeyboard;
}

int KeyboardRead() {
    if (!gKeyboard) {
        std::memset(gKeyState, 0, sizeof gKeyState);
        return 0;
    }
    if (gReadFails) return 0;
    std::memcpy(gKeyState, gPhysicalKeys, sizeof gKeyState);
    return 1;
}

void KeyboardRelease() {}
void InputRelease() {}
const uint8_t* KeyboardState() {
    return gKeyState;
}
int KeyboardEscapeAsync() {
    return gEscapeAsync;
}

int MessagePeek(AppMessage* msg) {
    return SoftMessageTake(msg);
}
int HeadlessPostMessage(uint32_t id, uintptr_t wParam) {
    return SoftMessagePost(id, wParam);
}
int HeadlessPendingMessages() {
    return SoftMessagePending();
}

void ScreenSaverActivate(int active) {
    gScreenSaverActive = active;
}
void CursorShow(int show) {
    gCursorShown = show;
}
int HeadlessScreenSaverActive() {
    return gScreenSaverActive;
}
int HeadlessCursorShown() {
    return gCursorShown;
}

void HeadlessReset() {
    gClock = 0;
    std::memset(gPhysicalKeys, 0, sizeof gPhysicalKeys);
    std::memset(gKeyState, 0, sizeof gKeyState);
    gEscapeAsync = 0;
    gCreateFails = gReadFails = 0;
    gInput = gKeyboard = 0;
    gScreenSaverActive = 1;
    gCursorShown = 1;
    SoftMessageClear();
}
