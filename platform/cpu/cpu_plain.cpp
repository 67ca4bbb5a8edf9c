// Processors other than x86-64: the build's own target is all the program uses.
#include "platform/cpu.h"

int CpuHasAvx2() {
    return 0;
}
