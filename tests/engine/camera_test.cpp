// The camera set-up, its basis, and the list passes from world space to the screen.
#include "engine/camera.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace {

class CameraTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { MathTablesInit(); }

    static Camera Make(float fov, Vec3 pos, Vec3 target) {
        Camera cam = {};
        const Vec3 dir = {0, 0, 0, 1};
        CameraInit(&cam, 8, &pos, &dir, &target, 10.0f, 10000.0f, fov, 640.0f, 480.0f);
        return cam;
    }

    // A single triangle in a fresh list, its tvlist set from three positions.
    static std::unique_ptr<RenderList> OneTriangle(Vec3 a, Vec3 b, Vec3 c, uint32_t attr = 0) {
        auto list = std::make_unique<RenderList>();
        RasterTri tri = {};
        tri.state = kPolyActive;
        tri.attr = attr;
        const Vec3 p[3] = {a, b, c};
        for (int i = 0; i < 3; ++i)
            tri.tvlist[i] = {p[i].x, p[i].y, p[i].z, 1, 0, 0, 0, 0, 0, 0, 0, 1};
        RenderListInsertTri(list.get(), &tri);
        return list;
    }
};

TEST_F(CameraTest, NinetyDegreesTakesTheFixedPlanesOthersTheComputedOnes) {
    // Exactly 45 degrees: the view distance of the single-precision pi, 0.99999994,
    // would tilt the computed planes by one unit in the last place.
    const Camera right = Make(90.0f, {0, 0, 0, 1}, {0, 0, 1, 1});
    const float h = static_cast<float>(1 / std::sqrt(2.0));
    EXPECT_EQ(right.rightClipPlane.nx, h);
    EXPECT_EQ(right.rightClipPlane.nz, -h);
    EXPECT_EQ(right.leftClipPlane.nx, -h);
    EXPECT_EQ(right.topClipPlane.ny, h);
    EXPECT_EQ(right.bottomClipPlane.nz, -h);

    const Camera cam = Make(80.0f, {0, 0, 0, 1}, {0, 0, 1, 1});
    const double d = 1.0 / std::tan(40.0 * static_cast<double>(3.1415927f) / 180.0);
    EXPECT_FLOAT_EQ(cam.viewDist, static_cast<float>(d));
    // The top plane uses the view-plane width (2), not its height (1.5).
    const double len = std::sqrt(d * d + 1.0);
    EXPECT_FLOAT_EQ(cam.leftClipPlane.nx, static_cast<float>(-d / len));
    EXPECT_FLOAT_EQ(cam.topClipPlane.ny, static_cast<float>(d / len));
    EXPECT_FLOAT_EQ(cam.topClipPlane.nz, static_cast<float>(-1.0 / len));
    EXPECT_FLOAT_EQ(cam.viewplaneHeight, 1.5f);
    EXPECT_EQ(cam.viewportCenterX, 319.5f);
    EXPECT_EQ(cam.viewportCenterY, 239.5f);
}

TEST_F(CameraTest, UvnLooksDownEachHorizontalAxisAndDegeneratesStraightDown) {
    struct Case {
        Vec3 target, world, inCamera;
    } cases[] = {
        {{0, 0, 10, 1}, {1, 2, 3, 1}, {1, 2, 3, 1}},     // +z: camera frame = world frame
        {{0, 0, -10, 1}, {1, 2, 3, 1}, {-1, 2, -3, 1}},  // -z
        {{10, 0, 0, 1}, {1, 2, 3, 1}, {-3, 2, 1, 1}},    // +x
        {{-10, 0, 0, 1}, {1, 2, 3, 1}, {3, 2, -1, 1}},   // -x
    };
    for (const Case& c : cases) {
        Camera cam = Make(90.0f, {0, 0, 0, 1}, c.target);
        CameraBuildUVN(&cam, kCameraUVNTarget);
        Vec3 p;
        Vec4MulMat4(c.world, cam.mcam, &p);
        EXPECT_EQ(p.x, c.inCamera.x);
        EXPECT_EQ(p.y, c.inCamera.y);
        EXPECT_EQ(p.z, c.inCamera.z);
    }
    // Looking straight down, up x n vanishes: u and v stay zero (below 1e-5).
    Camera down = Make(90.0f, {0, 100, 0, 1}, {0, 0, 0, 1});
    CameraBuildUVN(&down, kCameraUVNTarget);
    EXPECT_EQ(down.u.x, 0.0f);
    EXPECT_EQ(down.n.y, -1.0f);

    // Spherical: elevation 90, heading 90 aims at (-1, cos 90, 0) from the origin.
    Camera sphere = Make(90.0f, {0, 0, 0, 1}, {0, 0, 0, 1});
    sphere.dir = {90, 90, 0, 1};
    CameraBuildUVN(&sphere, kCameraUVNSpherical);
    EXPECT_EQ(sphere.target.x, -1.0f);
    EXPECT_EQ(sphere.target.y, CosTable[90]);
    EXPECT_FLOAT_EQ(sphere.n.x, -1.0f);
}

