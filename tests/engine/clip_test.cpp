// View-volume clipping: side culling, near-plane cuts, the far plane, a full list.
#include "engine/clip.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

class Clipping : public ::testing::Test {
protected:
    void SetUp() override {
        const Vec3 zero = {0, 0, 0, 1};
        CameraInit(&cam, 8, &zero, &zero, &zero, 10.0f, 100.0f, 90.0f, 640.0f, 480.0f);
        cam.viewDist = 1.0f;  // side planes x = +-z and y = +-z exactly
    }

    // Appends a camera-space triangle; vertex i has u = v = i and attributes 100 + i.
    RasterTri* Add(const float (&p)[3][3], uint32_t attr = 0) {
        RasterTri tri = {};
        tri.state = kPolyActive;
        tri.attr = attr;
        for (int i = 0; i < 3; ++i) {
            const float uv = static_cast<float>(i);
            tri.tvlist[i] = {p[i][0], p[i][1], p[i][2], 1, 0, 0, 0, 0, uv, uv, 0, 100u + i};
        }
        RenderListInsertTri(list.get(), &tri);
        return &list->polyData[list->numPolys - 1];
    }

    // (P1 - P0) x (P2 - P0) of a record's current positions.
    static Vec3 Normal(const RasterTri* tri) {
        const Vertex3D* v = tri->tvlist;
        const Vec3 p0 = {v[0].x, v[0].y, v[0].z, 1};
        return Vec3Cross(Vec3Sub(p0, {v[1].x, v[1].y, v[1].z, 1}),
                         Vec3Sub(p0, {v[2].x, v[2].y, v[2].z, 1}));
    }

    Camera cam;
    std::unique_ptr<RenderList> list = std::make_unique<RenderList>();
};

TEST_F(Clipping, SidesCullOnlyWhollyOutsideAndFarKeepsSpanning) {
    RasterTri* right = Add({{30, 0, 20}, {40, 5, 20}, {25, 0, 20}});
    RasterTri* onEdge = Add({{20, 0, 20}, {40, 0, 20}, {30, 0, 20}});  // x = z is inside
    // Above y = z / aspect but below y = z: kept, the width bounds y as well.
    RasterTri* high = Add({{0, 18, 20}, {1, 19, 20}, {0, 19, 20}});
    RasterTri* below = Add({{0, -21, 20}, {1, -30, 20}, {0, -25, 20}});
    RasterTri* beyond = Add({{0, 0, 101}, {1, 0, 150}, {0, 1, 200}});
    RasterTri* spanning = Add({{0, 0, 50}, {1, 0, 150}, {0, 1, 200}});
    RasterTri* before = Add({{0, 0, 1}, {1, 0, 2}, {0, 1, 9}});
    RasterTri* touching = Add({{0, 0, 10}, {1, 0, 20}, {0, 1, 20}});  // z = near is inside
    RenderListClip(list.get(), &cam, kClipX | kClipY | kClipNearFar);
    for (const RasterTri* clipped : {right, below, beyond, before}) {
        EXPECT_EQ(clipped->state, kPolyActive | kPolyClipped);
    }
    for (const RasterTri* kept : {onEdge, high, spanning, touching})
        EXPECT_EQ(kept->state, kPolyActive);
    EXPECT_TRUE(spanning->tvlist[2].z == 200 && touching->tvlist[0].z == 10);
    EXPECT_EQ(list->numPolys, 8);

    RasterTri* left = Add({{-30, 0, 20}, {-40, 0, 20}, {-25, 0, 20}});
    RenderListClip(list.get(), &cam, kClipY);  // x not tested
    EXPECT_EQ(left->state, kPolyActive);
}

TEST_F(Clipping, OneInsideMovesTheOtherTwoOntoTheNearPlane) {
    // Vertex 1 inside; 2 and 0 in front of the near plane.
    RasterTri* tri = Add({{10, 0, 0}, {0, 0, 20}, {0, 10, 5}}, kAttrTextured);
    RasterTri* plain = Add({{10, 0, 0}, {0, 0, 20}, {0, 10, 5}});
    RenderListClip(list.get(), &cam, kClipNearFar);
    const Vertex3D* v = tri->tvlist;
    EXPECT_TRUE(v[0].x == 5 && v[0].z == 10 && v[0].u == 0.5f);  // t = 0.5 from vertex 1
    EXPECT_EQ(v[2].y, static_cast<float>(10 * (2.0 / 3)));       // t = 2/3
    EXPECT_EQ(v[2].u, static_cast<float>(1 + 2.0 / 3));
    EXPECT_TRUE(v[2].attr == 102 && v[1].z == 20);  // other fields and vertex 1 stay
    EXPECT_EQ(plain->tvlist[0].u, 0.0f);            // untextured: u, v untouched
    EXPECT_EQ(tri->normalLength, Vec3FastLength(Normal(tri)));
}

TEST_F(Clipping, TwoInsideSplitIntoTwoTrianglesOfTheSameWinding) {
    // Vertex 0 in front of the near plane, 1 and 2 inside.
    RasterTri* tri = Add({{0, 0, 0}, {10, 0, 20}, {0, 10, 20}}, kAttrTextured);
    const Vec3 before = Normal(tri);
    RenderListClip(list.get(), &cam, kClipNearFar);
    ASSERT_EQ(list->numPolys, 2);
    const RasterTri* copy = &list->polyData[1];
    // Record (P1, I1, I2) with P1 = (5, 0, 10); copy (P2, P1, I2) with P2 = (0, 5, 10).
    EXPECT_TRUE(tri->tvlist[0].x == 5 && tri->tvlist[0].z == 10 && tri->tvlist[0].u == 0.5f);
    EXPECT_TRUE(copy->tvlist[0].y == 5 && copy->tvlist[0].v == 1);
    EXPECT_TRUE(copy->tvlist[1].x == 5 && copy->tvlist[1].attr == 101);  // P1 with I1's rest
    EXPECT_EQ(copy->previous, tri);
    for (const RasterTri* piece : {static_cast<const RasterTri*>(tri), copy}) {
        EXPECT_GT(Vec3Dot(Normal(piece), before), 0.0);
        EXPECT_EQ(piece->normalLength, Vec3FastLength(Normal(piece)));
    }
}

TEST_F(Clipping, AppendedPiecesAreNotExaminedAndAFullListLosesThem) {
    // The second piece (P2, P1, I2) lies wholly right of x = z; the first keeps O's side.
    Add({{0, 0, 5}, {100, 0, 20}, {100, 10, 20}});
    RenderListClip(list.get(), &cam, kClipX | kClipNearFar);
    ASSERT_EQ(list->numPolys, 2);
    EXPECT_EQ(list->polyData[1].state, kPolyActive);
    RenderListClip(list.get(), &cam, kClipX);
    EXPECT_EQ(list->polyData[1].state, kPolyActive | kPolyClipped);

    RasterTri* tri = Add({{0, 0, 0}, {10, 0, 20}, {0, 10, 20}});
    const RasterTri filler = {};
    while (list->numPolys < kRenderListCapacity) RenderListInsertTri(list.get(), &filler);
    RenderListClip(list.get(), &cam, kClipNearFar);
    EXPECT_EQ(list->numPolys, kRenderListCapacity);
    EXPECT_TRUE(tri->tvlist[0].x == 5 && tri->tvlist[0].z == 10);  // still cut
}

}  // namespace
