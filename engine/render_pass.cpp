// The render pass and the routing of triangles to the filler family.
#include "engine/render_pass.h"

#include "engine/object3d.h"
#include "raster/filler.h"
#include "raster/lookup_tables.h"
#include "raster/texture.h"

namespace {

// Rows of the routing tables: the depth mode.
enum DepthMode : int { kModeNone, kModeZ, kModeInverseZ, kModeZSecond, kModeCount };
// Textured triangles by shading: 0x20 constant, else 0x40 flat, else Gouraud.
enum Kind : int { kConstant, kFlat, kGouraud, kKindCount };
// Textured triangles by sampling: the first of 0x100, 0x200, 0x400, 0x800 set; 0x100
// with 0x40 is bilinear; hybrid is split by the distance of the first vertex.
enum Sampling : int { kBil, kAff, kExact, kPiece, kNear, kFar, kSamplingCount };

// Member numbers for textured triangles, [depth mode][kind][sampling].
//                                      bil  aff exact piece near far
constexpr int8_t kTexturedPlain[kModeCount][kKindCount][kSamplingCount] = {
    /* none      */ {{8, 7, 7, 7, 7, 7}, {9, 9, 9, 9, 9, 9}, {10, 10, 10, 10, 10, 10}},
    /* z         */ {{2, 1, 1, 1, 1, 1}, {3, 3, 3, 3, 3, 3}, {4, 4, 4, 4, 4, 4}},
    // Deliberate: the far hybrid of flat triangles goes to the Gouraud affine member.
    /* inverse z */ {{23, 22, 24, 25, 25, 22}, {29, 29, 29, 29, 29, 30}, {30, 30, 26, 27, 27, 30}},
    /* z-second  */ {{2, 41, 1, 1, 1, 1}, {42, 42, 3, 3, 3, 3}, {4, 4, 4, 4, 4, 4}},
};
constexpr int8_t kTexturedBlended[kModeCount][kKindCount][kSamplingCount] = {
    /* none      */ {{13, 13, 13, 13, 13, 13}, {14, 14, 14, 14, 14, 14}, {15, 15, 15, 15, 15, 15}},
    /* z         */ {{18, 18, 18, 18, 18, 18}, {19, 19, 19, 19, 19, 19}, {20, 20, 20, 20, 20, 20}},
    /* inverse z */ {{33, 33, 34, 35, 35, 33}, {38, 38, 38, 38, 38, 38}, {39, 39, 36, 37, 37, 39}},
    /* z-second  */ {{18, 18, 18, 18, 18, 18}, {19, 19, 19, 19, 19, 19}, {20, 20, 20, 20, 20, 20}},
};
// Untextured triangles, [depth mode][blended][flat or constant, Gouraud].
constexpr int8_t kUntextured[kModeCount][2][2] = {
    /* none      */ {{6, 11}, {12, 16}},
    /* z         */ {{44, 5}, {17, 21}},
    /* inverse z */ {{28, 31}, {32, 40}},
    /* z-second  */ {{44, 43}, {17, 21}},
};

int DepthModeOf(uint32_t contextAttr) {
    if (contextAttr & kRenderDepthNone) return kModeNone;
    if (contextAttr & kRenderDepthZ) return kModeZ;
    if (contextAttr & kRenderDepthInverseZ) return kModeInverseZ;
    if (contextAttr & kRenderDepthZSecond) return kModeZSecond;
    return -1;
}

// Chooses the mip level of a mip-mapped triangle and halves its u and v as often.
void MipLevelChoose(const RenderContext* context, const RasterTri* tri, RenderDraw* draw) {
    Texture* levels = tri->texture;
    if (!(context->attr & kRenderMipMap)) {
        draw->tri.texture = &levels[0];
        return;
    }
    const int32_t count = levels[0].width < kLog2TableSize ? Log2Table[levels[0].width] : 0;
    double chosen = count * static_cast<double>(tri->tvlist[0].z) / context->mipDistance;
    // Beyond the last level (or a mip distance of 0) takes the last; never below level 0.
    if (!(chosen < count)) chosen = count;
    if (chosen < 0) chosen = 0;
    const int32_t level = static_cast<int32_t>(chosen);
    draw->tri.texture = &levels[level];
    for (int32_t i = 0; i < level; ++i) {
        for (int k = 0; k < 3; ++k) {
            draw->tri.u[k] *= 0.5f;
            draw->tri.v[k] *= 0.5f;
        }
    }
}

// The reciprocal-depth members divide by the snapped depth and by W >> 6: they are only
// handed depths from 0.5 up to 2^22.
bool DepthsFitReciprocal(const RasterTri* tri) {
    for (const Vertex3D& v : tri->tvlist) {
        if (!(v.z >= 0.5f && v.z < 4194304.0f)) return false;
    }
    return true;
}

}  // namespace

