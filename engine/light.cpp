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
// lanes changes no result. Two triangles go side by side, one in each lane; two
// consecutive Gouraud triangles that share their vertex 0 and base colour, as the two of
// a terrain cell do, share the distance-based work of that vertex and the vertices they
// have in common.

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

// The attenuation of a point or plain spot light at distance d (for a point light times
// d as well).
static inline Double2 Attenuation(Double2 kc, Double2 kl, Double2 kq, Double2 d, bool point) {
    const Double2 divisor = kc + kl * d + kq * d * d;
    return point ? divisor * d : divisor;
}

// A switched-on light reduced to what the loops need.
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

// The frame's lights, sorted by kind.
struct LightSet {
    LightTerm terms[kMaxLights];  // in table order
    int32_t count;
    const LightTerm* ambient[kMaxLights];
    const LightTerm* infinite[kMaxLights];
    const LightTerm* distant[kMaxLights];  // point and plain spot
    const LightTerm* cone[kMaxLights];
    int32_t ambientCount, infiniteCount, distantCount, coneCount;
    bool packs565;  // ColourPacker is the 5.6.5 packer, written out here
};

// Two lanes of vertices: lane 0 and lane 1 each with its own vertex 0.
struct TrianglePair {
    RasterTri* tri[2];
    Double2 x0, y0, z0;           // vertex 0
    Double2 nx[3], ny[3], nz[3];  // vertex normals; flat: the face normal in [0]
    uint32_t base[2][3];          // base colour channels, per lane
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
    const Word2 counts = Bits<Word2>(dp > zero) & Bits<Word2>(intensity > zero);
    const Double2 capped = intensity < Splat(kIntensityCap) ? intensity : Splat(kIntensityCap);
    return Bits<Double2>(Bits<Word2>(capped) & counts);
}

// A term t = (light channel * base channel) * intensity / 32768 lies in [0, 2^31); the
// bits of the double t + 1.5 * 2^52 are 0x4338000000000000 + t rounded to the nearest
// integer (ties to even), so adding those bits adds the rounded term to the low 32 bits
// of a sum, which are all that is read in the end. Terms are whole numbers, so the order
// in which lights add them does not matter.
static inline void AddTerms(const Double2 product[3], Double2 intensity, Word2 sums[3]) {
    const Double2 shift = Splat(6755399441055744.0);
    for (int ch = 0; ch < 3; ++ch) sums[ch] += Bits<Word2>(product[ch] * intensity + shift);
}

