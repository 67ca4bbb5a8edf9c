// PNG writing and reading through libpng.
#include "tools/common/png_image.h"

#include <png.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

// libpng's output: the descriptor, written whole; a failed write ends the picture.
static void WriteBytes(png_structp png, png_bytep bytes, png_size_t count) {
    if (!WriteAll(*static_cast<int*>(png_get_io_ptr(png)), bytes, count))
        png_error(png, "write failed");
}
static void FlushNothing(png_structp) {}
// Errors end the picture without a word of libpng's own: the caller says what failed.
static void Quiet(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}
static void QuietWarning(png_structp, png_const_charp) {}

// Writes the picture through libpng; false when libpng reports an error.
static bool WriteRows(int fd, const uint16_t* pixels, int32_t width, int32_t height,
                      int32_t pitchBytes, uint8_t* row) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, Quiet, QuietWarning);
    if (!png) return false;
    png_infop info = png_create_info_struct(png);
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, info ? &info : nullptr);
        return false;
    }
    png_set_write_fn(png, &fd, WriteBytes, FlushNothing);
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

int PngWriteRgb565To(OutputFile* out, const uint16_t* pixels, int32_t width, int32_t height,
                     int32_t pitchBytes, std::string* error) {
    std::vector<uint8_t> row(static_cast<size_t>(width) * 3);
    errno = 0;
    if (WriteRows(out->fd, pixels, width, height, pitchBytes, row.data())) return 1;
    *error = "cannot write " + out->path + (errno ? std::string(": ") + std::strerror(errno) : "");
    OutputAbandon(out);
    return 0;
}

int PngWriteRgb565(const char* path, const uint16_t* pixels, int32_t width, int32_t height,
                   int32_t pitchBytes, std::string* error) {
    OutputFile out;
    return OutputOpen(&out, path, error) &&
           PngWriteRgb565To(&out, pixels, width, height, pitchBytes, error) &&
           OutputCommit(&out, error);
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
