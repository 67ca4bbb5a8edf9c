// What the processor offers beyond the build's target. Platform-supplied: read from the
// processor on x86-64 (cpu/cpu_x86.cpp), nothing elsewhere (cpu/cpu_plain.cpp).
#pragma once

// 1 when the processor has AVX2 and the operating system saves the 256-bit registers.
int CpuHasAvx2();
