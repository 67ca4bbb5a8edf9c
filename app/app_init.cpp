// Start-up and tear-down of the intro, each in its fixed order.
#include <cstdlib>

#include "app/app.h"
#include "assets/assets.h"
#include "assets/tune.h"
#include "demo/demo.h"
#include "demo/mesh_template.h"
#include "demo/overlay.h"
#include "demo/world.h"
#include "display/display.h"
#include "engine/math3d.h"
#include "engine/render_frame.h"
#include "engine/tables.h"
#include "engine/terrain.h"
#include "music/music.h"
#include "platform/frame_clock.h"
#include "platform/keyboard.h"
#include "platform/window.h"
#include "raster/lanes.h"

static uint32_t gMusicHandle;  // kept, never used again

// Makes obj from a compiled-in mesh template: counts and attributes, storage, lists.
static void ObjectFromTemplate(Object3D* obj, const unsigned char* data, unsigned long size) {
    MeshTemplate t;
    if (!MeshTemplateRead(data, size, &t)) return;
    if (!Object3DInit(obj, t.numVertices, t.numPolys, t.numFrames, 0)) return;
    MeshTemplateCopyTo(&t, obj);
}

static void TerrainCreate(DemoWorld* world) {
    BitmapInfo map = {}, texture = {};
    BitmapRecordRead(TerrainHeightMap, TerrainHeightMap_size, &map);
    BitmapRecordRead(TerrainTextureHeader, TerrainTextureHeader_size, &texture);
    const HeightMap heightMap = {map.width, map.height, map.pixels};
    const BitmapHeader textureHeader = {texture.width, texture.height, texture.bitCount};
    const Vec3 origin = {0, 0, 0, 0};
    // Two empty names: an empty texture name still asks for the checkerboard.
    Object3DGenerateTerrain(&world->terrain, 6000.0f, 6000.0f, 1000.0f, "", "",
                            ColourPacker(50, 100, 30), &origin, nullptr, 648, &heightMap,
                            &textureHeader);
}

int AppInit() {
    ScreenSaverActivate(0);
    // The results of the start-up steps are not checked: a part that fails to start
    // stays inert and the show goes on without it.
    DisplayInit(640, 480, 16, 0, 0);
    InputCreate();
    KeyboardCreate();
    CursorShow(0);
    std::srand(FrameStartStamp());
    MathTablesInit();
    LookupTablesInit();
    // The hot loops' form for this processor: the wide one where it has AVX2.
    LanesChoose(1);

    DemoWorld* world = DemoWorldGet();
    CameraInit(&world->camera, 8, nullptr, nullptr, nullptr, 10.0f, 10000.0f, 80.0f, 640.0f,
               480.0f);
    TerrainCreate(world);
    world->engineGlobal[0] = world->engineGlobal[1] = world->engineGlobal[2] = 20.0f;
    world->engineGlobal[3] = 1.0f;
    DemoLightsCreate(world->lights);
    ZBufferCreate(&world->zbuffer, 640, 480, kZBuffer32);
    DemoRenderContextInit(&world->context);
    RenderFrameMemoryCommit(RenderListMain(), &world->zbuffer);
    FloatingPointSetup();
    // The frame's second thread starts now, with the floating-point settings just made
    // and before the first frame, which must allocate nothing but the font sprite.
    RenderFrameThreadsSet(2);

    for (int32_t i = 0; i < kDemoObjectCount; ++i)
        ObjectFromTemplate(&world->objects[i], kMeshTemplates[i], kMeshTemplateSizes[i]);
    for (int32_t i = 0; i < kDemoInstanceCount; ++i)
        ObjectFromTemplate(&world->instances[i], MeshBalloon, MeshBalloon_size);
    static const uint8_t kBalloonColours[kDemoInstanceCount][3] = {
        {200, 200, 255}, {220, 220, 220}, {255, 12, 12}, {255, 255, 200},
        {200, 24, 12},   {255, 211, 90},  {200, 200, 0}, {180, 200, 10}};
    for (int32_t i = 0; i < kDemoInstanceCount; ++i)
        Object3DSetColor(
            &world->instances[i],
            ColourPacker(kBalloonColours[i][0], kBalloonColours[i][1], kBalloonColours[i][2]));

    for (int32_t i = 0; i < kInfoLineCount; ++i) gInfoLines[i] = kFestivalInfoLines[i];
    gInfoLines[kInfoLineCount] = nullptr;
    gInfoLineCount = kInfoLineCount;

    gMusicHandle = StartMusic(kTuneXm, static_cast<uint32_t>(kTuneXm_size), kMusicSourceMemory);
    return 1;
}

int AppShutdown() {
    KeyboardRelease();
    InputRelease();
    DisplayRelease();
    ScreenSaverActivate(1);
    return 1;
}
