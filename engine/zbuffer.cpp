// The depth buffer.
#include "engine/zbuffer.h"

#include <cstdlib>

int ZBufferCreate(ZBuffer* zb, int32_t width, int32_t height, uint32_t attr) {
    if (!zb) return 0;
    if (zb->buffer) std::free(zb->buffer);
    zb->buffer = nullptr;
    zb->sizeWords = 0;
    // Both size bits together take 16-bit entries, the first one listed.
    int64_t bytesPerEntry = 0;
    if (attr & kZBuffer16) {
        bytesPerEntry = 2;
    } else if (attr & kZBuffer32) {
        bytesPerEntry = 4;
    } else {
        return 0;
    }
    if (width <= 0 || height <= 0) return 0;
    const int64_t entries = static_cast<int64_t>(width) * height;
    const int64_t words = bytesPerEntry == 2 ? entries / 2 : entries;
    if (words > INT32_MAX) return 0;
    zb->buffer = static_cast<uint32_t*>(std::malloc(static_cast<size_t>(entries * bytesPerEntry)));
    if (!zb->buffer) return 0;
    zb->attr = attr;
    zb->width = width;
    zb->height = height;
    zb->sizeWords = static_cast<int32_t>(words);
    return 1;
}

void ZBufferClear(ZBuffer* zb, uint32_t value) {
    if (!zb || !zb->buffer) return;
    for (int32_t i = 0; i < zb->sizeWords; ++i) zb->buffer[i] = value;
}

void ZBufferClearRows(ZBuffer* zb, uint32_t value, int32_t firstRow, int32_t endRow) {
    if (!zb || !zb->buffer || zb->height <= 0) return;
    const int64_t wordsPerRow = zb->sizeWords / zb->height;
    const int64_t first = (firstRow < 0 ? 0 : firstRow) * wordsPerRow;
    const int64_t end = endRow >= zb->height ? zb->sizeWords : endRow * wordsPerRow;
    for (int64_t i = first; i < end; ++i) zb->buffer[i] = value;
}
