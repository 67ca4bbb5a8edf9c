// Lights: their table, their transform and the lighting of the render list.
#include "engine/light.h"

#include <cmath>
#include <cstring>
#include <utility>

#include "display/colour.h"
#include "raster/lanes.h"

static int32_t gLightsInUse;

int LightsInit(Light* lights, int32_t count) {
    if (!lights) return 0;
    if (count > 0) std::memset(static_cast<void*>(lights), 0, sizeof(Light) * count);
    gLightsInUse = 0;
    return 1;
}

int32_t LightsInUse() {
    return gLightsInUse;
}

int32_t LightInit(Light* lights, int32_t index, uint32_t state, uint32_t attr, uint32_t ambient,
                  uint32_t diffuse, uint32_t specular, const Vec3* pos, const Vec3* dir, float kc,
                  float kl, float kq, float spotInner, float spotOuter, float pf) {
    if (!lights || index < 0 || index >= kMaxLights) return 0;
    Light& light = lights[index];
    light.state = state;
    light.index = index;
    light.attr = attr;
    light.ambient = ambient;
    light.diffuse = diffuse;
    light.specular = specular;
    light.kc = kc, light.kl = kl, light.kq = kq;
    light.spotInner = spotInner, light.spotOuter = spotOuter;
    light.pf = pf;
    if (pos) light.pos = light.tpos = *pos;
    if (dir) {
        light.dir = *dir;
        Vec3Normalize(&light.dir);
        light.tdir = light.dir;
    }
    return index;
}

int LightsTransform(Light* lights, int32_t count, const Mat4& m, int select) {
    if (!lights) return 0;
    Mat4 rotation = m;
    rotation.m[3][0] = rotation.m[3][1] = rotation.m[3][2] = 0.0f;
    for (int32_t i = 0; i < count; ++i) {
        Light& light = lights[i];
        switch (select) {
            case kLightsTransformInPlace:
                Vec4MulMat4(light.pos, m, &light.pos);
                Vec4MulMat4(light.dir, rotation, &light.dir);
                break;
            case kLightsTransformTrans:
                Vec4MulMat4(light.tpos, m, &light.tpos);
                Vec4MulMat4(light.tdir, rotation, &light.tdir);
                break;
            case kLightsTransformToTrans:
                Vec4MulMat4(light.pos, m, &light.tpos);
                Vec4MulMat4(light.dir, rotation, &light.tdir);
                break;
            case kLightsCopyToTrans:
                light.tpos = light.pos;
                light.tdir = light.dir;
                break;
            default:
                return 0;
        }
    }
    return 1;
}

// Lighting works on vector lanes (raster/lanes.h): every lane does exactly the operations,
// in the same order, that the rules ask for one vertex, so how vertices are grouped into
// lanes changes no result.
//
// One formulation serves every record. A record's vertex 0 is its "anchor", from which the
// point and plain spot lights measure their distance; its "lit vertices" are what a
// colour is worked out for: the face (normal = the face normal, intensities divided by
// the normal length) of a flat triangle, the three vertices (their own normals) of a
// Gouraud one. The distance-based values of each light are worked out once per anchor;
// consecutive triangles that share vertex 0 share an anchor, and a lit vertex the same in
// every input (normal, position and base colour) as one before it at the same anchor, as
// the two triangles of a terrain cell have two, is worked out once.

// The same bits as another type of the same size.
template <class To, class From>
[[gnu::always_inline]] static inline To Bits(From x) {
    return __builtin_bit_cast(To, x);
}

// N doubles side by side (two in the plain form of the loops, four in the wide one), their
// bits, and N floats.
template <int N>
struct Lanes;
template <>
struct Lanes<2> {
    typedef double Doubles __attribute__((vector_size(16)));
    typedef uint64_t Longs __attribute__((vector_size(16)));
    typedef float Floats __attribute__((vector_size(8)));
};
template <>
struct Lanes<4> {
    typedef double Doubles __attribute__((vector_size(32)));
    typedef uint64_t Longs __attribute__((vector_size(32)));
    typedef float Floats __attribute__((vector_size(16)));
};

