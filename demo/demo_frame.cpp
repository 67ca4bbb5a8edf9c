// The per-frame driver: clocks, sky, keyboard, scene, the engine's passes, the render
// pass, the overlay, present and pacing, in that order. The geometry (scene,
// objects, passes up to clipping) is a function of its own so that it can be run
// without lighting or pixels.
//
// With two threads the list passes are shared out in blocks of records, the even
// blocks to one thread and the odd ones to the other in every pass and every frame (so
// that each record stays in one thread's cache), and the render pass is drawn in two
// bands of rows, one a thread; each record and each row is worked on by one thread only, with
// the operations of a single thread, and the results are gathered in list order, so
// the frame is the same.
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

// One thread's share of the render pass: rows [clip.minY, clip.maxY), and rows
// [depthFirst, depthEnd) of the depth buffer to clear before them. A cache line of its
// own, as each thread writes its share.
struct alignas(64) Share {
    ClipRectangle clip;
    int32_t depthFirst, depthEnd;
    double renderMs;
};
Share gShares[2];

// The list passes go in blocks of kBlock records; block b keeps its results at b * kBlock
// in the tables below, so that they can be gathered in list order whoever made them.
constexpr int32_t kBlock = 256;
constexpr int32_t kBlocks = kRenderListCapacity / kBlock;
ClipCut gCuts[kRenderListCapacity];      // second pieces of near-plane cuts
RenderDraw gDraws[kRenderListCapacity];  // triangles prepared for the render pass
int32_t gCutCount[kBlocks];
int32_t gDrawCount[kBlocks];
int32_t gBlockCount;  // blocks of this pass

// Which blocks a thread takes: every gThreads-th from `first`.
struct BlockTurn {
    int32_t first;
};
BlockTurn gTurns[2] = {{0}, {1}};

// The first row of the worker's band, moved each frame towards equal render times.
int32_t gSplitRow = 300;

// Does job(from, to, b) for each block b of the thread's turn.
template <class Job>
void BlocksTake(const void* turn, const Job& job) {
    const int32_t count = RenderListMain()->numPolys;
    for (int32_t b = static_cast<const BlockTurn*>(turn)->first; b < gBlockCount; b += gThreads) {
        const int32_t from = b * kBlock;
        job(from, count - from > kBlock ? from + kBlock : count, b);
    }
}

void ToCameraBlocks(void* turn) {
    DemoWorld* world = DemoWorldGet();
    BlocksTake(turn, [world](int32_t from, int32_t to, int32_t b) {
        gCutCount[b] = RenderListToCameraRange(RenderListMain(), &world->camera, kClipFlags, from,
                                               to, gCuts + from);
    });
}

void LightToScreenBlocks(void* turn) {
    DemoWorld* world = DemoWorldGet();
    BlocksTake(turn, [world](int32_t from, int32_t to, int32_t b) {
        gDrawCount[b] =
            RenderListLightToScreenRange(RenderListMain(), &world->camera, world->lights,
                                         kMaxLights, from, to, &world->context, gDraws + from);
    });
}

void RenderShare(void* arg) {
    Share* s = static_cast<Share*>(arg);
    const auto start = std::chrono::steady_clock::now();
    DemoWorld* world = DemoWorldGet();
    ZBufferClearRows(&world->zbuffer, kDepthClear, s->depthFirst, s->depthEnd);
    // Every prepared triangle, in list order, inside this share's rows.
    for (int32_t b = 0; b < gBlockCount; ++b) {
        RenderDrawsRun(&world->context, gDraws + b * kBlock, gDrawCount[b], s->clip);
    }
    s->renderMs =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// Runs job on both threads (the worker and this one), or on this one alone.
void BothThreads(void (*job)(void*), void* workerArg, void* ownArg) {
    if (gThreads == 2) {
        WorkerRun(job, workerArg);
        job(ownArg);
        WorkerWait();
    } else {
        job(ownArg);
    }
}

// A list pass over every block of the list as it is now.
void BlocksRun(void (*job)(void*)) {
    const int32_t count = RenderListMain()->numPolys;
    gBlockCount = (count + kBlock - 1) / kBlock;
    BothThreads(job, &gTurns[1], &gTurns[0]);
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
    // Each record is written by the thread that takes it through the list passes.
    list->attr |= kRenderListLate;
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
    BlocksRun(ToCameraBlocks);
    for (int32_t b = 0; b < gBlockCount; ++b)
        RenderListCutsAppend(list, gCuts + b * kBlock, gCutCount[b]);
    list->attr &= ~kRenderListLate;
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
    BlocksRun(LightToScreenBlocks);
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
    BothThreads(RenderShare, &gShares[1], &gShares[0]);
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
