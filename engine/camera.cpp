// The UVN camera and the render-list passes from world space to the screen.
#include "engine/camera.h"

#include <cmath>

#include "engine/lanes.h"
#include "engine/tri_stages.h"

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
    for (int32_t k = 0; k < list->numPolys; ++k) {
        RenderListRecordFill(list, k);
        RasterTri* tri = list->polyPointers[k];
        if (RasterTriProcessable(tri)) TriBackFaceMark(tri, cam->pos);
    }
    return 1;
}

int RenderListWorldToCamera(RenderList* list, const Camera* cam) {
    if (!list || !cam) return 0;
    const Mat4Lanes m = Mat4LanesOf(cam->mcam);
    for (int32_t k = 0; k < list->numPolys; ++k) {
        RasterTri* tri = list->polyPointers[k];
        if (RasterTriProcessable(tri)) TriWorldToCamera(tri, m);
    }
    return 1;
}

int RenderListCameraToPerspective(RenderList* list, const Camera* cam) {
    if (!list || !cam) return 0;
    for (int32_t k = 0; k < list->numPolys; ++k) {
        RasterTri* tri = list->polyPointers[k];
        if (RasterTriProcessable(tri)) TriToPerspective(tri, cam->viewDist, cam->aspectRatio);
    }
    return 1;
}

int RenderListPerspectiveToScreen(RenderList* list, const Camera* cam) {
    if (!list || !cam) return 0;
    const double alpha = 0.5 * cam->viewportWidth - 0.5;
    const double beta = 0.5 * cam->viewportHeight - 0.5;
    for (int32_t k = 0; k < list->numPolys; ++k) {
        RasterTri* tri = list->polyPointers[k];
        if (RasterTriProcessable(tri)) TriToScreen(tri, alpha, beta);
    }
    return 1;
}
