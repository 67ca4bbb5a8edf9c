// Renders the intro's bitmap font: 256 glyph cells of 48 x 42 pixels on an 800 x 694
// sheet of 16-bit 5.6.5 pixels, behind the 1080-byte bitmap header block.
//
// Usage: font_gen <font file> <output file>
//
// Cell c (its byte value) is at x = (c & 15) * 49 + 1, y = (c >> 4) * 43 + 1. Cells
// 0x21..0x7E hold ASCII, 0x80..0xFF the upper half of Windows-1251; control codes,
// the space and unused code points stay empty (all 0, the colour key). Glyphs are
// made for a 20-pixel advance: ink and outline stay in the cell's first 22 columns,
// narrow glyphs are centred in the 20-pixel slot and wide ones squeezed to fit.
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int kSheetWidth = 800;
constexpr int kSheetHeight = 694;
constexpr int kCellWidth = 48;
constexpr int kCellHeight = 42;
constexpr int kHeaderBytes = 1080;

// Outline thickness around the ink; the ink lies in columns [kInkLeft, kInkRight].
constexpr int kOutline = 2;
constexpr int kInkLeft = kOutline;
constexpr int kInkRight = 19;
constexpr int kInkWidth = kInkRight - kInkLeft + 1;
constexpr int kAdvance = 20;
constexpr int kPixelSize = 30;
// Baseline row inside the cell.
constexpr int kBaseline = 31;

// Windows-1251 0x80..0xFF as Unicode; 0 = no character.
constexpr uint16_t kCp1251Upper[128] = {
    0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021, 0x20AC, 0x2030, 0x0409, 0x2039,
    0x040A, 0x040C, 0x040B, 0x040F, 0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x0000, 0x2122, 0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F, 0x00A0, 0x040E, 0x045E, 0x0408,
    0x00A4, 0x0490, 0x00A6, 0x00A7, 0x0401, 0x00A9, 0x0404, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x0407,
    0x00B0, 0x00B1, 0x0406, 0x0456, 0x0491, 0x00B5, 0x00B6, 0x00B7, 0x0451, 0x2116, 0x0454, 0x00BB,
    0x0458, 0x0405, 0x0455, 0x0457, 0x0410, 0x0411, 0x0412, 0x0413, 0x0414, 0x0415, 0x0416, 0x0417,
    0x0418, 0x0419, 0x041A, 0x041B, 0x041C, 0x041D, 0x041E, 0x041F, 0x0420, 0x0421, 0x0422, 0x0423,
    0x0424, 0x0425, 0x0426, 0x0427, 0x0428, 0x0429, 0x042A, 0x042B, 0x042C, 0x042D, 0x042E, 0x042F,
    0x0430, 0x0431, 0x0432, 0x0433, 0x0434, 0x0435, 0x0436, 0x0437, 0x0438, 0x0439, 0x043A, 0x043B,
    0x043C, 0x043D, 0x043E, 0x043F, 0x0440, 0x0441, 0x0442, 0x0443, 0x0444, 0x0445, 0x0446, 0x0447,
    0x0448, 0x0449, 0x044A, 0x044B, 0x044C, 0x044D, 0x044E, 0x044F,
};

struct Rgb {
    double r, g, b;
};

// The face colour from the top of the tallest capital down to the descenders:
// pale gold, deep gold, a hard step to orange (the "horizon" of the chrome look),
// then down to crimson.
Rgb FaceColour(int row) {
    struct Stop {
        double at;
        Rgb colour;
    };
    static const Stop stops[] = {
        {8.0, {255, 255, 224}}, {17.0, {255, 214, 64}}, {17.01, {255, 150, 24}},
        {27.0, {240, 72, 40}},  {36.0, {170, 20, 96}},
    };
    const int count = sizeof(stops) / sizeof(stops[0]);
    if (row <= stops[0].at) return stops[0].colour;
    for (int i = 1; i < count; ++i) {
        if (row <= stops[i].at) {
            const double t = (row - stops[i - 1].at) / (stops[i].at - stops[i - 1].at);
            const Rgb& a = stops[i - 1].colour;
            const Rgb& b = stops[i].colour;
            return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
        }
    }
    return stops[count - 1].colour;
}

