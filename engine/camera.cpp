// The UVN camera and the render-list passes from world space to the screen.
#include "engine/camera.h"

#include <cmath>

#include "engine/lanes.h"

int CameraInit(Camera* cam, uint32_t attr, const Vec3* pos, const Vec3* dir, const Vec3* target,
               float nearZ, float farZ, float fov, float viewportW, float viewportH) {
    if (!cam) return 0;
    const Vec3 origin = {0.0f, 0.0f, 0.0f, 1.0f};
    cam->attr = attr;
    cam->pos = pos ? *pos : origin;
    cam->dir = dir ? *dir : origin;
    cam->u = {1.0f, 0.0f, 0.0f, 1.0f};
    cam->v = {0.0f, 1.0f, 0.0f, 1.0f};
    cam->n = {0.0f, 0.0f, 1.0f, 1.0f};
    cam->target = target ? *target : origin;

    cam->aspectRatio = viewportW / viewportH;
    cam->viewportCenterX = static_cast<float>((viewportW - 1.0) * 0.5);
    cam->viewportCenterY = static_cast<float>((viewportH - 1.0) * 0.5);
    cam->nearClipZ = nearZ;
    cam->farClipZ = farZ;
    cam->viewportWidth = viewportW;
    cam->viewportHeight = viewportH;
    cam->fov = fov;

    cam->mcam = kMat4Identity;
    cam->mper = kMat4Identity;
    cam->mscr = kMat4Identity;

    cam->viewplaneWidth = 2.0f;
    cam->viewplaneHeight = static_cast<float>(2.0 / cam->aspectRatio);
    const double halfFov = static_cast<double>(fov) * static_cast<double>(3.1415927f) / 180.0 / 2;
    const double d = 0.5 * cam->viewplaneWidth / std::tan(halfFov);
    cam->viewDist = static_cast<float>(d);

    Vec3 right, left, top, bottom;
    if (fov == 90.0f) {
        right = {1.0f, 0.0f, -1.0f, 1.0f};
        left = {-1.0f, 0.0f, -1.0f, 1.0f};
        top = {0.0f, 1.0f, -1.0f, 1.0f};
        bottom = {0.0f, -1.0f, -1.0f, 1.0f};
    } else {
        // Deliberate: the top and bottom planes use the view-plane width, not its
        // height, as the side clipping does.
        const float dist = cam->viewDist;
        const float halfWidth = static_cast<float>(-cam->viewplaneWidth / 2.0);
        right = {dist, 0.0f, halfWidth, 1.0f};
        left = {-dist, 0.0f, halfWidth, 1.0f};
        top = {0.0f, dist, halfWidth, 1.0f};
        bottom = {0.0f, -dist, halfWidth, 1.0f};
    }
    Plane3Init(&cam->rightClipPlane, origin, right, 1);
    Plane3Init(&cam->leftClipPlane, origin, left, 1);
    Plane3Init(&cam->topClipPlane, origin, top, 1);
    Plane3Init(&cam->bottomClipPlane, origin, bottom, 1);
    return 1;
}

int CameraBuildUVN(Camera* cam, int mode) {
    if (!cam) return 0;
    Mat4 t = kMat4Identity;
    t.m[3][0] = -cam->pos.x;
    t.m[3][1] = -cam->pos.y;
    t.m[3][2] = -cam->pos.z;

    if (mode == kCameraUVNSpherical) {
        // Deliberate: the target is the bare direction on the unit sphere, not placed
        // around the camera, so n below points from the camera towards that point.
        const float phi = cam->dir.x, theta = cam->dir.y;
        const float sinPhi = FastSin(phi), cosPhi = FastCos(phi);
        const float sinTheta = FastSin(theta), cosTheta = FastCos(theta);
        cam->target.x = static_cast<float>(-1.0 * sinPhi * sinTheta);
        cam->target.y = cosPhi;
        cam->target.z = static_cast<float>(static_cast<double>(sinPhi) * cosTheta);
    }

    cam->n = Vec3Sub(cam->pos, cam->target);
    cam->v = {0.0f, 1.0f, 0.0f, 1.0f};
    cam->u = Vec3Cross(cam->v, cam->n);
    cam->v = Vec3Cross(cam->n, cam->u);
    Vec3Normalize(&cam->u);
    Vec3Normalize(&cam->v);
    Vec3Normalize(&cam->n);

    Mat4 uvn;
    Mat4Init(&uvn, cam->u.x, cam->v.x, cam->n.x, 0.0f, cam->u.y, cam->v.y, cam->n.y, 0.0f, cam->u.z,
             cam->v.z, cam->n.z, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f);
    Mat4Mul(t, uvn, &cam->mcam);
    return 1;
}

