// The frame's passes over a range of render-list records, each record taken through
// all of them at once while it is in the cache, so that two threads can share a list.
// Run over the whole list they leave it as the list-wide passes of camera.h, clip.h
// and light.h, called in their order, do.
#pragma once
#include <cstdint>

#include "engine/camera.h"
#include "engine/clip.h"
#include "engine/light.h"
#include "engine/render_list.h"
#include "engine/render_pass.h"

// Back faces, world to camera and clipping (clipFlags) of records [from, to). The
// second pieces of near-plane cuts are not appended: they are written to cuts[0..],
// which has room for to - from, and their number is returned. RenderListCutsAppend
// appends them; the cuts of ranges that follow each other go in the same order.
int32_t RenderListToCameraRange(RenderList* list, const Camera* cam, uint32_t clipFlags,
                                int32_t from, int32_t to, ClipCut* cuts);
void RenderListCutsAppend(RenderList* list, const ClipCut* cuts, int32_t count);

// Lighting (lights already moved to camera space), perspective and screen mapping of
// records [from, to); with a context, each drawn record is then prepared for the render
// pass (RenderDrawPrepare) into draws[0..], which has room for to - from, and the number
// of those is returned (0 without a context).
int32_t RenderListLightToScreenRange(RenderList* list, const Camera* cam, const Light* lights,
                                     int32_t count, int32_t from, int32_t to,
                                     const RenderContext* context, RenderDraw* draws);
