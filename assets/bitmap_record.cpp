// Header decoding of the bitmap records compiled into the intro.
#include "assets/assets.h"

namespace {

uint32_t ReadU32(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
           (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

uint32_t ReadU16(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8);
}

}  // namespace

int BitmapRecordRead(const unsigned char* record, unsigned long size, BitmapInfo* out) {
    if (!record || !out || size < static_cast<unsigned long>(kBitmapHeaderBytes)) return 0;
    if (record[0] != 'B' || record[1] != 'M' || ReadU32(record + 14) != 40) return 0;
    const int32_t width = static_cast<int32_t>(ReadU32(record + 18));
    int32_t height = static_cast<int32_t>(ReadU32(record + 22));
    const int32_t bits = static_cast<int32_t>(ReadU16(record + 28));
    // Rows are top row first either way; a negative height only says so explicitly.
    if (height < 0 && height > -65536) height = -height;
    if (width <= 0 || height <= 0 || width > 65536 || height > 65536) return 0;
    if (bits != 8 && bits != 16) return 0;
    const int32_t pitch = width * bits / 8;
    const unsigned long pixelBytes = static_cast<unsigned long>(pitch) * height;
    if (ReadU32(record + 10) != static_cast<uint32_t>(kBitmapHeaderBytes) ||
        ReadU32(record + 2) != kBitmapHeaderBytes + pixelBytes)
        return 0;
    out->width = width;
    out->height = height;
    out->bitCount = bits;
    out->pitch = pitch;
    out->pixels = size >= kBitmapHeaderBytes + pixelBytes ? record + kBitmapHeaderBytes : nullptr;
    return 1;
}
