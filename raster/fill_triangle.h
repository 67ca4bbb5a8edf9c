// The filler template: edge walking, spans and the pixel rules, specialised at build time
// per member. Internal to raster/; fillers.cpp instantiates it once per member.
#pragma once
#include <cstdint>

#include "display/display.h"
#include "raster/filler.h"
#include "raster/lookup_tables.h"
#include "raster/raster_tri.h"
#include "raster/texture.h"
#include "raster/tri_setup.h"

namespace raster_detail {

// Attribute slots walked along the edges and across the spans.
enum Attr : int { kZ, kU, kV, kR, kG, kB, kAttrCount };

// The build-time choices of one member.
template <FillerDepth D, FillerShade S, FillerCoords C, bool Blend, bool InclusiveLoop = false>
struct Member {
    static constexpr FillerDepth kDepth = D;
    static constexpr FillerShade kShade = S;
    static constexpr FillerCoords kCoords = C;
    static constexpr bool kBlend = Blend;
    // The span loop runs while the column is at most the last one (member 44).
    static constexpr bool kInclusiveLoop = InclusiveLoop;

    static constexpr bool kHasDepth = D != FillerDepth::kNone;
    static constexpr bool kReciprocal = D == FillerDepth::kGreater;
    static constexpr bool kTextured = S != FillerShade::kFlat && S != FillerShade::kGouraud;
    static constexpr bool kPersp = C == FillerCoords::kPerspPixel || C == FillerCoords::kPerspSpan;
    static constexpr bool kRgb = S == FillerShade::kLit || S == FillerShade::kGouraud;

