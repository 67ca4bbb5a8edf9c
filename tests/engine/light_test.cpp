// Light records and the lighting of one hand-computed triangle per light kind.
#include "engine/light.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "display/colour.h"

namespace {

// Camera-space triangle in the plane y = 0: face normal (P1 - P0) x (P2 - P0) = (0, 4, 0),
// normal length 4; vertex normals (0, 1, 0).
class Lighting : public ::testing::Test {
protected:
    void SetUp() override {
        ColourPacker = PackRGB565;
        list = std::make_unique<RenderList>();
        LightsInit(lights, kMaxLights);
    }

    // Lights one triangle of the given shading and base colour; returns its record.
    const RasterTri& Light(uint32_t shading, uint32_t color = 0xFFFF) {
        RasterTri tri = {};
        tri.state = kPolyActive;
        tri.attr = shading;
        tri.color = color;
        tri.normalLength = 4.0f;
        const float p[3][3] = {{0, 0, 0}, {0, 0, 2}, {2, 0, 0}};
        for (int i = 0; i < 3; ++i) {
            tri.tvlist[i] = {p[i][0], p[i][1], p[i][2], 1, 0, 1, 0, 0, 0, 0, 0, kVertexNormal};
        }
        RenderListReset(list.get());
        RenderListInsertTri(list.get(), &tri);
        LightRenderList(list.get(), nullptr, lights, kMaxLights);
        return list->polyData[0];
    }

    // One non-ambient term: (light channel * base channel) * intensity / 32768, rounded.
    static int32_t Term(int32_t light, int32_t base, double intensity) {
        return static_cast<int32_t>(std::lrint(light * base * intensity / 32768));
    }

