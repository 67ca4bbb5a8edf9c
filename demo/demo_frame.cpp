// The per-frame driver: clocks, sky, keyboard, scene, the engine's passes, the render
// pass, the overlay, present and pacing, in that order. The geometry (scene,
// objects, passes up to clipping) is a function of its own so that it can be run
// without lighting or pixels.
#include "assets/assets.h"
#include "demo/demo.h"
#include "demo/overlay.h"
#include "demo/timeline.h"
#include "demo/world.h"
#include "display/display.h"
#include "engine/clip.h"
#include "platform/frame_clock.h"
#include "platform/keyboard.h"

void DemoFrameGeometry() {
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
    RenderListRemoveBackfaces(list, camera);
    RenderListWorldToCamera(list, camera);
    // Every plane is tested: side culling and the near cut both keep the work down.
    RenderListClip(list, camera, kClipX | kClipY | kClipNearFar);
}

void DemoFrameProject() {
    DemoWorld* world = DemoWorldGet();
    RenderList* list = RenderListMain();
    Camera* camera = &world->camera;
    // The lights' world positions move every frame, so their camera-space copies are
    // made afresh from them.
    LightsTransform(world->lights, kMaxLights, camera->mcam, kLightsTransformToTrans);
    LightRenderList(list, camera, world->lights, kMaxLights);
    RenderListCameraToPerspective(list, camera);
    RenderListPerspectiveToScreen(list, camera);
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
    DemoFrameGeometry();
    DemoFrameProject();

    SurfaceLock();
    DemoWorld* world = DemoWorldGet();
    RenderContext* context = &world->context;
    context->attr = kRenderDepthZ | kRenderAffine;  // 0x102
    ZBufferClear(&world->zbuffer, 0x3E800000);      // 0.25f's bit pattern in every entry
    context->frame = DisplayLockPointer();
    context->framePitch = DisplayLockPitch();
    context->depth = world->zbuffer.buffer;
    context->depthPitch = 2560;
    context->list = RenderListMain();
    context->perspectiveSwitchDistance = 1000;
    context->alphaOverride = -1;
    context->mipDistance = 0;
    RenderPass(context);
    SurfaceUnlock();

    OverlayDraw(back);
    DisplayPresent();
    FrameFinish();
    return 1;
}