TEST_F(CameraTest, BackFacesIncludeEdgeOnButNeverTwoSided) {
    const Camera cam = Make(90.0f, {0, 0, -10, 1}, {0, 0, 0, 1});
    // Normal (0, 0, -1) towards the camera: front.
    auto front = OneTriangle({0, 0, 0, 1}, {0, 1, 0, 1}, {1, 0, 0, 1});
    RenderListRemoveBackfaces(front.get(), &cam);
    EXPECT_EQ(front->polyData[0].state, kPolyActive);
    auto back = OneTriangle({0, 0, 0, 1}, {1, 0, 0, 1}, {0, 1, 0, 1});
    RenderListRemoveBackfaces(back.get(), &cam);
    EXPECT_EQ(back->polyData[0].state, kPolyActive | kPolyBackFace);
    // In a plane through the camera: normal . view = 0.
    auto edge = OneTriangle({0, 0, 0, 1}, {0, 0, 5, 1}, {0, 1, 0, 1});
    RenderListRemoveBackfaces(edge.get(), &cam);
    EXPECT_EQ(edge->polyData[0].state, kPolyActive | kPolyBackFace);
    auto twoSided = OneTriangle({0, 0, 0, 1}, {1, 0, 0, 1}, {0, 1, 0, 1}, kAttrTwoSided);
    RenderListRemoveBackfaces(twoSided.get(), &cam);
    EXPECT_EQ(twoSided->polyData[0].state, kPolyActive);
}

TEST_F(CameraTest, PointsReachTheScreenThroughCameraPerspectiveAndViewport) {
    Camera cam = Make(90.0f, {0, 0, -10, 1}, {0, 0, 0, 1});
    CameraBuildUVN(&cam, kCameraUVNTarget);
    cam.viewDist = 1.0f;  // exact figures below
    // Centre, the right edge (x = z) and the top edge (y = z / aspect).
    auto list = OneTriangle({0, 0, 0, 1}, {20, 0, 10, 1}, {0, 15, 10, 1});
    RenderListWorldToCamera(list.get(), &cam);
    const Vertex3D* v = list->polyData[0].tvlist;
    EXPECT_EQ(v[1].z, 20.0f);
    RenderListCameraToPerspective(list.get(), &cam);
    EXPECT_EQ(v[1].x, 1.0f);
    EXPECT_EQ(v[2].y, 1.0f);
    EXPECT_EQ(v[2].z, 20.0f);  // depth kept
    RenderListPerspectiveToScreen(list.get(), &cam);
    EXPECT_EQ(v[0].x, 319.5f);
    EXPECT_EQ(v[0].y, 239.5f);
    EXPECT_EQ(v[1].x, 639.0f);
    EXPECT_EQ(v[2].y, 0.0f);

    // Records that are not processable are left alone by every pass.
    list->polyData[0].state |= kPolyClipped;
    RenderListPerspectiveToScreen(list.get(), &cam);
    EXPECT_EQ(v[1].x, 639.0f);
}

}  // namespace
