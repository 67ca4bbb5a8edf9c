// Lights: their table, their transform and the lighting of the render list.
#include "engine/light.h"

#include <bit>
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

// Lighting runs on two triangles at a time, one in each lane (engine/lanes.h): every
// lane does exactly the operations, in the same order, that the rules ask for one
// triangle, so pairing changes no result.

// FastDistance of two vectors whose scaled coordinates lie below 2^40 (the caller
// checks). Each step is then an exact double operation: rounding by adding and taking
// away 1.5 * 2^52, and x >> k of a non-negative integer as x / 2^k rounded after taking
// away (2^k - 1) / 2^(k+1), which never meets a tie.
static inline Double2 FastDistance2(Double2 x, Double2 y, Double2 z) {
    const Word2 noSign = {0x7FFFFFFFFFFFFFFFull, 0x7FFFFFFFFFFFFFFFull};
    const Double2 sx = std::bit_cast<Double2>(std::bit_cast<Word2>(x) & noSign) * Splat(1024.0);
    const Double2 sy = std::bit_cast<Double2>(std::bit_cast<Word2>(y) & noSign) * Splat(1024.0);
    const Double2 sz = std::bit_cast<Double2>(std::bit_cast<Word2>(z) & noSign) * Splat(1024.0);
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

// The distance of the point and plain spot lights, through the integer routine when a
// position lies out of the exact range of FastDistance2.
static inline Double2 LightDistance(Double2 x, Double2 y, Double2 z, bool inRange) {
    if (inRange) return FastDistance2(x, y, z);
    Double2 d;
    for (int lane = 0; lane < 2; ++lane) {
        d[lane] = FastDistance(static_cast<float>(x[lane]), static_cast<float>(y[lane]),
                               static_cast<float>(z[lane]));
    }
    return d;
}

// A switched-on light reduced to what the per-triangle loop needs.
struct LightTerm {
    uint32_t kind;       // its first kind bit
    uint32_t colour[3];  // red, green, blue: ambient colour for ambient lights, else diffuse
    Double2 channel[3];  // the same as doubles in both lanes, times 2^-15
    Double2 px, py, pz;  // camera-space position
    Double2 dx, dy, dz;  // camera-space direction
    Double2 kc, kl, kq;
    int64_t power;  // cone exponent
    bool inRange;   // position within kNearRange
};

// Two triangles side by side: lane 0 the first, lane 1 the second.
struct TrianglePair {
    RasterTri* tri[2];
    Double2 x0, y0, z0;           // vertex 0
    Double2 nx[3], ny[3], nz[3];  // vertex normals; flat: the face normal in [0]
    Double2 base[3];              // base colour channels
    Double2 normalLength;
    bool inRange;  // both vertices 0 within kNearRange
};

// An intensity counts only where dp > 0 and is kept within [0, kIntensityCap]: at the
// cap every term with a non-zero product already reaches 255, where each sum ends up
// clamped, and terms are never negative, so the clamped sums are the same as without
// the cap; the infinite values of a zero distance or attenuation stay out of integers.
constexpr double kIntensityCap = 255.0 * 32768.0;

static inline Double2 Intensity(Double2 dp, Double2 intensity) {
    const Double2 zero = Splat(0.0);
    intensity = dp > zero ? intensity : zero;
    intensity = intensity > zero ? intensity : zero;
    return intensity < Splat(kIntensityCap) ? intensity : Splat(kIntensityCap);
}

// The intensities of the cone spot, one lane and vertex at a time.
template <int kVertices>
static void ConeIntensities(const LightTerm& light, const TrianglePair& pair,
                            Double2 (&intensity)[kVertices]) {
    for (int lane = 0; lane < 2; ++lane) {
        const Vertex3D* v = pair.tri[lane]->tvlist;
        for (int i = 0; i < kVertices; ++i) {
            intensity[i][lane] = 0.0;
            const double dp = pair.nx[i][lane] * light.dx[0] + pair.ny[i][lane] * light.dy[0] +
                              pair.nz[i][lane] * light.dz[0];
            if (!(dp > 0)) continue;
            const float sx = v[i].x - static_cast<float>(light.px[0]);
            const float sy = v[i].y - static_cast<float>(light.py[0]);
            const float sz = v[i].z - static_cast<float>(light.pz[0]);
            const double d = FastDistance(sx, sy, sz);
            const double c = (sx * light.dx[0] + sy * light.dy[0] + sz * light.dz[0]) / d;
            if (!(c > 0)) continue;
            const double cp = light.power <= 1 ? c : std::pow(c, static_cast<double>(light.power));
            const double attenuation = light.kc[0] + light.kl[0] * d + light.kq[0] * d * d;
            intensity[i][lane] = 128 * dp * cp / attenuation;
            if constexpr (kVertices == 1) intensity[i][lane] /= pair.normalLength[lane];
        }
    }
}

// One light as a pair of triangles sees it. Infinite, point and plain spot lights all
// come to intensity = 128 * (normal . v) / divisor, where v is the light direction or,
// for a point light, l from vertex 0, and the divisor is 1 (exact), the attenuation, or
// the attenuation times the distance. Cone spots carry their intensities instead.
struct PairLight {
    Double2 x, y, z;
    Double2 divisor;
    Double2 product[3];  // light channel * base channel * 2^-15
};

// Channel sums of a pair: kVertices is 1 for flat shading (the face normal, intensities
// divided by the normal length) and 3 for Gouraud (vertex normals). Point and plain spot
// lights take their distance from vertex 0 for every vertex, deliberately; the cone spot
// measures from each vertex.
// A term t = (light channel * base channel) * intensity / 32768 lies in [0, 2^31); the
// bits of the double t + 1.5 * 2^52 are 0x4338000000000000 + t rounded to the nearest
// integer (ties to even), so adding those bits adds the rounded term to the low 32 bits
// of a sum, which are all that is read in the end. Terms are whole numbers, so the order
// in which lights add them does not matter.
template <int kVertices>
static void LightPair(const LightTerm* lights, int32_t count, const TrianglePair& pair,
                      Word2 sums[kVertices][3]) {
    PairLight direct[kMaxLights];
    PairLight cone[kMaxLights];
    Double2 coneIntensity[kMaxLights][kVertices];
    int32_t directCount = 0, coneCount = 0;
    Word2 ambient[3] = {};

    for (int32_t k = 0; k < count; ++k) {
        const LightTerm& light = lights[k];
        if (light.kind == kLightAmbient) {
            for (int ch = 0; ch < 3; ++ch) {
                const uint32_t c = light.colour[ch];
                ambient[ch] += Word2{(c * static_cast<uint32_t>(pair.base[ch][0])) >> 8,
                                     (c * static_cast<uint32_t>(pair.base[ch][1])) >> 8};
            }
            continue;
        }
        PairLight& out = light.kind == kLightSpotCone ? cone[coneCount] : direct[directCount];
        for (int ch = 0; ch < 3; ++ch) out.product[ch] = light.channel[ch] * pair.base[ch];
        if (light.kind == kLightSpotCone) {
            ConeIntensities<kVertices>(light, pair, coneIntensity[coneCount]);
            for (Double2& intensity : coneIntensity[coneCount]) {
                intensity = Intensity(intensity, intensity);
            }
            ++coneCount;
            continue;
        }
        out.x = light.dx, out.y = light.dy, out.z = light.dz;
        out.divisor = Splat(1.0);
        if (light.kind != kLightInfinite) {
            const Double2 lx = FloatRounded(light.px - pair.x0);
            const Double2 ly = FloatRounded(light.py - pair.y0);
            const Double2 lz = FloatRounded(light.pz - pair.z0);
            const Double2 d = LightDistance(lx, ly, lz, light.inRange && pair.inRange);
            out.divisor = light.kc + light.kl * d + light.kq * d * d;
            if (light.kind == kLightPoint) {
                out.divisor = out.divisor * d;
                out.x = lx, out.y = ly, out.z = lz;
            }
        }
        ++directCount;
    }

    const Double2 shift = Splat(6755399441055744.0);
    for (int i = 0; i < kVertices; ++i) {
        Word2 r = ambient[0], g = ambient[1], b = ambient[2];
        for (int32_t k = 0; k < directCount; ++k) {
            const PairLight& light = direct[k];
            const Double2 dp = pair.nx[i] * light.x + pair.ny[i] * light.y + pair.nz[i] * light.z;
            Double2 intensity = Splat(128.0) * dp / light.divisor;
            if constexpr (kVertices == 1) intensity = intensity / pair.normalLength;
            intensity = Intensity(dp, intensity);
            r += std::bit_cast<Word2>(light.product[0] * intensity + shift);
            g += std::bit_cast<Word2>(light.product[1] * intensity + shift);
            b += std::bit_cast<Word2>(light.product[2] * intensity + shift);
        }
        for (int32_t k = 0; k < coneCount; ++k) {
            const Double2 intensity = coneIntensity[k][i];
            r += std::bit_cast<Word2>(cone[k].product[0] * intensity + shift);
            g += std::bit_cast<Word2>(cone[k].product[1] * intensity + shift);
            b += std::bit_cast<Word2>(cone[k].product[2] * intensity + shift);
        }
        sums[i][0] = r, sums[i][1] = g, sums[i][2] = b;
    }
}

static uint32_t PackSum(const Word2 sums[3], int lane) {
    int32_t channel[3];
    for (int ch = 0; ch < 3; ++ch) {
        const uint32_t sum = static_cast<uint32_t>(sums[ch][lane]);
        channel[ch] = sum > 255 ? 255 : static_cast<int32_t>(sum);
    }
    return ColourPacker(channel[0], channel[1], channel[2]);
}

// Lights two triangles of the same shading (a and b may be the same triangle).
template <int kVertices>
static void LightTriangles(const LightTerm* lights, int32_t count, RasterTri* a, RasterTri* b) {
    TrianglePair pair;
    pair.tri[0] = a, pair.tri[1] = b;
    for (int lane = 0; lane < 2; ++lane) {
        const RasterTri* tri = pair.tri[lane];
        const Vertex3D* v = tri->tvlist;
        pair.x0[lane] = v[0].x, pair.y0[lane] = v[0].y, pair.z0[lane] = v[0].z;
        const uint32_t c = tri->color;
        pair.base[0][lane] = ((c >> 11) & 31) * 8;
        pair.base[1][lane] = ((c >> 5) & 63) * 4;
        pair.base[2][lane] = (c & 31) * 8;
        pair.normalLength[lane] = tri->normalLength;
        pair.inRange = (lane == 0 || pair.inRange) && InNearRange(v[0].x, v[0].y, v[0].z);
        if constexpr (kVertices == 1) {
            const Vec3 p0 = {v[0].x, v[0].y, v[0].z, 1.0f};
            const Vec3 face = Vec3Cross(Vec3Sub(p0, {v[1].x, v[1].y, v[1].z, 1.0f}),
                                        Vec3Sub(p0, {v[2].x, v[2].y, v[2].z, 1.0f}));
            pair.nx[0][lane] = face.x, pair.ny[0][lane] = face.y, pair.nz[0][lane] = face.z;
        } else {
            for (int i = 0; i < 3; ++i) {
                pair.nx[i][lane] = v[i].nx, pair.ny[i][lane] = v[i].ny, pair.nz[i][lane] = v[i].nz;
            }
        }
    }
    Word2 sums[kVertices][3];
    LightPair<kVertices>(lights, count, pair, sums);
    for (int lane = 0; lane < 2; ++lane) {
        for (int i = 0; i < kVertices; ++i) pair.tri[lane]->litColor[i] = PackSum(sums[i], lane);
    }
}

static uint32_t FirstKind(uint32_t attr) {
    static const uint32_t kKinds[] = {kLightAmbient, kLightInfinite, kLightPoint, kLightSpot,
                                      kLightSpotCone};
    for (uint32_t bit : kKinds) {
        if (attr & bit) return bit;
    }
    return 0;
}

int LightRenderList(RenderList* list, const Camera* /*cam*/, const Light* lights, int32_t count) {
    if (!list || (!lights && count > 0)) return 0;

    LightTerm terms[kMaxLights];
    int32_t used = 0;
    for (int32_t k = 0; k < count && k < kMaxLights; ++k) {
        const Light& light = lights[k];
        const uint32_t kind = FirstKind(light.attr);
        if (!light.state || !kind) continue;
        const uint32_t colour = kind == kLightAmbient ? light.ambient : light.diffuse;
        LightTerm& term = terms[used++];
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
    }

    RasterTri* waitingFlat = nullptr;
    RasterTri* waitingGouraud = nullptr;
    for (int32_t k = 0; k < list->numPolys; ++k) {
        RasterTri* tri = list->polyPointers[k];
        if (!tri ||
            (tri->state & (kPolyActive | kPolyClipped | kPolyBackFace | kPolyLit)) != kPolyActive) {
            continue;
        }
        tri->state |= kPolyLit;
        if (tri->attr & kAttrShadeFlat) {
            if (!waitingFlat) {
                waitingFlat = tri;
                continue;
            }
            LightTriangles<1>(terms, used, waitingFlat, tri);
            waitingFlat = nullptr;
        } else if (tri->attr & kAttrShadeGouraud) {
            if (!waitingGouraud) {
                waitingGouraud = tri;
                continue;
            }
            LightTriangles<3>(terms, used, waitingGouraud, tri);
            waitingGouraud = nullptr;
        } else {
            tri->litColor[0] = tri->color;
        }
    }
    if (waitingFlat) LightTriangles<1>(terms, used, waitingFlat, waitingFlat);
    if (waitingGouraud) LightTriangles<3>(terms, used, waitingGouraud, waitingGouraud);
    return 1;
}
