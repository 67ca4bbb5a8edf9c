// The worker of the Linux builds (SDL and headless): a std::thread, sleeping on the
// counters themselves (platform/worker_handover.h).
#include <atomic>
#include <cfenv>
#include <system_error>
#include <thread>

#include "platform/worker.h"
#include "platform/worker_handover.h"

namespace {

struct StdBell {
    static void Sleep(const std::atomic<uint32_t>& counter, uint32_t old) {
        counter.wait(old, std::memory_order_acquire);
    }
    static void Ring(std::atomic<uint32_t>& counter) { counter.notify_one(); }
    static void GiveWay() { std::this_thread::yield(); }
};

WorkerHandOver<StdBell> gHandOver;

// The whole floating-point environment (MXCSR on x86-64, FPCR on arm64: rounding and
// flush to zero) of the starting thread.
void WorkerLoop(std::fenv_t settings) {
    std::fesetenv(&settings);
    gHandOver.Loop();
}

}  // namespace

int WorkerStart() {
    if (gHandOver.started >= 0) return gHandOver.started;
    try {
        std::fenv_t settings;
        std::fegetenv(&settings);
        std::thread(WorkerLoop, settings).detach();
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