// The vector (f(0), f(1), ..., f(lanes - 1)).
template <class V, class F, std::size_t... I>
[[gnu::always_inline]] static inline V LanesFrom(F f, std::index_sequence<I...>) {
    return V{f(static_cast<int>(I))...};
}
template <class V, class F>
[[gnu::always_inline]] static inline V LanesFrom(F f) {
    return LanesFrom<V>(f, std::make_index_sequence<sizeof(V) / 8>{});
}

// A light's value in the lanes of D.
template <class D>
[[gnu::always_inline]] static inline D Spread(const LightValue& value) {
    D lanes;
    std::memcpy(&lanes, value.lanes, sizeof lanes);
    return lanes;
}

// Each lane rounded to float and back: a double sum or difference of two floats so rounded
// is exactly the float operation.
template <class D>
[[gnu::always_inline]] static inline D FloatRound(D x) {
    using F = typename Lanes<sizeof(D) / 8>::Floats;
    return __builtin_convertvector(__builtin_convertvector(x, F), D);
}

// FastDistance of vectors whose scaled coordinates lie below 2^40 (the caller checks).
// Each step is then an exact double operation: rounding by adding and taking away
// 1.5 * 2^52, and x >> k of a non-negative integer as x / 2^k rounded after taking away
// (2^k - 1) / 2^(k+1), which never meets a tie.
template <class D>
[[gnu::always_inline]] static inline D FastDistanceLanes(D x, D y, D z) {
    using L = typename Lanes<sizeof(D) / 8>::Longs;
    const L noSign = L{} + 0x7FFFFFFFFFFFFFFFull;
    const D sx = Bits<D>(Bits<L>(x) & noSign) * 1024.0;
    const D sy = Bits<D>(Bits<L>(y) & noSign) * 1024.0;
    const D sz = Bits<D>(Bits<L>(z) & noSign) * 1024.0;
    const D shift = D{} + 6755399441055744.0;
    const D rx = (sx + shift) - shift, ry = (sy + shift) - shift, rz = (sz + shift) - shift;
    const D low = rx < ry ? rx : ry, high = rx < ry ? ry : rx;
    const D a = low < rz ? low : rz;
    const D c = high < rz ? rz : high;
    const D b = rx + ry + rz - a - c;
    const D b5 = (b * (1.0 / 32) - 31.0 / 64 + shift) - shift;
    const D a2 = (a * (1.0 / 4) - 3.0 / 8 + shift) - shift;
    const D sum = c + 11.0 * b5 + a2;
    return (sum * (1.0 / 1024) - 1023.0 / 2048 + shift) - shift;
}

// Positions below this in magnitude keep every light-to-vertex difference, scaled by
// 1024, below 2^40, where FastDistanceLanes is exact.
constexpr double kNearRange = 536870912.0;  // 2^29

static inline bool InNearRange(double x, double y, double z) {
    return std::fabs(x) < kNearRange && std::fabs(y) < kNearRange && std::fabs(z) < kNearRange;
}

// The FastDistance of (x, y, z) in each lane, through the integer routine when a position
// lies out of the exact range of FastDistanceLanes.
template <class D>
[[gnu::always_inline]] static inline D LightDistance(D x, D y, D z, bool inRange) {
    if (inRange) return FastDistanceLanes(x, y, z);
    D d;
    for (unsigned lane = 0; lane < sizeof(D) / 8; ++lane) {
        d[lane] = FastDistance(static_cast<float>(x[lane]), static_cast<float>(y[lane]),
                               static_cast<float>(z[lane]));
    }
    return d;
}

// Records are lit kChunk at a time.
constexpr int32_t kChunk = 32;

// What a distant light gives the lit vertices of one anchor: the vector their normals are
// dotted with (from the anchor to a point light; a spot light's direction) and what 128
// times the dot product is divided by (the attenuation, for a point light times d too).
struct Reach {
    double x, y, z, by;
};

