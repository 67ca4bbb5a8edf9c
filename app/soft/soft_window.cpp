// A small fixed message queue and the window procedure: destroy answers with quit.
#include "app/soft/soft_window.h"

constexpr int kQueueSize = 64;

static AppMessage gQueue[kQueueSize];
static int gHead, gCount;

int SoftMessagePost(uint32_t id, uintptr_t wParam) {
    if (gCount == kQueueSize) return 0;
    gQueue[(gHead + gCount) % kQueueSize] = {id, wParam};
    ++gCount;
    return 1;
}

int SoftMessageTake(AppMessage* msg) {
    if (gCount == 0) return 0;
    *msg = gQueue[gHead];
    gHead = (gHead + 1) % kQueueSize;
    --gCount;
    return 1;
}

int SoftMessagePending() {
    return gCount;
}

void SoftMessageClear() {
    gHead = gCount = 0;
}

void MessageDispatch(const AppMessage* msg) {
    if (msg->id == kMessageDestroy) SoftMessagePost(kMessageQuit, 0);
}

void WindowPostDestroy() {
    SoftMessagePost(kMessageDestroy, 0);
}
