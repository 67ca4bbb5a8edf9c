// The frame's passes over a range of render-list records.
#include "engine/list_ranges.h"

#include "engine/tri_stages.h"

int32_t RenderListToCameraRange(RenderList* list, const Camera* cam, uint32_t clipFlags,
                                int32_t from, int32_t to, ClipCut* cuts) {
    if (!list || !cam) return 0;
    const Mat4Lanes m = Mat4LanesOf(cam->mcam);
    int32_t made = 0;
    for (int32_t k = from; k < to; ++k) {
        RenderListRecordFill(list, k);
        RasterTri* tri = list->polyPointers[k];
        if (!RasterTriProcessable(tri)) continue;
        TriBackFaceMark(tri, cam->pos);
        if (!RasterTriProcessable(tri)) continue;
        TriWorldToCamera(tri, m);
        if (ClipRecord(tri, cam, clipFlags, &cuts[made])) cuts[made++].record = k;
    }
    return made;
}

void RenderListCutsAppend(RenderList* list, const ClipCut* cuts, int32_t count) {
    for (int32_t i = 0; i < count; ++i) ClipCutAppend(list, cuts[i]);
}

int32_t RenderListLightToScreenRange(RenderList* list, const Camera* cam, const Light* lights,
                                     int32_t count, int32_t from, int32_t to,
                                     const RenderContext* context, RenderDraw* draws) {
    if (!list || !cam) return 0;
    const double alpha = 0.5 * cam->viewportWidth - 0.5;
    const double beta = 0.5 * cam->viewportHeight - 0.5;
    int32_t drawn = 0;
    // A block of records at a time: lit (which reads their camera-space positions), then
    // mapped to the screen and prepared while still in the cache.
    constexpr int32_t kBlock = 128;
    for (int32_t block = from; block < to; block += kBlock) {
        const int32_t end = to - block > kBlock ? block + kBlock : to;
        LightRenderListRange(list, cam, lights, count, block, end);
        for (int32_t k = block; k < end; ++k) {
            RasterTri* tri = list->polyPointers[k];
            if (!RasterTriProcessable(tri)) continue;
            TriToPerspective(tri, cam->viewDist, cam->aspectRatio);
            TriToScreen(tri, alpha, beta);
            if (context && RenderDrawPrepare(context, tri, &draws[drawn])) ++drawn;
        }
    }
    return drawn;
}