    std::unique_ptr<RenderList> list;
    ::Light lights[kMaxLights];
};

TEST_F(Lighting, AmbientAndInfiniteLightsFlatAndGouraud) {
    const Vec3 up = {0, 2, 0, 1};
    LightInit(lights, 0, 1, kLightAmbient, 0x64646400, 0, 0, nullptr, nullptr, 0, 0, 0, 0, 0, 0);
    LightInit(lights, 1, 1, kLightInfinite, 0, 0xFF000000, 0, nullptr, &up, 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(lights[1].tdir.y, 1.0f);  // stored normalised
    // White 5.6.5 splits into 248, 252, 248. Ambient: (100 * 248) >> 8 = 96 and 98; the
    // infinite light adds red 255 * 248 * 128 / 32768 = 247.03 -> 247, clamped with 96.
    const uint16_t expected = PackRGB565(255, 98, 96);
    EXPECT_EQ(Light(kAttrShadeFlat).litColor[0], expected);
    const RasterTri& gouraud = Light(kAttrShadeGouraud);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(gouraud.litColor[i], expected);
    EXPECT_EQ(gouraud.state, kPolyActive | kPolyLit);

    // Lit once per frame; neither flat nor Gouraud: the base colour as it is.
    lights[1].state = 0;
    LightRenderList(list.get(), nullptr, lights, kMaxLights);
    EXPECT_EQ(gouraud.litColor[2], expected);
    EXPECT_EQ(Light(0, 0x1234).litColor[0], 0x1234u);
    lights[0].state = 0;
    lights[1].state = 1;
    lights[1].attr = 0x20;  // no kind: adds nothing
    EXPECT_EQ(Light(kAttrShadeFlat).litColor[0], PackRGB565(0, 0, 0));
}

TEST_F(Lighting, PointLightsMeasureFromVertexZeroEvenForGouraud) {
    const Vec3 above = {0, 10, 0, 1};
    LightInit(lights, 2, 1, kLightPoint, 0, 0x00FF0000, 0, &above, nullptr, 1, 0.125f, 0, 0, 0, 1);
    // l = (0, 10, 0), d = 10, attenuation (1 + 1.25) * 10. Flat: dp = 40, divided by 4.
    const double flatI = 128.0 * 40 / 22.5 / 4;
    EXPECT_EQ(Light(kAttrShadeFlat, 0x8410).litColor[0], PackRGB565(0, Term(255, 128, flatI), 0));
    // Gouraud: dp = 10 at every vertex, all with the distance of vertex 0.
    const double gouraudI = 128.0 * 10 / 22.5;
    const RasterTri& tri = Light(kAttrShadeGouraud, 0x8410);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(tri.litColor[i], PackRGB565(0, Term(255, 128, gouraudI), 0)) << i;
    }
}

TEST_F(Lighting, SpotLightsPlainAndWithCone) {
    const Vec3 below = {0, -10, 0, 1}, up = {0, 1, 0, 1};
    LightInit(lights, 3, 1, kLightSpot, 0, 0x0000FF00, 0, &below, &up, 2, 0.5f, 0.0f, 0, 0, 1);
    // dp = N . dir = 4 (flat, divided by 4) or 1; d = 10, attenuation 2 + 5 = 7.
    EXPECT_EQ(Light(kAttrShadeFlat).litColor[0],
              PackRGB565(0, 0, Term(255, 248, 128.0 * 4 / 7 / 4)));
    EXPECT_EQ(Light(kAttrShadeGouraud).litColor[2], PackRGB565(0, 0, Term(255, 248, 128.0 / 7)));

    lights[3].state = 0;
    // The cone spot measures each vertex: s = vertex - light, c = (s . dir) / d, c^2.
    LightInit(lights, 4, 1, kLightSpotCone, 0, 0xFF000000, 0, &below, &up, 1, 0.0f, 0.01f, 0, 0,
              2.4f);
    const auto coneI = [](double dp, double d) {
        const double c = 10.0 / d;
        return 128.0 * dp * std::pow(c, 2.0) / (1 + 0.01f * d * d);
    };
    // Vertex 0: s = (0, 10, 0), d = 10. Vertex 1: s = (0, 10, 2), FastDistance 10
    // (10240 + 11 * 64 + 0) >> 10. Vertex 2 likewise.
    const RasterTri& tri = Light(kAttrShadeGouraud);
    EXPECT_EQ(FastDistance(0, 10, 2), 10);
    EXPECT_EQ(tri.litColor[0], PackRGB565(Term(255, 248, coneI(1, 10)), 0, 0));
    EXPECT_EQ(tri.litColor[1], tri.litColor[0]);
    EXPECT_EQ(Light(kAttrShadeFlat).litColor[0],
              PackRGB565(Term(255, 248, coneI(4, 10) / 4), 0, 0));

    // A vertex far enough out gets its own distance: move vertex 2 to x = 20.
    RasterTri moved = list->polyData[0];
    moved.state = kPolyActive;
    moved.attr = kAttrShadeGouraud;
    moved.tvlist[2].x = 20;
    RenderListReset(list.get());
    RenderListInsertTri(list.get(), &moved);
    LightRenderList(list.get(), nullptr, lights, kMaxLights);
    const int32_t d2 = FastDistance(20, 10, 0);  // 20 + 11 * 320 / 1024 = 23
    EXPECT_EQ(d2, 23);
    EXPECT_EQ(list->polyData[0].litColor[2], PackRGB565(Term(255, 248, coneI(1, d2)), 0, 0));
    EXPECT_NE(list->polyData[0].litColor[2], list->polyData[0].litColor[0]);
}

TEST_F(Lighting, ChannelsClampAt255AndLightsOutsideTheTableAreRefused) {
    const Vec3 up = {0, 1, 0, 1};
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(LightInit(lights, k, 1, kLightInfinite, 0, 0xFFFFFF00, 0, nullptr, &up, 0, 0, 0,
                            0, 0, 0),
                  k);
    }
    EXPECT_EQ(Light(kAttrShadeGouraud).litColor[1], 0xFFFFu);
    EXPECT_EQ(LightInit(lights, kMaxLights, 1, kLightAmbient, 0, 0, 0, nullptr, nullptr, 0, 0, 0, 0,
                        0, 0),
              0);
    EXPECT_EQ(LightInit(lights, -1, 1, kLightAmbient, 0, 0, 0, nullptr, nullptr, 0, 0, 0, 0, 0, 0),
              0);
}

TEST(Lights, TransformMovesPositionsButNotDirections) {
    ::Light lights[2];
    LightsInit(lights, 2);
    const Vec3 pos = {1, 2, 3, 1}, dir = {0, 0, 5, 1};
    LightInit(lights, 1, 1, kLightSpot, 0, 0, 0, &pos, &dir, 0, 0, 0, 0, 0, 0);
    Mat4 m;
    Mat4Init(&m, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1);

    LightsTransform(lights, 2, m, kLightsTransformToTrans);
    EXPECT_EQ(lights[1].tpos.x, 8.0f);
    EXPECT_EQ(lights[1].tpos.y, 21.0f);
    EXPECT_EQ(lights[1].tdir.z, 1.0f);
    EXPECT_EQ(lights[1].tdir.x, 0.0f);
    EXPECT_EQ(lights[1].pos.x, 1.0f);  // untouched

    LightsTransform(lights, 2, m, kLightsTransformTrans);  // again, on the moved fields
    EXPECT_EQ(lights[1].tpos.x, -11.0f);
    LightsTransform(lights, 2, m, kLightsCopyToTrans);
    EXPECT_EQ(lights[1].tpos.x, 1.0f);
    LightsTransform(lights, 2, m, kLightsTransformInPlace);
    EXPECT_EQ(lights[1].pos.z, 33.0f);
    EXPECT_EQ(lights[1].dir.z, 1.0f);
    EXPECT_EQ(LightsInUse(), 0);
}

}  // namespace