static inline void AmbientSums(const LightSet& set, const uint32_t base[2][3], Word2 sums[3]) {
    for (int ch = 0; ch < 3; ++ch) sums[ch] = Word2{0, 0};
    for (int32_t k = 0; k < set.ambientCount; ++k) {
        for (int ch = 0; ch < 3; ++ch) {
            const uint32_t c = set.ambient[k]->colour[ch];
            sums[ch] += Word2{(c * base[0][ch]) >> 8, (c * base[1][ch]) >> 8};
        }
    }
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

// Channel sums of a pair: kVertices is 1 for flat shading (the face normal, intensities
// divided by the normal length) and 3 for Gouraud (vertex normals). Point and plain spot
// lights take their distance from vertex 0 for every vertex, deliberately; the cone spot
// measures from each vertex.
template <int kVertices>
static void LightPair(const LightSet& set, const TrianglePair& pair, Word2 sums[kVertices][3]) {
    Word2 ambient[3];
    AmbientSums(set, pair.base, ambient);
    for (int i = 0; i < kVertices; ++i) {
        for (int ch = 0; ch < 3; ++ch) sums[i][ch] = ambient[ch];
    }
    Double2 base[3];
    for (int ch = 0; ch < 3; ++ch)
        base[ch] = Double2{double(pair.base[0][ch]), double(pair.base[1][ch])};
    auto product = [&](const LightTerm& light, Double2 out[3]) {
        for (int ch = 0; ch < 3; ++ch) out[ch] = light.channel[ch] * base[ch];
    };

    // Each vertex's term of a light from direction (x, y, z): 128 times the dot product,
    // attenuated by `attenuate`.
    auto vertexTerms = [&](const Double2 p[3], Double2 x, Double2 y, Double2 z, auto attenuate) {
        for (int i = 0; i < kVertices; ++i) {
            const Double2 dp = pair.nx[i] * x + pair.ny[i] * y + pair.nz[i] * z;
            Double2 intensity = attenuate(Splat(128.0) * dp);
            if constexpr (kVertices == 1) intensity = intensity / pair.normalLength;
            AddTerms(p, Intensity(dp, intensity), sums[i]);
        }
    };
    for (int32_t k = 0; k < set.infiniteCount; ++k) {
        const LightTerm& light = *set.infinite[k];
        Double2 p[3];
        product(light, p);
        // Its attenuation is 1, by which dividing changes nothing.
        vertexTerms(p, light.dx, light.dy, light.dz, [](Double2 v) { return v; });
    }
    for (int32_t k = 0; k < set.distantCount; ++k) {
        const LightTerm& light = *set.distant[k];
        Double2 p[3];
        product(light, p);
        const bool point = light.kind == kLightPoint;
        const Double2 lx = FloatRounded(light.px - pair.x0);
        const Double2 ly = FloatRounded(light.py - pair.y0);
        const Double2 lz = FloatRounded(light.pz - pair.z0);
        const Double2 d = LightDistance(lx, ly, lz, light.inRange && pair.inRange);
        const Double2 divisor = Attenuation(light.kc, light.kl, light.kq, d, point);
        const Double2 x = point ? lx : light.dx, y = point ? ly : light.dy;
        const Double2 z = point ? lz : light.dz;
        vertexTerms(p, x, y, z, [divisor](Double2 v) { return v / divisor; });
    }
    for (int32_t k = 0; k < set.coneCount; ++k) {
        const LightTerm& light = *set.cone[k];
        Double2 p[3];
        product(light, p);
        Double2 intensity[kVertices];
        ConeIntensities<kVertices>(light, pair, intensity);
        for (int i = 0; i < kVertices; ++i)
            AddTerms(p, Intensity(intensity[i], intensity[i]), sums[i]);
    }
}

// Vertices of one or two triangles that share one vertex 0 and one base colour: up to
// four different normals, two in each lane. The distance-based work of vertex 0 is done
// once, two lights at a time.
struct SharedVertices {
    Double2 nx[2], ny[2], nz[2];  // normal j in [j / 2][j % 2]
    double x0, y0, z0;
    uint32_t base[2][3];  // the same base in both lanes
    bool inRange;
};

static void LightShared(const LightSet& set, const SharedVertices& v, Word2 sums[2][3]) {
    Word2 ambient[3];
    AmbientSums(set, v.base, ambient);
    for (int slot = 0; slot < 2; ++slot) {
        for (int ch = 0; ch < 3; ++ch) sums[slot][ch] = ambient[ch];
    }
    auto product = [&](const LightTerm& light, Double2 out[3]) {
        for (int ch = 0; ch < 3; ++ch) out[ch] = light.channel[ch] * Splat(v.base[0][ch]);
    };
    for (int32_t k = 0; k < set.infiniteCount; ++k) {
        const LightTerm& light = *set.infinite[k];
        Double2 p[3];
        product(light, p);
        for (int slot = 0; slot < 2; ++slot) {
            const Double2 dp =
                v.nx[slot] * light.dx + v.ny[slot] * light.dy + v.nz[slot] * light.dz;
            AddTerms(p, Intensity(dp, Splat(128.0) * dp), sums[slot]);
        }
    }
    for (int32_t k = 0; k < set.distantCount; k += 2) {
        // Lights k and k + 1 in the two lanes (k twice when it is the last).
        const LightTerm& a = *set.distant[k];
        const LightTerm& b = *set.distant[k + 1 < set.distantCount ? k + 1 : k];
        const Double2 lx = FloatRounded(Double2{a.px[0], b.px[0]} - Splat(v.x0));
        const Double2 ly = FloatRounded(Double2{a.py[0], b.py[0]} - Splat(v.y0));
        const Double2 lz = FloatRounded(Double2{a.pz[0], b.pz[0]} - Splat(v.z0));
        const Double2 d = LightDistance(lx, ly, lz, a.inRange && b.inRange && v.inRange);
        const Double2 kc = {a.kc[0], b.kc[0]}, kl = {a.kl[0], b.kl[0]}, kq = {a.kq[0], b.kq[0]};
        const Double2 divisor = kc + kl * d + kq * d * d;
        const int lanes = &a == &b ? 1 : 2;
        for (int lane = 0; lane < lanes; ++lane) {
            const LightTerm& light = lane == 0 ? a : b;
            Double2 p[3];
            product(light, p);
            const bool point = light.kind == kLightPoint;
            const Double2 x = point ? Splat(lx[lane]) : light.dx;
            const Double2 y = point ? Splat(ly[lane]) : light.dy;
            const Double2 z = point ? Splat(lz[lane]) : light.dz;
            const Double2 by = Splat(point ? divisor[lane] * d[lane] : divisor[lane]);
            for (int slot = 0; slot < 2; ++slot) {
                const Double2 dp = v.nx[slot] * x + v.ny[slot] * y + v.nz[slot] * z;
                AddTerms(p, Intensity(dp, Splat(128.0) * dp / by), sums[slot]);
            }
        }
    }
}

static uint32_t PackSum(const LightSet& set, const Word2 sums[3], int lane) {
    int32_t channel[3];
    for (int ch = 0; ch < 3; ++ch) {
        const uint32_t sum = static_cast<uint32_t>(sums[ch][lane]);
        channel[ch] = sum > 255 ? 255 : static_cast<int32_t>(sum);
    }
    if (set.packs565) {
        return static_cast<uint16_t>(
            (((channel[0] >> 3) << 11) + ((channel[1] >> 2) & 63) * 32 + ((channel[2] >> 3) & 31)) &
            0xFFFF);
    }
    return ColourPacker(channel[0], channel[1], channel[2]);
}

// Base colour channels of a 5.6.5 colour word.
static void BaseChannels(uint32_t c, uint32_t out[3]) {
    out[0] = ((c >> 11) & 31) * 8;
    out[1] = ((c >> 5) & 63) * 4;
    out[2] = (c & 31) * 8;
}

// Lights two triangles of the same shading (a and b may be the same triangle).
template <int kVertices>
static void LightTriangles(const LightSet& set, RasterTri* a, RasterTri* b) {
    TrianglePair pair;
    pair.tri[0] = a, pair.tri[1] = b;
    for (int lane = 0; lane < 2; ++lane) {
        const RasterTri* tri = pair.tri[lane];
        const Vertex3D* v = tri->tvlist;
        pair.x0[lane] = v[0].x, pair.y0[lane] = v[0].y, pair.z0[lane] = v[0].z;
        BaseChannels(tri->color, pair.base[lane]);
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
    LightPair<kVertices>(set, pair, sums);
    for (int lane = 0; lane < 2; ++lane) {
        for (int i = 0; i < kVertices; ++i)
            pair.tri[lane]->litColor[i] = PackSum(set, sums[i], lane);
    }
}

// Lights Gouraud triangles a and b together when they share vertex 0 and base colour
// and have at most four different vertex normals; returns false, lighting nothing,
// otherwise.
static bool LightSharingVertexZero(const LightSet& set, RasterTri* a, RasterTri* b) {
    const Vertex3D *va = a->tvlist, *vb = b->tvlist;
    if (set.coneCount || a->color != b->color ||
        std::memcmp(&va[0].x, &vb[0].x, 3 * sizeof(float)) != 0) {
        return false;
    }
    // Each vertex's normal number; a normal is the same as another when its bits are.
    const Vertex3D* normals[4];
    int count = 0, index[2][3];
    const Vertex3D* vertices[2] = {va, vb};
    for (int t = 0; t < 2; ++t) {
        for (int i = 0; i < 3; ++i) {
            int j = 0;
            while (j < count && std::memcmp(&normals[j]->nx, &vertices[t][i].nx, 3 * sizeof(float)))
                ++j;
            if (j == count) {
                if (count == 4) return false;
                normals[count++] = &vertices[t][i];
            }
            index[t][i] = j;
        }
    }
    while (count < 4) normals[count++] = normals[0];
    SharedVertices v;
    for (int slot = 0; slot < 2; ++slot) {
        const Vertex3D &n0 = *normals[2 * slot], &n1 = *normals[2 * slot + 1];
        v.nx[slot] = Double2{n0.nx, n1.nx};
        v.ny[slot] = Double2{n0.ny, n1.ny};
        v.nz[slot] = Double2{n0.nz, n1.nz};
    }
    v.x0 = va[0].x, v.y0 = va[0].y, v.z0 = va[0].z;
    BaseChannels(a->color, v.base[0]);
    BaseChannels(a->color, v.base[1]);
    v.inRange = InNearRange(v.x0, v.y0, v.z0);
    Word2 sums[2][3];
    LightShared(set, v, sums);
    RasterTri* tris[2] = {a, b};
    for (int t = 0; t < 2; ++t) {
        for (int i = 0; i < 3; ++i) {
            tris[t]->litColor[i] = PackSum(set, sums[index[t][i] / 2], index[t][i] % 2);
        }
    }
    return true;
}

static uint32_t FirstKind(uint32_t attr) {
    static const uint32_t kKinds[] = {kLightAmbient, kLightInfinite, kLightPoint, kLightSpot,
                                      kLightSpotCone};
    for (uint32_t bit : kKinds) {
        if (attr & bit) return bit;
    }
    return 0;
}

static void LightSetMake(const Light* lights, int32_t count, LightSet* set) {
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
    LightRenderListRange(list, lights, count, 0, list->numPolys);
    return 1;
}

void LightRenderListRange(RenderList* list, const Light* lights, int32_t count, int32_t from,
                          int32_t to) {
    LightSet set;
    LightSetMake(lights, count, &set);

    // Flat triangles go in pairs; a Gouraud triangle first waits for the next one to
    // share vertex 0 with, and failing that for a partner of the same kind.
    RasterTri* waitingFlat = nullptr;
    RasterTri* waitingShare = nullptr;
    RasterTri* waitingPair = nullptr;
    auto pairGouraud = [&](RasterTri* tri) {
        if (!waitingPair) {
            waitingPair = tri;
            return;
        }
        LightTriangles<3>(set, waitingPair, tri);
        waitingPair = nullptr;
    };
    for (int32_t k = from; k < to; ++k) {
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
            LightTriangles<1>(set, waitingFlat, tri);
            waitingFlat = nullptr;
        } else if (tri->attr & kAttrShadeGouraud) {
            if (waitingShare && LightSharingVertexZero(set, waitingShare, tri)) {
                waitingShare = nullptr;
                continue;
            }
            if (waitingShare) pairGouraud(waitingShare);
            waitingShare = tri;
        } else {
            tri->litColor[0] = tri->color;
        }
    }
    if (waitingFlat) LightTriangles<1>(set, waitingFlat, waitingFlat);
    if (waitingShare) pairGouraud(waitingShare);
    if (waitingPair) LightTriangles<3>(set, waitingPair, waitingPair);
}
