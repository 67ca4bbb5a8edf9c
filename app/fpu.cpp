// Floating-point control for the renderer.
#include <cstdint>

#include "app/app.h"

#if defined(__SSE__) || defined(_M_X64)
#include <xmmintrin.h>
#endif

void FloatingPointSetup() {
#if defined(__SSE__) || defined(_M_X64)
    unsigned csr = _mm_getcsr();
    csr &= ~0x6000u;  // rounding control: to nearest
    csr |= 0x8040u;   // flush-to-zero and denormals-are-zero
    _mm_setcsr(csr);
#elif defined(__aarch64__)
    // FZ flushes denormal operands and results alike, as x86's two bits together do.
    uint64_t fpcr;
    asm volatile("mrs %0, fpcr" : "=r"(fpcr));
    fpcr &= ~(uint64_t{3} << 22);  // rounding mode: to nearest
    fpcr |= uint64_t{1} << 24;     // FZ
    asm volatile("msr fpcr, %0" : : "r"(fpcr));
#endif
    // WebAssembly cannot flush; the show and the tune meet no denormal (the test
    // Show.FullCycleMatchesScheduleAndReferencesAndMeetsNoDenormal), so nothing differs.
}
