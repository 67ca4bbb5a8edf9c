// The engine's work on one frame (RenderFrame: back faces to the last filler call) for a
// 64 x 64 terrain (7938 triangles) seen from the camera path of the first terrain scene,
// lit by the intro's ten lights, on one thread and on two.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>

#include "bench/bench_main.h"
#include "demo/timeline.h"
#include "demo/world.h"
#include "display/colour.h"
#include "display/display.h"
#include "engine/render_frame.h"
#include "engine/tables.h"
#include "engine/terrain.h"

namespace {

constexpr int kSide = 64;
constexpr int kTriangles = 2 * (kSide - 1) * (kSide - 1);

struct Scene {
    uint8_t heights[kSide * kSide];
    Object3D terrain;
    Camera camera;
    Light lights[kMaxLights];
    ZBuffer zbuffer;
    RenderContext context;
};

Scene gScene;

// Rolling hills plus a little deterministic noise.
void MakeHeightMap(uint8_t* heights) {
    uint32_t seed = 12345;
    for (int r = 0; r < kSide; ++r) {
        for (int c = 0; c < kSide; ++c) {
            seed = seed * 1103515245u + 12345u;
            const double hills =
                110 + 70 * std::sin(c * 0.21) * std::cos(r * 0.17) + 40 * std::sin((c + r) * 0.09);
            const int value = static_cast<int>(hills) + static_cast<int>((seed >> 16) % 21) - 10;
            heights[r * kSide + c] = static_cast<uint8_t>(value < 0     ? 0
                                                          : value > 255 ? 255
                                                                        : value);
        }
    }
}

// The start-up steps of the intro that the engine needs: display, tables, camera, terrain,
// lights, depth buffer, the render pass's choices.
void SceneInit(Scene* scene) {
    static bool done = false;
    if (done) return;
    done = true;
    DisplayInit(640, 480, 16, 0, 0);
    MathTablesInit();
    LookupTablesInit();
    const Vec3 zero = {0, 0, 0, 1};
    CameraInit(&scene->camera, 8, &zero, &zero, &zero, 10.0f, 10000.0f, 80.0f, 640.0f, 480.0f);

    MakeHeightMap(scene->heights);
    const HeightMap map = {kSide, kSide, scene->heights};
    const BitmapHeader bitmap = {256, 256, 16};
    const Vec3 origin = {0, 0, 0, 0};
    Object3DGenerateTerrain(&scene->terrain, 6000.0f, 6000.0f, 1000.0f, "", "",
                            ColourPacker(50, 100, 30), &origin, nullptr, 648, &map, &bitmap);

    DemoLightsCreate(scene->lights);
    ZBufferCreate(&scene->zbuffer, 640, 480, kZBuffer32);
    DemoRenderContextInit(&scene->context);
}

// Puts the schedule into the first terrain scene (0): the next TimelineSceneCamera
// calls walk its camera path from angles 0, 0, 0.
void SceneZeroEnter() {
    TimelineReset();
    TimelineStart(1);
    TimelineScheduleStep(1 + 15001);
}

// Places the camera for the scene's next frame.
void CameraPlace(Camera* camera) {
    camera->pos = TimelineSceneCamera().position;
    CameraBuildUVN(camera, kCameraUVNTarget);
}

// The terrain inserted as a frame inserts it, then the engine's frame; returns the number
// of triangles drawn.
int FramePipeline(Scene* scene, RenderList* list) {
    RenderListReset(list);
    Object3D* terrain = &scene->terrain;
    Object3DReset(terrain);
    Mat4 rotation;
    Mat4BuildRotationXYZ(0, 0, 0, &rotation);
    Object3DTransform(terrain, rotation, kTransformLocalToTrans, 0, 0);
    Object3DModelToWorld(terrain, kTransformTransOnly, 0);
    RenderListInsertObject(list, terrain, 0);
    RenderFrame(&scene->context, &scene->camera, scene->lights, kMaxLights, &scene->zbuffer,
                0x3E800000);
    int drawable = 0;
    for (int32_t k = 0; k < list->numPolys; ++k)
        drawable += RasterTriProcessable(list->polyPointers[k]);
    return drawable;
}

void Report(benchmark::State& state, int drawable) {
    state.counters["drawable"] = drawable;
    state.counters["ns_per_tri"] = benchmark::Counter(
        kTriangles, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// The first frame of the scene (p = q = r = 0), on state.range(0) threads.
void BM_TerrainFrameScene0Start(benchmark::State& state) {
    SceneInit(&gScene);
    RenderFrameThreadsSet(static_cast<int>(state.range(0)));
    RenderList* list = RenderListMain();
    SceneZeroEnter();
    CameraPlace(&gScene.camera);
    int drawable = 0;
    for (auto _ : state) {
        drawable = FramePipeline(&gScene, list);
        benchmark::DoNotOptimize(list->polyData[0].litColor[0]);
    }
    Report(state, drawable);
}
BENCHMARK(BM_TerrainFrameScene0Start)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

// Frames along the scene's path, camera moved every frame as the timeline does.
void BM_TerrainFrameScene0Path(benchmark::State& state) {
    SceneInit(&gScene);
    RenderFrameThreadsSet(static_cast<int>(state.range(0)));
    RenderList* list = RenderListMain();
    SceneZeroEnter();
    int drawable = 0, frames = 0;
    for (auto _ : state) {
        CameraPlace(&gScene.camera);
        drawable += FramePipeline(&gScene, list);
        ++frames;
    }
    Report(state, frames ? drawable / frames : 0);
}
BENCHMARK(BM_TerrainFrameScene0Path)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

}  // namespace

INVITRO_BENCH_MAIN(
    "bench_engine: the engine's work on one frame (RenderFrame: cull, transform, clip, light, "
    "project, fill) of the 64 x 64 terrain, 7938 triangles, on the first terrain scene's camera "
    "path; /1 one thread, /2 two");
