// The engine's frame entry against the list operations run one after the other over the
// whole list and the render pass, in the show's order: the same records and pixels on one
// thread and on two, for a list with near-plane cuts in many blocks, an empty list and a
// full one.
#include "engine/render_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "display/display.h"
#include "engine/clip.h"
#include "engine/tables.h"
#include "engine/terrain.h"
#include "raster/lanes.h"

namespace {

constexpr uint32_t kClear = 0x3E800000;
constexpr uint32_t kAllPlanes = kClipX | kClipY | kClipNearFar;

struct Scene {
    Camera cam;
    Object3D terrain = {}, cloud = {};
    Light lights[kMaxLights];
    ZBuffer zbuffer = {};
    RenderContext context = {};
    RenderList* list = RenderListMain();

    Scene() {
        MathTablesInit();
        LookupTablesInit();
        EXPECT_EQ(DisplayInit(640, 480, 16, 0, 0), 1);
        const Vec3 pos = {40, 60, -200, 1}, target = {0, 0, 900, 1};
        CameraInit(&cam, 8, &pos, nullptr, &target, 10, 10000, 80, 640, 480);
        CameraBuildUVN(&cam, kCameraUVNTarget);
        // Textured Gouraud hills under the camera.
        std::mt19937 rng(3);
        static uint8_t heights[48 * 48];
        for (uint8_t& h : heights) h = static_cast<uint8_t>(rng() % 40);
        const HeightMap map = {48, 48, heights};
        const BitmapHeader texture = {256, 256, 16};
        Object3DGenerateTerrain(&terrain, 4000, 4000, 100, "", "", 0x7BEF, nullptr, nullptr, 648,
                                &map, &texture);
        // A cloud of flat, Gouraud and two-sided triangles round the camera, many of them
        // across its near plane.
        Object3DInit(&cloud, 3 * 1500, 1500, 1, 0);
        cloud.state = kObjectActive | kObjectVisible;
        auto near = [&rng](double spread) {
            return static_cast<float>(std::uniform_real_distribution<double>(-spread, spread)(rng));
        };
        for (int32_t p = 0; p < cloud.numPolys; ++p) {
            const Vec3 at = {40 + near(40), 60 + near(30), -170 + near(30), 1};
            for (int i = 0; i < 3; ++i) {
                Vertex3D& v = cloud.vlistLocal[3 * p + i];
                v = {at.x + near(40),
                     at.y + near(40),
                     at.z + near(40),
                     1,
                     near(1),
                     near(1),
                     near(1),
                     0,
                     0,
                     0,
                     0,
                     kVertexPosition | kVertexNormal};
            }
            const uint32_t kinds[] = {kAttrShadeFlat, kAttrShadeGouraud,
                                      kAttrShadeGouraud | kAttrTwoSided, kAttrShadeConstant};
            cloud.plist[p] = {kPolyActive,
                              kinds[rng() % 4],
                              static_cast<uint32_t>(rng() & 0xFFFF),
                              {0, 0, 0},
                              nullptr,
                              0,
                              cloud.vlistTrans,
                              nullptr,
                              {3 * p, 3 * p + 1, 3 * p + 2},
                              {0, 0, 0},
                              1 + near(10) * near(10)};
        }
        LightsInit(lights, kMaxLights);
        const Vec3 dir = {-1, 1, -1, 1}, spot = {0, -1, 0.3f, 1};
        LightInit(lights, 0, 1, kLightAmbient, 0x40404000, 0, 0, nullptr, nullptr, 0, 0, 0, 0, 0,
                  0);
        LightInit(lights, 1, 1, kLightInfinite, 0, 0xFFFFFF00, 0, nullptr, &dir, 0, 0, 0, 0, 0, 0);
        for (int k = 2; k < 8; ++k) {
            const Vec3 p = {near(500), 80 + near(50), near(500), 1};
            LightInit(lights, k, 1,
                      k < 6    ? kLightPoint
                      : k == 6 ? kLightSpot
                               : kLightSpotCone,
                      0, 0x80FF4000u * k, 0, &p, &spot, 1, 0.002f, 0, 0, 0, 3);
        }
        ZBufferCreate(&zbuffer, 640, 480, kZBuffer32);
        context = {kRenderDepthZ | kRenderAffine, list, nullptr, 0, nullptr, 0, -1, 0, 1000};
    }
    ~Scene() {
        Object3DDestroy(&terrain);
        Object3DDestroy(&cloud);
        std::free(zbuffer.buffer);
        DisplayRelease();
    }

    // The objects moved and inserted as a frame does; the cloud `times` times.
    void Insert(int times = 1) {
        Mat4 identity = kMat4Identity;
        RenderListReset(list);
        for (Object3D* obj : {&terrain, &cloud}) {
            Object3DReset(obj);
            Object3DTransform(obj, identity, kTransformLocalToTrans, 0, 1);
            Object3DModelToWorld(obj, kTransformTransOnly, 1);
        }
        RenderListInsertObject(list, &terrain, 0);
        for (int i = 0; i < times; ++i) RenderListInsertObject(list, &cloud, 0);
    }

    // Each pass over the whole list, then the render pass into the locked surface.
    void ListOperations() {
        RenderListRemoveBackfaces(list, &cam);
        RenderListWorldToCamera(list, &cam);
        RenderListClip(list, &cam, kAllPlanes);
        LightsTransform(lights, kMaxLights, cam.mcam, kLightsTransformToTrans);
        LightRenderList(list, &cam, lights, kMaxLights);
        RenderListCameraToPerspective(list, &cam);
        RenderListPerspectiveToScreen(list, &cam);
        SurfaceLock();
        RenderContext locked = context;
        locked.frame = DisplayLockPointer(), locked.framePitch = DisplayLockPitch();
        locked.depth = zbuffer.buffer, locked.depthPitch = 640 * 4;
        ZBufferClear(&zbuffer, kClear);
        RenderPass(&locked);
        SurfaceUnlock();
    }

