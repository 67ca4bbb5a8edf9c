// Light records and the lighting of one hand-computed triangle per light kind.
#include "engine/light.h"

#include <gtest/gtest.h>

#include <memory>

#include "display/colour.h"

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

// A channel is light x base x intensity / 32768, rounded, with intensity 128 x dp / the
// attenuation; flat triangles divide dp by the normal length (4).
TEST_F(Lighting, PointLightsMeasureFromVertexZeroEvenForGouraud) {
    const Vec3 above = {0, 10, 0, 1};
    LightInit(lights, 2, 1, kLightPoint, 0, 0x00FF0000, 0, &above, nullptr, 1, 0.125f, 0, 0, 0, 1);
    // l = (0, 10, 0), d = 10, attenuation (1 + 1.25) x 10; dp 40 / 4 flat, 10 Gouraud:
    // 255 x 128 x 56.9 / 32768 = 56.7. Vertex 2 moved out to x = 20 still uses the
    // distance of vertex 0.
    EXPECT_EQ(Lit(kAttrShadeFlat, 0x8410).litColor[0], PackRGB565(0, 57, 0));
    const RasterTri& tri = Lit(kAttrShadeGouraud, 0x8410, 20);
    for (uint32_t lit : tri.litColor) EXPECT_EQ(lit, PackRGB565(0, 57, 0));
}

TEST_F(Lighting, SpotLightsPlainAndWithPerVertexCone) {
    const Vec3 below = {0, -10, 0, 1}, up = {0, 1, 0, 1};
    LightInit(lights, 3, 1, kLightSpot, 0, 0x0000FF00, 0, &below, &up, 2, 0.5f, 0, 0, 0, 1);
    // dp = N . dir = 4 (flat, then divided by 4) or 1; d = 10, attenuation 2 + 5 = 7:
    // 255 x 248 x 18.3 / 32768 = 35.3.
    EXPECT_EQ(Lit(kAttrShadeFlat).litColor[0], PackRGB565(0, 0, 35));
    EXPECT_EQ(Lit(kAttrShadeGouraud).litColor[2], PackRGB565(0, 0, 35));

    lights[3].state = 0;
    LightInit(lights, 4, 1, kLightSpotCone, 0, 0xFF000000, 0, &below, &up, 1, 0, 0.01f, 0, 0, 2.4f);
    // s = vertex - light, c = (s . dir) / d = 10 / d, power 2.4 -> 2, attenuation 1 + d^2 / 100:
    // at d = 10 intensity 64 (123.5 -> 124).
    EXPECT_EQ(Lit(kAttrShadeFlat).litColor[0], PackRGB565(124, 0, 0));
    // Vertex 2 at x = 20: FastDistance(20, 10, 0) = (20480 + 11 * 320) >> 10 = 23, and
    // 128 x (10 / 23)^2 / 6.29 = 3.85 -> 7.4, below one 5-bit step of red.
    const RasterTri& tri = Lit(kAttrShadeGouraud, 0xFFFF, 20);
    EXPECT_EQ(tri.litColor[0], PackRGB565(124, 0, 0));
    EXPECT_EQ(tri.litColor[2], PackRGB565(7, 0, 0));
}

TEST_F(Lighting, EachTriangleOfAListIsLitAsIfAlone) {
    const Vec3 above = {3, 10, -2, 1}, below = {-1, -10, 2, 1}, up = {0, 1, 0, 1};
    LightInit(lights, 0, 1, kLightPoint, 0, 0x80FF4000, 0, &above, nullptr, 1, 0.01f, 0, 0, 0, 1);
    LightInit(lights, 1, 1, kLightSpotCone, 0, 0x4080FF00, 0, &below, &up, 1, 0.01f, 0, 0, 0, 3);
    // Five triangles of both shadings, shifted apart, with colours of their own.
    RasterTri tris[5];
    uint32_t alone[5][3];
    for (int t = 0; t < 5; ++t) {
        tris[t] = Lit(t % 2 ? kAttrShadeFlat : kAttrShadeGouraud, 0x1234 * (t + 1), 2.0f + t);
        for (Vertex3D& v : tris[t].tvlist)
            v.x -= 2.0f * t, v.z += 3.0f * t, v.ny = 0.5f + 0.25f * t;
        tris[t].state = kPolyActive;
        tris[t].normalLength = 4.0f + t;
        RenderListReset(list.get());
        RenderListInsertTri(list.get(), &tris[t]);
        LightRenderList(list.get(), nullptr, lights, kMaxLights);
        for (int i = 0; i < 3; ++i) alone[t][i] = list->polyData[0].litColor[i];
    }
    RenderListReset(list.get());
    for (const RasterTri& tri : tris) RenderListInsertTri(list.get(), &tri);
    LightRenderList(list.get(), nullptr, lights, kMaxLights);
    for (int t = 0; t < 5; ++t) {
        const int shown = t % 2 ? 1 : 3;
        for (int i = 0; i < shown; ++i) EXPECT_EQ(list->polyData[t].litColor[i], alone[t][i]) << t;
    }
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
