// Lights: their table, their transform and the lighting of the render list.
#include "engine/light.h"

#include <cmath>
#include <cstring>

#include "display/colour.h"
#include "engine/lanes.h"

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

// Lighting works on vector lanes (engine/lanes.h): every lane does exactly the operations,
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
static inline To Bits(From x) {
    return __builtin_bit_cast(To, x);
}

// FastDistance of two vectors whose scaled coordinates lie below 2^40 (the caller
// checks). Each step is then an exact double operation: rounding by adding and taking
// away 1.5 * 2^52, and x >> k of a non-negative integer as x / 2^k rounded after taking
// away (2^k - 1) / 2^(k+1), which never meets a tie.
static inline Double2 FastDistance2(Double2 x, Double2 y, Double2 z) {
    const Word2 noSign = {0x7FFFFFFFFFFFFFFFull, 0x7FFFFFFFFFFFFFFFull};
    const Double2 sx = Bits<Double2>(Bits<Word2>(x) & noSign) * Splat(1024.0);
    const Double2 sy = Bits<Double2>(Bits<Word2>(y) & noSign) * Splat(1024.0);
    const Double2 sz = Bits<Double2>(Bits<Word2>(z) & noSign) * Splat(1024.0);
    const Double2 shift = Splat(6755399441055744.0);
    const Double2 rx = (sx + shift) - shift, ry = (sy + shift) - shift, rz = (sz + shift) - shift;
    const Double2 low = rx < ry ? rx : ry, high = rx < ry ? ry : rx;
    const Double2 a = low < rz ? low : rz;
    const Double2 c = high < rz ? rz : high;
    const Double2 b = rx + ry + rz - a - c;
    const Double2 b5 = (b * Splat(1.0 / 32) - Splat(31.0 / 64) + shift) - shift;
    const Double2 a2 = (a * Splat(1.0 / 4) - Splat(3.0 / 8) + shift) - shift;
    const Double2 sum = c + Splat(11.0) * b5 + a2;
    return (sum * Splat(1.0 / 1024) - Splat(1023.0 / 2048) + shift) - shift;
}

// Positions below this in magnitude keep every light-to-vertex difference, scaled by
// 1024, below 2^40, where FastDistance2 is exact.
constexpr double kNearRange = 536870912.0;  // 2^29

static inline bool InNearRange(double x, double y, double z) {
    return std::fabs(x) < kNearRange && std::fabs(y) < kNearRange && std::fabs(z) < kNearRange;
}

