// The per-frame driver: clocks, sky, keyboard, scene, the engine's passes, the render
// pass, the overlay, present and pacing, in that order. The geometry (scene,
// objects, passes up to clipping) is a function of its own so that it can be run
// without lighting or pixels.
//
// With two threads the worker takes half of each list pass (the records from the middle
// on) and the lower band of the render pass; each record and each row is worked on by
// one thread only, with the operations of a single thread, so the frame is the same.
#include <chrono>

#include "assets/assets.h"
#include "demo/demo.h"
#include "demo/overlay.h"
#include "demo/timeline.h"
#include "demo/world.h"
#include "display/display.h"
#include "engine/list_ranges.h"
#include "platform/frame_clock.h"
#include "platform/keyboard.h"
#include "platform/worker.h"

namespace {

constexpr uint32_t kClipFlags = kClipX | kClipY | kClipNearFar;
constexpr uint32_t kDepthClear = 0x3E800000;  // 0.25f's bit pattern in every entry

int gThreads = 1;

// One thread's share of a frame: records [from, to) of the list passes, rows
// [clip.minY, clip.maxY) of the render pass and rows [depthFirst, depthEnd) of the depth
// buffer to clear before it. A cache line of its own, as each thread writes its share.
struct alignas(64) Share {
    int32_t from, to;
    int32_t cutCount;   // second pieces of near-plane cuts, at gCuts + from
    int32_t drawCount;  // triangles prepared for the render pass, at gDraws + from
    ClipRectangle clip;
    int32_t depthFirst, depthEnd;
    RasterTri work;  // the fillers' record
    double renderMs;
};
Share gShares[2];

// The cut pieces and the prepared triangles of each share, in its part of the tables.
ClipCut gCuts[kRenderListCapacity];
RenderDraw gDraws[kRenderListCapacity];

// The first row of the worker's band, moved each frame towards equal render times.
int32_t gSplitRow = 300;

void ToCameraShare(void* arg) {
    Share* s = static_cast<Share*>(arg);
    DemoWorld* world = DemoWorldGet();
    s->cutCount = RenderListToCameraRange(RenderListMain(), &world->camera, kClipFlags, s->from,
                                          s->to, gCuts + s->from);
}

void LightToScreenShare(void* arg) {
    Share* s = static_cast<Share*>(arg);
    DemoWorld* world = DemoWorldGet();
    s->drawCount =
        RenderListLightToScreenRange(RenderListMain(), &world->camera, world->lights, kMaxLights,
                                     s->from, s->to, &world->context, gDraws + s->from);
}

void RenderShare(void* arg) {
    Share* s = static_cast<Share*>(arg);
    const auto start = std::chrono::steady_clock::now();
    DemoWorld* world = DemoWorldGet();
    ZBufferClearRows(&world->zbuffer, kDepthClear, s->depthFirst, s->depthEnd);
    // Every prepared triangle, in list order, inside this share's rows.
    for (const Share& t : gShares) {
        RenderDrawsRun(&world->context, gDraws + t.from, t.drawCount, s->clip, &s->work);
    }
    s->renderMs =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// Runs job on both shares: the second on the worker, the first here.
void BothShares(void (*job)(void*)) {
    if (gThreads == 2) {
        WorkerRun(job, &gShares[1]);
        job(&gShares[0]);
        WorkerWait();
    } else {
        job(&gShares[0]);
    }
}

// Splits records [0, count) between the shares (all to the first with one thread).
void SharesSplitRecords(int32_t count) {
    const int32_t middle = gThreads == 2 ? count / 2 : count;
    gShares[0].from = 0, gShares[0].to = middle;
    gShares[1].from = middle, gShares[1].to = count;
    for (Share& s : gShares) s.cutCount = s.drawCount = 0;
}

}  // namespace

void DemoFrameSetThreads(int threads) {
    gThreads = threads >= 2 && WorkerStart() ? 2 : 1;
}

int DemoFrameThreads() {
    return gThreads;
}

void DemoFrameGeometry() {
    DemoWorld* world = DemoWorldGet();
    RenderList* list = RenderListMain();
    RenderListReset(list);
    // Each record's vertices are copied by the thread that takes the record through the
    // list passes.
    list->attr |= kRenderListLateVertices;
    const float skyTime = TimelineStateGet()->skyTime;
    DemoLightsAnimate(world, skyTime);

    TimelineScheduleStep(TickNow());
    Camera* camera = &world->camera;
    const SceneCamera placed = TimelineSceneCamera();
    camera->pos = placed.position;
    camera->dir.y = placed.heading;
    CameraBuildUVN(camera, placed.uvnMode);

    DemoObjectsInsert(world, list, skyTime, TimelineStateGet()->scene);
    // Back faces, world to camera and clipping, every plane tested: side culling and the
    // near cut both keep the work down. The cut pieces are appended in record order.
    SharesSplitRecords(list->numPolys);
    BothShares(ToCameraShare);
    for (const Share& s : gShares) RenderListCutsAppend(list, gCuts + s.from, s.cutCount);
    list->attr &= ~kRenderListLateVertices;
}

void DemoFrameProject() {
    DemoWorld* world = DemoWorldGet();
    // How the render pass will draw: its choices are made with the lighting.
    RenderContext* context = &world->context;
    context->attr = kRenderDepthZ | kRenderAffine;  // 0x102
    context->depth = world->zbuffer.buffer;
    context->depthPitch = 2560;
    context->list = RenderListMain();
    context->perspectiveSwitchDistance = 1000;
    context->alphaOverride = -1;
    context->mipDistance = 0;
    // The lights' world positions move every frame, so their camera-space copies are
    // made afresh from them.
    LightsTransform(world->lights, kMaxLights, world->camera.mcam, kLightsTransformToTrans);
    SharesSplitRecords(RenderListMain()->numPolys);
    BothShares(LightToScreenShare);
}

int DemoFrame() {
    Surface* back = DisplayBackSurface();
    if (TimelineStateGet()->firstFrame) {
        OverlayStart(FontImage, kScrollerText, back);
        TimelineFirstFrameDone();
    }
    FrameStartStamp();
    TimelineStart(TickNow());
    SurfaceClear(back, 0, nullptr);

    int32_t red, green, blue;
    TimelineSkyAdvance(&red, &green, &blue);
    // Right and bottom are exclusive: the last column and row stay black, on purpose.
    SurfaceFillRect(0, 0, 639, 479, ColourPacker(red, green, blue), back);

    KeyboardRead();
    DemoFrameGeometry();
    DemoFrameProject();

    SurfaceLock();
    DemoWorld* world = DemoWorldGet();
    RenderContext* context = &world->context;
    context->frame = DisplayLockPointer();
    context->framePitch = DisplayLockPitch();
    // The depth buffer is cleared band by band with the render pass (the whole of it, as
    // at once); the bands split the clip rectangle's rows.
    const ClipRectangle& clip = gClipRectangle;
    int32_t split = gThreads == 2 ? gSplitRow : clip.maxY;
    if (split < clip.minY) split = clip.minY;
    if (split > clip.maxY) split = clip.maxY;
    const int32_t depthEnd = world->zbuffer.height;
    gShares[0].clip = {clip.minX, clip.minY, clip.maxX, split};
    gShares[0].depthFirst = 0, gShares[0].depthEnd = gThreads == 2 ? split : depthEnd;
    gShares[1].clip = {clip.minX, split, clip.maxX, clip.maxY};
    gShares[1].depthFirst = split, gShares[1].depthEnd = depthEnd;
    BothShares(RenderShare);
    if (gThreads == 2) {
        // A few rows a frame towards the band that took less time.
        const double a = gShares[0].renderMs, b = gShares[1].renderMs;
        if (a + b > 0) gSplitRow += static_cast<int32_t>(16 * (b - a) / (a + b));
        if (gSplitRow < clip.minY + 1) gSplitRow = clip.minY + 1;
        if (gSplitRow > clip.maxY - 1) gSplitRow = clip.maxY - 1;
    }
    SurfaceUnlock();

    OverlayDraw(back);
    DisplayPresent();
    FrameFinish();
    return 1;
}
