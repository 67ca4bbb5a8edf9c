// The keyboard: a 256-byte scan-code state read once per frame, and the Escape test.
#pragma once
#include <cstdint>

constexpr int kDikEscape = 1;  // DIK_ESCAPE

// Platform-supplied. Results: 1 success, 0 failure (the device then stays absent and
// the key state reads all zero).
int InputCreate();
int KeyboardCreate();
// Refreshes the key state: 1 when refreshed; 0 without a device (state cleared) or
// on a failed read (previous state kept).
int KeyboardRead();
void KeyboardRelease();
void InputRelease();
// The last snapshot: one byte per scan code, non-zero while the key is down.
const uint8_t* KeyboardState();
// The second Escape source, independent of the device (GetAsyncKeyState on Windows).
int KeyboardEscapeAsync();

// Escape is down when the async source says so or the scan-code byte is non-zero.
int KeyboardEscapeDown();
