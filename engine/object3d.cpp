// Objects: allocation of their meshes, per-frame reset, transforms into world space.
#include "engine/object3d.h"

#include <cstdlib>
#include <cstring>

#include "engine/lanes.h"

// calloc that never answers a request for nothing with null.
template <typename T>
static T* AllocateZeroed(int32_t count) {
    return static_cast<T*>(std::calloc(count > 0 ? static_cast<size_t>(count) : 1, sizeof(T)));
}

int Object3DInit(Object3D* obj, int32_t vertices, int32_t polys, int32_t frames, int destroyFirst) {
    if (!obj) return 0;
    if (destroyFirst) Object3DDestroy(obj);

    const int32_t total = vertices * frames;
    if (!(obj->vlistLocal = AllocateZeroed<Vertex3D>(total))) return 0;
    obj->headVlistLocal = obj->vlistLocal;
    if (!(obj->vlistTrans = AllocateZeroed<Vertex3D>(total))) return 0;
    obj->headVlistTrans = obj->vlistTrans;
    if (!(obj->tlist = AllocateZeroed<float>(polys * 3 * 2))) return 0;
    if (!(obj->avgRadius = AllocateZeroed<float>(frames))) return 0;
    if (!(obj->maxRadius = AllocateZeroed<float>(frames))) return 0;
    if (!(obj->plist = AllocateZeroed<Poly>(polys))) return 0;

    obj->numFrames = frames;
    obj->numPolys = polys;
    obj->numVertices = vertices;
    obj->totalVertices = total;
    return 1;
}

int Object3DDestroy(Object3D* obj) {
    if (!obj) return 0;
    std::free(obj->headVlistLocal);
    std::free(obj->headVlistTrans);
    std::free(obj->tlist);
    std::free(obj->plist);
    std::free(obj->avgRadius);
    std::free(obj->maxRadius);
    if (obj->texture) {
        std::free(obj->texture->texels);
        std::free(obj->texture);
    }
    std::memset(static_cast<void*>(obj), 0, sizeof *obj);
    return 1;
}

int Object3DReset(Object3D* obj) {
    if (!obj) return 0;
    obj->state &= ~kObjectCulled;
    // Only the states that change are stored: most polygons' lines then stay shared with
    // the frame's other thread, which reads them.
    for (int32_t p = 0; p < obj->numPolys; ++p) {
        Poly& poly = obj->plist[p];
        const uint32_t cleared = poly.state & ~(kPolyClipped | kPolyBackFace | kPolyLit);
        if ((poly.state & kPolyActive) && cleared != poly.state) poly.state = cleared;
    }
    return 1;
}

int Object3DSetColor(Object3D* obj, uint32_t color) {
    if (!obj) return 0;
    for (int32_t p = 0; p < obj->numPolys; ++p) {
        Poly& poly = obj->plist[p];
        if ((poly.state & (kPolyActive | kPolyClipped | kPolyBackFace)) == kPolyActive) {
            poly.color = color;
        }
    }
    return 1;
}

// Position always, normal only when the vertex carries one; `from` may be `to`.
static void TransformVertex(const Vertex3D& from, const Mat4Lanes& m, Vertex3D* to) {
    float p[4];
    Mat4LanesMulRow(from.x, from.y, from.z, from.w, m, p);
    if (from.attr & kVertexNormal) {
        float n[4];
        Mat4LanesMulRow(from.nx, from.ny, from.nz, from.nw, m, n);
        to->nx = n[0], to->ny = n[1], to->nz = n[2], to->nw = n[3];
    }
    to->x = p[0], to->y = p[1], to->z = p[2], to->w = p[3];
}

int Object3DTransform(Object3D* obj, const Mat4& matrix, int select, int transformBasis,
                      int allFrames) {
    if (!obj) return 0;
    const Mat4Lanes m = Mat4LanesOf(matrix);
    Vertex3D* local = allFrames ? obj->headVlistLocal : obj->vlistLocal;
    Vertex3D* trans = allFrames ? obj->headVlistTrans : obj->vlistTrans;
    const int32_t count = allFrames ? obj->totalVertices : obj->numVertices;

    if (select == kTransformLocalToTrans) {
        if (!local || !trans) return 0;
        for (int32_t i = 0; i < count; ++i) {
            const Vertex3D& from = local[i];
            Vertex3D* to = &trans[i];
            to->u = from.u, to->v = from.v, to->i = from.i, to->attr = from.attr;
            TransformVertex(from, m, to);
        }
    } else {
        Vertex3D* list = select == kTransformLocalOnly ? local : trans;
        if (!list) return 0;
        for (int32_t i = 0; i < count; ++i) TransformVertex(list[i], m, &list[i]);
    }

    if (transformBasis) {
        Vec4MulMat4(obj->ux, matrix, &obj->ux);
        Vec4MulMat4(obj->uy, matrix, &obj->uy);
        Vec4MulMat4(obj->uz, matrix, &obj->uz);
    }
    return 1;
}

int Object3DModelToWorld(Object3D* obj, int select, int allFrames) {
    if (!obj) return 0;
    Vertex3D* local = allFrames ? obj->headVlistLocal : obj->vlistLocal;
    Vertex3D* trans = allFrames ? obj->headVlistTrans : obj->vlistTrans;
    const int32_t count = allFrames ? obj->totalVertices : obj->numVertices;
    if (!trans || (select == kTransformLocalToTrans && !local)) return 0;

    const Vec3 pos = obj->worldPos;
    for (int32_t i = 0; i < count; ++i) {
        if (select == kTransformLocalToTrans) trans[i] = local[i];
        trans[i].x += pos.x;
        trans[i].y += pos.y;
        trans[i].z += pos.z;
    }
    return 1;
}
