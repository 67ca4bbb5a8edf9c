// The Windows shell's handles: written once by WinMain, read by the display (cooperative
// level, window rectangle), the keyboard (cooperative level) and the quit request.
#pragma once
#include <windows.h>

extern HWND gMainWindow;
extern HINSTANCE gInstance;
