// One whole cycle of the show, frame by frame on the 25-ms clock, geometry only (the
// frame's own geometry half, no pixels): no mesh object ever holds the camera inside
// its bounding sphere or has a triangle cut by the near plane, and every scene keeps
// its objects framed, large enough to read, with the sun or moon and the balloons in
// the picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "app/app.h"
#include "app/headless/headless.h"
#include "demo/demo.h"
#include "demo/timeline.h"
#include "demo/world.h"
#include "engine/clip.h"
#include "music/headless/wave_headless.h"

namespace {

constexpr int kFrames = 115000 / 25 + 8;  // each scene lasts up to a frame longer

// Framing rules, per scene.
constexpr double kFramedShare = 0.8;   // frames with a mesh object wholly in the picture
constexpr double kFramedPixels = 100;  // ... at least this wide (a fifth of the height)
constexpr double kSpeckPixels = 24;    // no mesh object in the picture is smaller
constexpr double kSkyShare = 0.9;      // frames showing the sun or the moon
constexpr double kBalloonShare = 0.8;  // frames showing at least kBalloonsShown balloons
constexpr int kBalloonsShown = 4;

const char* ObjectName(const DemoWorld* world, const Object3D* obj) {
    static const char* const kNames[kDemoObjectCount] = {"logo", "lighthouse", "airship",
                                                         "knot", "sun",        "moon"};
    for (int i = 0; i < kDemoObjectCount; ++i)
        if (obj == &world->objects[i]) return kNames[i];
    return "balloon";
}

// Where a bounding sphere lies against the picture: its centre in camera space
// against the four planes through the picture's edges and the near plane.
struct SphereView {
    bool inside;      // wholly in the picture
    bool seen;        // at least partly in the picture
    double diameter;  // pixels across, at its centre's depth
};

SphereView SphereInPicture(const Camera& cam, const Vec3& centre, double radius) {
    Vec3 c;
    Vec4MulMat4(centre, cam.mcam, &c);
    // The picture's edges: x' = d x / z and y' = d aspect y / z reach +-1 there.
    const double dx = cam.viewDist, dy = cam.viewDist * cam.aspectRatio;
    const double nx = std::sqrt(dx * dx + 1), ny = std::sqrt(dy * dy + 1);
    const double out =
        std::max({(dx * c.x - c.z) / nx, (-dx * c.x - c.z) / nx, (dy * c.y - c.z) / ny,
                  (-dy * c.y - c.z) / ny, static_cast<double>(cam.nearClipZ) - c.z});
    SphereView view;
    view.inside = out <= -radius;
    view.seen = out < radius;
    // A sphere reaching back to the camera fills the view.
    view.diameter = c.z > radius ? radius * dx * (cam.viewportWidth - 1) / c.z : 1e9;
    return view;
}

struct SceneTally {
    int frames = 0, framed = 0, sky = 0, balloons = 0;
    double smallest = 1e9;
};

}  // namespace

TEST(Framing, EveryFrameOfTheCycle) {
    HeadlessReset();
    HeadlessClockSet(1000);
    HeadlessWaveSetOpenFails(1);
    AppInit();
    const DemoWorld* world = DemoWorldGet();
    const RenderList* list = RenderListMain();
    const Camera& cam = world->camera;

    SceneTally tally[kSceneCount];
    bool sunSeen = false, moonSeen = false;
    for (int n = 0; n < kFrames; ++n) {
        const uint32_t now = 1000 + static_cast<uint32_t>(n) * 25;
        HeadlessClockSet(now);
        TimelineStart(now);
        int32_t red, green, blue;
        TimelineSkyAdvance(&red, &green, &blue);
        DemoFrameScene();
        RenderList* passed = RenderListMain();
        RenderListRemoveBackfaces(passed, &world->camera);
        RenderListWorldToCamera(passed, &world->camera);
        RenderListClip(passed, &world->camera, kClipX | kClipY | kClipNearFar);

        const int scene = TimelineStateGet()->scene;
        SceneTally& s = tally[scene];
        ++s.frames;
        bool framed = false, sky = false;
        int balloons = 0;
        for (int k = 0; k < world->drawnCount; ++k) {
            const DemoDrawn& drawn = world->drawn[k];
            const Object3D* obj = drawn.object;
            if (obj == &world->terrain) continue;
            const std::string where = "frame " + std::to_string(n) + " (" + std::to_string(n * 25) +
                                      " ms, scene " + std::to_string(scene) + "), " +
                                      ObjectName(world, obj);
            const double radius = obj->maxRadius[0];
            const Vec3 gap = Vec3Sub(cam.pos, obj->worldPos);
            ASSERT_GT(Vec3Length(gap), radius) << where << ": the camera is inside it";
            // The clipper puts the vertices it makes on the near plane.
            for (int32_t i = drawn.first; i < drawn.first + drawn.count; ++i) {
                const RasterTri* tri = list->polyPointers[i];
                if (!RasterTriProcessable(tri)) continue;
                for (const Vertex3D& v : tri->tvlist)
                    ASSERT_NE(v.z, cam.nearClipZ) << where << ": cut by the near plane";
            }

            const SphereView view = SphereInPicture(cam, obj->worldPos, radius);
            if (view.seen) {
                s.smallest = std::min(s.smallest, view.diameter);
                ASSERT_GE(view.diameter, kSpeckPixels) << where << ": a speck";
            }
            if (view.inside && view.diameter >= kFramedPixels) framed = true;
            if (obj == &world->objects[kDemoSun] || obj == &world->objects[kDemoMoon]) {
                sky = view.seen;
                (obj == &world->objects[kDemoSun] ? sunSeen : moonSeen) |= view.seen;
            }
            balloons +=
                view.seen && obj >= world->instances && obj < world->instances + kDemoInstanceCount;
        }
        s.framed += framed;
        s.sky += sky;
        s.balloons += balloons >= kBalloonsShown;
    }

    for (int scene = 0; scene < kSceneCount; ++scene) {
        const SceneTally& s = tally[scene];
        std::printf(
            "scene %d: %4d frames, framed %5.1f %%, sun or moon %5.1f %%, %d+ balloons "
            "%5.1f %%, smallest %3.0f px\n",
            scene, s.frames, 100.0 * s.framed / s.frames, 100.0 * s.sky / s.frames, kBalloonsShown,
            100.0 * s.balloons / s.frames, s.smallest);
        EXPECT_GE(s.framed, kFramedShare * s.frames) << "scene " << scene;
        EXPECT_GE(s.sky, kSkyShare * s.frames) << "scene " << scene;
        EXPECT_GE(s.balloons, kBalloonShare * s.frames) << "scene " << scene;
    }
    EXPECT_TRUE(sunSeen && moonSeen);
}