// Lit vertices side by side, flat ones and Gouraud ones apart.
struct LitVertices {
    int32_t count;
    double nx[3 * kChunk], ny[3 * kChunk], nz[3 * kChunk];
    double normalLength[3 * kChunk];     // flat only
    uint32_t colour[3 * kChunk];         // the base colour word
    const Vertex3D* source[3 * kChunk];  // its vertex: where the cone measures from
    int32_t anchor[3 * kChunk];
    uint32_t lit[3 * kChunk];  // the result, packed
};

struct Chunk {
    int32_t anchorCount;
    double x0[kChunk], y0[kChunk], z0[kChunk];
    bool inRange[kChunk];
    Reach reach[kMaxLights][kChunk];  // [distant light][anchor]
    LitVertices flat, gouraud;
    // Each lit record and the lit vertices of its colours.
    int32_t recordCount;
    RasterTri* record[kChunk];
    int32_t vertex[kChunk][3];
};

// An intensity counts only where dp > 0 and is kept within [0, kIntensityCap]: at the
// cap every term with a non-zero product already reaches 255, where each sum ends up
// clamped, and terms are never negative, so the clamped sums are the same as without
// the cap; the infinite values of a zero distance or attenuation stay out of integers.
constexpr double kIntensityCap = 255.0 * 32768.0;

template <class D>
[[gnu::always_inline]] static inline D Intensity(D dp, D intensity) {
    using L = typename Lanes<sizeof(D) / 8>::Longs;
    const L counts = Bits<L>(dp > 0.0) & Bits<L>(intensity > 0.0);
    const D capped = intensity < kIntensityCap ? intensity : D{} + kIntensityCap;
    return Bits<D>(Bits<L>(capped) & counts);
}

// A term t = (light channel * base channel) * intensity / 32768 lies in [0, 2^31); the
// bits of the double t + 1.5 * 2^52 are 0x4338000000000000 + t rounded to the nearest
// integer (ties to even), so adding those bits adds the rounded term to the low 32 bits
// of a sum, which are all that is read in the end. Terms are whole numbers, so the order
// in which lights add them does not matter.
template <class D, class L>
[[gnu::always_inline]] static inline void AddTerms(const LightTerm& light, const D base[3],
                                                   D intensity, L sums[3]) {
    for (int ch = 0; ch < 3; ++ch)
        sums[ch] +=
            Bits<L>(Spread<D>(light.channel[ch]) * base[ch] * intensity + 6755399441055744.0);
}

// Base colour channels of a 5.6.5 colour word.
static void BaseChannels(uint32_t c, uint32_t out[3]) {
    out[0] = ((c >> 11) & 31) * 8;
    out[1] = ((c >> 5) & 63) * 4;
    out[2] = (c & 31) * 8;
}

[[gnu::always_inline]] static inline uint32_t PackSum(const LightSet& set, uint32_t sum0,
                                                      uint32_t sum1, uint32_t sum2) {
    const uint32_t sums[3] = {sum0, sum1, sum2};
    int32_t channel[3];
    for (int ch = 0; ch < 3; ++ch)
        channel[ch] = sums[ch] > 255 ? 255 : static_cast<int32_t>(sums[ch]);
    if (set.packs565) {
        return static_cast<uint16_t>(
            (((channel[0] >> 3) << 11) + ((channel[1] >> 2) & 63) * 32 + ((channel[2] >> 3) & 31)) &
            0xFFFF);
    }
    return ColourPacker(channel[0], channel[1], channel[2]);
}

