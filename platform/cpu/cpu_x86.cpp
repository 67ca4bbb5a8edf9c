// The processor's features on x86-64, read with cpuid and xgetbv (there is no ifunc on
// every platform the program runs on, so the choice is made once, at start-up).
#include <cpuid.h>

#include <cstdint>

#include "platform/cpu.h"

int CpuHasAvx2() {
    unsigned eax, ebx, ecx, edx;
    if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return 0;
    const unsigned kOsxsave = 1u << 27, kAvx = 1u << 28;
    if ((ecx & (kOsxsave | kAvx)) != (kOsxsave | kAvx)) return 0;
    // The operating system saves the SSE and AVX register halves (XCR0 bits 1 and 2).
    uint32_t low, high;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    if ((low & 6) != 6) return 0;
    if (!__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx)) return 0;
    return (ebx >> 5) & 1;
}
