// The Windows entry point and window procedure.
#include <windows.h>

#include "app/app.h"
#include "app/win32/win32_shell.h"
#include "platform/window.h"

HINSTANCE gInstance;

LRESULT CALLBACK MainWindowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    switch (msg) {
        case WM_CREATE:
            return 0;
        case WM_PAINT: {
            PAINTSTRUCT paint;
            BeginPaint(hwnd, &paint);
            EndPaint(hwnd, &paint);
            return 0;
        }
        case WM_DESTROY:
            PostQuitMessage(0);
            return 0;
        default:
            return DefWindowProcA(hwnd, msg, wParam, lParam);
    }
}

int WINAPI WinMain(HINSTANCE hInstance, HINSTANCE, LPSTR, int) {
    WNDCLASSA windowClass = {};
    windowClass.style = CS_VREDRAW | CS_HREDRAW | CS_DBLCLKS | CS_OWNDC;
    windowClass.lpfnWndProc = MainWindowProc;
    windowClass.hInstance = hInstance;
    windowClass.hIcon = LoadIconA(nullptr, reinterpret_cast<LPCSTR>(IDI_APPLICATION));
    windowClass.hCursor = LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW));
    windowClass.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    windowClass.lpszClassName = "DEMOCLASS";
    if (!RegisterClassA(&windowClass)) return 0;

    HWND hwnd = CreateWindowExA(0, "DEMOCLASS", "Korvane'06 invitro", WS_POPUP | WS_VISIBLE, 0, 0,
                                640, 480, nullptr, nullptr, hInstance, nullptr);
    if (!hwnd) return 0;
    WindowHandleSet(hwnd);
    gInstance = hInstance;

    AppInit();
    // The loop takes at most one message per frame; WM_QUIT ends it after AppShutdown.
    return AppMainLoop();
}
