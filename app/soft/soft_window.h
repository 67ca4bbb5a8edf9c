// The message queue and window procedure of the platforms without a Windows window
// (SDL and headless). Internal to app/.
#pragma once
#include <cstdint>

#include "platform/window.h"

// Appends a message; 0 when the queue is full.
int SoftMessagePost(uint32_t id, uintptr_t wParam);
// Takes the oldest queued message; 0 when there is none.
int SoftMessageTake(AppMessage* msg);
int SoftMessagePending();
void SoftMessageClear();
