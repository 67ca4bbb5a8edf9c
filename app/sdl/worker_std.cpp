// The worker of the Linux builds (SDL and headless): a std::thread. After a job it keeps
// looking for the next one for a while (platform/worker_spin.h), as the frame hands over
// its next part soon, and then sleeps on the hand-over counter; the caller waits for the
// finish counter the same way.
#include <atomic>
#include <system_error>
#include <thread>

#include "platform/worker.h"
#include "platform/worker_spin.h"

#if defined(__SSE__) || defined(_M_X64)
#include <xmmintrin.h>
#else
#include <cfenv>
#endif

namespace {

std::atomic<uint32_t> gHandedOver{0};  // jobs handed over so far
std::atomic<uint32_t> gFinished{0};    // jobs finished so far
void (*gJob)(void*);                   // written before gHandedOver moves on
void* gArg;
int gStarted = -1;

// Returns the counter's value once it is no longer `old`.
uint32_t AwaitChange(const std::atomic<uint32_t>& counter, uint32_t old) {
    uint32_t now = WorkerSpinUntilChange(counter, old, [] { std::this_thread::yield(); });
    if (now != old) return now;
    while ((now = counter.load(std::memory_order_acquire)) == old) {
        counter.wait(old, std::memory_order_acquire);
    }
    return now;
}

#if defined(__SSE__) || defined(_M_X64)
using FloatSettings = unsigned int;
FloatSettings FloatSettingsGet() {
    return _mm_getcsr();
}
void FloatSettingsSet(FloatSettings s) {
    _mm_setcsr(s);
}
#else
using FloatSettings = std::fenv_t;
FloatSettings FloatSettingsGet() {
    std::fenv_t env;
    std::fegetenv(&env);
    return env;
}
void FloatSettingsSet(FloatSettings s) {
    std::fesetenv(&s);
}
#endif

void WorkerLoop(FloatSettings settings) {
    FloatSettingsSet(settings);
    uint32_t seen = 0;
    for (;;) {
        seen = AwaitChange(gHandedOver, seen);
        gJob(gArg);
        gFinished.store(seen, std::memory_order_release);
        gFinished.notify_one();
    }
}

}  // namespace

int WorkerStart() {
    if (gStarted >= 0) return gStarted;
    try {
        std::thread(WorkerLoop, FloatSettingsGet()).detach();
        gStarted = 1;
    } catch (const std::system_error&) {
        gStarted = 0;
    }
    return gStarted;
}

void WorkerRun(void (*job)(void*), void* arg) {
    if (gStarted != 1) {
        job(arg);
        return;
    }
    gJob = job;
    gArg = arg;
    gHandedOver.fetch_add(1, std::memory_order_release);
    gHandedOver.notify_one();
}

void WorkerWait() {
    if (gStarted != 1) return;
    const uint32_t handedOver = gHandedOver.load(std::memory_order_relaxed);
    uint32_t finished = gFinished.load(std::memory_order_acquire);
    while (finished != handedOver) finished = AwaitChange(gFinished, finished);
}
