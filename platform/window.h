// The window side of the shell: messages, the quit request, cursor and screen saver.
// Platform-supplied (Win32, SDL or headless).
#pragma once
#include <cstdint>

// Message numbers, as Windows numbers them.
constexpr uint32_t kMessageDestroy = 2;  // WM_DESTROY
constexpr uint32_t kMessageQuit = 18;    // WM_QUIT

struct AppMessage {
    uint32_t id;
    uintptr_t wParam;
};

// Takes at most one waiting message. Returns 1 when one was taken.
int MessagePeek(AppMessage* msg);
// Hands a taken message (never the quit message) to the window procedure.
void MessageDispatch(const AppMessage* msg);
// Posts the destroy message to the main window; the window procedure answers it with
// the quit message, which ends the main loop.
void WindowPostDestroy();

// The main window's native handle (the HWND on Windows, the SDL_Window with SDL; null
// headless). Set once by the entry point, before start-up; read by the display and the
// keyboard, which draw into and listen to that window.
void WindowHandleSet(void* handle);
void* WindowHandle();

void ScreenSaverActivate(int active);
void CursorShow(int show);
