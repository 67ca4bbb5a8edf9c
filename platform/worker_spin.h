// The wait both worker implementations use before they block. Inside a frame the next
// job, or the finish of one, usually comes within a fraction of a millisecond, while
// waking a thread that went to sleep can take a few tenths of one on a virtual machine:
// so a waiting thread first watches its counter for up to kWorkerSpin, and only then
// sleeps (between frames, where the intro waits for its pace anyway).
#pragma once
#include <atomic>
#include <chrono>
#include <cstdint>

constexpr std::chrono::microseconds kWorkerSpin{1000};

// Returns the counter's value once it differs from `old`, or `old` when kWorkerSpin has
// passed first. yield() offers the processor to another thread now and then (the
// platform's own call: not every Windows runtime has std::this_thread).
template <class Yield>
uint32_t WorkerSpinUntilChange(const std::atomic<uint32_t>& counter, uint32_t old, Yield yield) {
    const auto deadline = std::chrono::steady_clock::now() + kWorkerSpin;
    for (;;) {
        // The clock is read once in a while; the counter at every turn.
        for (int turn = 0; turn < 256; ++turn) {
            const uint32_t now = counter.load(std::memory_order_acquire);
            if (now != old) return now;
#if defined(__x86_64__) || defined(__i386__)
            __builtin_ia32_pause();  // lets a sibling hardware thread run meanwhile
#endif
        }
        if (std::chrono::steady_clock::now() >= deadline) return old;
        // Another thread that wants this processor (the machine may have no spare one)
        // gets it meanwhile.
        yield();
    }
}
