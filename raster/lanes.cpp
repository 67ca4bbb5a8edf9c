// Which form of the hot loops runs.
#include "raster/lanes.h"

#include "platform/cpu.h"

static int gWide;

int LanesChoose(int wide) {
    gWide = wide && kLanesWideBuilt && CpuHasAvx2();
    return gWide;
}

int LanesWideInUse() {
    return gWide;
}
