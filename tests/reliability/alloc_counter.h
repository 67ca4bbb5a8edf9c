// Counts heap allocations in this test binary: the global operator new (every form) is
// replaced here, and malloc, calloc and realloc calls of the program's own code are
// routed through counting wrappers by the linker (--wrap, see CMakeLists.txt).
#pragma once
#include <cstdint>

// Starts counting from zero / stops and returns how many allocations were made, by any
// thread, since the start.
void AllocCountStart();
int64_t AllocCountStop();
