// The filler template: edge walking, spans and the pixel rules, specialised at build time
// per member. Internal to raster/; fillers.cpp instantiates it once per member.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "display/display.h"
#include "raster/filler.h"
#include "raster/lanes.h"
#include "raster/lookup_tables.h"
#include "raster/raster_tri.h"
#include "raster/texture.h"
#include "raster/tri_setup.h"

namespace raster_detail {

// Lanes of the values walked along the edges and across the spans: the edge's x, then the
// attributes. The last lane is not used.
constexpr int kX = 0, kZ = 1, kU = 2, kV = 3, kR = 4, kG = 5, kB = 6;

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

    static constexpr bool Walks(int lane) {
        return lane == kX                   ? true
               : lane == kZ                 ? kHasDepth
               : (lane == kU || lane == kV) ? kTextured
               : lane <= kB                 ? kRgb
                                            : false;
    }
    // W and the perspective U, V are walked as they are; everything else in 16.16.
    static constexpr bool Raw(int lane) {
        return lane == kZ ? kReciprocal : (lane == kU || lane == kV) ? kPersp : false;
    }
    // Four lanes hold x, depth, u and v; the vertex colours take eight.
    using Lanes = std::conditional_t<kRgb, Int8, Int4>;
};

template <class V, class F, std::size_t... I>
constexpr V LanesMake(F f, std::index_sequence<I...>) {
    return V{f(static_cast<int>(I))...};
}
// The lanes of V from f(lane).
template <class V, class F>
constexpr V LanesMake(F f) {
    return LanesMake<V>(f, std::make_index_sequence<sizeof(V) / sizeof(int32_t)>{});
}

// A member's 16.16 lanes (all ones), and the half that a span adds to them.
template <class M>
inline constexpr typename M::Lanes kFixedMask = LanesMake<typename M::Lanes>([](int lane) {
    return M::Walks(lane) && !M::Raw(lane) ? -1 : 0;
});
template <class M>
inline constexpr typename M::Lanes kSpanHalf = LanesMake<typename M::Lanes>([](int lane) {
    return lane != kX && M::Walks(lane) && !M::Raw(lane) ? 0x8000 : 0;
});

