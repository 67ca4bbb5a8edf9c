// View-volume clipping: side culling and near-plane cutting in camera space.
#include "engine/clip.h"

// Where a vertex lies against the near and far planes.
enum ClipCode { kInside, kBeyond, kBefore };

// The three vertices lie wholly beyond one of the two planes +-k z of an axis.
static bool OutsideSides(const Vertex3D* v, double k, bool yAxis) {
    int greater = 0, less = 0;
    for (int i = 0; i < 3; ++i) {
        const double limit = k * v[i].z;
        const double coordinate = yAxis ? v[i].y : v[i].x;
        greater += coordinate > limit;
        less += coordinate < -limit;
    }
    return greater == 3 || less == 3;
}

struct NearPoint {
    float x, y, z, u, v;
};

// The point at z = near on the segment from a to b, in the form a + t (b - a).
static NearPoint PointAtNear(const Vertex3D& a, const Vertex3D& b, float nearZ, bool textured) {
    const double t = (static_cast<double>(nearZ) - a.z) / (static_cast<double>(b.z) - a.z);
    NearPoint p;
    p.x = static_cast<float>(a.x + t * (static_cast<double>(b.x) - a.x));
    p.y = static_cast<float>(a.y + t * (static_cast<double>(b.y) - a.y));
    p.z = nearZ;
    p.u = textured ? static_cast<float>(a.u + t * (static_cast<double>(b.u) - a.u)) : b.u;
    p.v = textured ? static_cast<float>(a.v + t * (static_cast<double>(b.v) - a.v)) : b.v;
    return p;
}

// A new vertex takes the place of an old one: position (and u, v when textured) only,
// the normal, intensity and attributes stay those of the vertex it replaces.
static void PlacePoint(Vertex3D* slot, const NearPoint& p, bool textured) {
    slot->x = p.x, slot->y = p.y, slot->z = p.z;
    if (textured) slot->u = p.u, slot->v = p.v;
}

static void RecomputeNormalLength(RasterTri* tri) {
    const Vertex3D* v = tri->tvlist;
    const Vec3 p0 = {v[0].x, v[0].y, v[0].z, 1.0f};
    const Vec3 e1 = Vec3Sub(p0, {v[1].x, v[1].y, v[1].z, 1.0f});
    const Vec3 e2 = Vec3Sub(p0, {v[2].x, v[2].y, v[2].z, 1.0f});
    tri->normalLength = Vec3FastLength(Vec3Cross(e1, e2));
}

// Near and far planes of one record; returns 1 with the second piece of a two-inside
// cut in `cut`.
static int ClipNearFar(RasterTri* tri, float nearZ, float farZ, ClipCut* cut) {
    Vertex3D* v = tri->tvlist;
    ClipCode codes[3];
    int inside = 0, beyond = 0, before = 0;
    for (int i = 0; i < 3; ++i) {
        codes[i] = v[i].z > farZ ? kBeyond : v[i].z < nearZ ? kBefore : kInside;
        inside += codes[i] == kInside;
        beyond += codes[i] == kBeyond;
        before += codes[i] == kBefore;
    }
    if (beyond == 3 || before == 3) {
        tri->state |= kPolyClipped;
        return 0;
    }
    if (before == 0) return 0;  // beyond the far plane alone is kept whole

    const bool textured = (tri->attr & kAttrTextured) != 0;
    if (inside == 1) {
        const int a = codes[0] == kInside ? 0 : codes[1] == kInside ? 1 : 2;
        const int b = (a + 1) % 3, c = (a + 2) % 3;
        const NearPoint pb = PointAtNear(v[a], v[b], nearZ, textured);
        const NearPoint pc = PointAtNear(v[a], v[c], nearZ, textured);
        PlacePoint(&v[b], pb, textured);
        PlacePoint(&v[c], pc, textured);
        RecomputeNormalLength(tri);
    } else if (inside == 2) {
        // The record becomes (P1, I1, I2); the second piece, a copy of the record before
        // this with P2 for O and P1 for I1, is made when it is appended.
        const int o = codes[0] == kBefore ? 0 : codes[1] == kBefore ? 1 : 2;
        const int i1 = (o + 1) % 3, i2 = (o + 2) % 3;
        const NearPoint p1 = PointAtNear(v[o], v[i1], nearZ, textured);
        const NearPoint p2 = PointAtNear(v[o], v[i2], nearZ, textured);
        PlacePoint(&v[o], p1, textured);
        RecomputeNormalLength(tri);
        cut->vertex = o;
        cut->state = tri->state;
        cut->x = p2.x, cut->y = p2.y, cut->z = p2.z, cut->u = p2.u, cut->v = p2.v;
        cut->x1 = p1.x, cut->y1 = p1.y;
        cut->x2 = v[i2].x, cut->y2 = v[i2].y;
        return 1;
    }
    return 0;
}

int32_t RenderListClipRange(RenderList* list, const Camera* cam, uint32_t flags, int32_t from,
                            int32_t to, ClipCut* cuts) {
    // Deliberate: the width bounds y as well, matching the camera's top and bottom planes.
    const double k = 0.5 * cam->viewplaneWidth / cam->viewDist;
    int32_t made = 0;
    for (int32_t n = from; n < to; ++n) {
        RasterTri* tri = list->polyPointers[n];
        if (!RasterTriProcessable(tri)) continue;
        if (((flags & kClipX) && OutsideSides(tri->tvlist, k, false)) ||
            ((flags & kClipY) && OutsideSides(tri->tvlist, k, true))) {
            tri->state |= kPolyClipped;
            continue;
        }
        if ((flags & kClipNearFar) && ClipNearFar(tri, cam->nearClipZ, cam->farClipZ, &cuts[made]))
            cuts[made++].record = n;
    }
    return made;
}

int ClipCutAppend(RenderList* list, const ClipCut& cut) {
    if (!list || cut.record < 0 || cut.record >= list->numPolys) return 0;
    RasterTri copy = *list->polyPointers[cut.record];
    copy.state = cut.state;
    const bool textured = (copy.attr & kAttrTextured) != 0;
    Vertex3D* v = copy.tvlist;
    const int o = cut.vertex, i1 = (o + 1) % 3, i2 = (o + 2) % 3;
    // The record holds P1 in place of O.
    const NearPoint p1 = {cut.x1, cut.y1, v[o].z, v[o].u, v[o].v};
    const NearPoint p2 = {cut.x, cut.y, cut.z, cut.u, cut.v};
    PlacePoint(&v[o], p2, textured);
    PlacePoint(&v[i1], p1, textured);
    v[i2].x = cut.x2, v[i2].y = cut.y2;
    RecomputeNormalLength(&copy);
    return RenderListInsertTri(list, &copy);
}

int RenderListClip(RenderList* list, const Camera* cam, uint32_t flags) {
    if (!list || !cam) return 0;
    // The records present now, a batch at a time, each batch's pieces appended after it.
    const int32_t count = list->numPolys;
    constexpr int32_t kBatch = 256;
    ClipCut cuts[kBatch];
    for (int32_t from = 0; from < count; from += kBatch) {
        const int32_t to = count - from > kBatch ? from + kBatch : count;
        const int32_t made = RenderListClipRange(list, cam, flags, from, to, cuts);
        for (int32_t i = 0; i < made; ++i) ClipCutAppend(list, cuts[i]);
    }
    return 1;
}