constexpr Rgb kOutlineColour = {24, 8, 56};

uint16_t Pack565(const Rgb& c) {
    const int r = std::clamp(static_cast<int>(std::lround(c.r)), 0, 255);
    const int g = std::clamp(static_cast<int>(std::lround(c.g)), 0, 255);
    const int b = std::clamp(static_cast<int>(std::lround(c.b)), 0, 255);
    return static_cast<uint16_t>(((r >> 3) << 11) | ((g >> 2) << 5) | (b >> 3));
}

uint32_t CodePointOf(int cell) {
    if (cell >= 0x21 && cell <= 0x7E) return static_cast<uint32_t>(cell);
    if (cell >= 0x80) return kCp1251Upper[cell - 0x80];
    return 0;
}

// Renders `code` with a horizontal squeeze of `squeeze` (1 = none). Returns 0 when the
// face has no glyph for it.
int RenderGlyph(FT_Face face, uint32_t code, double squeeze) {
    const FT_UInt index = FT_Get_Char_Index(face, code);
    if (index == 0) return 0;
    FT_Matrix matrix = {static_cast<FT_Fixed>(std::lround(squeeze * 65536.0)), 0, 0, 0x10000};
    FT_Set_Transform(face, &matrix, nullptr);
    if (FT_Load_Glyph(face, index, FT_LOAD_RENDER | FT_LOAD_NO_HINTING) != 0) return 0;
    return face->glyph->bitmap.pixel_mode == FT_PIXEL_MODE_GRAY;
}

void PutU16(std::vector<uint8_t>& out, size_t at, uint32_t v) {
    out[at] = static_cast<uint8_t>(v);
    out[at + 1] = static_cast<uint8_t>(v >> 8);
}
void PutU32(std::vector<uint8_t>& out, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) out[at + i] = static_cast<uint8_t>(v >> (8 * i));
}

