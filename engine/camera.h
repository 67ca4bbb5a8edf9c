// The camera (UVN model) and the render-list passes that depend on it: back faces,
// world to camera, perspective and screen mapping.
#pragma once
#include <cstdint>

#include "engine/math3d.h"
#include "engine/render_list.h"

struct Camera {
    uint32_t state;
    uint32_t attr;
    Vec3 pos;
    Vec3 dir;  // degrees: x elevation, y heading, z roll
    Vec3 u, v, n;
    Vec3 target;
    float viewDist;
    float fov;  // degrees
    float nearClipZ, farClipZ;
    Plane3 rightClipPlane, leftClipPlane, topClipPlane, bottomClipPlane;
    float viewplaneWidth, viewplaneHeight;
    float viewportWidth, viewportHeight;
    float viewportCenterX, viewportCenterY;
    float aspectRatio;
    Mat4 mcam;  // world to camera
    Mat4 mper;  // camera to perspective
    Mat4 mscr;  // perspective to screen
};

// Sets up the camera: axes, target ((0, 0, 0) when null; pos and dir likewise), view
// plane 2 wide, view distance from fov, the four side clip planes through the origin.
int CameraInit(Camera* cam, uint32_t attr, const Vec3* pos, const Vec3* dir, const Vec3* target,
               float nearZ, float farZ, float fov, float viewportW, float viewportH);

constexpr int kCameraUVNTarget = 0;     // aim at the stored target
constexpr int kCameraUVNSpherical = 1;  // target from the elevation and heading angles
// Rebuilds mcam from the position and the target (mode as above).
int CameraBuildUVN(Camera* cam, int mode);

// The per-frame passes, in calling order after insertion (and clipping between world
// to camera and perspective). Each works on processable records only, and each is its
// stage below run over the whole list.

// Writes the records insertion noted (RenderListRecordsWrite), then marks back faces
// (kPolyBackFace) in world space; edge-on counts as back-facing, two-sided triangles are
// never marked. Once per frame, first after insertion.
int RenderListRemoveBackfaces(RenderList* list, const Camera* cam);
// tvlist positions times the camera matrix.
int RenderListWorldToCamera(RenderList* list, const Camera* cam);
// x = d x / z, y = d y aspect / z; z stays as the depth.
int RenderListCameraToPerspective(RenderList* list, const Camera* cam);
// Perspective coordinates in [-1, 1] to pixels, y growing downwards.
int RenderListPerspectiveToScreen(RenderList* list, const Camera* cam);

// The stages: each pass above over records [from, to) of the list only. The frame's passes
// (render_frame.h) run them a batch of records at a time, on the thread that owns the batch.
void RenderListRemoveBackfacesRange(RenderList* list, const Camera* cam, int32_t from, int32_t to);
void RenderListWorldToCameraRange(RenderList* list, const Camera* cam, int32_t from, int32_t to);
void RenderListCameraToPerspectiveRange(RenderList* list, const Camera* cam, int32_t from,
                                        int32_t to);
void RenderListPerspectiveToScreenRange(RenderList* list, const Camera* cam, int32_t from,
                                        int32_t to);
