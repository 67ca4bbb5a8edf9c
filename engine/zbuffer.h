// The depth buffer: one block of depth entries for the frame, created once at start-up.
#pragma once
#include <cstdint>

constexpr uint32_t kZBuffer16 = 0x10;  // 16-bit depth entries
constexpr uint32_t kZBuffer32 = 0x20;  // 32-bit depth entries

struct ZBuffer {
    uint32_t attr;      // kZBuffer16 or kZBuffer32
    uint32_t* buffer;   // the entries
    int32_t width;      //
    int32_t height;     //
    int32_t sizeWords;  // 32-bit words: width * height / 2 (16-bit) or width * height (32-bit)
};

// Frees a previous buffer of zb, then allocates width * height entries of 2 bytes
// (attr has kZBuffer16) or 4 bytes (kZBuffer32); the contents are not cleared.
// Returns 1, or 0 for a null zb, an attr with neither size, a non-positive size or a
// failed allocation (zb then holds no buffer).
int ZBufferCreate(ZBuffer* zb, int32_t width, int32_t height, uint32_t attr);

// Writes `value` into every 32-bit word of the buffer (a 16-bit buffer thus gets its
// two halves in each pair of entries). Called before each render pass.
void ZBufferClear(ZBuffer* zb, uint32_t value);
// The same for rows [firstRow, endRow) only (a band of the frame).
void ZBufferClearRows(ZBuffer* zb, uint32_t value, int32_t firstRow, int32_t endRow);