// The header block: file header, info header, colour table area (holding the three
// 5.6.5 channel masks), two spare bytes.
void WriteHeader(std::vector<uint8_t>& out) {
    const uint32_t pixelBytes = kSheetWidth * kSheetHeight * 2;
    out[0] = 'B';
    out[1] = 'M';
    PutU32(out, 2, kHeaderBytes + pixelBytes);
    PutU32(out, 10, kHeaderBytes);
    PutU32(out, 14, 40);
    PutU32(out, 18, kSheetWidth);
    PutU32(out, 22, kSheetHeight);
    PutU16(out, 26, 1);
    PutU16(out, 28, 16);
    PutU32(out, 30, 3);
    PutU32(out, 34, pixelBytes);
    PutU32(out, 38, 2835);
    PutU32(out, 42, 2835);
    PutU32(out, 54, 0xF800);
    PutU32(out, 58, 0x07E0);
    PutU32(out, 62, 0x001F);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: font_gen <font file> <output file>\n");
        return 2;
    }
    FT_Library library;
    FT_Face face;
    if (FT_Init_FreeType(&library) != 0) {
        std::fprintf(stderr, "font_gen: FreeType does not start\n");
        return 1;
    }
    if (FT_New_Face(library, argv[1], 0, &face) != 0) {
        std::fprintf(stderr, "font_gen: cannot open the font %s\n", argv[1]);
        return 1;
    }
    FT_Set_Pixel_Sizes(face, 0, kPixelSize);

    std::vector<uint8_t> out(kHeaderBytes + kSheetWidth * kSheetHeight * 2, 0);
    WriteHeader(out);
    std::vector<uint16_t> sheet(kSheetWidth * kSheetHeight, 0);
    int drawn = 0;
    int squeezed = 0;

    for (int cell = 0; cell < 256; ++cell) {
        const uint32_t code = CodePointOf(cell);
        if (code == 0 || code == 0xA0) continue;
        if (!RenderGlyph(face, code, 1.0)) {
            std::fprintf(stderr, "font_gen: the font has no glyph for U+%04X (cell 0x%02X)\n", code,
                         cell);
            return 1;
        }
        int width = static_cast<int>(face->glyph->bitmap.width);
        if (width > kInkWidth) {
            // Squeeze until the rendered ink fits the slot.
            double squeeze = static_cast<double>(kInkWidth) / width;
            for (;;) {
                RenderGlyph(face, code, squeeze);
                width = static_cast<int>(face->glyph->bitmap.width);
                if (width <= kInkWidth) break;
                squeeze *= 0.97;
            }
            ++squeezed;
        }
        const FT_Bitmap& bm = face->glyph->bitmap;
        if (bm.width == 0 || bm.rows == 0) continue;

        // Coverage on a cell-sized canvas.
        std::vector<int> cover(kCellWidth * kCellHeight, 0);
        const int left = kInkLeft + (kInkWidth - static_cast<int>(bm.width)) / 2;
        const int top = kBaseline - face->glyph->bitmap_top;
        for (unsigned y = 0; y < bm.rows; ++y) {
            for (unsigned x = 0; x < bm.width; ++x) {
                const int cx = left + static_cast<int>(x);
                const int cy = top + static_cast<int>(y);
                if (cx < kOutline || cx >= kCellWidth - kOutline || cy < kOutline ||
                    cy >= kCellHeight - kOutline) {
                    std::fprintf(stderr, "font_gen: glyph of cell 0x%02X does not fit its cell\n",
                                 cell);
                    return 1;
                }
                cover[cy * kCellWidth + cx] = bm.buffer[y * bm.pitch + x];
            }
        }
        // Outline: every pixel within the disc of radius kOutline around solid ink.
        uint16_t* origin =
            sheet.data() + ((cell >> 4) * 43 + 1) * kSheetWidth + (cell & 15) * 49 + 1;
        for (int y = 0; y < kCellHeight; ++y) {
            for (int x = 0; x < kCellWidth; ++x) {
                bool near = false;
                for (int dy = -kOutline; dy <= kOutline && !near; ++dy) {
                    for (int dx = -kOutline; dx <= kOutline && !near; ++dx) {
                        const int sx = x + dx;
                        const int sy = y + dy;
                        if (dx * dx + dy * dy > kOutline * kOutline + 1) continue;
                        if (sx < 0 || sy < 0 || sx >= kCellWidth || sy >= kCellHeight) continue;
                        near = cover[sy * kCellWidth + sx] >= 128;
                    }
                }
                const int a = cover[y * kCellWidth + x];
                if (!near && a == 0) continue;
                const Rgb face_colour = FaceColour(y);
                const double t = a / 255.0;
                const Rgb mixed = {kOutlineColour.r + (face_colour.r - kOutlineColour.r) * t,
                                   kOutlineColour.g + (face_colour.g - kOutlineColour.g) * t,
                                   kOutlineColour.b + (face_colour.b - kOutlineColour.b) * t};
                uint16_t pixel = Pack565(mixed);
                if (pixel == 0) pixel = 0x0821;  // 0 is the colour key: keep ink visible
                origin[y * kSheetWidth + x] = pixel;
            }
        }
        ++drawn;
    }
    // The sheet is stored as little-endian 16-bit words.
    for (int i = 0; i < kSheetWidth * kSheetHeight; ++i) {
        const uint16_t v = sheet[i];
        out[kHeaderBytes + 2 * i] = static_cast<uint8_t>(v);
        out[kHeaderBytes + 2 * i + 1] = static_cast<uint8_t>(v >> 8);
    }

    const char* path = argv[2];
    std::string tmp = std::string(path) + ".tmp";
    FILE* file = std::fopen(tmp.c_str(), "wb");
    if (!file || std::fwrite(out.data(), 1, out.size(), file) != out.size() ||
        std::fclose(file) != 0) {
        std::fprintf(stderr, "font_gen: cannot write %s\n", path);
        return 1;
    }
    if (std::rename(tmp.c_str(), path) != 0) {
        std::fprintf(stderr, "font_gen: cannot rename %s\n", tmp.c_str());
        return 1;
    }
    std::printf("font: wrote %s (%zu bytes, %d glyphs, %d squeezed to the %d-pixel advance)\n",
                path, out.size(), drawn, squeezed, kAdvance);
    FT_Done_Face(face);
    FT_Done_FreeType(library);
    return 0;
}