// Each distant light's reach of every anchor, N anchors at a time.
template <int N>
[[gnu::always_inline]] static inline void ReachesMake(const LightSet& set, Chunk* chunk) {
    using D = typename Lanes<N>::Doubles;
    for (int32_t k = 0; k < set.distantCount; ++k) {
        const LightTerm& light = *set.distant[k];
        const bool point = light.kind == kLightPoint;
        for (int32_t a = 0; a < chunk->anchorCount; a += N) {
            int32_t at[N];
            bool inRange = light.inRange;
            for (int lane = 0; lane < N; ++lane) {
                at[lane] = a + lane < chunk->anchorCount ? a + lane : a;
                inRange = inRange && chunk->inRange[at[lane]];
            }
            const D x0 = LanesFrom<D>([&](int lane) { return chunk->x0[at[lane]]; });
            const D y0 = LanesFrom<D>([&](int lane) { return chunk->y0[at[lane]]; });
            const D z0 = LanesFrom<D>([&](int lane) { return chunk->z0[at[lane]]; });
            const D lx = FloatRound(Spread<D>(light.px) - x0),
                    ly = FloatRound(Spread<D>(light.py) - y0);
            const D lz = FloatRound(Spread<D>(light.pz) - z0);
            const D d = LightDistance(lx, ly, lz, inRange);
            const D divisor =
                Spread<D>(light.kc) + Spread<D>(light.kl) * d + Spread<D>(light.kq) * d * d;
            const D by = point ? divisor * d : divisor;
            for (int lane = N - 1; lane >= 0; --lane) {
                chunk->reach[k][at[lane]] = {point ? lx[lane] : light.dx.lanes[0],
                                             point ? ly[lane] : light.dy.lanes[0],
                                             point ? lz[lane] : light.dz.lanes[0], by[lane]};
            }
        }
    }
}

