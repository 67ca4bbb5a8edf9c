// The worker of the Linux builds (SDL and headless): a std::thread, sleeping on the
// counters themselves (platform/worker_handover.h).
#include <atomic>
#include <system_error>
#include <thread>

#include "platform/worker.h"
#include "platform/worker_handover.h"

#if defined(__SSE__) || defined(_M_X64)
#include <xmmintrin.h>
#else
#include <cfenv>
#endif

namespace {

struct StdBell {
    static void Sleep(const std::atomic<uint32_t>& counter, uint32_t old) {
        counter.wait(old, std::memory_order_acquire);
    }
    static void Ring(std::atomic<uint32_t>& counter) { counter.notify_one(); }
    static void GiveWay() { std::this_thread::yield(); }
};

WorkerHandOver<StdBell> gHandOver;

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
    gHandOver.Loop();
}

}  // namespace

int WorkerStart() {
    if (gHandOver.started >= 0) return gHandOver.started;
    try {
        std::thread(WorkerLoop, FloatSettingsGet()).detach();
        gHandOver.started = 1;
    } catch (const std::system_error&) {
        gHandOver.started = 0;
    }
    return gHandOver.started;
}

void WorkerRun(void (*job)(void*), void* arg) {
    gHandOver.Run(job, arg);
}

void WorkerWait() {
    gHandOver.Wait();
}
