// View-volume clipping of the render list in camera space.
#pragma once
#include <cstdint>

#include "engine/camera.h"
#include "engine/render_list.h"

constexpr uint32_t kClipX = 0x1;        // left and right planes: cull wholly outside
constexpr uint32_t kClipY = 0x2;        // top and bottom planes: cull wholly outside
constexpr uint32_t kClipNearFar = 0x4;  // cull wholly before or beyond, cut at the near plane

// Runs after world to camera and before lighting. Marks kPolyClipped on triangles wholly
// outside a tested plane (the view-plane width bounds y too); cuts triangles crossing
// the near plane so that no vertex lies in front of it, appending the second piece of a
// two-inside cut with RenderListInsertTri (lost when the list is full). Only the records
// present at entry are examined. Cut triangles get their normal length recomputed.
int RenderListClip(RenderList* list, const Camera* cam, uint32_t flags);

// The second piece of a near-plane cut of record `record`: a copy of the record as it was
// before the cut, with the near point (x, y, z, u, v) for vertex `vertex` and the record's
// new vertex `vertex` for the next one. Passes over part of the list keep these and
// append them afterwards, in order, as RenderListClip appends them at once. The camera-
// space x and y that the piece takes from the record are kept too, with the record's
// state, so that the record may go on to the screen before its piece is appended (the
// other words the piece takes stay as they were, or are made afresh when it is lit).
struct ClipCut {
    int32_t record;
    int32_t vertex;
    uint32_t state;       // the record's, when it was cut
    float x, y, z, u, v;  // the near point on the edge from `vertex` to the one before it
    float x1, y1;         // the record's new vertex `vertex`
    float x2, y2;         // the record's vertex before `vertex`
};

// The stage: RenderListClip over records [from, to), whose second pieces are not appended
// but written to cuts[0..] (room for to - from); returns their number. Appended in that
// order with ClipCutAppend, after the cuts of the records before, they make the list
// RenderListClip makes.
int32_t RenderListClipRange(RenderList* list, const Camera* cam, uint32_t flags, int32_t from,
                            int32_t to, ClipCut* cuts);
// Appends the second piece of a cut with RenderListInsertTri; 0 when the list is full.
int ClipCutAppend(RenderList* list, const ClipCut& cut);
