// The Windows shell: GetTickCount, the message pump, screen saver and cursor, and the
// keyboard through DirectInput 8 with GetAsyncKeyState as the second Escape source.
#define DIRECTINPUT_VERSION 0x0800
#include <dinput.h>
#include <windows.h>

#include <cstring>

#include "app/win32/win32_shell.h"
#include "platform/frame_clock.h"
#include "platform/keyboard.h"
#include "platform/window.h"

static HWND MainWindow() {
    return static_cast<HWND>(WindowHandle());
}

uint32_t TickNow() {
    return GetTickCount();
}
void FrameClockSpin() {}

static MSG gMessage;

int MessagePeek(AppMessage* msg) {
    if (!PeekMessageA(&gMessage, nullptr, 0, 0, PM_REMOVE)) return 0;
    msg->id = gMessage.message;
    msg->wParam = gMessage.wParam;
    return 1;
}

void MessageDispatch(const AppMessage*) {
    TranslateMessage(&gMessage);
    DispatchMessageA(&gMessage);
}

// Posting WM_DESTROY to our own window is the intended shortcut to the quit message;
// the window is never passed to DestroyWindow.
void WindowPostDestroy() {
    PostMessageA(MainWindow(), WM_DESTROY, 0, 0);
}

void ScreenSaverActivate(int active) {
    SystemParametersInfoA(SPI_SETSCREENSAVEACTIVE, active ? TRUE : FALSE, nullptr, 0);
}

void CursorShow(int show) {
    ShowCursor(show ? TRUE : FALSE);
}

static IDirectInput8A* gInput;
static IDirectInputDevice8A* gKeyboard;
static uint8_t gKeyState[256];

int InputCreate() {
    if (DirectInput8Create(gInstance, 0x0800, IID_IDirectInput8A, reinterpret_cast<void**>(&gInput),
                           nullptr) < 0)
        return 0;
    return 1;
}

int KeyboardCreate() {
    if (!gInput) return 0;
    if (gInput->CreateDevice(GUID_SysKeyboard, &gKeyboard, nullptr) != DI_OK) return 0;
    if (gKeyboard->SetCooperativeLevel(MainWindow(), DISCL_NONEXCLUSIVE | DISCL_BACKGROUND) !=
        DI_OK)
        return 0;
    if (gKeyboard->SetDataFormat(&c_dfDIKeyboard) != DI_OK) return 0;
    if (gKeyboard->Acquire() != DI_OK) return 0;
    return 1;
}

int KeyboardRead() {
    if (!gKeyboard) {
        std::memset(gKeyState, 0, sizeof gKeyState);
        return 0;
    }
    // A failed read keeps the last snapshot; a lost device is not re-acquired.
    return gKeyboard->GetDeviceState(sizeof gKeyState, gKeyState) == DI_OK;
}

void KeyboardRelease() {
    if (!gKeyboard) return;
    gKeyboard->Unacquire();
    gKeyboard->Release();
}

void InputRelease() {
    if (gInput) gInput->Release();
}

const uint8_t* KeyboardState() {
    return gKeyState;
}

int KeyboardEscapeAsync() {
    return (GetAsyncKeyState(VK_ESCAPE) & 0x8000) != 0;
}
