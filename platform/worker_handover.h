// The hand-over between the frame's thread and its worker, shared by the worker
// implementations (app/sdl/worker_std.cpp, app/win32/worker_win32.cpp), which differ only
// in how a thread sleeps and is woken: their Bell.
//
// Two counters: jobs handed over and jobs finished. Inside a frame the next job, or the
// finish of one, usually comes within a fraction of a millisecond, while waking a thread
// that went to sleep can take a few tenths of one on a virtual machine: so a waiting
// thread first watches its counter for up to kWorkerSpin, and only then sleeps on the
// counter's bell (between frames, where the intro waits for its pace anyway).
//
// A Bell has Sleep(counter, old) (returns at the latest once Ring has been called after
// counter moved on from old), Ring(counter) and GiveWay() (offers the processor to another
// thread).
#pragma once
#include <atomic>
#include <chrono>
#include <cstdint>

constexpr std::chrono::microseconds kWorkerSpin{1000};

// Tells the processor that this thread only watches a counter, so that a sibling
// hardware thread runs meanwhile (x86 pause, Arm yield; nothing elsewhere).
inline void SpinHint() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

template <class Bell>
struct WorkerCounter {
    std::atomic<uint32_t> count{0};
    Bell bell;

    // The count once it differs from `old`.
    uint32_t AwaitChange(uint32_t old) {
        const auto deadline = std::chrono::steady_clock::now() + kWorkerSpin;
        for (;;) {
            // The clock is read once in a while, the counter at every turn.
            for (int turn = 0; turn < 256; ++turn) {
                const uint32_t now = count.load(std::memory_order_acquire);
                if (now != old) return now;
                SpinHint();
            }
            if (std::chrono::steady_clock::now() >= deadline) break;
            // Another thread that wants this processor (the machine may have no spare
            // one) gets it meanwhile.
            bell.GiveWay();
        }
        uint32_t now;
        while ((now = count.load(std::memory_order_acquire)) == old) bell.Sleep(count, old);
        return now;
    }

    void Publish(uint32_t value) {
        count.store(value, std::memory_order_release);
        bell.Ring(count);
    }
};

template <class Bell>
struct WorkerHandOver {
    WorkerCounter<Bell> handedOver;  // jobs handed over so far
    WorkerCounter<Bell> finished;    // jobs finished so far
    void (*job)(void*) = nullptr;    // written before handedOver moves on
    void* arg = nullptr;
    int started = -1;  // WorkerStart's answer: 1 the thread runs, 0 it could not start

    // The worker thread's life: each job as it is handed over.
    [[noreturn]] void Loop() {
        uint32_t seen = 0;
        for (;;) {
            seen = handedOver.AwaitChange(seen);
            job(arg);
            finished.Publish(seen);
        }
    }

    // WorkerRun: the job handed over, or run at once without a thread.
    void Run(void (*newJob)(void*), void* newArg) {
        if (started != 1) {
            newJob(newArg);
            return;
        }
        job = newJob;
        arg = newArg;
        handedOver.Publish(handedOver.count.load(std::memory_order_relaxed) + 1);
    }

    // WorkerWait.
    void Wait() {
        if (started != 1) return;
        const uint32_t target = handedOver.count.load(std::memory_order_relaxed);
        uint32_t now = finished.count.load(std::memory_order_acquire);
        while (now != target) now = finished.AwaitChange(now);
    }
};
