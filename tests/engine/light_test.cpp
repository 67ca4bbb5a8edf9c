// Light records and the lighting of one hand-computed triangle per light kind.
#include "engine/light.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>

#include "display/colour.h"
#include "raster/lanes.h"

namespace {

// Camera-space triangle in the plane y = 0: face normal (P1 - P0) x (P2 - P0) = (0, 4, 0),
// normal length 4; vertex normals (0, 1, 0).
class Lighting : public ::testing::Test {
protected:
    void SetUp() override {
        ColourPacker = PackRGB565;
        LightsInit(lights, kMaxLights);
    }

    const RasterTri& Lit(uint32_t shading, uint32_t color = 0xFFFF, float x2 = 2) {
        RasterTri tri = {};
        tri.state = kPolyActive;
        tri.attr = shading;
        tri.color = color;
        tri.normalLength = 4.0f;
        const float p[3][3] = {{0, 0, 0}, {0, 0, 2}, {x2, 0, 0}};
        for (int i = 0; i < 3; ++i) {
            tri.tvlist[i] = {p[i][0], p[i][1], p[i][2], 1, 0, 1, 0, 0, 0, 0, 0, kVertexNormal};
        }
        RenderListReset(list.get());
        RenderListInsertTri(list.get(), &tri);
        LightRenderList(list.get(), nullptr, lights, kMaxLights);
        return list->polyData[0];
    }

