// PNG writing and reading through libpng.
#include "tools/common/png_image.h"

#include <png.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

static void SetError(char* error, int errorSize, const std::string& text) {
    if (error && errorSize > 0)
        std::snprintf(error, static_cast<size_t>(errorSize), "%s", text.c_str());
}

// Writes the picture through libpng; false when libpng reports an error.
static bool WriteRows(FILE* file, const uint16_t* pixels, int32_t width, int32_t height,
                      int32_t pitchBytes, uint8_t* row) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    if (!png) return false;
    png_infop info = png_create_info_struct(png);
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, info ? &info : nullptr);
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int32_t y = 0; y < height; ++y) {
        const uint16_t* from = pixels + static_cast<size_t>(y) * (pitchBytes / 2);
        for (int32_t x = 0; x < width; ++x) {
            const uint32_t p = from[x];
            const uint32_t r = (p >> 11) & 31, g = (p >> 5) & 63, b = p & 31;
            row[x * 3 + 0] = static_cast<uint8_t>((r << 3) | (r >> 2));
            row[x * 3 + 1] = static_cast<uint8_t>((g << 2) | (g >> 4));
            row[x * 3 + 2] = static_cast<uint8_t>((b << 3) | (b >> 2));
        }
        png_write_row(png, row);
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

int PngWriteRgb565(const char* path, const uint16_t* pixels, int32_t width, int32_t height,
                   int32_t pitchBytes, char* error, int errorSize) {
    const std::string temporary = std::string(path) + ".part";
    FILE* file = std::fopen(temporary.c_str(), "wb");
    if (!file) {
        SetError(error, errorSize,
                 std::string("cannot write ") + path + ": " + std::strerror(errno));
        return 0;
    }
    std::vector<uint8_t> row(static_cast<size_t>(width) * 3);
    bool ok = WriteRows(file, pixels, width, height, pitchBytes, row.data());
    if (std::fclose(file) != 0) ok = false;
    if (!ok || std::rename(temporary.c_str(), path) != 0) {
        std::remove(temporary.c_str());
        SetError(error, errorSize, std::string("cannot write ") + path);
        return 0;
    }
    return 1;
}

int PngReadRgb565(const char* path, uint16_t* pixels, int32_t maxPixels, int32_t* width,
                  int32_t* height) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path)) return 0;
    image.format = PNG_FORMAT_RGB;
    const int64_t count = static_cast<int64_t>(image.width) * image.height;
    if (count > maxPixels) {
        png_image_free(&image);
        return 0;
    }
    std::vector<uint8_t> rgb(static_cast<size_t>(count) * 3);
    if (!png_image_finish_read(&image, nullptr, rgb.data(), 0, nullptr)) return 0;
    for (int64_t i = 0; i < count; ++i)
        pixels[i] = static_cast<uint16_t>(((rgb[i * 3] >> 3) << 11) | ((rgb[i * 3 + 1] >> 2) << 5) |
                                          (rgb[i * 3 + 2] >> 3));
    *width = static_cast<int32_t>(image.width);
    *height = static_cast<int32_t>(image.height);
    return 1;
}
