// The render pass: every drawable triangle of the render list goes, in insertion order,
// to exactly one member of the filler family (raster/filler.h).
#pragma once
#include <cstdint>

#include "display/display.h"
#include "engine/render_list.h"
#include "raster/filler.h"
#include "raster/texture.h"

// RenderContext attribute bits. The depth mode is the first of the four depth bits set.
constexpr uint32_t kRenderDepthNone = 0x1;      // fillers without a ZBuffer
constexpr uint32_t kRenderDepthZ = 0x2;         // less-than depth test
constexpr uint32_t kRenderDepthInverseZ = 0x4;  // greater-than test on 2^28 / depth
constexpr uint32_t kRenderDepthZSecond = 0x8;   // as z, with three write-only members
constexpr uint32_t kRenderMipMap = 0x10;        // mip-mapping allowed
constexpr uint32_t kRenderBlend = 0x20;         // blending allowed
constexpr uint32_t kRenderBilinear = 0x40;      // bilinear sampling (with kRenderAffine)
constexpr uint32_t kRenderAffine = 0x100;       // texture sampling affine
constexpr uint32_t kRenderPerspective = 0x200;  // perspective-exact
constexpr uint32_t kRenderPiecewise = 0x400;    // perspective piecewise-linear
constexpr uint32_t kRenderHybrid = 0x800;       // piecewise near, affine far

// Per-frame rendering parameters, filled by the scene code before each pass.
struct RenderContext {
    uint32_t attr;                      // kRender* bits
    RenderList* list;                   // the list to draw
    uint16_t* frame;                    // FrameBuffer base
    int32_t framePitch;                 // bytes per FrameBuffer row
    uint32_t* depth;                    // ZBuffer base
    int32_t depthPitch;                 // bytes per ZBuffer row
    int32_t alphaOverride;              // blend level for every triangle; < 0: each its own
    int32_t mipDistance;                // depth at which the last mip level is reached
    int32_t perspectiveSwitchDistance;  // hybrid: no farther than this -> piecewise
};

// Draws the context's render list: each active, unclipped, front-facing triangle through
// the member RenderPassChooseFiller names, from a prepared copy of its drawing words (the
// list is not modified). Returns 1, or 0 (drawing nothing) for a null context, list or
// frame.
int RenderPass(const RenderContext* context);

// One triangle as the render pass hands it to its filler: the member and blend level
// chosen for it and the words the filler reads (u and v with the mip level's halvings).
struct RenderDraw {
    int32_t member;  // 1..44
    int32_t level;   // blend level
    RasterDraw tri;
};

// The render pass's stages, so that the choices can be made while a record is in the
// cache and the drawing done later, in rows shared between threads. Prepare fills
// draws[0..] (room for to - from) with the records of [from, to) of the context's list
// that are drawn, in order, and returns their number (all of the context but its frame
// and depth targets is read). Run draws prepared triangles in order inside `clip`, as the
// render pass draws their records.
int32_t RenderDrawsPrepare(const RenderContext* context, int32_t from, int32_t to,
                           RenderDraw* draws);
void RenderDrawsRun(const RenderContext* context, const RenderDraw* draws, int32_t count,
                    const ClipRectangle& clip);

// The routing: the member number (1..44) that draws a triangle with attributes triAttr
// under context bits contextAttr, or 0 when it is not drawn. `blended`: the triangle is
// blended (see RenderPassIsBlended); `hybridNear`: under hybrid sampling, the triangle's
// first vertex is no farther than the switch distance.
int32_t RenderPassChooseFiller(uint32_t contextAttr, uint32_t triAttr, int32_t blended,
                               int32_t hybridNear);

// Blending is allowed by the context and the triangle is transparent or the alpha
// override is in force.
int32_t RenderPassIsBlended(uint32_t contextAttr, uint32_t triAttr, int32_t alphaOverride);
