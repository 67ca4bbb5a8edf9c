// The worker on Windows: a thread from CreateThread and two auto-reset events, one for
// a job handed over and one for a job finished. After a job the thread keeps looking
// for the next one for a while (platform/worker_spin.h), as the frame hands over its
// next part soon, before it waits on the event; the caller waits for the finish the
// same way.
#include <windows.h>
#include <xmmintrin.h>

#include <atomic>

#include "platform/worker.h"
#include "platform/worker_spin.h"

namespace {

std::atomic<uint32_t> gHandedOver{0};  // jobs handed over so far
std::atomic<uint32_t> gFinished{0};    // jobs finished so far
void (*gJob)(void*);                   // written before gHandedOver moves on
void* gArg;
HANDLE gHandOverEvent;
HANDLE gFinishEvent;
unsigned int gFloatSettings;  // MXCSR of the thread that started the worker
int gStarted = -1;

// Returns the counter's value once it is no longer `old`.
uint32_t AwaitChange(const std::atomic<uint32_t>& counter, uint32_t old, HANDLE event) {
    uint32_t now = WorkerSpinUntilChange(counter, old, [] { SwitchToThread(); });
    if (now != old) return now;
    while ((now = counter.load(std::memory_order_acquire)) == old) {
        WaitForSingleObject(event, INFINITE);
    }
    return now;
}

DWORD WINAPI WorkerLoop(LPVOID) {
    _mm_setcsr(gFloatSettings);
    uint32_t seen = 0;
    for (;;) {
        seen = AwaitChange(gHandedOver, seen, gHandOverEvent);
        gJob(gArg);
        gFinished.store(seen, std::memory_order_release);
        SetEvent(gFinishEvent);
    }
}

}  // namespace

int WorkerStart() {
    if (gStarted >= 0) return gStarted;
    gStarted = 0;
    gFloatSettings = _mm_getcsr();
    gHandOverEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    gFinishEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    if (!gHandOverEvent || !gFinishEvent) return 0;
    HANDLE thread = CreateThread(nullptr, 0, WorkerLoop, nullptr, 0, nullptr);
    if (!thread) return 0;
    CloseHandle(thread);
    gStarted = 1;
    return 1;
}

void WorkerRun(void (*job)(void*), void* arg) {
    if (gStarted != 1) {
        job(arg);
        return;
    }
    gJob = job;
    gArg = arg;
    gHandedOver.fetch_add(1, std::memory_order_release);
    SetEvent(gHandOverEvent);
}

void WorkerWait() {
    if (gStarted != 1) return;
    const uint32_t handedOver = gHandedOver.load(std::memory_order_relaxed);
    uint32_t finished = gFinished.load(std::memory_order_acquire);
    while (finished != handedOver) finished = AwaitChange(gFinished, finished, gFinishEvent);
}
