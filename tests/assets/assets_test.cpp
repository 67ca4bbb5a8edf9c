// The compiled-in content: font container and glyphs, texts, terrain inputs against
// the cameras of the scene schedule, and the mesh templates.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "assets/assets.h"
#include "demo/overlay.h"
#include "display/colour.h"
#include "display/display.h"
#include "display/headless/display_headless.h"
#include "tests/assets/mesh_check.h"

namespace {

uint16_t FontPixel(int x, int y) {
    const unsigned char* p = FontImage + kBitmapHeaderBytes + y * 1600 + x * 2;
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

// Columns [first, last] holding non-zero pixels of glyph c; last = -1 when empty.
void GlyphColumns(int c, int* first, int* last) {
    *first = 48;
    *last = -1;
    const int x0 = (c & 15) * 49 + 1, y0 = (c >> 4) * 43 + 1;
    for (int y = 0; y < 42; ++y) {
        for (int x = 0; x < 48; ++x) {
            if (FontPixel(x0 + x, y0 + y) == 0) continue;
            *first = std::min(*first, x);
            *last = std::max(*last, x);
        }
    }
}

}  // namespace

TEST(Font, ContainerAndCellGeometry) {
    ASSERT_EQ(FontImage_size, 1080ul + 800 * 694 * 2);
    BitmapInfo info;
    ASSERT_EQ(BitmapRecordRead(FontImage, FontImage_size, &info), 1);
    EXPECT_EQ(info.width, 800);
    EXPECT_EQ(info.height, 694);
    EXPECT_EQ(info.bitCount, 16);
    EXPECT_EQ(info.pitch, 1600);
    EXPECT_EQ(info.pixels, FontImage + 1080);
    // Cell borders and the strips right of and below the grid stay transparent, so no
    // glyph reaches into its neighbour's cell.
    for (int y = 0; y < 694; ++y) {
        for (int x = 0; x < 800; ++x) {
            if (x % 49 == 0 || y % 43 == 0 || x >= 16 * 49 || y >= 16 * 43) {
                ASSERT_EQ(FontPixel(x, y), 0) << "border pixel " << x << ", " << y;
            }
        }
    }
}

TEST(Font, GlyphsForEveryTextByteAndNoneForControlCodes) {
    std::string bytes(kScrollerText, kScrollerTextLength);
    for (int i = 0; i < kFestivalInfoLineCount; ++i) bytes += kFestivalInfoLines[i];
    for (unsigned char c : bytes) {
        if (c == ' ') continue;
        int first, last;
        GlyphColumns(c, &first, &last);
        EXPECT_GE(last, 0) << "empty glyph for byte " << int(c);
        // The glyph and its outline end where the next character's cell begins (two
        // columns of outline may overlap it).
        EXPECT_LT(last, 22) << "glyph " << int(c) << " is too wide for the 20-pixel advance";
    }
    for (int c = 0; c <= 0x20; ++c) {
        int first, last;
        GlyphColumns(c, &first, &last);
        EXPECT_EQ(last, -1) << "control code " << c << " has pixels";
    }
}

// The overlay's own font set-up reads this container: a drawn glyph is the cell's
// pixels, its transparent ones leave the surface alone.
TEST(Font, DrawnByTheOverlay) {
    DisplayRelease();
    HeadlessDisplaySetFailInit(0);
    HeadlessDisplaySetBitCount(16);
    ASSERT_EQ(DisplayInit(640, 480, 16, 0, 0), 1);
    Surface* back = DisplayBackSurface();
    Sprite sprite;
    ASSERT_EQ(FontCreate(FontImage, &sprite), 1);
    SurfaceClear(back, 0, nullptr);
    const char text[] = {'K', static_cast<char>(0xC6), 0};  // K and Cyrillic Zhe
    EXPECT_EQ(TextDraw(&sprite, 100, 50, text, 20, 52, back), 40);
    uint16_t* pixels;
    int32_t pitch;
    ASSERT_EQ(SurfaceLockMemory(back, &pixels, &pitch), 1);
    for (int y = 0; y < 42; ++y) {
        for (int x = 0; x < 20; ++x) {
            EXPECT_EQ(pixels[(50 + y) * (pitch / 2) + 100 + x],
                      FontPixel(11 * 49 + 1 + x, 4 * 43 + 1 + y));
            const uint16_t zhe = FontPixel(6 * 49 + 1 + x, 12 * 43 + 1 + y);
            if (zhe) {
                EXPECT_EQ(pixels[(50 + y) * (pitch / 2) + 120 + x], zhe);
            }
        }
    }
    SurfaceUnlockMemory(back);
    DisplayRelease();
}

TEST(Texts, InfoLineTableAndScroller) {
    const std::map<int, const char*> fixed = {
        {3, "Platforms:"},
        {4, "ZX-Spectrum"},
        {5, "Amiga"},
        {6, "Pegasos"},
        {7, "PC"},
        {8, "Mobile platforms"},
        {10, "Demo competitions "},
        {11, "4k Intro"},
        {12, "64k Intro"},
        {13, "16mb Demo"},
        {15, "Graphics competitions"},
        {16, "Gfx Rendered"},
        {17, "Gfx Handdrawn"},
        {18, "Gfx Freestyle"},
        {19, "Gfx Ascii"},
        {21, "Music competitions"},
        {22, "Multichannel Traditional Music"},
        {23, "Multichannel Alternative Music"},
        {24, "MP3/OGG Music"},
        {25, "MP3/OGG Song"},
        {26, "Chip Tune Music"},
        {28, "ZX-Spectrum competitions"},
        {29, "4k Intro"},
        {30, "640k Demo"},
        {31, "640k Game"},
        {33, "ZX Spectrum Graphics"},
        {34, "ZX Spectrum AY/YM-Music"},
        {36, "Other competitions"},
        {37, "Animation"},
        {38, "Wild"},
        {40, "Flash 4mb demo"},
        {42, "And of course many many..."},
        {43, "additional fun-compos! :)"},
    };
    const int empty[] = {2, 9, 14, 20, 27, 32, 35, 39, 41, 44, 46, 47};
    for (const auto& [index, text] : fixed) EXPECT_STREQ(kFestivalInfoLines[index], text) << index;
    for (int index : empty) EXPECT_STREQ(kFestivalInfoLines[index], "") << index;
    for (int index : {0, 1, 45}) EXPECT_GT(std::strlen(kFestivalInfoLines[index]), 0u) << index;
    EXPECT_NE(std::strstr(kFestivalInfoLines[0], "Korvane'06"), nullptr);
    for (int i = 0; i < kFestivalInfoLineCount; ++i)
        EXPECT_LE(std::strlen(kFestivalInfoLines[i]), 32u)
            << "line " << i << " is wider than the screen";

    ASSERT_EQ(std::strlen(kScrollerText), static_cast<size_t>(kScrollerTextLength));
    EXPECT_EQ(kScrollerTextLength, 593);
    int high = 0;
    for (int i = 0; i < kScrollerTextLength; ++i)
        high += static_cast<unsigned char>(kScrollerText[i]) > 0x7F;
    EXPECT_EQ(high, 166);
}

TEST(Terrain, MapAndTextureRecords) {
    BitmapInfo map;
    ASSERT_EQ(BitmapRecordRead(TerrainHeightMap, TerrainHeightMap_size, &map), 1);
    EXPECT_EQ(map.width, 64);
    EXPECT_EQ(map.height, 64);
    EXPECT_EQ(map.bitCount, 8);
    ASSERT_NE(map.pixels, nullptr);
    BitmapInfo texture;
    ASSERT_EQ(BitmapRecordRead(TerrainTextureHeader, TerrainTextureHeader_size, &texture), 1);
    EXPECT_EQ(TerrainTextureHeader_size, 1080ul);
    EXPECT_EQ(texture.width, 256);
    EXPECT_EQ(texture.height, 256);
    EXPECT_EQ(texture.bitCount, 16);
    EXPECT_EQ(texture.pixels, nullptr);
    // A truncated or foreign record is refused.
    EXPECT_EQ(BitmapRecordRead(TerrainHeightMap, 1000, &map), 0);
    EXPECT_EQ(BitmapRecordRead(FontImage + 2, FontImage_size - 2, &map), 0);

    // Hills and valleys, not a plate: a few hundred units between the lowest and the
    // highest point, and the landmark constant on its hill top.
    double lo = 1e9, hi = -1e9;
    for (double z = -3000; z <= 3000; z += 50)
        for (double x = -3000; x <= 3000; x += 50) {
            lo = std::min(lo, TerrainGroundHeight(x, z));
            hi = std::max(hi, TerrainGroundHeight(x, z));
        }
    EXPECT_GT(hi - lo, 300.0);
    EXPECT_NEAR(TerrainGroundHeight(kLandmarkHillX, kLandmarkHillZ), kLandmarkHillY, 0.01);
    EXPECT_NEAR(TerrainGroundHeight(kLandmarkHillX, kLandmarkHillZ), hi, 40.0);
}

// Every camera of the schedule stays 100 units above the surface. Scene 0's three
// phases advance at unrelated rates and keep their values from visit to visit, so in
// a long run it meets every combination: p over its 20 pi period (through 1.7 p), q
// over 2 pi, and always its lowest height (r = pi) as the worst case.
TEST(Terrain, CamerasStayAboveGround) {
    double worst = 1e9;
    auto check = [&](double x, double y, double z) {
        const double ground = TerrainGroundHeight(x, z);
        if (ground >= 0) worst = std::min(worst, y - ground);
    };
    const double pi = 3.14159265358979;
    for (double p = 0; p < 20 * pi; p += 0.004)
        for (double q = 0; q < 2 * pi; q += 0.004)
            check(3000 * std::cos(p) + 500 * std::sin(2 * q + 0.125), 1400 - 900,
                  3000 * std::sin(q) + 700 * std::cos(1.7 * p + 46.056));
    for (double u = 0; u < 2 * pi; u += 0.001) {
        check(3000 * std::cos(u), 3400 + 500 * std::cos(u), 3000 * std::sin(u));  // 1, 2
        check(2000 * std::sin(u + pi), 1500, 2000 * std::cos(u + pi));            // 4
    }
    check(1773.18, 860.0, 945.69);  // 3
    EXPECT_GE(worst, 100.0);
}

TEST(Meshes, ClosedOutwardAndWithinBudget) {
    int total = 7938;
    for (const NamedTemplate& named : AllMeshTemplates()) {
        SCOPED_TRACE(named.name);
        TestObject t;
        ASSERT_EQ(TestObjectFromTemplate(named.data, named.size, &t), 1);
        const Object3D& o = t.obj;
        EXPECT_GE(o.numPolys, 300);
        EXPECT_LE(o.numPolys, 2000);
        total += o.numPolys * (std::string(named.name) == "balloon" ? 8 : 1);

        // Weld equal positions: flat and smooth parts may keep separate vertices there.
        std::map<std::tuple<float, float, float>, int> ids;
        std::vector<int> id(o.numVertices);
        for (int i = 0; i < o.numVertices; ++i) {
            const Vertex3D& v = o.vlistLocal[i];
            id[i] = ids.emplace(std::make_tuple(v.x, v.y, v.z), ids.size()).first->second;
            if (v.attr & kVertexNormal) {
                EXPECT_NEAR(std::sqrt(v.nx * v.nx + v.ny * v.ny + v.nz * v.nz), 1.0, 1e-5);
            }
        }
        // Each directed edge once, and its reverse once: closed, consistently wound.
        std::map<std::pair<int, int>, int> directed;
        std::vector<int> parent(ids.size());
        for (size_t i = 0; i < parent.size(); ++i) parent[i] = static_cast<int>(i);
        auto root = [&](int a) {
            while (parent[a] != a) a = parent[a] = parent[parent[a]];
            return a;
        };
        for (int p = 0; p < o.numPolys; ++p) {
            const Poly& poly = o.plist[p];
            EXPECT_GT(poly.normalLength, 0.0f);
            const uint32_t shading = poly.attr & (kAttrShadeFlat | kAttrShadeGouraud);
            EXPECT_TRUE(shading == kAttrShadeFlat || shading == kAttrShadeGouraud);
            for (int k = 0; k < 3; ++k) {
                const int a = id[poly.vert[k]], b = id[poly.vert[(k + 1) % 3]];
                ++directed[{a, b}];
                parent[root(a)] = root(b);
                if (shading == kAttrShadeGouraud) {
                    EXPECT_TRUE(o.vlistLocal[poly.vert[k]].attr & kVertexNormal);
                }
            }
        }
        for (const auto& [edge, count] : directed) {
            ASSERT_EQ(count, 1) << "edge used twice in one direction";
            ASSERT_EQ(directed.count({edge.second, edge.first}), 1u) << "open edge";
        }
        // Every solid (connected part) encloses a positive volume, and every smooth
        // face agrees with its vertex normals: faces point out.
        std::map<int, double> volume;
        for (int p = 0; p < o.numPolys; ++p) {
            const Poly& poly = o.plist[p];
            const Vertex3D& a = o.vlistLocal[poly.vert[0]];
            const Vertex3D& b = o.vlistLocal[poly.vert[1]];
            const Vertex3D& c = o.vlistLocal[poly.vert[2]];
            const double nx = (b.y - a.y) * (c.z - a.z) - (b.z - a.z) * (c.y - a.y);
            const double ny = -((b.x - a.x) * (c.z - a.z) - (b.z - a.z) * (c.x - a.x));
            const double nz = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
            volume[root(id[poly.vert[0]])] += (a.x * nx + a.y * ny + a.z * nz) / 6.0;
            if (poly.attr & kAttrShadeGouraud) {
                for (int k = 0; k < 3; ++k) {
                    const Vertex3D& v = o.vlistLocal[poly.vert[k]];
                    EXPECT_GT(nx * v.nx + ny * v.ny + nz * v.nz, 0.0) << "polygon " << p;
                }
            }
        }
        for (const auto& [part, v] : volume) EXPECT_GT(v, 0.0) << "solid " << part;
        EXPECT_GT(o.maxRadius[0], o.avgRadius[0]);
    }
    EXPECT_LE(total, 20000) << "leave room in the 32768-entry list for clipped pieces";
}

TEST(Meshes, TemplateCopyAndRefusals) {
    ColourPacker = PackRGB555;
    TestObject t;
    ASSERT_EQ(TestObjectFromTemplate(MeshBalloon, MeshBalloon_size, &t), 1);
    ColourPacker = PackRGB565;
    const Object3D& o = t.obj;
    EXPECT_EQ(o.state, kObjectActive | kObjectVisible);
    EXPECT_EQ(o.vlistLocal, o.headVlistLocal);
    EXPECT_EQ(o.vlistTrans, o.headVlistTrans);
    EXPECT_EQ(o.plist[0].color, PackRGB555(255, 255, 255));
    EXPECT_EQ(o.plist[0].vlist, o.vlistTrans);
    EXPECT_EQ(o.plist[0].tlist, o.tlist);
    EXPECT_EQ(o.plist[1].text[2], 5);
    EXPECT_EQ(o.tlist[0], 0.0f);
    EXPECT_EQ(std::memcmp(o.headVlistLocal, o.headVlistTrans, sizeof(Vertex3D) * o.numVertices), 0);

    MeshTemplate m;
    std::vector<unsigned char> bytes(MeshBalloon, MeshBalloon + MeshBalloon_size);
    EXPECT_EQ(MeshTemplateRead(bytes.data(), bytes.size() - 1, &m), 0);
    bytes.back() = 0xFF;  // last index far out of range
    EXPECT_EQ(MeshTemplateRead(bytes.data(), bytes.size(), &m), 0);
    bytes[0] = 'X';
    EXPECT_EQ(MeshTemplateRead(bytes.data(), bytes.size(), &m), 0);

    ASSERT_EQ(MeshTemplateRead(MeshLogo, MeshLogo_size, &m), 1);
    EXPECT_EQ(MeshTemplateCopyTo(&m, &t.obj), 0) << "counts of another mesh";
}
