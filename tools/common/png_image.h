// Writing 16-bit 5.6.5 pictures as PNG files (8 bits a channel).
#pragma once
#include <cstdint>
#include <string>

#include "tools/common/output_file.h"

// Writes width x height pixels (rows pitchBytes apart) to an opened output, each channel
// widened to 8 bits with its top bits repeated into the low ones. Returns 1, or 0 with
// the reason (the output is then abandoned); the caller commits it.
int PngWriteRgb565To(OutputFile* out, const uint16_t* pixels, int32_t width, int32_t height,
                     int32_t pitchBytes, std::string* error);
// The same into `path`, under the tools' output rules (output_file.h): it appears whole.
int PngWriteRgb565(const char* path, const uint16_t* pixels, int32_t width, int32_t height,
                   int32_t pitchBytes, std::string* error);

// Reads a PNG file back as 5.6.5 pixels (tightly packed rows) into `pixels`, which must
// hold maxPixels entries. Returns 1 and the size, or 0.
int PngReadRgb565(const char* path, uint16_t* pixels, int32_t maxPixels, int32_t* width,
                  int32_t* height);