int32_t RenderPassIsBlended(uint32_t contextAttr, uint32_t triAttr, int32_t alphaOverride) {
    return (contextAttr & kRenderBlend) && ((triAttr & kAttrTransparent) || alphaOverride >= 0);
}

int32_t RenderPassChooseFiller(uint32_t contextAttr, uint32_t triAttr, int32_t blended,
                               int32_t hybridNear) {
    const int mode = DepthModeOf(contextAttr);
    if (mode < 0) return 0;
    const int b = blended ? 1 : 0;
    if (!(triAttr & kAttrTextured)) {
        if (triAttr & (kAttrShadeConstant | kAttrShadeFlat)) return kUntextured[mode][b][0];
        if (triAttr & kAttrShadeGouraud) return kUntextured[mode][b][1];
        return 0;
    }
    int sampling;
    if (contextAttr & kRenderAffine) {
        sampling = (contextAttr & kRenderBilinear) ? kBil : kAff;
    } else if (contextAttr & kRenderPerspective) {
        sampling = kExact;
    } else if (contextAttr & kRenderPiecewise) {
        sampling = kPiece;
    } else if (contextAttr & kRenderHybrid) {
        sampling = hybridNear ? kNear : kFar;
    } else {
        return 0;
    }
    const int kind = (triAttr & kAttrShadeConstant) ? kConstant
                     : (triAttr & kAttrShadeFlat)   ? kFlat
                                                    : kGouraud;
    return b ? kTexturedBlended[mode][kind][sampling] : kTexturedPlain[mode][kind][sampling];
}

int RenderPass(const RenderContext* context) {
    // No FrameBuffer is locked when the display did not start: nothing can be drawn (the
    // clip rectangle may still describe a surface of an earlier start).
    if (!context || !context->list || !context->frame) return 0;
    // One triangle at a time, the count read again after each.
    for (int32_t k = 0; k < context->list->numPolys; ++k) {
        RenderDraw draw;
        if (RenderDrawsPrepare(context, k, k + 1, &draw)) {
            RenderDrawsRun(context, &draw, 1, gClipRectangle);
        }
    }
    return 1;
}

// Fills `draw` for a record drawn under the context; false for one that is not.
static bool DrawPrepare(const RenderContext* context, const RasterTri* tri, RenderDraw* draw) {
    if (!RasterTriProcessable(tri)) return false;
    const uint32_t attr = tri->attr;
    const int32_t blended = RenderPassIsBlended(context->attr, attr, context->alphaOverride);
    const int32_t hybridNear =
        static_cast<float>(context->perspectiveSwitchDistance) >= tri->tvlist[0].z;
    const int32_t member = RenderPassChooseFiller(context->attr, attr, blended, hybridNear);
    if (!member) return false;
    if (FillerMembers[member - 1].depth == FillerDepth::kGreater && !DepthsFitReciprocal(tri)) {
        return false;
    }
    draw->member = member;
    int32_t level = context->alphaOverride >= 0 ? context->alphaOverride
                                                : static_cast<int32_t>(tri->color >> 24);
    // Levels beyond the table's last are drawn at the last.
    draw->level = level > 7 ? 7 : level;
    // The fillers read lit colour 0 only (flat) or all three, and u and v of textured
    // triangles only: the others are copied too, unread.
    RasterDrawFromTri(tri, &draw->tri);
    if ((attr & kAttrTextured) && (attr & kAttrMipMapped) && tri->texture) {
        MipLevelChoose(context, tri, draw);
    }
    return true;
}

int32_t RenderDrawsPrepare(const RenderContext* context, int32_t from, int32_t to,
                           RenderDraw* draws) {
    RasterTri* const* records = context->list->polyPointers;
    int32_t count = 0;
    for (int32_t k = from; k < to; ++k) count += DrawPrepare(context, records[k], &draws[count]);
    return count;
}

void RenderDrawsRun(const RenderContext* context, const RenderDraw* draws, int32_t count,
                    const ClipRectangle& clip) {
    if (!context || !context->frame) return;
    // A triangle whose corners all lie more than a row above or below the clip rectangle
    // would snap to rows outside it (snapping moves a corner by at most half a row, or
    // towards row 0) and draw nothing there: it is passed over without its set-up, as
    // most are when the rectangle is one band of two.
    const float above = static_cast<float>(clip.minY - 1),
                below = static_cast<float>(clip.maxY + 1);
    const FillerAnyFn* fill = FillerDraws();
    for (int32_t k = 0; k < count; ++k) {
        const RenderDraw& draw = draws[k];
        const float* y = draw.tri.y;
        if (clip.minY > 0 && y[0] < above && y[1] < above && y[2] < above) continue;
        if (y[0] > below && y[1] > below && y[2] > below) continue;
        fill[draw.member - 1](draw.tri, context->frame, context->framePitch, context->depth,
                              context->depthPitch, draw.level, clip);
    }
}
