#include "tests/raster/raster_test_util.h"

#include <algorithm>
#include <cstring>

#include "display/display.h"
#include "engine/tables.h"

void RasterTestInit() {
    static bool tablesBuilt = false;
    if (!tablesBuilt) TablesInit();
    tablesBuilt = true;
    gClipRectangle = {0, 0, kWidth - 1, kHeight - 1};
}

RasterTri MakeTri(const TestVertex& a, const TestVertex& b, const TestVertex& c, Texture* texture) {
    RasterTri tri;
    std::memset(&tri, 0, sizeof tri);
    tri.state = 1;
    tri.texture = texture;
    const TestVertex* vs[3] = {&a, &b, &c};
    for (int k = 0; k < 3; ++k) {
        Vertex3D& v = tri.tvlist[k];
        v.x = vs[k]->x;
        v.y = vs[k]->y;
        v.z = vs[k]->z;
        v.w = 1;
        v.u = vs[k]->u;
        v.v = vs[k]->v;
        tri.litColor[k] = vs[k]->colour;
        tri.vlist[k] = v;
    }
    return tri;
}

void Draw(int32_t number, RasterTri tri, Canvas* canvas, int32_t level) {
    FillerDraw(number, &tri, canvas->frame.data(), kWidth * 2, canvas->depth.data(), kWidth * 4,
               level);
}

Texture* BrightTexture() {
    static std::vector<uint16_t> texels;
    static Texture texture;
    if (texels.empty()) {
        texels.resize(256 * 256);
        for (int y = 0; y < 256; ++y) {
            for (int x = 0; x < 256; ++x) {
                texels[y * 256 + x] = static_cast<uint16_t>(((16 + (x & 15)) << 11) |
                                                            ((y & 63) << 5) | ((x ^ y) & 31));
            }
        }
        texture = {256, 256, texels.data()};
    }
    return &texture;
}

TestVertex RandomVertex(std::mt19937* rng, float xlo, float xhi, float ylo, float yhi) {
    std::uniform_real_distribution<float> fx(xlo, xhi), fy(ylo, yhi), fz(2.0f, 3000.0f),
        ft(0.0f, 255.0f);
    std::uniform_int_distribution<uint32_t> red(16, 31), rest(0, 0x7FF);
    return {fx(*rng), fy(*rng), fz(*rng), ft(*rng), ft(*rng), (red(*rng) << 11) | rest(*rng)};
}

uint32_t DepthClearFor(FillerDepth depth) {
    return depth == FillerDepth::kGreater ? 0u : 0xFFFFFFFFu;
}
