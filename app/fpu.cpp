// Floating-point control for the renderer.
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
#endif
}
