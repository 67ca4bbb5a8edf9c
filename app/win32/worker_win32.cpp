// The worker on Windows: a thread from CreateThread, each counter of the hand-over
// (platform/worker_handover.h) with an auto-reset event to sleep on.
#include <windows.h>
#include <xmmintrin.h>

#include <atomic>

#include "platform/worker.h"
#include "platform/worker_handover.h"

namespace {

struct EventBell {
    HANDLE event = nullptr;
    void Sleep(const std::atomic<uint32_t>&, uint32_t) { WaitForSingleObject(event, INFINITE); }
    void Ring(std::atomic<uint32_t>&) { SetEvent(event); }
    static void GiveWay() { SwitchToThread(); }
};

WorkerHandOver<EventBell> gHandOver;
unsigned int gFloatSettings;  // MXCSR of the thread that started the worker

DWORD WINAPI WorkerLoop(LPVOID) {
    _mm_setcsr(gFloatSettings);
    gHandOver.Loop();
}

}  // namespace

int WorkerStart() {
    if (gHandOver.started >= 0) return gHandOver.started;
    gHandOver.started = 0;
    gFloatSettings = _mm_getcsr();
    gHandOver.handedOver.bell.event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    gHandOver.finished.bell.event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    if (!gHandOver.handedOver.bell.event || !gHandOver.finished.bell.event) return 0;
    HANDLE thread = CreateThread(nullptr, 0, WorkerLoop, nullptr, 0, nullptr);
    if (!thread) return 0;
    CloseHandle(thread);
    gHandOver.started = 1;
    return 1;
}

void WorkerRun(void (*job)(void*), void* arg) {
    gHandOver.Run(job, arg);
}

void WorkerWait() {
    gHandOver.Wait();
}
