// Contact sheet of the show: box-filtered thumbnails with captions in the intro's font.
#include "tools/capture/contact_sheet.h"

#include <cstdio>

#include "assets/assets.h"
#include "demo/timeline.h"
#include "tools/capture/capture_output.h"
#include "tools/common/png_image.h"

namespace {

constexpr int32_t kCaptionHeight = 24;
constexpr int32_t kGap = 4;
constexpr uint16_t kBackground = 0x2104;  // dark grey between the cells

// The font's glyphs at half size: 24 x 21 out of 48 x 42, 10 pixels apart.
constexpr int32_t kGlyphWidth = 48, kGlyphHeight = 42, kFontPitch = 800, kAdvance = 10;

int Channel(uint16_t p, int c) {
    return c == 0 ? p >> 11 : c == 1 ? (p >> 5) & 63 : p & 31;
}

uint16_t Pack(const int sum[3], int count) {
    return static_cast<uint16_t>(((sum[0] / count) << 11) | ((sum[1] / count) << 5) |
                                 (sum[2] / count));
}

uint16_t FontPixel(int32_t x, int32_t y) {
    const unsigned char* p = FontImage + kBitmapHeaderBytes + (y * kFontPitch + x) * 2;
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

// Draws `text` at (x, y) of a picture `width` pixels wide: each 2 x 2 block of a glyph
// becomes the average of its opaque pixels when at least two of them are opaque.
void DrawCaption(std::vector<uint16_t>* picture, int32_t width, int32_t x, int32_t y,
                 const char* text) {
    for (; *text; ++text, x += kAdvance) {
        const int c = static_cast<unsigned char>(*text);
        const int32_t gx = (c & 15) * (kGlyphWidth + 1) + 1, gy = (c >> 4) * (kGlyphHeight + 1) + 1;
        for (int32_t j = 0; j < kGlyphHeight / 2; ++j)
            for (int32_t i = 0; i < kGlyphWidth / 2; ++i) {
                int sum[3] = {0, 0, 0}, opaque = 0;
                for (int32_t k = 0; k < 4; ++k) {
                    const uint16_t p = FontPixel(gx + 2 * i + (k & 1), gy + 2 * j + (k >> 1));
                    if (!p) continue;
                    ++opaque;
                    for (int ch = 0; ch < 3; ++ch) sum[ch] += Channel(p, ch);
                }
                const int32_t px = x + i, py = y + j;
                if (opaque >= 2 && px < width)
                    (*picture)[static_cast<size_t>(py) * width + px] = Pack(sum, opaque);
            }
    }
}

}  // namespace

void ContactSheetOffer(ContactSheet* sheet, const uint16_t* surface, int32_t pitchBytes,
                       int32_t width, int32_t height, uint32_t ms) {
    if (ms % kContactSheetStepMs != 0) return;
    std::vector<uint16_t> screen;
    CaptureScreenPicture(surface, pitchBytes, width, height, 1, &screen);
    const uint16_t* picture = screen.data();
    const int32_t scene = TimelineStateGet()->scene;
    const int32_t w = width / kContactSheetShrink, h = height / kContactSheetShrink;
    sheet->thumbWidth = w;
    sheet->thumbHeight = h;
    if (scene != sheet->lastScene || sheet->column == kContactSheetColumns) {
        ++sheet->row;
        sheet->column = 0;
    }
    sheet->lastScene = scene;

    ContactSheet::Cell cell;
    cell.row = sheet->row;
    cell.column = sheet->column++;
    cell.pixels.assign(static_cast<size_t>(w) * (h + kCaptionHeight), 0);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            int sum[3] = {0, 0, 0};
            for (int32_t j = 0; j < kContactSheetShrink; ++j)
                for (int32_t i = 0; i < kContactSheetShrink; ++i) {
                    const uint16_t p =
                        picture[static_cast<size_t>(y * kContactSheetShrink + j) * width +
                                x * kContactSheetShrink + i];
                    for (int c = 0; c < 3; ++c) sum[c] += Channel(p, c);
                }
            cell.pixels[static_cast<size_t>(y) * w + x] =
                Pack(sum, kContactSheetShrink * kContactSheetShrink);
        }
    char caption[48];
    std::snprintf(caption, sizeof caption, "%u:%02u.%u  scene %d", ms / 60000, ms / 1000 % 60,
                  ms / 100 % 10, scene);
    DrawCaption(&cell.pixels, w, 4, h + 2, caption);
    sheet->cells.push_back(std::move(cell));
}

int ContactSheetWrite(const ContactSheet* sheet, OutputFile* out, std::string* error) {
    if (sheet->cells.empty()) {
        *error = "no frame of the recording falls on the contact sheet's 2.5-s steps";
        OutputAbandon(out);
        return 0;
    }
    const int32_t cellWidth = sheet->thumbWidth + kGap;
    const int32_t cellHeight = sheet->thumbHeight + kCaptionHeight + kGap;
    const int32_t width = kContactSheetColumns * cellWidth + kGap;
    const int32_t height = (sheet->row + 1) * cellHeight + kGap;
    std::vector<uint16_t> page(static_cast<size_t>(width) * height, kBackground);
    for (const ContactSheet::Cell& cell : sheet->cells) {
        const int32_t x0 = kGap + cell.column * cellWidth, y0 = kGap + cell.row * cellHeight;
        for (int32_t y = 0; y < sheet->thumbHeight + kCaptionHeight; ++y)
            for (int32_t x = 0; x < sheet->thumbWidth; ++x)
                page[static_cast<size_t>(y0 + y) * width + x0 + x] =
                    cell.pixels[static_cast<size_t>(y) * sheet->thumbWidth + x];
    }
    return PngWriteRgb565To(out, page.data(), width, height, width * 2, error) &&
           OutputCommit(out, error);
}
