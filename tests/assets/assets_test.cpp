// The compiled-in content: font container and glyphs, texts, terrain inputs against
// the cameras of the scene schedule, and the mesh templates.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "assets/assets.h"
#include "demo/mesh_template.h"
#include "demo/timeline.h"
#include "display/colour.h"
#include "engine/object3d.h"

namespace {

// An Object3D made from a template the way AppInit makes it. Returns 1 on success.
int ObjectFromTemplate(const unsigned char* data, unsigned long size, Object3D* out) {
    MeshTemplate t;
    *out = Object3D{};
    return MeshTemplateRead(data, size, &t) &&
           Object3DInit(out, t.numVertices, t.numPolys, t.numFrames, 0) &&
           MeshTemplateCopyTo(&t, out);
}

// Height of the terrain's surface (the two triangles of each grid cell) at (x, z),
// or -1 outside the 6000 x 6000 square.
double TerrainGroundHeight(double x, double z) {
    constexpr int kSize = 64;
    constexpr double kStep = 6000.0 / (kSize - 1);
    const double gx = (x + 3000.0) / kStep;
    const double gz = (z + 3000.0) / kStep;
    if (gx < 0 || gz < 0 || gx > kSize - 1 || gz > kSize - 1) return -1.0;
    const int c = std::min(static_cast<int>(gx), kSize - 2);
    const int r = std::min(static_cast<int>(gz), kSize - 2);
    const double fx = gx - c;
    const double fz = gz - r;
    const unsigned char* map = TerrainHeightMap + kBitmapHeaderBytes;
    auto h = [&](int cc, int rr) { return 1000.0 * map[rr * kSize + cc] / 255.0; };
    // The cell's triangles: (c,r) (c,r+1) (c+1,r+1) below the diagonal, (c,r) (c+1,r+1)
    // (c+1,r) above it.
    if (fz >= fx)
        return h(c, r) + fx * (h(c + 1, r + 1) - h(c, r + 1)) + fz * (h(c, r + 1) - h(c, r));
    return h(c, r) + fx * (h(c + 1, r) - h(c, r)) + fz * (h(c + 1, r + 1) - h(c + 1, r));
}

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
    EXPECT_TRUE(info.width == 800 && info.height == 694 && info.bitCount == 16);
    EXPECT_TRUE(info.pitch == 1600 && info.pixels == FontImage + 1080);
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

TEST(Texts, InfoLineTableAndScroller) {
    // Lines 0, 1 and 45 are free text (line 0 names the festival); the rest as listed.
    // clang-format off
    const char* const expected[kFestivalInfoLineCount] = {
        nullptr, nullptr, "", "Platforms:", "ZX-Spectrum", "Amiga", "Pegasos", "PC",
        "Mobile platforms", "", "Demo competitions ", "4k Intro", "64k Intro", "16mb Demo", "",
        "Graphics competitions", "Gfx Rendered", "Gfx Handdrawn", "Gfx Freestyle", "Gfx Ascii", "",
        "Music competitions", "Multichannel Traditional Music", "Multichannel Alternative Music",
        "MP3/OGG Music", "MP3/OGG Song", "Chip Tune Music", "",
        "ZX-Spectrum competitions", "4k Intro", "640k Demo", "640k Game", "",
        "ZX Spectrum Graphics", "ZX Spectrum AY/YM-Music", "",
        "Other competitions", "Animation", "Wild", "", "Flash 4mb demo", "",
        "And of course many many...", "additional fun-compos! :)", "", nullptr, "", ""};
    // clang-format on
    for (int i = 0; i < kFestivalInfoLineCount; ++i) {
        const char* line = kFestivalInfoLines[i];
        if (expected[i]) {
            EXPECT_STREQ(line, expected[i]) << i;
        } else {
            EXPECT_GT(std::strlen(line), 0u) << i;
        }
        EXPECT_LE(std::strlen(line), 32u) << "line " << i << " is wider than the screen";
    }
    EXPECT_NE(std::strstr(kFestivalInfoLines[0], "Korvane'06"), nullptr);

    ASSERT_EQ(std::strlen(kScrollerText), static_cast<size_t>(kScrollerTextLength));
    EXPECT_EQ(kScrollerTextLength, 593);
    EXPECT_EQ(std::count_if(kScrollerText, kScrollerText + kScrollerTextLength,
                            [](char c) { return static_cast<unsigned char>(c) > 0x7F; }),
              166);
}

TEST(Terrain, MapAndTextureRecords) {
    BitmapInfo map;
    ASSERT_EQ(BitmapRecordRead(TerrainHeightMap, TerrainHeightMap_size, &map), 1);
    EXPECT_TRUE(map.width == 64 && map.height == 64 && map.bitCount == 8 && map.pixels);
    BitmapInfo texture;  // a header only: the texture is drawn at start-up
    ASSERT_EQ(BitmapRecordRead(TerrainTextureHeader, TerrainTextureHeader_size, &texture), 1);
    EXPECT_EQ(TerrainTextureHeader_size, 1080ul);
    EXPECT_TRUE(texture.width == 256 && texture.height == 256 && texture.bitCount == 16);
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

// Every camera of the schedule stays 100 units above the surface, frame by frame over
// fifty cycles of the show: scene 0's three phases advance at unrelated rates and keep
// their values from visit to visit, so its path differs on every visit.
TEST(Terrain, CamerasStayAboveGround) {
    TimelineReset();
    double worst = 1e9;
    for (uint32_t now = 1000; now < 1000 + 50 * 115000; now += 25) {
        TimelineStart(now);
        TimelineScheduleStep(now);
        const SceneCamera camera = TimelineSceneCamera();
        const double ground = TerrainGroundHeight(camera.position.x, camera.position.z);
        if (ground >= 0) worst = std::min(worst, camera.position.y - ground);
    }
    EXPECT_GE(worst, 100.0);
}

TEST(Meshes, ClosedOutwardAndWithinBudget) {
    int total = 7938;
    // The six objects, then the balloon (drawn eight times).
    for (int m = 0; m <= kMeshTemplateCount; ++m) {
        SCOPED_TRACE(m);
        const bool balloon = m == kMeshTemplateCount;
        Object3D o;
        ASSERT_EQ(ObjectFromTemplate(balloon ? MeshBalloon : kMeshTemplates[m],
                                     balloon ? MeshBalloon_size : kMeshTemplateSizes[m], &o),
                  1);
        EXPECT_GE(o.numPolys, 300);
        EXPECT_LE(o.numPolys, 2000);
        total += o.numPolys * (balloon ? 8 : 1);

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
        Object3DDestroy(&o);
    }
    EXPECT_LE(total, 20000) << "leave room in the 32768-entry list for clipped pieces";
}

TEST(Meshes, TemplateCopyAndRefusals) {
    ColourPacker = PackRGB555;
    Object3D o;
    ASSERT_EQ(ObjectFromTemplate(MeshBalloon, MeshBalloon_size, &o), 1);
    ColourPacker = PackRGB565;
    EXPECT_EQ(o.state, kObjectActive | kObjectVisible);
    EXPECT_TRUE(o.vlistLocal == o.headVlistLocal && o.vlistTrans == o.headVlistTrans);
    EXPECT_EQ(o.plist[0].color, PackRGB555(255, 255, 255));  // packed at copy time
    EXPECT_TRUE(o.plist[0].vlist == o.vlistTrans && o.plist[0].tlist == o.tlist);
    EXPECT_TRUE(o.plist[1].text[2] == 5 && o.tlist[0] == 0.0f);
    EXPECT_EQ(std::memcmp(o.headVlistLocal, o.headVlistTrans, sizeof(Vertex3D) * o.numVertices), 0);

    MeshTemplate m;
    std::vector<unsigned char> bytes(MeshBalloon, MeshBalloon + MeshBalloon_size);
    EXPECT_EQ(MeshTemplateRead(bytes.data(), bytes.size() - 1, &m), 0);
    bytes.back() = 0xFF;  // last index far out of range
    EXPECT_EQ(MeshTemplateRead(bytes.data(), bytes.size(), &m), 0);
    bytes[0] = 'X';
    EXPECT_EQ(MeshTemplateRead(bytes.data(), bytes.size(), &m), 0);

    ASSERT_EQ(MeshTemplateRead(MeshLogo, MeshLogo_size, &m), 1);
    EXPECT_EQ(MeshTemplateCopyTo(&m, &o), 0) << "counts of another mesh";
    Object3DDestroy(&o);
}