// The light equation for lit vertices at[0..N-1] (repeats allowed) in the N lanes: the
// channel sums of every light, clamped and packed into their `lit` words. kFlat divides
// every intensity by the normal length.
template <int N, bool kFlat>
[[gnu::always_inline]] static inline void LightLanes(const LightSet& set, const Chunk& chunk,
                                                     LitVertices* v, const int32_t at[N]) {
    using D = typename Lanes<N>::Doubles;
    using L = typename Lanes<N>::Longs;
    const D nx = LanesFrom<D>([&](int lane) { return v->nx[at[lane]]; });
    const D ny = LanesFrom<D>([&](int lane) { return v->ny[at[lane]]; });
    const D nz = LanesFrom<D>([&](int lane) { return v->nz[at[lane]]; });
    const D normalLength = LanesFrom<D>([&](int lane) { return v->normalLength[at[lane]]; });
    uint32_t channels[N][3];
    for (int lane = 0; lane < N; ++lane) BaseChannels(v->colour[at[lane]], channels[lane]);
    D base[3];
    L sums[3];
    for (int ch = 0; ch < 3; ++ch) {
        base[ch] = LanesFrom<D>([&](int lane) { return double(channels[lane][ch]); });
        sums[ch] = LanesFrom<L>([&](int lane) {
            uint64_t sum = 0;
            for (int32_t k = 0; k < set.ambientCount; ++k)
                sum += (set.ambient[k]->colour[ch] * channels[lane][ch]) >> 8;
            return sum;
        });
    }
    // 128 times the dot product of the normals with (x, y, z), divided as asked, then by
    // the normal length for flat shading.
    auto intensity = [&](D dp, auto divide) __attribute__((always_inline)) {
        D value = divide(128.0 * dp);
        if constexpr (kFlat) value = value / normalLength;
        return Intensity(dp, value);
    };
    for (int32_t k = 0; k < set.infiniteCount; ++k) {
        const LightTerm& light = *set.infinite[k];
        const D dp = nx * Spread<D>(light.dx) + ny * Spread<D>(light.dy) + nz * Spread<D>(light.dz);
        // Its attenuation is 1, by which dividing changes nothing.
        AddTerms(light, base,
                 intensity(
                     dp, [](D x) __attribute__((always_inline)) { return x; }),
                 sums);
    }
    // Lanes of one anchor share its reaches.
    const int32_t first = v->anchor[at[0]];
    bool oneAnchor = true;
    for (int lane = 1; lane < N; ++lane) oneAnchor = oneAnchor && v->anchor[at[lane]] == first;
    for (int32_t k = 0; k < set.distantCount; ++k) {
        D x, y, z, by;
        if (oneAnchor) {
            const Reach& r = chunk.reach[k][first];
            x = D{} + r.x, y = D{} + r.y, z = D{} + r.z, by = D{} + r.by;
        } else {
            const Reach* r[N];
            for (int lane = 0; lane < N; ++lane) r[lane] = &chunk.reach[k][v->anchor[at[lane]]];
            x = LanesFrom<D>([&](int lane) { return r[lane]->x; });
            y = LanesFrom<D>([&](int lane) { return r[lane]->y; });
            z = LanesFrom<D>([&](int lane) { return r[lane]->z; });
            by = LanesFrom<D>([&](int lane) { return r[lane]->by; });
        }
        const D dp = nx * x + ny * y + nz * z;
        AddTerms(*set.distant[k], base,
                 intensity(
                     dp, [by](D value) __attribute__((always_inline)) { return value / by; }),
                 sums);
    }
    if (set.coneCount) {
        D px, py, pz;
        bool inRange = true;
        for (int lane = 0; lane < N; ++lane) {
            const Vertex3D& from = *v->source[at[lane]];
            px[lane] = from.x, py[lane] = from.y, pz[lane] = from.z;
            inRange = inRange && InNearRange(from.x, from.y, from.z);
        }
        for (int32_t k = 0; k < set.coneCount; ++k) {
            const LightTerm& light = *set.cone[k];
            const D dp =
                nx * Spread<D>(light.dx) + ny * Spread<D>(light.dy) + nz * Spread<D>(light.dz);
            // s = the vertex less the light, c its cosine to the light's direction.
            const D sx = FloatRound(px - Spread<D>(light.px)),
                    sy = FloatRound(py - Spread<D>(light.py));
            const D sz = FloatRound(pz - Spread<D>(light.pz));
            const D d = LightDistance(sx, sy, sz, inRange && light.inRange);
            const D c =
                (sx * Spread<D>(light.dx) + sy * Spread<D>(light.dy) + sz * Spread<D>(light.dz)) /
                d;
            const D cp = LanesFrom<D>([&](int lane) {
                return !(c[lane] > 0)     ? 0.0
                       : light.power <= 1 ? c[lane]
                                          : std::pow(c[lane], static_cast<double>(light.power));
            });
            const D attenuation =
                Spread<D>(light.kc) + Spread<D>(light.kl) * d + Spread<D>(light.kq) * d * d;
            AddTerms(light, base,
                     intensity(
                         dp, [ cp, attenuation ](D value) __attribute__((always_inline)) {
                             return value * cp / attenuation;
                         }),
                     sums);
        }
    }
    for (int lane = N - 1; lane >= 0; --lane) {
        v->lit[at[lane]] =
            PackSum(set, static_cast<uint32_t>(sums[0][lane]), static_cast<uint32_t>(sums[1][lane]),
                    static_cast<uint32_t>(sums[2][lane]));
    }
}

template <int N, bool kFlat>
[[gnu::always_inline]] static inline void LightAll(const LightSet& set, const Chunk& chunk,
                                                   LitVertices* v) {
    for (int32_t i = 0; i < v->count; i += N) {
        int32_t at[N];
        for (int lane = 0; lane < N; ++lane) at[lane] = i + lane < v->count ? i + lane : i;
        LightLanes<N, kFlat>(set, chunk, v, at);
    }
}

// The light equation for a chunk's lit vertices, in each form of the lanes.
template <int N>
[[gnu::always_inline]] static inline void ChunkLight(const LightSet& set, Chunk* chunk) {
    ReachesMake<N>(set, chunk);
    LightAll<N, true>(set, *chunk, &chunk->flat);
    LightAll<N, false>(set, *chunk, &chunk->gouraud);
}
static void ChunkLightPlain(const LightSet& set, Chunk* chunk) {
    ChunkLight<2>(set, chunk);
}
INVITRO_WIDE_TARGET static void ChunkLightWide(const LightSet& set, Chunk* chunk) {
    ChunkLight<4>(set, chunk);
}

