// The frame's passes over the render list, in blocks of records shared by two threads.
//
// A list pass goes over blocks of kBlock records, the even blocks to one thread and the
// odd ones to the other in every pass and every frame, so that a record stays in one
// thread's cache; a block goes kBatch records at a time through all of its pass's stages,
// while they are in the cache. Each block keeps its results (near-plane cut pieces,
// triangles prepared for drawing) in slots of its own, gathered in list order afterwards.
// The render pass is drawn in two bands of rows, one a thread, whose border follows the
// threads' times. Every record and every pixel is worked on by one thread, with the
// operations of one thread, so one thread or two give the same frame.
#include "engine/render_frame.h"

#include <chrono>

#include "engine/clip.h"
#include "platform/worker.h"

namespace {

constexpr uint32_t kClipFlags = kClipX | kClipY | kClipNearFar;
constexpr int32_t kBlock = 256;
constexpr int32_t kBatch = 32;
constexpr int32_t kBlocks = kRenderListCapacity / kBlock;

int gThreads = 1;

// What the passes of the frame under way work on.
struct Frame {
    RenderContext context;  // with the locked surface and the depth buffer as targets
    const Camera* cam;
    LightSet lights;  // made after the lights are moved to camera space
    ZBuffer* zbuffer;
    uint32_t depthClear;
    int32_t blockCount;  // blocks of the pass under way
};
Frame gFrame;

// Block b keeps its results at b * kBlock in these tables.
ClipCut gCuts[kRenderListCapacity];      // second pieces of near-plane cuts
RenderDraw gDraws[kRenderListCapacity];  // triangles prepared for the render pass
int32_t gCutCount[kBlocks];
int32_t gDrawCount[kBlocks];

// One thread's share: the first of the blocks it takes (every gThreads-th from there),
// and in the render pass rows [clip.minY, clip.maxY), after clearing depth rows
// [depthFirst, depthEnd). A cache line of its own, as each thread writes its share.
struct alignas(64) Share {
    int32_t firstBlock;
    ClipRectangle clip;
    int32_t depthFirst, depthEnd;
    double renderMs;
};
Share gShares[2] = {{0, {}, 0, 0, 0}, {1, {}, 0, 0, 0}};

// The first row of the worker's band, moved each frame towards equal render times.
int32_t gSplitRow = 300;

// Does job(from, to, b) for each block b of the thread's share.
template <class Job>
void BlocksTake(const void* share, const Job& job) {
    const int32_t count = gFrame.context.list->numPolys;
    for (int32_t b = static_cast<const Share*>(share)->firstBlock; b < gFrame.blockCount;
         b += gThreads) {
        const int32_t from = b * kBlock;
        job(from, count - from > kBlock ? from + kBlock : count, b);
    }
}

// A list pass over the thread's blocks: made = stages(a, e, out) for each batch [a, e)
// of kBatch records, with out where the batch's results go in the block's slots of
// `results`; the block's count of results goes to counts[b].
template <class Result, class Stages>
void BlocksPass(const void* share, Result* results, int32_t* counts, const Stages& stages) {
    BlocksTake(share, [&](int32_t from, int32_t to, int32_t b) {
        int32_t made = 0;
        for (int32_t a = from; a < to; a += kBatch)
            made += stages(a, to - a > kBatch ? a + kBatch : to, results + from + made);
        counts[b] = made;
    });
}

// Back faces, world to camera and clipping.
void CameraPass(void* share) {
    BlocksPass(share, gCuts, gCutCount, [](int32_t a, int32_t e, ClipCut* cuts) {
        RenderList* list = gFrame.context.list;
        RenderListRemoveBackfacesRange(list, gFrame.cam, a, e);
        RenderListWorldToCameraRange(list, gFrame.cam, a, e);
        return RenderListClipRange(list, gFrame.cam, kClipFlags, a, e, cuts);
    });
}

// Lighting, perspective, screen mapping and the render pass's choices.
void ScreenPass(void* share) {
    BlocksPass(share, gDraws, gDrawCount, [](int32_t a, int32_t e, RenderDraw* draws) {
        RenderList* list = gFrame.context.list;
        LightRenderListRange(list, gFrame.lights, a, e);
        RenderListCameraToPerspectiveRange(list, gFrame.cam, a, e);
        RenderListPerspectiveToScreenRange(list, gFrame.cam, a, e);
        return RenderDrawsPrepare(&gFrame.context, a, e, draws);
    });
}

// The depth clear and the drawing of one band: every prepared triangle, in list order,
// inside the band's rows.
void DrawPass(void* arg) {
    Share* share = static_cast<Share*>(arg);
    const auto start = std::chrono::steady_clock::now();
    ZBufferClearRows(gFrame.zbuffer, gFrame.depthClear, share->depthFirst, share->depthEnd);
    for (int32_t b = 0; b < gFrame.blockCount; ++b)
        RenderDrawsRun(&gFrame.context, gDraws + b * kBlock, gDrawCount[b], share->clip);
    share->renderMs =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// Runs job on both threads (the worker and this one), or on this one alone.
void BothThreads(void (*job)(void*)) {
    if (gThreads == 2) {
        WorkerRun(job, &gShares[1]);
        job(&gShares[0]);
        WorkerWait();
    } else {
        job(&gShares[0]);
    }
}

// A list pass over every block of the list as it is now.
void BlocksRun(void (*job)(void*)) {
    gFrame.blockCount = (gFrame.context.list->numPolys + kBlock - 1) / kBlock;
    BothThreads(job);
}

// The two bands: rows above gSplitRow to this thread, the rest to the worker; the depth
// buffer's rows likewise, the whole of it cleared as at once.
void BandsSet(const ClipRectangle& clip, int32_t depthRows) {
    int32_t split = gThreads == 2 ? gSplitRow : clip.maxY;
    if (split < clip.minY) split = clip.minY;
    if (split > clip.maxY) split = clip.maxY;
    gShares[0].clip = {clip.minX, clip.minY, clip.maxX, split};
    gShares[0].depthFirst = 0, gShares[0].depthEnd = gThreads == 2 ? split : depthRows;
    gShares[1].clip = {clip.minX, split, clip.maxX, clip.maxY};
    gShares[1].depthFirst = split, gShares[1].depthEnd = depthRows;
}

// A few rows a frame towards the band that took less time.
void BandsBalance(const ClipRectangle& clip) {
    const double a = gShares[0].renderMs, b = gShares[1].renderMs;
    if (a + b > 0) gSplitRow += static_cast<int32_t>(16 * (b - a) / (a + b));
    if (gSplitRow < clip.minY + 1) gSplitRow = clip.minY + 1;
    if (gSplitRow > clip.maxY - 1) gSplitRow = clip.maxY - 1;
}

}  // namespace

void RenderFrameThreadsSet(int threads) {
    gThreads = threads >= 2 && WorkerStart() ? 2 : 1;
}

int RenderFrameThreads() {
    return gThreads;
}

int RenderFrame(const RenderContext* context, const Camera* cam, Light* lights, int32_t lightCount,
                ZBuffer* zbuffer, uint32_t depthClear) {
    if (!context || !context->list || !cam || !zbuffer || (!lights && lightCount > 0)) return 0;
    gFrame.context = *context;
    gFrame.cam = cam;
    gFrame.zbuffer = zbuffer;
    gFrame.depthClear = depthClear;
    RenderList* list = context->list;

    BlocksRun(CameraPass);
    // The cut pieces are appended in the order of their records.
    for (int32_t b = 0; b < gFrame.blockCount; ++b) {
        for (int32_t i = 0; i < gCutCount[b]; ++i) ClipCutAppend(list, gCuts[b * kBlock + i]);
    }
    // The lights' world positions move every frame, so their camera-space copies are
    // made afresh from them.
    LightsTransform(lights, lightCount, cam->mcam, kLightsTransformToTrans);
    LightSetMake(lights, lightCount, &gFrame.lights);
    BlocksRun(ScreenPass);

    SurfaceLock();
    RenderContext& target = gFrame.context;
    target.frame = DisplayLockPointer();
    target.framePitch = DisplayLockPitch();
    target.depth = zbuffer->buffer;
    target.depthPitch = zbuffer->height > 0 ? zbuffer->sizeWords / zbuffer->height * 4 : 0;
    const ClipRectangle clip = gClipRectangle;
    BandsSet(clip, zbuffer->height);
    BothThreads(DrawPass);
    if (gThreads == 2) BandsBalance(clip);
    SurfaceUnlock();
    return 1;
}
