// Writing 16-bit 5.6.5 pictures as PNG files (8 bits a channel).
#pragma once
#include <cstdint>

// Writes width x height pixels (rows pitchBytes apart) to `path`, each channel widened
// to 8 bits with its top bits repeated into the low ones. The file appears under its
// name only when complete (written to a temporary name, then renamed). Returns 1, or
// 0 with the reason in `error` (when non-null, at most errorSize bytes).
int PngWriteRgb565(const char* path, const uint16_t* pixels, int32_t width, int32_t height,
                   int32_t pitchBytes, char* error = nullptr, int errorSize = 0);

// Reads a PNG file back as 5.6.5 pixels (tightly packed rows) into `pixels`, which must
// hold maxPixels entries. Returns 1 and the size, or 0.
int PngReadRgb565(const char* path, uint16_t* pixels, int32_t maxPixels, int32_t* width,
                  int32_t* height);