// The FastDistance of (x, y, z) in each lane, through the integer routine when a position
// lies out of the exact range of FastDistance2.
static inline Double2 LightDistance(Double2 x, Double2 y, Double2 z, bool inRange) {
    if (inRange) return FastDistance2(x, y, z);
    Double2 d;
    for (int lane = 0; lane < 2; ++lane) {
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

static inline Double2 Intensity(Double2 dp, Double2 intensity) {
    const Double2 zero = Splat(0.0);
    const Word2 counts = Bits<Word2>(dp > zero) & Bits<Word2>(intensity > zero);
    const Double2 capped = intensity < Splat(kIntensityCap) ? intensity : Splat(kIntensityCap);
    return Bits<Double2>(Bits<Word2>(capped) & counts);
}

// A term t = (light channel * base channel) * intensity / 32768 lies in [0, 2^31); the
// bits of the double t + 1.5 * 2^52 are 0x4338000000000000 + t rounded to the nearest
// integer (ties to even), so adding those bits adds the rounded term to the low 32 bits
// of a sum, which are all that is read in the end. Terms are whole numbers, so the order
// in which lights add them does not matter.
static inline void AddTerms(const LightTerm& light, const Double2 base[3], Double2 intensity,
                            Word2 sums[3]) {
    const Double2 shift = Splat(6755399441055744.0);
    for (int ch = 0; ch < 3; ++ch)
        sums[ch] += Bits<Word2>(light.channel[ch] * base[ch] * intensity + shift);
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

// Each distant light's reach of every anchor, two anchors at a time.
static void ReachesMake(const LightSet& set, Chunk* chunk) {
    for (int32_t k = 0; k < set.distantCount; ++k) {
        const LightTerm& light = *set.distant[k];
        const bool point = light.kind == kLightPoint;
        for (int32_t a = 0; a < chunk->anchorCount; a += 2) {
            const int32_t b = a + 1 < chunk->anchorCount ? a + 1 : a;
            const Double2 lx = FloatRounded(light.px - Double2{chunk->x0[a], chunk->x0[b]});
            const Double2 ly = FloatRounded(light.py - Double2{chunk->y0[a], chunk->y0[b]});
            const Double2 lz = FloatRounded(light.pz - Double2{chunk->z0[a], chunk->z0[b]});
            const Double2 d =
                LightDistance(lx, ly, lz, light.inRange && chunk->inRange[a] && chunk->inRange[b]);
            const Double2 divisor = light.kc + light.kl * d + light.kq * d * d;
            const Double2 by = point ? divisor * d : divisor;
            for (int lane = 0; lane < 2; ++lane) {
                chunk->reach[k][lane ? b : a] = {point ? lx[lane] : light.dx[0],
                                                 point ? ly[lane] : light.dy[0],
                                                 point ? lz[lane] : light.dz[0], by[lane]};
            }
        }
    }
}

// The light equation for lit vertices i and j (j may be i) in the two lanes: the
// channel sums of every light, clamped and packed into their `lit` words. kFlat divides
// every intensity by the normal length.
template <bool kFlat>
static void LightLanes(const LightSet& set, const Chunk& chunk, LitVertices* v, int32_t i,
                       int32_t j) {
    const Double2 nx = {v->nx[i], v->nx[j]}, ny = {v->ny[i], v->ny[j]}, nz = {v->nz[i], v->nz[j]};
    const Double2 normalLength = {v->normalLength[i], v->normalLength[j]};
    uint32_t bi[3], bj[3];
    BaseChannels(v->colour[i], bi);
    BaseChannels(v->colour[j], bj);
    Double2 base[3];
    Word2 sums[3];
    for (int ch = 0; ch < 3; ++ch) {
        base[ch] = Double2{double(bi[ch]), double(bj[ch])};
        sums[ch] = Word2{0, 0};
        for (int32_t k = 0; k < set.ambientCount; ++k) {
            const uint32_t c = set.ambient[k]->colour[ch];
            sums[ch] += Word2{(c * bi[ch]) >> 8, (c * bj[ch]) >> 8};
        }
    }
    // 128 times the dot product of the normals with (x, y, z), divided as asked, then by
    // the normal length for flat shading.
    auto intensity = [&](Double2 dp, auto divide) {
        Double2 value = divide(Splat(128.0) * dp);
        if constexpr (kFlat) value = value / normalLength;
        return Intensity(dp, value);
    };
    for (int32_t k = 0; k < set.infiniteCount; ++k) {
        const LightTerm& light = *set.infinite[k];
        const Double2 dp = nx * light.dx + ny * light.dy + nz * light.dz;
        // Its attenuation is 1, by which dividing changes nothing.
        AddTerms(light, base, intensity(dp, [](Double2 x) { return x; }), sums);
    }
    const int32_t ai = v->anchor[i], aj = v->anchor[j];
    for (int32_t k = 0; k < set.distantCount; ++k) {
        const Reach &ri = chunk.reach[k][ai], &rj = chunk.reach[k][aj];
        const Double2 dp =
            nx * Double2{ri.x, rj.x} + ny * Double2{ri.y, rj.y} + nz * Double2{ri.z, rj.z};
        const Double2 by = {ri.by, rj.by};
        AddTerms(*set.distant[k], base, intensity(dp, [by](Double2 x) { return x / by; }), sums);
    }
    if (set.coneCount) {
        const Vertex3D &at = *v->source[i], &atj = *v->source[j];
        const Double2 px = {at.x, atj.x}, py = {at.y, atj.y}, pz = {at.z, atj.z};
        const bool inRange = InNearRange(px[0], py[0], pz[0]) && InNearRange(px[1], py[1], pz[1]);
        for (int32_t k = 0; k < set.coneCount; ++k) {
            const LightTerm& light = *set.cone[k];
            const Double2 dp = nx * light.dx + ny * light.dy + nz * light.dz;
            // s = the vertex less the light, c its cosine to the light's direction.
            const Double2 sx = FloatRounded(px - light.px), sy = FloatRounded(py - light.py);
            const Double2 sz = FloatRounded(pz - light.pz);
            const Double2 d = LightDistance(sx, sy, sz, inRange && light.inRange);
            const Double2 c = (sx * light.dx + sy * light.dy + sz * light.dz) / d;
            Double2 cp = {0, 0};
            for (int lane = 0; lane < 2; ++lane) {
                cp[lane] = !(c[lane] > 0)     ? 0.0
                           : light.power <= 1 ? c[lane]
                                              : std::pow(c[lane], static_cast<double>(light.power));
            }
            const Double2 attenuation = light.kc + light.kl * d + light.kq * d * d;
            AddTerms(light, base,
                     intensity(dp, [cp, attenuation](Double2 x) { return x * cp / attenuation; }),
                     sums);
        }
    }
    for (int lane = 0; lane < 2; ++lane) {
        v->lit[lane ? j : i] =
            PackSum(set, static_cast<uint32_t>(sums[0][lane]), static_cast<uint32_t>(sums[1][lane]),
                    static_cast<uint32_t>(sums[2][lane]));
    }
}

template <bool kFlat>
static void LightAll(const LightSet& set, const Chunk& chunk, LitVertices* v) {
    for (int32_t i = 0; i < v->count; i += 2)
        LightLanes<kFlat>(set, chunk, v, i, i + 1 < v->count ? i + 1 : i);
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
        for (int ch = 0; ch < 3; ++ch) term.channel[ch] = Splat(term.colour[ch] / 32768.0);
        term.inRange = InNearRange(light.tpos.x, light.tpos.y, light.tpos.z);
        term.px = Splat(light.tpos.x), term.py = Splat(light.tpos.y), term.pz = Splat(light.tpos.z);
        term.dx = Splat(light.tdir.x), term.dy = Splat(light.tdir.y), term.dz = Splat(light.tdir.z);
        term.kc = Splat(light.kc), term.kl = Splat(light.kl), term.kq = Splat(light.kq);
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
        ReachesMake(set, &chunk);
        LightAll<true>(set, chunk, &chunk.flat);
        LightAll<false>(set, chunk, &chunk.gouraud);
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
