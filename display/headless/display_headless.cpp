// The headless screen: presented frames go to a caller-supplied sink.
#include "display/headless/display_headless.h"

#include "display/soft/soft_backend.h"

static HeadlessPresentSink gSink;
static void* gSinkUser;
static uint32_t gBitCount = 16;
static int gFailInit;
static int32_t gPresentCount;

void HeadlessDisplaySetSink(HeadlessPresentSink sink, void* user) {
    gSink = sink;
    gSinkUser = user;
}
void HeadlessDisplaySetBitCount(uint32_t bits) {
    gBitCount = bits;
}
void HeadlessDisplaySetFailInit(int fail) {
    gFailInit = fail;
}
int32_t HeadlessDisplayPresentCount() {
    return gPresentCount;
}

int SoftBackendInit(int32_t, int32_t, int32_t, uint32_t* primaryBitCount) {
    if (gFailInit) return 0;
    *primaryBitCount = gBitCount;
    gPresentCount = 0;
    return 1;
}

int SoftBackendPresent(const Surface* back) {
    ++gPresentCount;
    if (gSink) gSink(back->pixels, back->pitch, back->width, back->height, gSinkUser);
    return 1;
}

void SoftBackendRelease() {}
