// The camera set-up, its basis, and the list passes from world space to the screen.
#include "engine/camera.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace {

Camera MakeCamera(float fov, Vec3 pos, Vec3 target) {
    MathTablesInit();
    Camera cam = {};
    const Vec3 dir = {0, 0, 0, 1};
    CameraInit(&cam, 8, &pos, &dir, &target, 10.0f, 10000.0f, fov, 640.0f, 480.0f);
    CameraBuildUVN(&cam, kCameraUVNTarget);
    return cam;
}

// A fresh list holding one active triangle at the given positions.
std::unique_ptr<RenderList> OneTriangle(Vec3 a, Vec3 b, Vec3 c, uint32_t attr = 0) {
    auto list = std::make_unique<RenderList>();
    RasterTri tri = {};
    tri.state = kPolyActive;
    tri.attr = attr;
    const Vec3 p[3] = {a, b, c};
    for (int i = 0; i < 3; ++i) tri.tvlist[i] = {p[i].x, p[i].y, p[i].z, 1, 0, 0, 0, 0, 0, 0, 0, 1};
    RenderListInsertTri(list.get(), &tri);
    return list;
}

TEST(Camera, NinetyDegreesTakesTheFixedPlanesOthersTheComputedOnes) {
    // Exactly 45 degrees; the computed planes would tilt by an ulp (view distance
    // 0.99999994 from the single-precision pi).
    const Camera right = MakeCamera(90.0f, {0, 0, 0, 1}, {0, 0, 1, 1});
    const float h = static_cast<float>(1 / std::sqrt(2.0));
    EXPECT_TRUE(right.rightClipPlane.nx == h && right.rightClipPlane.nz == -h);
    EXPECT_TRUE(right.topClipPlane.ny == h && right.bottomClipPlane.nz == -h);

    // 80 degrees: view distance 1 / tan 40; the planes' normals are -cos 40 and -sin 40,
    // the top one too (measured on the width, 2, not the height).
    const Camera cam = MakeCamera(80.0f, {0, 0, 0, 1}, {0, 0, 1, 1});
    EXPECT_FLOAT_EQ(cam.viewDist, 1.1917536f);
    EXPECT_FLOAT_EQ(cam.leftClipPlane.nx, -0.76604444f);
    EXPECT_FLOAT_EQ(cam.topClipPlane.nz, -0.64278761f);
    EXPECT_TRUE(cam.viewportCenterX == 319.5f && cam.viewplaneHeight == 1.5f);
}

TEST(Camera, UvnLooksDownEachHorizontalAxisAndDegeneratesStraightDown) {
    const struct {
        Vec3 target, inCamera;  // where the world point (1, 2, 3) lands
    } cases[] = {{{0, 0, 10, 1}, {1, 2, 3, 1}},
                 {{0, 0, -10, 1}, {-1, 2, -3, 1}},
                 {{10, 0, 0, 1}, {-3, 2, 1, 1}},
                 {{-10, 0, 0, 1}, {3, 2, -1, 1}}};
    for (const auto& c : cases) {
        const Camera cam = MakeCamera(90.0f, {0, 0, 0, 1}, c.target);
        Vec3 p;
        Vec4MulMat4({1, 2, 3, 1}, cam.mcam, &p);
        EXPECT_TRUE(p.x == c.inCamera.x && p.y == c.inCamera.y && p.z == c.inCamera.z);
    }
    // Straight down, up x n vanishes and u stays zero (below 1e-5).
    const Camera down = MakeCamera(90.0f, {0, 100, 0, 1}, {0, 0, 0, 1});
    EXPECT_TRUE(down.u.x == 0 && down.n.y == -1);
    // Spherical: elevation 90, heading 90 aims at (-1, cos 90, 0) from the origin.
    Camera sphere = MakeCamera(90.0f, {0, 0, 0, 1}, {0, 0, 1, 1});
    sphere.dir = {90, 90, 0, 1};
    CameraBuildUVN(&sphere, kCameraUVNSpherical);
    EXPECT_TRUE(sphere.target.x == -1 && sphere.target.y == CosTable[90]);
}

TEST(Camera, BackFacesIncludeEdgeOnButNeverTwoSided) {
    const Camera cam = MakeCamera(90.0f, {0, 0, -10, 1}, {0, 0, 0, 1});
    const struct {
        Vec3 b, c;
        uint32_t attr, state;
    } cases[] = {{{0, 1, 0, 1}, {1, 0, 0, 1}, 0, kPolyActive},  // normal towards the camera
                 {{1, 0, 0, 1}, {0, 1, 0, 1}, 0, kPolyActive | kPolyBackFace},
                 {{0, 0, 5, 1}, {0, 1, 0, 1}, 0, kPolyActive | kPolyBackFace},  // edge-on
                 {{1, 0, 0, 1}, {0, 1, 0, 1}, kAttrTwoSided, kPolyActive}};
    for (const auto& c : cases) {
        auto list = OneTriangle({0, 0, 0, 1}, c.b, c.c, c.attr);
        RenderListRemoveBackfaces(list.get(), &cam);
        EXPECT_EQ(list->polyData[0].state, c.state);
    }
}

TEST(Camera, PointsReachTheScreenThroughCameraPerspectiveAndViewport) {
    Camera cam = MakeCamera(90.0f, {0, 0, -10, 1}, {0, 0, 0, 1});
    cam.viewDist = 1.0f;  // exact figures below
    // Centre, the right edge (x = z) and the top edge (y = z / aspect).
    auto list = OneTriangle({0, 0, 0, 1}, {20, 0, 10, 1}, {0, 15, 10, 1});
    const Vertex3D* v = list->polyData[0].tvlist;
    RenderListWorldToCamera(list.get(), &cam);
    EXPECT_EQ(v[1].z, 20.0f);
    RenderListCameraToPerspective(list.get(), &cam);
    EXPECT_TRUE(v[1].x == 1 && v[2].y == 1 && v[2].z == 20);  // depth kept
    RenderListPerspectiveToScreen(list.get(), &cam);
    EXPECT_TRUE(v[0].x == 319.5f && v[0].y == 239.5f && v[1].x == 639 && v[2].y == 0);
    list->polyData[0].state |= kPolyClipped;  // no longer processable: left alone
    RenderListPerspectiveToScreen(list.get(), &cam);
    EXPECT_EQ(v[1].x, 639.0f);
}

}  // namespace
