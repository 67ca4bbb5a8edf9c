// scene_shot: one frame of the show's terrain, drawn headless by the engine and the
// render pass with the show's context (depth z, affine sampling), written as a PNG.
//
//   scene_shot OUT.png [p q r]
//
// The camera stands on the first terrain scene's path at angles p, q, r (default 0) and
// looks at the origin; the terrain, its checker texture and the ten lights are set up
// with the show's start-up values.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "assets/assets.h"
#include "display/colour.h"
#include "display/display.h"
#include "engine/camera.h"
#include "engine/clip.h"
#include "engine/light.h"
#include "engine/math3d.h"
#include "engine/object3d.h"
#include "engine/render_pass.h"
#include "engine/tables.h"
#include "engine/terrain.h"
#include "engine/zbuffer.h"
#include "tools/common/png_image.h"

namespace {

void LightsSetUp(Light* lights) {
    LightsInit(lights, kMaxLights);
    const Vec3 direction = {-1, 1, -1, 1}, above = {0, 500, 0, 1};
    LightInit(lights, 0, 1, kLightAmbient, 0x64646400, 0, 0, nullptr, nullptr, 0, 0, 0, 0, 0, 0);
    LightInit(lights, 1, 1, kLightInfinite, 0, 0xFFFFFF00, 0, nullptr, &direction, 0, 0, 0, 0, 0,
              0);
    const struct {
        uint32_t state, colour;
        float kl;
    } points[8] = {{1, 0xFF800000, 0.001f},   {1, 0xFFFF0000, 0.002f},  {1, 0xFF800000, 0.001f},
                   {1, 0xFF800000, 0.0008f},  {1, 0xFF800000, 0.001f},  {1, 0xFF800000, 0.001f},
                   {0, 0xFFDF7B00, 0.00065f}, {0, 0x18518D00, 0.00065f}};
    for (int i = 0; i < 8; ++i) {
        LightInit(lights, i + 2, points[i].state, kLightPoint, 0, points[i].colour, 0, &above,
                  nullptr, 0, points[i].kl, 0, 0, 0, 1.0f);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 5) {
        std::fprintf(stderr, "usage: scene_shot OUT.png [p q r]\n");
        return 2;
    }
    const double p = argc == 5 ? std::atof(argv[2]) : 0, q = argc == 5 ? std::atof(argv[3]) : 0,
                 r = argc == 5 ? std::atof(argv[4]) : 0;

    // The headless display gives the surface, the colour packer and the clip rectangle.
    if (!DisplayInit(640, 480, 16, 0, 0)) {
        std::fprintf(stderr, "scene_shot: the headless display did not start\n");
        return 1;
    }
    MathTablesInit();
    LookupTablesInit();
    static Camera camera;
    const Vec3 zero = {0, 0, 0, 1};
    CameraInit(&camera, 8, &zero, &zero, &zero, 10.0f, 10000.0f, 80.0f, 640.0f, 480.0f);
    static Object3D terrain;
    BitmapInfo mapInfo, textureInfo;
    if (!BitmapRecordRead(TerrainHeightMap, TerrainHeightMap_size, &mapInfo) || !mapInfo.pixels ||
        !BitmapRecordRead(TerrainTextureHeader, TerrainTextureHeader_size, &textureInfo)) {
        std::fprintf(stderr, "scene_shot: the terrain bitmaps do not decode\n");
        return 1;
    }
    const HeightMap map = {mapInfo.width, mapInfo.height, mapInfo.pixels};
    const BitmapHeader bitmap = {textureInfo.width, textureInfo.height, textureInfo.bitCount};
    const Vec3 origin = {0, 0, 0, 0};
    if (!Object3DGenerateTerrain(&terrain, 6000.0f, 6000.0f, 1000.0f, "", "",
                                 ColourPacker(50, 100, 30), &origin, nullptr, 648, &map, &bitmap)) {
        std::fprintf(stderr, "scene_shot: the terrain could not be built\n");
        return 1;
    }
    static Light lights[kMaxLights];
    LightsSetUp(lights);

    // The first terrain scene's camera path.
    camera.pos.x = static_cast<float>(3000 * std::cos(p) + 500 * std::sin(2 * q + 0.125));
    camera.pos.y = static_cast<float>(1400 + 900 * std::cos(r));
    camera.pos.z = static_cast<float>(3000 * std::sin(q) + 700 * std::cos(1.7 * p + 46.056));
    CameraBuildUVN(&camera, kCameraUVNTarget);

    RenderList* list = RenderListMain();
    RenderListReset(list);
    Object3DReset(&terrain);
    Mat4 rotation;
    Mat4BuildRotationXYZ(0, 0, 0, &rotation);
    Object3DTransform(&terrain, rotation, kTransformLocalToTrans, 0, 0);
    Object3DModelToWorld(&terrain, kTransformTransOnly, 0);
    RenderListInsertObject(list, &terrain, 0);
    RenderListRemoveBackfaces(list, &camera);
    RenderListWorldToCamera(list, &camera);
    RenderListClip(list, &camera, kClipX | kClipY | kClipNearFar);
    LightsTransform(lights, kMaxLights, camera.mcam, kLightsTransformToTrans);
    LightRenderList(list, &camera, lights, kMaxLights);
    RenderListCameraToPerspective(list, &camera);
    RenderListPerspectiveToScreen(list, &camera);

    // The frame as the show draws it: black, the sky colour of the first frame, then the
    // render pass into the locked surface.
    static ZBuffer zbuffer;
    if (!ZBufferCreate(&zbuffer, 640, 480, kZBuffer32)) {
        std::fprintf(stderr, "scene_shot: no memory for the depth buffer\n");
        return 1;
    }
    SurfaceClear(DisplayBackSurface(), 0, nullptr);
    SurfaceFillRect(0, 0, 639, 479, ColourPacker(70, 91, 118), DisplayBackSurface());
    SurfaceLock();
    ZBufferClear(&zbuffer, 0x3E800000);
    const RenderContext context = {
        0x102, list, DisplayLockPointer(), DisplayLockPitch(), zbuffer.buffer, 2560, -1, 0, 1000};
    RenderPass(&context);

    char error[256] = "";
    const int written = PngWriteRgb565(argv[1], DisplayLockPointer(), 640, 480, DisplayLockPitch(),
                                       error, sizeof error);
    SurfaceUnlock();
    if (!written) {
        std::fprintf(stderr, "scene_shot: %s\n", error);
        return 1;
    }
    std::printf("%s: %d triangles in the list\n", argv[1], static_cast<int>(list->numPolys));
    return 0;
}
