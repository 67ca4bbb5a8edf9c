// The frame's passes over the render list, in blocks of records shared by two threads.
//
// The inserted records go in blocks of kBlock, the even blocks to one thread and the odd
// ones to the other, each block kBatch records at a time through every stage from back
// faces to the render pass's choices while they are in the cache. Each block keeps its
// results (near-plane cut pieces, triangles prepared for drawing) in slots of its own,
// gathered in list order afterwards; the cut pieces, appended after the inserted records,
// then go through the stages from lighting on.
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
    int32_t blockCount;  // blocks of the inserted records
    int32_t inserted;    // records before the cut pieces
    int32_t pieceDraws;  // the pieces' triangles prepared, at gDraws + inserted
};
Frame gFrame;

// Block b keeps its results at b * kBlock in these tables, the pieces' draws follow the
// inserted records' (a record's results never lie beyond its own index).
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

// The stages from lighting on, for records [a, e); returns the triangles prepared.
int32_t ScreenStages(int32_t a, int32_t e, RenderDraw* draws) {
    RenderList* list = gFrame.context.list;
    LightRenderListRange(list, gFrame.lights, a, e);
    RenderListCameraToPerspectiveRange(list, gFrame.cam, a, e);
    RenderListPerspectiveToScreenRange(list, gFrame.cam, a, e);
    return RenderDrawsPrepare(&gFrame.context, a, e, draws);
}

// Every stage, kBatch records at a time, for the blocks of the thread's share.
void ListPass(void* arg) {
    const Share* share = static_cast<const Share*>(arg);
    RenderList* list = gFrame.context.list;
    const Camera* cam = gFrame.cam;
    const int32_t count = list->numPolys;
    for (int32_t b = share->firstBlock; b < gFrame.blockCount; b += gThreads) {
        const int32_t from = b * kBlock, to = count - from > kBlock ? from + kBlock : count;
        int32_t cuts = 0, draws = 0;
        for (int32_t a = from; a < to; a += kBatch) {
            const int32_t e = to - a > kBatch ? a + kBatch : to;
            RenderListRemoveBackfacesRange(list, cam, a, e);
            RenderListWorldToCameraRange(list, cam, a, e);
            cuts += RenderListClipRange(list, cam, kClipFlags, a, e, gCuts + from + cuts);
            draws += ScreenStages(a, e, gDraws + from + draws);
        }
        gCutCount[b] = cuts;
        gDrawCount[b] = draws;
    }
}

// The depth clear and the drawing of one band: every prepared triangle, in list order,
// inside the band's rows.
void DrawPass(void* arg) {
    Share* share = static_cast<Share*>(arg);
    const auto start = std::chrono::steady_clock::now();
    ZBufferClearRows(gFrame.zbuffer, gFrame.depthClear, share->depthFirst, share->depthEnd);
    for (int32_t b = 0; b < gFrame.blockCount; ++b)
        RenderDrawsRun(&gFrame.context, gDraws + b * kBlock, gDrawCount[b], share->clip);
    RenderDrawsRun(&gFrame.context, gDraws + gFrame.inserted, gFrame.pieceDraws, share->clip);
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

// Rewrites one byte of every page of [data, data + bytes) with itself.
static void PagesCommit(void* data, size_t bytes) {
    volatile unsigned char* p = static_cast<unsigned char*>(data);
    for (size_t at = 0; at < bytes; at += 4096) p[at] = p[at];
    if (bytes) p[bytes - 1] = p[bytes - 1];
}

void RenderFrameMemoryCommit(RenderList* list, ZBuffer* zbuffer) {
    if (list) PagesCommit(list, sizeof *list);
    if (zbuffer && zbuffer->buffer) PagesCommit(zbuffer->buffer, zbuffer->sizeWords * 4u);
    PagesCommit(gCuts, sizeof gCuts);
    PagesCommit(gDraws, sizeof gDraws);
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

    // The lights' world positions move every frame, so their camera-space copies are
    // made afresh from them.
    LightsTransform(lights, lightCount, cam->mcam, kLightsTransformToTrans);
    LightSetMake(lights, lightCount, &gFrame.lights);
    const int32_t inserted = gFrame.inserted = list->numPolys;
    gFrame.blockCount = (inserted + kBlock - 1) / kBlock;
    BothThreads(ListPass);
    // The cut pieces, appended in the order of their records, and taken to the screen.
    for (int32_t b = 0; b < gFrame.blockCount; ++b) {
        for (int32_t i = 0; i < gCutCount[b]; ++i) ClipCutAppend(list, gCuts[b * kBlock + i]);
    }
    gFrame.pieceDraws = ScreenStages(inserted, list->numPolys, gDraws + inserted);

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