    void Entry(int threads) {
        RenderFrameThreadsSet(threads);
        ASSERT_EQ(RenderFrameThreads(), threads);
        ASSERT_EQ(RenderFrame(&context, &cam, lights, kMaxLights, &zbuffer, kClear), 1);
    }

    // What a frame leaves: the records, the pixels and the depth buffer.
    struct Result {
        std::vector<RasterTri> records;
        std::vector<uint16_t> pixels;
        std::vector<uint32_t> depth;
    };
    Result Run(void (Scene::*frame)(), int times = 1) {
        Insert(times);
        SurfaceClear(DisplayBackSurface(), 0x1234, nullptr);
        (this->*frame)();
        Result r;
        r.records.assign(list->polyData, list->polyData + list->numPolys);
        uint16_t* pixels;
        int32_t pitch;
        SurfaceLockMemory(DisplayBackSurface(), &pixels, &pitch);
        for (int y = 0; y < 480; ++y)
            r.pixels.insert(r.pixels.end(), pixels + y * pitch / 2, pixels + y * pitch / 2 + 640);
        SurfaceUnlockMemory(DisplayBackSurface());
        r.depth.assign(zbuffer.buffer, zbuffer.buffer + 640 * 480);
        return r;
    }
    void OneThread() { Entry(1); }
    void TwoThreads() { Entry(2); }
};

bool SameRecord(const RasterTri& a, const RasterTri& b) {
    return a.state == b.state && a.attr == b.attr && a.color == b.color &&
           !std::memcmp(a.litColor, b.litColor, sizeof a.litColor) && a.texture == b.texture &&
           a.normalLength == b.normalLength && !std::memcmp(a.vlist, b.vlist, sizeof a.vlist) &&
           !std::memcmp(a.tvlist, b.tvlist, sizeof a.tvlist) && a.next == b.next &&
           a.previous == b.previous;
}

void ExpectSame(const Scene::Result& expected, const Scene::Result& got, const char* what) {
    ASSERT_EQ(got.records.size(), expected.records.size()) << what;
    for (size_t k = 0; k < got.records.size(); ++k)
        ASSERT_TRUE(SameRecord(got.records[k], expected.records[k])) << what << ": record " << k;
    EXPECT_TRUE(got.pixels == expected.pixels) << what << ": pixels";
    EXPECT_TRUE(got.depth == expected.depth) << what << ": depth";
}

TEST(RenderFrame, SameAsTheListOperationsOnOneThreadAndTwo) {
    Scene scene;
    LanesChoose(0);
    const Scene::Result expected = scene.Run(&Scene::ListOperations);
    // The scene is what it should be: pieces cut in many blocks, drawn among the hills.
    const int32_t inserted = scene.terrain.numPolys + scene.cloud.numPolys;
    int32_t cutBlocks = 0, lastBlock = -1;
    for (int32_t k = 0; k < inserted; ++k) {
        const RasterTri& tri = expected.records[k];
        if (!RasterTriProcessable(&tri) || k / 256 == lastBlock) continue;
        for (const Vertex3D& v : tri.vlist) {
            if (v.z != tri.tvlist[0].z && tri.tvlist[0].z == scene.cam.nearClipZ) {
                lastBlock = k / 256, ++cutBlocks;
                break;
            }
        }
    }
    ASSERT_GT(static_cast<int32_t>(expected.records.size()), inserted + 100);
    ASSERT_GE(cutBlocks, 5);
    ASSERT_GT(std::count(expected.pixels.begin(), expected.pixels.end(), 0x1234), 0);
    ASSERT_LT(std::count(expected.pixels.begin(), expected.pixels.end(), 0x1234), 640 * 300);

    ExpectSame(expected, scene.Run(&Scene::OneThread), "one thread");
    // The hot loops' wide form (where the processor has it) gives the same as the plain one.
    LanesChoose(1);
    for (int frame = 0; frame < 3; ++frame)  // the bands' border moves from frame to frame
        ExpectSame(expected, scene.Run(&Scene::TwoThreads), "two threads");
    LanesChoose(0);
}

TEST(RenderFrame, EmptyAndFullLists) {
    Scene scene;
    for (int threads : {1, 2}) {
        scene.Run(&Scene::ListOperations, 0);
        RenderListReset(scene.list);
        std::fill(scene.zbuffer.buffer, scene.zbuffer.buffer + 640 * 480, 0u);
        RenderFrameThreadsSet(threads);
        RenderFrame(&scene.context, &scene.cam, scene.lights, kMaxLights, &scene.zbuffer, kClear);
        EXPECT_EQ(std::count(scene.zbuffer.buffer, scene.zbuffer.buffer + 640 * 480, kClear),
                  640 * 480);
    }
    // Full: the cloud inserted until the list holds its capacity, whose cut pieces are lost.
    const Scene::Result expected = scene.Run(&Scene::ListOperations, 20);
    ASSERT_EQ(static_cast<int32_t>(expected.records.size()), kRenderListCapacity);
    ExpectSame(expected, scene.Run(&Scene::TwoThreads, 20), "full, two threads");
    EXPECT_EQ(RenderFrame(nullptr, &scene.cam, scene.lights, kMaxLights, &scene.zbuffer, kClear),
              0);
}

}  // namespace