// An edge: its x and the attributes at the current row, and their steps per row.
template <class M>
struct Edge {
    typename M::Lanes at, step;
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

// From p down to q: 16.16 x and attributes (raw ones as they are) and their steps, each
// difference divided by the height with truncation.
template <class M>
[[gnu::always_inline]] inline Edge<M> EdgeStart(const TriSetupVertex& p, const TriSetupVertex& q,
                                                const typename M::Lanes* lanes) {
    constexpr typename M::Lanes fixed = kFixedMask<M>;
    const typename M::Lanes from = lanes[p.index], delta = SubWrap(lanes[q.index], from);
    return {((from << 16) & fixed) | (from & ~fixed),
            DivideExact(((delta << 16) & fixed) | (delta & ~fixed), q.y - p.y)};
}

template <class M>
[[gnu::always_inline]] inline void EdgeAdvance(Edge<M>* e, int32_t steps) {
    e->at = AddWrap(e->at, MulWrap(e->step, steps));
}

template <class M>
[[gnu::always_inline]] inline void EdgeStep(Edge<M>* e) {
    e->at = AddWrap(e->at, e->step);
}

// Texel coordinate with 6 fraction bits at a span end of the per-span perspective members.
// The product is formed in 64 bits, so near triangles do not wrap.
[[gnu::always_inline]] inline int32_t PerspSpanEnd(int32_t uw, int32_t w) {
    return static_cast<int32_t>(static_cast<int64_t>(uw) * 64 / (w >> 6));
}

template <class M>
[[gnu::always_inline]] inline uint32_t TexelFetch(const FillContext& c, int32_t u, int32_t v,
                                                  int32_t w) {
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

[[gnu::always_inline]] inline uint32_t BilinearFetch(const FillContext& c, int32_t u, int32_t v) {
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

// The Gouraud colour of the channels r, g, b (8.24 fixed point), and a texel t shaded by
// the member's rule: as it is, tinted by the context's tint, or lit by r, g, b. T is one
// word or lanes of words, so one pixel and a run of them share the rules.
template <class T>
[[gnu::always_inline]] inline T GouraudColour(T r, T g, T b) {
    return ((r >> 19) << 11) + ((g >> 18) << 5) + (b >> 19);
}
template <class M, class T>
[[gnu::always_inline]] inline T TexelShade(const FillContext& c, T t, T r, T g, T b) {
    if constexpr (M::kShade == FillerShade::kTextured) {
        return t;
    } else if constexpr (M::kShade == FillerShade::kTint) {
        return ((((t >> 11) * c.tintR) >> 5) << 11) | (((((t >> 5) & 63) * c.tintG) >> 6) << 5) |
               (((t & 31) * c.tintB) >> 5);
    } else {
        return ((((t >> 11) * r) >> 24) << 11) | (((((t >> 5) & 63) * g) >> 24) << 5) |
               (((t & 31) * b) >> 24);
    }
}

// The colour a pixel gets before blending.
template <class M>
[[gnu::always_inline]] inline uint32_t PixelColour(const FillContext& c, int32_t u, int32_t v,
                                                   int32_t w, uint32_t r, uint32_t g, uint32_t b) {
    if constexpr (M::kShade == FillerShade::kFlat) {
        return c.flat;
    } else if constexpr (M::kShade == FillerShade::kGouraud) {
        return GouraudColour(r, g, b);
    } else if constexpr (M::kShade == FillerShade::kBilinear) {
        return BilinearFetch(c, u, v);
    } else {
        return TexelShade<M>(c, TexelFetch<M>(c, u, v, w), r, g, b);
    }
}

// The pixel rules in vector lanes, W neighbouring pixels at a time, for the members whose
// rules need no table or division per pixel: each lane does the operations of the scalar
// rule for its pixel, in 32-bit lanes that wrap as the scalar ones do, so the pixels are
// the same. Lanes past the span's end are never formed.
// Texels times lit colours need a 32-bit lane multiply, which lanes without one would only
// build from narrower steps at more cost than the scalar rule.
template <class M, class L>
constexpr bool kLaned =
    !M::kBlend && M::kShade != FillerShade::kBilinear &&
    (M::kCoords == FillerCoords::kAffine || M::kCoords == FillerCoords::kNone) &&
    (M::kHasDepth || M::kShade != FillerShade::kFlat) && L::kLanes &&
    (L::kMultiply || (M::kShade != FillerShade::kLit && M::kShade != FillerShade::kTint));

typedef uint32_t U32x4 __attribute__((vector_size(16)));
typedef uint32_t U32x8 __attribute__((vector_size(32)));
typedef uint16_t U16x4 __attribute__((vector_size(8)));
typedef uint16_t U16x8 __attribute__((vector_size(16)));

template <int W>
struct LaneTypesOf;
template <>
struct LaneTypesOf<4> {
    using Words = U32x4;
    using Signed = Int4;
    using Pixels = U16x4;
};
template <>
struct LaneTypesOf<8> {
    using Words = U32x8;
    using Signed = Int8;
    using Pixels = U16x8;
};

// The walked values of W neighbouring pixels.
template <int W>
struct PixelLanes {
    using Words = typename LaneTypesOf<W>::Words;
    Words z, u, v, r, g, b;
};

template <class V>
[[gnu::always_inline]] inline bool AnyLane(const V& mask) {
    uint64_t words[sizeof(V) / 8];
    std::memcpy(words, &mask, sizeof mask);
    uint64_t any = 0;
    for (uint64_t w : words) any |= w;
    return any != 0;
}

// The colours of W pixels before blending.
template <class M, int W>
[[gnu::always_inline]] inline typename LaneTypesOf<W>::Words ColourLanes(const FillContext& c,
                                                                         const PixelLanes<W>& a) {
    using Words = typename LaneTypesOf<W>::Words;
    using Signed = typename LaneTypesOf<W>::Signed;
    if constexpr (M::kShade == FillerShade::kFlat) {
        return Words{} + c.flat;
    } else if constexpr (M::kShade == FillerShade::kGouraud) {
        return GouraudColour(a.r, a.g, a.b);
    } else {
        const Signed index = (reinterpret_cast<Signed>(a.u) >> 16) +
                             ((reinterpret_cast<Signed>(a.v) >> 16) << c.shift);
        Words t;
        for (int k = 0; k < W; ++k) t[k] = c.texels[index[k]];
        return TexelShade<M>(c, t, a.r, a.g, a.b);
    }
}

// Pixels x..x+W-1 of a row, with the depth test and writes of the member.
template <class M, int W>
[[gnu::always_inline]] inline void LanesDraw(const FillContext& c, uint16_t* row, uint32_t* zrow,
                                             int32_t x, const PixelLanes<W>& a) {
    using Words = typename LaneTypesOf<W>::Words;
    using Pixels = typename LaneTypesOf<W>::Pixels;
    Words stored = {}, pass = Words{} - 1;
    if constexpr (M::kDepth == FillerDepth::kLess || M::kDepth == FillerDepth::kGreater) {
        std::memcpy(&stored, zrow + x, sizeof stored);
        pass =
            reinterpret_cast<Words>(M::kDepth == FillerDepth::kLess ? a.z < stored : a.z > stored);
        if (!AnyLane(pass)) return;
    }
    Pixels colour = __builtin_convertvector(ColourLanes<M, W>(c, a), Pixels);
    if constexpr (M::kDepth == FillerDepth::kLess || M::kDepth == FillerDepth::kGreater) {
        Pixels old;
        std::memcpy(&old, row + x, sizeof old);
        const Pixels keep = __builtin_convertvector(pass, Pixels);
        colour = (colour & keep) | (old & ~keep);
        stored = (a.z & pass) | (stored & ~pass);
    } else {
        stored = a.z;
    }
    std::memcpy(row + x, &colour, sizeof colour);
    if constexpr (M::kHasDepth) std::memcpy(zrow + x, &stored, sizeof stored);
}

// Lane k's share of (0, 1, ..., W - 1) in bit `bit`: all ones where k has it.
template <int W>
constexpr typename LaneTypesOf<W>::Words RampBit(int bit) {
    return LanesMake<typename LaneTypesOf<W>::Words>(
        [bit](int k) { return (k >> bit) & 1 ? ~0u : 0u; });
}

// (0, s, 2 s, ..., (W - 1) s) in wrapping 32-bit lanes: a lane multiply where the lanes
// have one, else shifts and masks.
template <class L, int W>
[[gnu::always_inline]] inline typename LaneTypesOf<W>::Words Ramp(uint32_t s) {
    using Words = typename LaneTypesOf<W>::Words;
    if constexpr (L::kMultiply) {
        constexpr Words k = LanesMake<Words>([](int lane) { return static_cast<uint32_t>(lane); });
        return k * s;
    } else {
        constexpr Words bit0 = RampBit<W>(0), bit1 = RampBit<W>(1), bit2 = RampBit<W>(2);
        Words ramp = (Words{} + s) & bit0;
        if constexpr (W > 2) ramp += (Words{} + (s << 1)) & bit1;
        if constexpr (W > 4) ramp += (Words{} + (s << 2)) & bit2;
        return ramp;
    }
}

// The low four lanes of eight.
[[gnu::always_inline]] inline PixelLanes<4> LowHalf(const PixelLanes<8>& a) {
    auto low = [](const U32x8& w) __attribute__((always_inline)) {
        return U32x4{w[0], w[1], w[2], w[3]};
    };
    return {low(a.z), low(a.u), low(a.v), low(a.r), low(a.g), low(a.b)};
}

// Draws W pixels at a time while W remain, then, with eight lanes, four more if four
// remain, from the scalar values of the first pixel (moved on past the pixels drawn);
// returns the next column. Spans of fewer than four pixels are left to the scalar rules.
template <class M, class L, int W>
[[gnu::always_inline]] inline int32_t LanesRun(const FillContext& c, uint16_t* row, uint32_t* zrow,
                                               int32_t x, int32_t end, uint32_t at[6],
                                               const uint32_t step[6]) {
    using Words = typename LaneTypesOf<W>::Words;
    if (end - x < 4) return x;
    // Only the values the member walks; the others stay 0.
    constexpr bool walks[6] = {M::Walks(kZ), M::Walks(kU), M::Walks(kV),
                               M::Walks(kR), M::Walks(kG), M::Walks(kB)};
    auto start = [&](int i) __attribute__((always_inline)) {
        return walks[i] ? at[i] + Ramp<L, W>(step[i]) : Words{};
    };
    PixelLanes<W> a = {start(0), start(1), start(2), start(3), start(4), start(5)};
    if (end - x >= W) {
        auto by = [&](int i) __attribute__((always_inline)) {
            return Words{} + (walks[i] ? step[i] * static_cast<uint32_t>(W) : 0u);
        };
        const PixelLanes<W> d = {by(0), by(1), by(2), by(3), by(4), by(5)};
        do {
            LanesDraw<M, W>(c, row, zrow, x, a);
            x += W;
            if constexpr (M::Walks(kZ)) a.z += d.z;
            if constexpr (M::kTextured) a.u += d.u, a.v += d.v;
            if constexpr (M::kRgb) a.r += d.r, a.g += d.g, a.b += d.b;
        } while (end - x >= W);
    }
    int next = 0;  // the lane of the next pixel
    if constexpr (W == 8) {
        if (end - x >= 4) {
            LanesDraw<M, 4>(c, row, zrow, x, LowHalf(a));
            x += 4;
            next = 4;
        }
    }
    at[0] = a.z[next], at[1] = a.u[next], at[2] = a.v[next];
    at[3] = a.r[next], at[4] = a.g[next], at[5] = a.b[next];
    return x;
}

// Draws columns x..end-1 of one row with the attributes starting at `val`.
template <class M, class L>
[[gnu::always_inline]] inline void PixelsDraw(const FillContext& c, uint16_t* row, uint32_t* zrow,
                                              int32_t x, int32_t end, const typename M::Lanes& val,
                                              const typename M::Lanes& step) {
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
        const int32_t dz = step[kZ], du = step[kU], dv = step[kV];
        uint32_t r = 0, g = 0, b = 0, dr = 0, dg = 0, db = 0;
        if constexpr (M::kRgb) {
            r = static_cast<uint32_t>(val[kR]), dr = static_cast<uint32_t>(step[kR]);
            g = static_cast<uint32_t>(val[kG]), dg = static_cast<uint32_t>(step[kG]);
            b = static_cast<uint32_t>(val[kB]), db = static_cast<uint32_t>(step[kB]);
        }
        if constexpr (kLaned<M, L>) {
            uint32_t at[6] = {static_cast<uint32_t>(z),
                              static_cast<uint32_t>(u),
                              static_cast<uint32_t>(v),
                              r,
                              g,
                              b};
            const uint32_t by[6] = {static_cast<uint32_t>(dz),
                                    static_cast<uint32_t>(du),
                                    static_cast<uint32_t>(dv),
                                    dr,
                                    dg,
                                    db};
            x = LanesRun < M, L, L::kWide ? 8 : 4 > (c, row, zrow, x, end, at, by);
            z = static_cast<int32_t>(at[0]), u = static_cast<int32_t>(at[1]);
            v = static_cast<int32_t>(at[2]), r = at[3], g = at[4], b = at[5];
        }
        auto put = [&](int32_t column) __attribute__((always_inline)) {
            uint32_t s = PixelColour<M>(c, u, v, z, r, g, b);
            if constexpr (M::kBlend) {
                s = static_cast<uint16_t>(c.blendSource[s] + c.blendDest[row[column]]);
            }
            row[column] = static_cast<uint16_t>(s);
        };
        auto pixel = [&](int32_t column) __attribute__((always_inline)) {
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
template <class M, class L>
[[gnu::always_inline]] inline void SpanDraw(const FillContext& c, const Edge<M>& l,
                                            const Edge<M>& r, uint16_t* row, uint32_t* zrow,
                                            int clipped) {
    int32_t left = (l.at[kX] + 0x8000) >> 16;
    const int32_t right = (r.at[kX] + 0x8000) >> 16;
    if (left >= right) return;
    const int32_t width = right - left;
    typename M::Lanes step = DivideExact(SubWrap(r.at, l.at), width);
    typename M::Lanes val = AddWrap(l.at, kSpanHalf<M>);
    if constexpr (M::kCoords == FillerCoords::kPerspSpan) {
        // Exact texel coordinates at both ends (6 fraction bits, then 22), linear between.
        const int32_t ul = PerspSpanEnd(l.at[kU], l.at[kZ]) << 16;
        const int32_t vl = PerspSpanEnd(l.at[kV], l.at[kZ]) << 16;
        const int32_t ur = PerspSpanEnd(r.at[kU], r.at[kZ]) << 16;
        const int32_t vr = PerspSpanEnd(r.at[kV], r.at[kZ]) << 16;
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
            val = AddWrap(val, MulWrap(step, c.clip.minX - left));
            left = c.clip.minX;
        }
    }
    PixelsDraw<M, L>(c, row, zrow, left, end, val, step);
}

// Per-vertex lanes as the member walks them: x, then depth (or W), u, v, r, g, b.
template <class M>
[[gnu::always_inline]] inline void VertexLanes(const RasterDraw& tri, const TriSetup& s,
                                               typename M::Lanes* lanes) {
    for (const TriSetupVertex& sv : s.v) {
        const int i = sv.index;
        typename M::Lanes& a = lanes[i];
        a = typename M::Lanes{};
        a[kX] = sv.x;
        int32_t zi = 0;
        if constexpr (M::kHasDepth) {
            zi = static_cast<int32_t>(tri.z[i] + 0.5f);
            a[kZ] = M::kReciprocal ? 0x10000000 / zi : zi;
        }
        if constexpr (M::kPersp) {
            a[kU] = (static_cast<int32_t>(tri.u[i] + 0.5f) << 22) / zi;
            a[kV] = (static_cast<int32_t>(tri.v[i] + 0.5f) << 22) / zi;
        } else if constexpr (M::kTextured) {
            a[kU] = static_cast<int32_t>(tri.u[i]);
            a[kV] = static_cast<int32_t>(tri.v[i]);
        }
        if constexpr (M::kRgb) {
            const uint32_t colour = tri.litColor[i];
            a[kR] = static_cast<int32_t>(((colour >> 11) & 31) * 8);
            a[kG] = static_cast<int32_t>(((colour >> 5) & 63) * 4);
            a[kB] = static_cast<int32_t>((colour & 31) * 8);
        }
    }
}

template <class M, class L>
[[gnu::always_inline]] inline void FillTriangle(const RasterDraw& tri, uint16_t* frame,
                                                int32_t framePitch, uint32_t* depth,
                                                int32_t depthPitch, int32_t level,
                                                const ClipRectangle& clip) {
    TriSetup s;
    if (!TriSetupPrepare(tri, clip, &s)) return;
    FillContext c = {};
    if constexpr (M::kTextured) {
        // A missing texture or a width the log2 table does not hold draws nothing.
        const Texture* texture = tri.texture;
        if (!texture || texture->width < 1 || texture->width >= kLog2TableSize) return;
        c.texels = texture->texels;
        c.shift = Log2Table[texture->width];
        c.lastTexel = texture->width - 1;
    }

    const uint32_t flat = tri.litColor[0] & 0xFFFF;
    c.flat = static_cast<uint16_t>(flat);
    c.tintR = (flat >> 11) & 31;
    c.tintG = (flat >> 5) & 63;
    c.tintB = flat & 31;
    if constexpr (M::kBlend) {
        c.blendSource = BlendTable[level];
        c.blendDest = BlendTable[7 - level];
    }
    c.clip = clip;
    typename M::Lanes lanes[3];
    VertexLanes<M>(tri, s, lanes);

    const TriSetupVertex* v = s.v;
    Edge<M> l, r;
    int32_t yBottom;
    int shortLeft = 0;
    if (s.shape == TriShape::kFlatTop) {
        l = EdgeStart<M>(v[0], v[2], lanes);
        r = EdgeStart<M>(v[1], v[2], lanes);
        yBottom = v[2].y;
    } else if (s.shape == TriShape::kFlatBottom) {
        l = EdgeStart<M>(v[0], v[1], lanes);
        r = EdgeStart<M>(v[0], v[2], lanes);
        yBottom = v[1].y;
    } else {
        const Edge<M> longEdge = EdgeStart<M>(v[0], v[2], lanes);
        const Edge<M> shortEdge = EdgeStart<M>(v[0], v[1], lanes);
        shortLeft = shortEdge.step[kX] < longEdge.step[kX];
        l = shortLeft ? shortEdge : longEdge;
        r = shortLeft ? longEdge : shortEdge;
        yBottom = v[2].y;
    }
    const int general = s.shape == TriShape::kGeneral;
    const int32_t yMid = v[1].y;
    // The lower short edge from the middle vertex, `steps` rows on, in place of the upper.
    auto lowerShortEdge = [&](int32_t steps) __attribute__((always_inline)) {
        Edge<M> lower = EdgeStart<M>(v[1], v[2], lanes);
        EdgeAdvance<M>(&lower, steps);
        (shortLeft ? l : r) = lower;
    };

    int32_t y = v[0].y;
    if (y < c.clip.minY) {
        EdgeAdvance<M>(&l, c.clip.minY - y);
        EdgeAdvance<M>(&r, c.clip.minY - y);
        if (general && yMid < c.clip.minY) lowerShortEdge(c.clip.minY - yMid);
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
    auto rows = [&](int32_t until) __attribute__((always_inline)) {
        for (; y < until; ++y) {
            SpanDraw<M, L>(c, l, r, row, zrow, clipped);
            EdgeStep<M>(&l);
            EdgeStep<M>(&r);
            row += rowStride;
            if constexpr (M::kHasDepth) zrow += zStride;
        }
    };
    if (general && y <= yMid && yMid < yEnd) {
        // The knee: once row yMid is drawn, the lower short edge, one step below the
        // middle vertex.
        rows(yMid + 1);
        lowerShortEdge(1);
    }
    rows(yEnd);
}

// A member called by name: draws the record's words and leaves it snapped.
template <class M>
void FillRecord(RasterTri* tri, uint16_t* frame, int32_t framePitch, uint32_t* depth,
                int32_t depthPitch, int32_t level) {
    RasterDraw draw;
    RasterDrawFromTri(tri, &draw);
    for (Vertex3D& v : tri->tvlist) {
        v.x = TriSetupSnap(v.x);
        v.y = TriSetupSnap(v.y);
    }
    FillTriangle<M, LanesPlain>(draw, frame, framePitch, depth, depthPitch, level, gClipRectangle);
}

// A member's draw form, built for the plain lanes and, where there are wide ones, for those.
template <class M>
void FillPlain(const RasterDraw& tri, uint16_t* frame, int32_t framePitch, uint32_t* depth,
               int32_t depthPitch, int32_t level, const ClipRectangle& clip) {
    FillTriangle<M, LanesPlain>(tri, frame, framePitch, depth, depthPitch, level, clip);
}
template <class M>
INVITRO_WIDE_TARGET void FillWide(const RasterDraw& tri, uint16_t* frame, int32_t framePitch,
                                  uint32_t* depth, int32_t depthPitch, int32_t level,
                                  const ClipRectangle& clip) {
    FillTriangle<M, LanesWide>(tri, frame, framePitch, depth, depthPitch, level, clip);
}

}  // namespace raster_detail
