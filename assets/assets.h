// The content compiled into the intro: font image, terrain inputs, mesh templates and
// texts. Nothing here is read from a file at run time; every binary asset is a byte
// array made at build time from the file of the same name in assets/ (regenerated
// with `make assets`).
#pragma once
#include <cstdint>

// ---------------------------------------------------------------- bitmap records
// A bitmap record is a 1080-byte header block followed by the pixels, top row first:
//   0    file header (14 bytes): "BM", u32 record size, two u16 zero, u32 pixel offset
//   14   info header (40 bytes): u32 40, i32 width, i32 height, u16 planes, u16 bits,
//        u32 compression (3 = bit fields for 16 bits), u32 pixel bytes, ...
//   54   colour table area, 256 x 4 bytes: the grey ramp of 8-bit records; for
//        16-bit records the 5.6.5 channel masks 0xF800, 0x07E0, 0x001F
//   1078 two spare bytes
//   1080 pixels, little-endian, width x bits / 8 bytes a row
constexpr int32_t kBitmapHeaderBytes = 1080;

struct BitmapInfo {
    int32_t width;
    int32_t height;
    int32_t bitCount;
    int32_t pitch;                // bytes a row
    const unsigned char* pixels;  // null when the record holds the header only
};

// Decodes and checks a record's header. Returns 1, or 0 for a null pointer, a size
// below the header block, a wrong signature or inconsistent sizes. `pixels` is set
// only when the record also holds every pixel.
int BitmapRecordRead(const unsigned char* record, unsigned long size, BitmapInfo* out);

// The font: 800 x 694, 16-bit 5.6.5, 16 x 16 cells of 48 x 42 pixels with one-pixel
// borders; glyph c at x = (c & 15) * 49 + 1, y = (c >> 4) * 43 + 1. Cells 0x21..0x7E
// are ASCII, 0x80..0xFF Windows-1251; pixel value 0 is transparent. Glyphs are made
// for a 20-pixel advance.
extern const unsigned char FontImage[];
extern const unsigned long FontImage_size;

// ---------------------------------------------------------------- terrain
// 8-bit 64 x 64 height map (row r at z = r * 6000/63 - 3000, column c at
// x = c * 6000/63 - 3000, y = 1000 * value / 255), values 0..98: a basin round the
// origin, a ring of hills, and the highest, round one for the landmark.
extern const unsigned char TerrainHeightMap[];
extern const unsigned long TerrainHeightMap_size;
// Header block of a 256 x 256 16-bit bitmap; the terrain generator supplies the
// pixels (a checkerboard).
extern const unsigned char TerrainTextureHeader[];
extern const unsigned long TerrainTextureHeader_size;

// The top of the landmark hill in world units (a map vertex, so exactly on the
// surface): where the lighthouse's origin goes.
constexpr float kLandmarkHillX = -1380.9524f;
constexpr float kLandmarkHillY = 384.31372f;
constexpr float kLandmarkHillZ = 1190.4762f;

// ---------------------------------------------------------------- meshes
// Mesh templates (decoded by demo/mesh_template.h). The six objects in their order;
// the fifth is drawn by day, the sixth by night.
constexpr int kMeshTemplateCount = 6;
extern const unsigned char* const kMeshTemplates[kMeshTemplateCount];
extern const unsigned long kMeshTemplateSizes[kMeshTemplateCount];

// 0: logo "K'06", 1400 x 520 x 150, flat shaded; its face looks towards -z (it reads
// left to right from a camera on the -z side); origin at its centre.
extern const unsigned char MeshLogo[];
extern const unsigned long MeshLogo_size;
// 1: lighthouse, 850 high, origin at the foot of the tower (its plinth goes 75 below,
// into the hill it stands on).
extern const unsigned char MeshLighthouse[];
extern const unsigned long MeshLighthouse_size;
// 2: airship, 920 long, nose towards +x, origin at the hull's centre.
extern const unsigned char MeshAirship[];
extern const unsigned long MeshAirship_size;
// 3: trefoil knot, 780 across, smooth, origin at its centre.
extern const unsigned char MeshKnot[];
extern const unsigned long MeshKnot_size;
// 4: sun with rays, 680 across, origin at its centre.
extern const unsigned char MeshSun[];
extern const unsigned long MeshSun_size;
// 5: crescent moon, 600 high, opening towards +x, origin at the centre of its arc.
extern const unsigned char MeshMoon[];
extern const unsigned long MeshMoon_size;
// The shared template of the eight coloured instances: a hot-air balloon 434 high,
// origin in the middle of the envelope. Its polygons take the instance's colour.
extern const unsigned char MeshBalloon[];
extern const unsigned long MeshBalloon_size;

// ---------------------------------------------------------------- texts
// The info lines; AppInit copies them into its table, which has a null 49th entry.
constexpr int kFestivalInfoLineCount = 48;
extern const char* const kFestivalInfoLines[kFestivalInfoLineCount];
// The scroller message: English, then Russian in Windows-1251 (each byte selects the
// font cell of its value). Zero-terminated; kScrollerTextLength bytes before the zero.
extern const char kScrollerText[];
extern const int32_t kScrollerTextLength;