// A new lit vertex of anchor `anchor` made from vertex `at` with normal n.
static int32_t LitVertexAdd(LitVertices* v, int32_t anchor, const double n[3], const Vertex3D& at,
                            uint32_t colour, float normalLength) {
    const int32_t k = v->count++;
    v->nx[k] = n[0], v->ny[k] = n[1], v->nz[k] = n[2];
    v->normalLength[k] = normalLength;
    v->colour[k] = colour;
    v->source[k] = &at;
    v->anchor[k] = anchor;
    return k;
}

// A Gouraud vertex as a lit vertex of the anchor whose lit vertices start at `first`: one
// of those when it has the same bits of position and normal and the same colour, else a new one.
static int32_t GouraudVertexAdd(LitVertices* v, int32_t anchor, int32_t first, const Vertex3D& at,
                                uint32_t colour) {
    for (int32_t k = first; k < v->count; ++k) {
        const Vertex3D& seen = *v->source[k];
        if (v->colour[k] == colour && !std::memcmp(&seen.x, &at.x, 3 * sizeof(float)) &&
            !std::memcmp(&seen.nx, &at.nx, 3 * sizeof(float))) {
            return k;
        }
    }
    const double n[3] = {at.nx, at.ny, at.nz};
    return LitVertexAdd(v, anchor, n, at, colour, 1.0f);
}

// Gathers records [from, to) that are to be lit into the chunk (marking them lit), up to
// kChunk of them; records that are neither flat nor Gouraud take their base colour at
// once. Returns where it stopped.
static int32_t ChunkCollect(RenderList* list, int32_t from, int32_t to, Chunk* chunk) {
    chunk->anchorCount = chunk->recordCount = 0;
    chunk->flat.count = chunk->gouraud.count = 0;
    int32_t gouraudAnchor = -1, firstOfAnchor = 0;  // the last Gouraud record's anchor
    int32_t k = from;
    for (; k < to && chunk->recordCount < kChunk; ++k) {
        RasterTri* tri = list->polyPointers[k];
        if (!tri ||
            (tri->state & (kPolyActive | kPolyClipped | kPolyBackFace | kPolyLit)) != kPolyActive) {
            continue;
        }
        tri->state |= kPolyLit;
        const bool flat = tri->attr & kAttrShadeFlat;
        if (!flat && !(tri->attr & kAttrShadeGouraud)) {
            tri->litColor[0] = tri->color;
            continue;
        }
        const Vertex3D* v = tri->tvlist;
        const int32_t r = chunk->recordCount++;
        chunk->record[r] = tri;
        int32_t anchor = chunk->anchorCount - 1;
        const bool shared = !flat && gouraudAnchor == anchor && anchor >= 0 &&
                            chunk->x0[anchor] == v[0].x && chunk->y0[anchor] == v[0].y &&
                            chunk->z0[anchor] == v[0].z;
        if (!shared) {
            anchor = chunk->anchorCount++;
            chunk->x0[anchor] = v[0].x, chunk->y0[anchor] = v[0].y, chunk->z0[anchor] = v[0].z;
            chunk->inRange[anchor] = InNearRange(v[0].x, v[0].y, v[0].z);
        }
        if (flat) {
            const Vec3 p0 = {v[0].x, v[0].y, v[0].z, 1.0f};
            const Vec3 face = Vec3Cross(Vec3Sub(p0, {v[1].x, v[1].y, v[1].z, 1.0f}),
                                        Vec3Sub(p0, {v[2].x, v[2].y, v[2].z, 1.0f}));
            const double n[3] = {face.x, face.y, face.z};
            chunk->vertex[r][0] =
                LitVertexAdd(&chunk->flat, anchor, n, v[0], tri->color, tri->normalLength);
            continue;
        }
        // The first triangle of an anchor takes its vertices as they are; the next one
        // shares those that are the same.
        const int32_t first = shared ? firstOfAnchor : chunk->gouraud.count;
        if (!shared) gouraudAnchor = anchor, firstOfAnchor = first;
        const int32_t known = chunk->gouraud.count;
        for (int i = 0; i < 3; ++i) {
            chunk->vertex[r][i] =
                GouraudVertexAdd(&chunk->gouraud, anchor, shared ? first : known, v[i], tri->color);
        }
    }
    return k;
}