    std::unique_ptr<RenderList> list = std::make_unique<RenderList>();
    Light lights[kMaxLights];
};

TEST_F(Lighting, AmbientAndInfiniteLightsFlatAndGouraudLitOnce) {
    const Vec3 up = {0, 2, 0, 1};
    LightInit(lights, 0, 1, kLightAmbient, 0x64646400, 0, 0, nullptr, nullptr, 0, 0, 0, 0, 0, 0);
    LightInit(lights, 1, 1, kLightInfinite, 0, 0xFF000000, 0, nullptr, &up, 0, 0, 0, 0, 0, 0);
    // White splits into 248, 252, 248. Ambient: (100 * 248) >> 8 = 96, 98, 96; red adds
    // 255 * 248 * 128 / 32768 = 247.03 -> 247 (direction normalised), clamped to 255.
    const uint16_t expected = PackRGB565(255, 98, 96);
    EXPECT_EQ(Lit(kAttrShadeFlat).litColor[0], expected);
    const RasterTri& gouraud = Lit(kAttrShadeGouraud);
    EXPECT_TRUE(gouraud.litColor[0] == expected && gouraud.litColor[2] == expected);
    lights[1].state = 0;
    LightRenderList(list.get(), nullptr, lights, kMaxLights);  // already lit this frame
    EXPECT_EQ(gouraud.litColor[1], expected);

    EXPECT_EQ(Lit(0, 0x1234).litColor[0], 0x1234u);                   // neither flat nor Gouraud
    lights[0].state = 0, lights[1].state = 1, lights[1].attr = 0x20;  // no kind bit
    EXPECT_EQ(Lit(kAttrShadeFlat).litColor[0], 0u);
}

// The lighting rules for one colour of one triangle, scalar and as written, in the
// camera-space fields: vertex `at`'s colour (0..2 for Gouraud, 0 for the flat face).
uint32_t ReferenceLit(const RasterTri& tri, const Light* lights, int count, int at) {
    const bool flat = tri.attr & kAttrShadeFlat;
    const Vertex3D* v = tri.tvlist;
    const uint32_t c = tri.color;
    const uint32_t base[3] = {((c >> 11) & 31) * 8, ((c >> 5) & 63) * 4, (c & 31) * 8};
    const Vec3 p0 = {v[0].x, v[0].y, v[0].z, 1};
    const Vec3 face = Vec3Cross(Vec3Sub(p0, {v[1].x, v[1].y, v[1].z, 1}),
                                Vec3Sub(p0, {v[2].x, v[2].y, v[2].z, 1}));
    const double n[3] = {flat ? face.x : v[at].nx, flat ? face.y : v[at].ny,
                         flat ? face.z : v[at].nz};
    auto dot = [&n](double x, double y, double z) { return n[0] * x + n[1] * y + n[2] * z; };
    uint64_t sums[3] = {0, 0, 0};
    for (int k = 0; k < count; ++k) {
        const Light& light = lights[k];
        const uint32_t kinds[] = {kLightAmbient, kLightInfinite, kLightPoint, kLightSpot,
                                  kLightSpotCone};
        uint32_t kind = 0;
        for (uint32_t bit : kinds) kind = kind ? kind : light.attr & bit;
        if (!light.state || !kind) continue;
        const uint32_t colour = kind == kLightAmbient ? light.ambient : light.diffuse;
        const uint32_t channel[3] = {colour >> 24, (colour >> 16) & 255, (colour >> 8) & 255};
        if (kind == kLightAmbient) {
            for (int ch = 0; ch < 3; ++ch) sums[ch] += (channel[ch] * base[ch]) >> 8;
            continue;
        }
        const Vec3 pos = light.tpos, dir = light.tdir;
        const double kc = light.kc, kl = light.kl, kq = light.kq;
        double intensity = 0;
        if (kind == kLightInfinite) {
            const double dp = dot(dir.x, dir.y, dir.z);
            if (dp > 0) intensity = 128 * dp;
        } else if (kind == kLightPoint || kind == kLightSpot) {
            const float lx = pos.x - v[0].x, ly = pos.y - v[0].y, lz = pos.z - v[0].z;
            const double d = FastDistance(lx, ly, lz);
            const double dp = kind == kLightPoint ? dot(lx, ly, lz) : dot(dir.x, dir.y, dir.z);
            const double attenuation = kc + kl * d + kq * d * d;
            if (dp > 0)
                intensity = 128 * dp / (kind == kLightPoint ? attenuation * d : attenuation);
        } else {
            const Vertex3D& from = v[flat ? 0 : at];
            const float sx = from.x - pos.x, sy = from.y - pos.y, sz = from.z - pos.z;
            const double dp = dot(dir.x, dir.y, dir.z), d = FastDistance(sx, sy, sz);
            const double cosine = (sx * dir.x + sy * dir.y + sz * dir.z) / d;
            const double power = static_cast<double>(std::llround(light.pf));
            if (dp > 0 && cosine > 0) {
                intensity = 128 * dp * (power <= 1 ? cosine : std::pow(cosine, power)) /
                            (kc + kl * d + kq * d * d);
            }
        }
        if (flat) intensity /= tri.normalLength;
        if (!(intensity > 0)) continue;  // NaN from a zero distance and attenuation: nothing
        for (int ch = 0; ch < 3; ++ch) {
            const double term = double(channel[ch] * base[ch]) * intensity / 32768;
            sums[ch] += static_cast<uint64_t>(std::nearbyint(std::min(term, 1e6)));
        }
    }
    auto clamp = [](uint64_t sum) { return static_cast<int32_t>(sum > 255 ? 255 : sum); };
    return PackRGB565(clamp(sums[0]), clamp(sums[1]), clamp(sums[2]));
}

// Random triangles of both shadings, many of them in pairs sharing vertex 0 as a terrain
// cell's do, under lights of every kind with random settings (some far out, some at a
// vertex), lit as one list and in ranges of odd lengths: every colour as the rules give.
TEST_F(Lighting, EveryKindAndPairingAsTheRulesGive) {
    std::mt19937 rng(7);
    auto uniform = [&rng](double lo, double hi) {
        return static_cast<float>(std::uniform_real_distribution<double>(lo, hi)(rng));
    };
    auto pick = [&rng](int n) { return static_cast<int>(rng() % n); };
    for (int round = 0; round < 40; ++round) {
        LightsInit(lights, kMaxLights);
        const uint32_t kinds[] = {kLightAmbient, kLightInfinite, kLightPoint,
                                  kLightSpot,    kLightSpotCone, 0x20};
        for (int k = 0; k < kMaxLights; ++k) {
            const float far = pick(8) ? 1 : 1e9f;  // beyond where lanes work out distances
            const Vec3 pos = {uniform(-50, 50) * far, uniform(-50, 50), uniform(-50, 50), 1};
            const Vec3 dir = {uniform(-1, 1), uniform(-1, 1), uniform(-1, 1), 1};
            LightInit(lights, k, pick(6) != 0, kinds[pick(6)], rng(), rng(), 0, &pos, &dir,
                      pick(3) ? uniform(0, 2) : 0, uniform(0, 0.05), pick(2) ? uniform(0, 1e-3) : 0,
                      0, 0, uniform(0, 4));
        }
        RenderListReset(list.get());
        Vertex3D previous[3] = {};
        for (int t = 0; t < 60; ++t) {
            RasterTri tri = {};
            tri.state = kPolyActive;
            tri.attr = pick(3) ? kAttrShadeGouraud : kAttrShadeFlat;
            tri.color = pick(4) ? 0xFFFF : rng() & 0xFFFF;
            tri.normalLength = uniform(0.5, 50);
            for (Vertex3D& v : tri.tvlist) {
                v = {uniform(-60, 60),
                     uniform(-60, 60),
                     uniform(1, 90),
                     1,
                     uniform(-1, 1),
                     uniform(-1, 1),
                     uniform(-1, 1),
                     0,
                     0,
                     0,
                     0,
                     kVertexNormal};
            }
            if (pick(2)) {  // a cell's second triangle: (v0, v2, new) after (v0, v1, v2)
                tri.tvlist[0] = previous[0], tri.tvlist[1] = previous[2];
            }
            if (pick(10) == 0) tri.tvlist[1] = tri.tvlist[0];  // a light may sit on it
            if (pick(20) == 0)
                lights[2].tpos = {tri.tvlist[0].x, tri.tvlist[0].y, tri.tvlist[0].z, 1};
            std::copy(tri.tvlist, tri.tvlist + 3, previous);
            RenderListInsertTri(list.get(), &tri);
        }
        static RasterTri unlit[60];
        std::copy(list->polyData, list->polyData + 60, unlit);
        // Whole and in ranges, in the plain form of the lanes and the wide one (where there is
        // one).
        for (int pass = 0; pass < 4; ++pass) {
            LanesChoose(pass / 2);
            std::copy(unlit, unlit + 60, list->polyData);
            if (pass % 2 == 0) {
                LightRenderList(list.get(), nullptr, lights, kMaxLights);
            } else {
                LightSet set;
                LightSetMake(lights, kMaxLights, &set);
                for (int from = 0; from < 60; from += 7)
                    LightRenderListRange(list.get(), set, from, std::min(from + 7, 60));
            }
            for (int t = 0; t < 60; ++t) {
                const RasterTri& tri = list->polyData[t];
                for (int i = 0; i < (tri.attr & kAttrShadeFlat ? 1 : 3); ++i) {
                    ASSERT_EQ(tri.litColor[i], ReferenceLit(unlit[t], lights, kMaxLights, i))
                        << "round " << round << " pass " << pass << " triangle " << t << " vertex "
                        << i;
                }
            }
        }
    }
    LanesChoose(0);
}

TEST(Lights, TableRefusesOutsideIndicesAndTransformLeavesDirectionsUntranslated) {
    Light lights[kMaxLights];
    LightsInit(lights, kMaxLights);
    EXPECT_EQ(LightInit(lights, kMaxLights, 1, kLightAmbient, 0, 0, 0, nullptr, nullptr, 0, 0, 0, 0,
                        0, 0),
              0);
    const Vec3 pos = {1, 2, 3, 1}, dir = {0, 0, 5, 1};
    EXPECT_EQ(LightInit(lights, 1, 1, kLightSpot, 0, 0, 0, &pos, &dir, 0, 0, 0, 0, 0, 0), 1);
    Mat4 m;
    Mat4Init(&m, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1);
    LightsTransform(lights, 2, m, kLightsTransformToTrans);
    EXPECT_TRUE(lights[1].tpos.x == 8 && lights[1].tpos.y == 21 && lights[1].pos.x == 1);
    EXPECT_TRUE(lights[1].tdir.x == 0 && lights[1].tdir.z == 1);
    LightsTransform(lights, 2, m, kLightsTransformTrans);  // again, on the moved fields
    EXPECT_EQ(lights[1].tpos.x, -11.0f);
    LightsTransform(lights, 2, m, kLightsCopyToTrans);
    EXPECT_EQ(lights[1].tpos.x, 1.0f);
}

}  // namespace