    static constexpr bool Walks(int a) {
        return a == kZ ? kHasDepth : (a == kU || a == kV) ? kTextured : kRgb;
    }
    // W and the perspective U, V are walked as they are; everything else in 16.16.
    static constexpr bool Raw(int a) {
        return a == kZ ? kReciprocal : (a == kU || a == kV) ? kPersp : false;
    }
};

// 32-bit multiply that wraps like the machine's, for the n-step advances.
inline int32_t MulWrap(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

struct Edge {
    int32_t x, dx;  // 16.16
    int32_t a[kAttrCount], da[kAttrCount];
};

// Per-triangle constants of the pixel rules.
struct FillContext {
    const uint16_t* texels;
    int32_t shift;      // log2 of the texture width
    int32_t lastTexel;  // width - 1: the bilinear clamp for columns and (square) rows
    uint16_t flat;
    uint32_t tintR, tintG, tintB;
    const uint16_t* blendSource;  // BlendTable[L]
    const uint16_t* blendDest;    // BlendTable[7 - L]
    ClipRectangle clip;
};

template <class M>
inline void EdgeStart(Edge* e, const TriSetupVertex& p, const TriSetupVertex& q,
                      const int32_t (*attrs)[kAttrCount]) {
    const int32_t dy = q.y - p.y;
    e->x = p.x << 16;
    e->dx = ((q.x - p.x) << 16) / dy;
    for (int a = 0; a < kAttrCount; ++a) {
        if (!M::Walks(a)) {
            e->a[a] = e->da[a] = 0;
            continue;
        }
        const int32_t from = attrs[p.index][a], to = attrs[q.index][a];
        if (M::Raw(a)) {
            e->a[a] = from;
            e->da[a] = (to - from) / dy;
        } else {
            e->a[a] = from << 16;
            e->da[a] = ((to - from) << 16) / dy;
        }
    }
}

template <class M>
inline void EdgeAdvance(Edge* e, int32_t steps) {
    e->x += MulWrap(steps, e->dx);
    for (int a = 0; a < kAttrCount; ++a) {
        if (M::Walks(a)) e->a[a] += MulWrap(steps, e->da[a]);
    }
}

template <class M>
inline void EdgeStep(Edge* e) {
    e->x += e->dx;
    for (int a = 0; a < kAttrCount; ++a) {
        if (M::Walks(a)) e->a[a] += e->da[a];
    }
}

// Texel coordinate with 6 fraction bits at a span end of the per-span perspective members.
// The product is formed in 64 bits, so near triangles do not wrap.
inline int32_t PerspSpanEnd(int32_t uw, int32_t w) {
    return static_cast<int32_t>(static_cast<int64_t>(uw) * 64 / (w >> 6));
}

template <class M>
inline uint32_t TexelFetch(const FillContext& c, int32_t u, int32_t v, int32_t w) {
    if constexpr (M::kCoords == FillerCoords::kPerspPixel) {
        // Whole texel coordinates from two divisions; 64-bit products as at the span ends.
        const int32_t col = static_cast<int32_t>(static_cast<int64_t>(u) * 64 / w);
        const int32_t row = static_cast<int32_t>(static_cast<int64_t>(v) * 64 / w);
        return c.texels[col + (row << c.shift)];
    } else if constexpr (M::kCoords == FillerCoords::kPerspSpan) {
        return c.texels[(u >> 22) + ((v >> 22) << c.shift)];
    } else {
        return c.texels[(u >> 16) + ((v >> 16) << c.shift)];
    }
}

inline uint32_t BilinearFetch(const FillContext& c, int32_t u, int32_t v) {
    const int32_t c0 = u >> 16, r0 = v >> 16;
    const int32_t c1 = c0 + 1 < c.lastTexel ? c0 + 1 : c.lastTexel;
    const int32_t r1 = r0 + 1 < c.lastTexel ? r0 + 1 : c.lastTexel;  // square textures
    const uint32_t fu = static_cast<uint32_t>(u & 0xFFFF) >> 8;
    const uint32_t fv = static_cast<uint32_t>(v & 0xFFFF) >> 8;
    const uint32_t w00 = (256 - fu) * (256 - fv), w10 = fu * (256 - fv);
    const uint32_t w01 = (256 - fu) * fv, w11 = fu * fv;
    const uint32_t t00 = c.texels[c0 + (r0 << c.shift)], t10 = c.texels[c1 + (r0 << c.shift)];
    const uint32_t t01 = c.texels[c0 + (r1 << c.shift)], t11 = c.texels[c1 + (r1 << c.shift)];
    const uint32_t red =
        ((t00 >> 11) * w00 + (t10 >> 11) * w10 + (t01 >> 11) * w01 + (t11 >> 11) * w11) >> 16;
    const uint32_t green = ((((t00 >> 5) & 63) * w00 + ((t10 >> 5) & 63) * w10 +
                             ((t01 >> 5) & 63) * w01 + ((t11 >> 5) & 63) * w11) >>
                            11) &
                           ~31u;
    const uint32_t blue =
        ((t00 & 31) * w00 + (t10 & 31) * w10 + (t01 & 31) * w01 + (t11 & 31) * w11) >> 16;
    return (red << 11) | green | blue;
}

// The colour a pixel gets before blending.
template <class M>
inline uint32_t PixelColour(const FillContext& c, int32_t u, int32_t v, int32_t w, uint32_t r,
                            uint32_t g, uint32_t b) {
    if constexpr (M::kShade == FillerShade::kFlat) {
        return c.flat;
    } else if constexpr (M::kShade == FillerShade::kGouraud) {
        return ((r >> 19) << 11) + ((g >> 18) << 5) + (b >> 19);
    } else if constexpr (M::kShade == FillerShade::kBilinear) {
        return BilinearFetch(c, u, v);
    } else {
        const uint32_t t = TexelFetch<M>(c, u, v, w);
        if constexpr (M::kShade == FillerShade::kTextured) {
            return t;
        } else if constexpr (M::kShade == FillerShade::kTint) {
            return ((((t >> 11) * c.tintR) >> 5) << 11) |
                   (((((t >> 5) & 63) * c.tintG) >> 6) << 5) | (((t & 31) * c.tintB) >> 5);
        } else {
            return ((((t >> 11) * r) >> 24) << 11) | (((((t >> 5) & 63) * g) >> 24) << 5) |
                   (((t & 31) * b) >> 24);
        }
    }
}

// Draws columns x..end-1 of one row with the attributes starting at `val`.
template <class M>
inline void PixelsDraw(const FillContext& c, uint16_t* row, uint32_t* zrow, int32_t x, int32_t end,
                       const int32_t* val, const int32_t* step) {
    if constexpr (M::kShade == FillerShade::kFlat && !M::kHasDepth && !M::kBlend) {
        // Spans of six or more pixels five at a time, the rest singly.
        uint16_t* p = row + x;
        const uint16_t colour = c.flat;
        int32_t n = end - x;
        if (n >= 6) {
            for (; n >= 5; n -= 5, p += 5) {
                p[0] = colour;
                p[1] = colour;
                p[2] = colour;
                p[3] = colour;
                p[4] = colour;
            }
        }
        for (; n > 0; --n) *p++ = colour;
    } else {
        int32_t z = val[kZ], u = val[kU], v = val[kV];
        uint32_t r = static_cast<uint32_t>(val[kR]), g = static_cast<uint32_t>(val[kG]),
                 b = static_cast<uint32_t>(val[kB]);
        const int32_t dz = step[kZ], du = step[kU], dv = step[kV];
        const uint32_t dr = static_cast<uint32_t>(step[kR]), dg = static_cast<uint32_t>(step[kG]),
                       db = static_cast<uint32_t>(step[kB]);
        auto put = [&](int32_t column) {
            uint32_t s = PixelColour<M>(c, u, v, z, r, g, b);
            if constexpr (M::kBlend) {
                s = static_cast<uint16_t>(c.blendSource[s] + c.blendDest[row[column]]);
            }
            row[column] = static_cast<uint16_t>(s);
        };
        auto pixel = [&](int32_t column) {
            if constexpr (M::kDepth == FillerDepth::kLess) {
                if (static_cast<uint32_t>(z) < zrow[column]) {
                    zrow[column] = static_cast<uint32_t>(z);
                    put(column);
                }
            } else if constexpr (M::kDepth == FillerDepth::kGreater) {
                if (static_cast<uint32_t>(z) > zrow[column]) {
                    zrow[column] = static_cast<uint32_t>(z);
                    put(column);
                }
            } else if constexpr (M::kDepth == FillerDepth::kWriteOnly) {
                zrow[column] = static_cast<uint32_t>(z);
                put(column);
            } else {
                put(column);
            }
            if constexpr (M::Walks(kZ)) z += dz;
            if constexpr (M::kTextured) {
                u += du;
                v += dv;
            }
            if constexpr (M::kRgb) {
                r += dr;
                g += dg;
                b += db;
            }
        };
        if constexpr (M::kInclusiveLoop) {
            const int32_t last = end - 1;
            for (; x <= last; ++x) pixel(x);
        } else {
            for (; x < end; ++x) pixel(x);
        }
    }
}

// One row: span ends rounded half up, per-row gradients, clipping against minX / maxX.
template <class M>
inline void SpanDraw(const FillContext& c, const Edge& l, const Edge& r, uint16_t* row,
                     uint32_t* zrow, int clipped) {
    int32_t left = (l.x + 0x8000) >> 16;
    const int32_t right = (r.x + 0x8000) >> 16;
    if (left >= right) return;
    const int32_t width = right - left;
    int32_t val[kAttrCount] = {}, step[kAttrCount] = {};
    for (int a = 0; a < kAttrCount; ++a) {
        if (!M::Walks(a)) continue;
        step[a] = (r.a[a] - l.a[a]) / width;
        val[a] = M::Raw(a) ? l.a[a] : l.a[a] + 0x8000;
    }
    if constexpr (M::kCoords == FillerCoords::kPerspSpan) {
        // Exact texel coordinates at both ends (6 fraction bits, then 22), linear between.
        const int32_t ul = PerspSpanEnd(l.a[kU], l.a[kZ]) << 16;
        const int32_t vl = PerspSpanEnd(l.a[kV], l.a[kZ]) << 16;
        const int32_t ur = PerspSpanEnd(r.a[kU], r.a[kZ]) << 16;
        const int32_t vr = PerspSpanEnd(r.a[kV], r.a[kZ]) << 16;
        val[kU] = ul;
        val[kV] = vl;
        step[kU] = (ur - ul) / width;
        step[kV] = (vr - vl) / width;
    }
    int32_t end = right;
    if (clipped) {
        if (end > c.clip.maxX) end = c.clip.maxX;
        if (left >= end || c.clip.minX >= end) return;
        if (left < c.clip.minX) {
            const int32_t n = c.clip.minX - left;
            for (int a = 0; a < kAttrCount; ++a) val[a] += n * step[a];
            left = c.clip.minX;
        }
    }
    PixelsDraw<M>(c, row, zrow, left, end, val, step);
}

// Per-vertex attributes as the member walks them.
template <class M>
inline void VertexAttributes(const RasterTri* tri, int32_t (*attrs)[kAttrCount]) {
    for (int k = 0; k < 3; ++k) {
        const Vertex3D& tv = tri->tvlist[k];
        int32_t* a = attrs[k];
        int32_t zi = 0;
        if constexpr (M::kHasDepth) {
            zi = static_cast<int32_t>(tv.z + 0.5f);
            a[kZ] = M::kReciprocal ? 0x10000000 / zi : zi;
        }
        if constexpr (M::kPersp) {
            a[kU] = (static_cast<int32_t>(tv.u + 0.5f) << 22) / zi;
            a[kV] = (static_cast<int32_t>(tv.v + 0.5f) << 22) / zi;
        } else if constexpr (M::kTextured) {
            a[kU] = static_cast<int32_t>(tv.u);
            a[kV] = static_cast<int32_t>(tv.v);
        }
        if constexpr (M::kRgb) {
            const uint32_t colour = tri->litColor[k];
            a[kR] = static_cast<int32_t>(((colour >> 11) & 31) * 8);
            a[kG] = static_cast<int32_t>(((colour >> 5) & 63) * 4);
            a[kB] = static_cast<int32_t>((colour & 31) * 8);
        }
    }
}

template <class M>
void FillTriangle(RasterTri* tri, uint16_t* frame, int32_t framePitch, uint32_t* depth,
                  int32_t depthPitch, int32_t level) {
    TriSetup s;
    if (!TriSetupPrepare(tri, &s)) return;
    FillContext c = {};
    if constexpr (M::kTextured) {
        // A missing texture or a width the log2 table does not hold draws nothing.
        const Texture* texture = tri->texture;
        if (!texture || texture->width < 1 || texture->width >= kLog2TableSize) return;
        c.texels = texture->texels;
        c.shift = Log2Table[texture->width];
        c.lastTexel = texture->width - 1;
    }

    const uint32_t flat = tri->litColor[0] & 0xFFFF;
    c.flat = static_cast<uint16_t>(flat);
    c.tintR = (flat >> 11) & 31;
    c.tintG = (flat >> 5) & 63;
    c.tintB = flat & 31;
    if constexpr (M::kBlend) {
        c.blendSource = BlendTable[level];
        c.blendDest = BlendTable[7 - level];
    }
    c.clip = gClipRectangle;
    int32_t attrs[3][kAttrCount] = {};
    VertexAttributes<M>(tri, attrs);

    const TriSetupVertex* v = s.v;
    Edge l, r;
    int32_t yBottom;
    int shortLeft = 0;
    if (s.shape == TriShape::kFlatTop) {
        EdgeStart<M>(&l, v[0], v[2], attrs);
        EdgeStart<M>(&r, v[1], v[2], attrs);
        yBottom = v[2].y;
    } else if (s.shape == TriShape::kFlatBottom) {
        EdgeStart<M>(&l, v[0], v[1], attrs);
        EdgeStart<M>(&r, v[0], v[2], attrs);
        yBottom = v[1].y;
    } else {
        Edge longEdge, shortEdge;
        EdgeStart<M>(&longEdge, v[0], v[2], attrs);
        EdgeStart<M>(&shortEdge, v[0], v[1], attrs);
        shortLeft = shortEdge.dx < longEdge.dx;
        l = shortLeft ? shortEdge : longEdge;
        r = shortLeft ? longEdge : shortEdge;
        yBottom = v[2].y;
    }
    const int general = s.shape == TriShape::kGeneral;
    const int32_t yMid = v[1].y;
    Edge& shortSide = shortLeft ? l : r;

    int32_t y = v[0].y;
    if (y < c.clip.minY) {
        EdgeAdvance<M>(&l, c.clip.minY - y);
        EdgeAdvance<M>(&r, c.clip.minY - y);
        if (general && yMid < c.clip.minY) {
            EdgeStart<M>(&shortSide, v[1], v[2], attrs);
            EdgeAdvance<M>(&shortSide, c.clip.minY - yMid);
        }
        y = c.clip.minY;
    }
    const int32_t yEnd = yBottom < c.clip.maxY ? yBottom : c.clip.maxY;
    if (y >= yEnd) return;

    const int32_t rowStride = framePitch >> 1;  // the pitch with its lowest bit cleared
    uint16_t* row = frame + static_cast<intptr_t>(y) * rowStride;
    uint32_t* zrow = nullptr;
    int32_t zStride = 0;
    if constexpr (M::kHasDepth) {
        zStride = depthPitch / 4;
        zrow = depth + static_cast<intptr_t>(y) * zStride;
    }
    const int clipped = !s.allInsideX;
    for (; y < yEnd; ++y) {
        SpanDraw<M>(c, l, r, row, zrow, clipped);
        EdgeStep<M>(&l);
        EdgeStep<M>(&r);
        row += rowStride;
        if constexpr (M::kHasDepth) zrow += zStride;
        if (general && y == yMid) {
            // The knee: the lower short edge, one step below the middle vertex.
            EdgeStart<M>(&shortSide, v[1], v[2], attrs);
            EdgeStep<M>(&shortSide);
        }
    }
}

}  // namespace raster_detail
