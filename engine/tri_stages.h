// One record's step of each camera pass of the render list, shared by the list-wide
// passes (camera.cpp) and the passes over ranges of records (list_ranges.cpp).
// Engine-internal.
#pragma once
#include "engine/lanes.h"
#include "engine/math3d.h"
#include "raster/raster_tri.h"

// Edge-on (zero) and unordered (NaN) both count as facing away; two-sided triangles
// are never marked.
inline void TriBackFaceMark(RasterTri* tri, const Vec3& cameraPos) {
    if (tri->attr & kAttrTwoSided) return;
    const Vertex3D* v = tri->tvlist;
    const Vec3 p0 = {v[0].x, v[0].y, v[0].z, v[0].w};
    const Vec3 e1 = Vec3Sub(p0, {v[1].x, v[1].y, v[1].z, v[1].w});
    const Vec3 e2 = Vec3Sub(p0, {v[2].x, v[2].y, v[2].z, v[2].w});
    const Vec3 normal = Vec3Cross(e1, e2);
    const Vec3 view = Vec3Sub(p0, cameraPos);
    if (!(Vec3Dot(normal, view) > 0.0)) tri->state |= kPolyBackFace;
}

inline void TriWorldToCamera(RasterTri* tri, const Mat4Lanes& m) {
    for (Vertex3D& v : tri->tvlist) {
        float p[4];
        Mat4LanesMulRow(v.x, v.y, v.z, v.w, m, p);
        v.x = p[0], v.y = p[1], v.z = p[2], v.w = p[3];
    }
}

// x = d x / z and y = d y aspect / z, both in one division.
inline void TriToPerspective(RasterTri* tri, double d, double aspect) {
    for (Vertex3D& v : tri->tvlist) {
        const Double2 numerator = Double2{d * v.x, d * v.y * aspect};
        const Float2 xy = __builtin_convertvector(numerator / Splat(v.z), Float2);
        v.x = xy[0], v.y = xy[1];
    }
}

inline void TriToScreen(RasterTri* tri, double alpha, double beta) {
    for (Vertex3D& v : tri->tvlist) {
        v.x = static_cast<float>(alpha + alpha * v.x);
        v.y = static_cast<float>(beta - beta * v.y);
    }
}
