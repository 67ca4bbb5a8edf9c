// The per-frame driver: clocks, sky, keyboard, the scene, the engine's passes and the
// render pass, the overlay, present and pacing, in that order.
#include "assets/assets.h"
#include "demo/demo.h"
#include "demo/overlay.h"
#include "demo/timeline.h"
#include "demo/world.h"
#include "display/display.h"
#include "engine/render_frame.h"
#include "platform/frame_clock.h"
#include "platform/keyboard.h"

// The depth buffer's clear: 0.25f's bit pattern in every entry, far behind every depth the
// less-than fillers store.
constexpr uint32_t kDepthClear = 0x3E800000;

void DemoFrameScene() {
    DemoWorld* world = DemoWorldGet();
    RenderList* list = RenderListMain();
    RenderListReset(list);
    const float skyTime = TimelineStateGet()->skyTime;
    DemoLightsAnimate(world, skyTime);

    TimelineScheduleStep(TickNow());
    Camera* camera = &world->camera;
    const SceneCamera placed = TimelineSceneCamera();
    camera->pos = placed.position;
    camera->dir.y = placed.heading;
    CameraBuildUVN(camera, placed.uvnMode);

    DemoObjectsInsert(world, list, skyTime, TimelineStateGet()->scene);
}

int DemoFrame() {
    Surface* back = DisplayBackSurface();
    if (TimelineStateGet()->firstFrame) {
        OverlayStart(FontImage, kScrollerText, back);
        TimelineFirstFrameDone();
    }
    FrameStartStamp();
    TimelineStart(TickNow());
    SurfaceClear(back, 0, nullptr);

    int32_t red, green, blue;
    TimelineSkyAdvance(&red, &green, &blue);
    // Right and bottom are exclusive: the last column and row stay black, on purpose.
    SurfaceFillRect(0, 0, 639, 479, ColourPacker(red, green, blue), back);

    KeyboardRead();
    DemoFrameScene();
    DemoWorld* world = DemoWorldGet();
    RenderFrame(&world->context, &world->camera, world->lights, kMaxLights, &world->zbuffer,
                kDepthClear);

    OverlayDraw(back);
    DisplayPresent();
    FrameFinish();
    return 1;
}