static uint32_t FirstKind(uint32_t attr) {
    static const uint32_t kKinds[] = {kLightAmbient, kLightInfinite, kLightPoint, kLightSpot,
                                      kLightSpotCone};
    for (uint32_t bit : kKinds) {
        if (attr & bit) return bit;
    }
    return 0;
}

void LightSetMake(const Light* lights, int32_t count, LightSet* set) {
    set->count = set->ambientCount = set->infiniteCount = set->distantCount = set->coneCount = 0;
    set->packs565 = ColourPacker == PackRGB565;
    for (int32_t k = 0; k < count && k < kMaxLights; ++k) {
        const Light& light = lights[k];
        const uint32_t kind = FirstKind(light.attr);
        if (!light.state || !kind) continue;
        const uint32_t colour = kind == kLightAmbient ? light.ambient : light.diffuse;
        LightTerm& term = set->terms[set->count++];
        term.kind = kind;
        term.colour[0] = colour >> 24;
        term.colour[1] = (colour >> 16) & 255;
        term.colour[2] = (colour >> 8) & 255;
        auto in4 = [](double x) { return LightValue{{x, x, x, x}}; };
        for (int ch = 0; ch < 3; ++ch) term.channel[ch] = in4(term.colour[ch] / 32768.0);
        term.inRange = InNearRange(light.tpos.x, light.tpos.y, light.tpos.z);
        term.px = in4(light.tpos.x), term.py = in4(light.tpos.y), term.pz = in4(light.tpos.z);
        term.dx = in4(light.tdir.x), term.dy = in4(light.tdir.y), term.dz = in4(light.tdir.z);
        term.kc = in4(light.kc), term.kl = in4(light.kl), term.kq = in4(light.kq);
        term.power = RoundToInt64(light.pf);
        if (kind == kLightAmbient) {
            set->ambient[set->ambientCount++] = &term;
        } else if (kind == kLightInfinite) {
            set->infinite[set->infiniteCount++] = &term;
        } else if (kind == kLightSpotCone) {
            set->cone[set->coneCount++] = &term;
        } else {
            set->distant[set->distantCount++] = &term;
        }
    }
}

int LightRenderList(RenderList* list, const Camera* /*cam*/, const Light* lights, int32_t count) {
    if (!list || (!lights && count > 0)) return 0;
    LightSet set;
    LightSetMake(lights, count, &set);
    LightRenderListRange(list, set, 0, list->numPolys);
    return 1;
}

void LightRenderListRange(RenderList* list, const LightSet& set, int32_t from, int32_t to) {
    Chunk chunk;
    while (from < to) {
        from = ChunkCollect(list, from, to, &chunk);
        if (kLanesWideBuilt && LanesWideInUse()) {
            ChunkLightWide(set, &chunk);
        } else {
            ChunkLightPlain(set, &chunk);
        }
        for (int32_t r = 0; r < chunk.recordCount; ++r) {
            RasterTri* tri = chunk.record[r];
            if (tri->attr & kAttrShadeFlat) {
                tri->litColor[0] = chunk.flat.lit[chunk.vertex[r][0]];
            } else {
                for (int i = 0; i < 3; ++i)
                    tri->litColor[i] = chunk.gouraud.lit[chunk.vertex[r][i]];
            }
        }
    }
}
