// The Windows shell's instance handle: written once by WinMain, read by the keyboard's
// set-up. The window handle is the platform's (WindowHandle, platform/window.h).
#pragma once
#include <windows.h>

extern HINSTANCE gInstance;
