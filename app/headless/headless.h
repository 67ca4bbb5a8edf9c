// Controls of the headless shell, for tests and tools: the virtual clock, the keys,
// the message queue and failures on demand.
#pragma once
#include <cstdint>

// The virtual clock: TickNow() returns it; each turn of the frame wait moves it on by
// one millisecond, so a paced frame ends exactly 25 ms after its stamp.
void HeadlessClockSet(uint32_t ms);
uint32_t HeadlessClockNow();

// The "physical" keyboard that the next KeyboardRead snapshots.
void HeadlessKeySet(int scanCode, uint8_t value);
// The second Escape source.
void HeadlessEscapeAsyncSet(int down);
// Make the keyboard device fail to be created (InputCreate/KeyboardCreate return 0)
// or make reads fail (the previous snapshot is kept).
void HeadlessKeyboardSetFail(int createFails, int readFails);

// Queues a message for the main loop, as the window system would.
int HeadlessPostMessage(uint32_t id, uintptr_t wParam);
int HeadlessPendingMessages();

// The current screen-saver setting and cursor visibility.
int HeadlessScreenSaverActive();
int HeadlessCursorShown();

// Everything back to its initial state (clock 0, keys up, queue empty, no failures).
void HeadlessReset();