int RenderListRemoveBackfaces(RenderList* list, const Camera* cam) {
    if (!list || !cam) return 0;
    RenderListRemoveBackfacesRange(list, cam, 0, list->numPolys);
    return 1;
}

int RenderListWorldToCamera(RenderList* list, const Camera* cam) {
    if (!list || !cam) return 0;
    RenderListWorldToCameraRange(list, cam, 0, list->numPolys);
    return 1;
}

int RenderListCameraToPerspective(RenderList* list, const Camera* cam) {
    if (!list || !cam) return 0;
    RenderListCameraToPerspectiveRange(list, cam, 0, list->numPolys);
    return 1;
}

int RenderListPerspectiveToScreen(RenderList* list, const Camera* cam) {
    if (!list || !cam) return 0;
    RenderListPerspectiveToScreenRange(list, cam, 0, list->numPolys);
    return 1;
}

void RenderListRemoveBackfacesRange(RenderList* list, const Camera* cam, int32_t from, int32_t to) {
    RenderListRecordsWrite(list, from, to);
    const Vec3 cameraPos = cam->pos;
    for (int32_t k = from; k < to; ++k) {
        RasterTri* tri = list->polyPointers[k];
        if (!RasterTriProcessable(tri) || (tri->attr & kAttrTwoSided)) continue;
        // Edge-on (zero) and unordered (NaN) both count as facing away.
        const Vertex3D* v = tri->tvlist;
        const Vec3 p0 = {v[0].x, v[0].y, v[0].z, v[0].w};
        const Vec3 e1 = Vec3Sub(p0, {v[1].x, v[1].y, v[1].z, v[1].w});
        const Vec3 e2 = Vec3Sub(p0, {v[2].x, v[2].y, v[2].z, v[2].w});
        const Vec3 normal = Vec3Cross(e1, e2);
        const Vec3 view = Vec3Sub(p0, cameraPos);
        if (!(Vec3Dot(normal, view) > 0.0)) tri->state |= kPolyBackFace;
    }
}

void RenderListWorldToCameraRange(RenderList* list, const Camera* cam, int32_t from, int32_t to) {
    const Mat4Lanes m = Mat4LanesOf(cam->mcam);
    for (int32_t k = from; k < to; ++k) {
        RasterTri* tri = list->polyPointers[k];
        if (!RasterTriProcessable(tri)) continue;
        for (Vertex3D& v : tri->tvlist) {
            float p[4];
            Mat4LanesMulRow(v.x, v.y, v.z, v.w, m, p);
            v.x = p[0], v.y = p[1], v.z = p[2], v.w = p[3];
        }
    }
}

void RenderListCameraToPerspectiveRange(RenderList* list, const Camera* cam, int32_t from,
                                        int32_t to) {
    const double d = cam->viewDist, aspect = cam->aspectRatio;
    for (int32_t k = from; k < to; ++k) {
        RasterTri* tri = list->polyPointers[k];
        if (!RasterTriProcessable(tri)) continue;
        // x = d x / z and y = d y aspect / z, both in one division.
        for (Vertex3D& v : tri->tvlist) {
            const Double2 numerator = Double2{d * v.x, d * v.y * aspect};
            const Float2 xy = __builtin_convertvector(numerator / Splat(v.z), Float2);
            v.x = xy[0], v.y = xy[1];
        }
    }
}

void RenderListPerspectiveToScreenRange(RenderList* list, const Camera* cam, int32_t from,
                                        int32_t to) {
    const double alpha = 0.5 * cam->viewportWidth - 0.5;
    const double beta = 0.5 * cam->viewportHeight - 0.5;
    for (int32_t k = from; k < to; ++k) {
        RasterTri* tri = list->polyPointers[k];
        if (!RasterTriProcessable(tri)) continue;
        for (Vertex3D& v : tri->tvlist) {
            v.x = static_cast<float>(alpha + alpha * v.x);
            v.y = static_cast<float>(beta - beta * v.y);
        }
    }
}
