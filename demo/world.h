// The show's world: camera, terrain, the six objects and the eight balloons, the ten
// lights, the depth buffer and the render context, and how they move each frame.
#pragma once
#include <cstdint>

#include "engine/camera.h"
#include "engine/light.h"
#include "engine/object3d.h"
#include "engine/render_list.h"
#include "engine/render_pass.h"
#include "engine/zbuffer.h"

constexpr int32_t kDemoObjectCount = 6;    // logo, lighthouse, airship, knot, sun, moon
constexpr int32_t kDemoInstanceCount = 8;  // the coloured balloons
constexpr int32_t kDemoSun = 4;            // drawn while its height h > 0
constexpr int32_t kDemoMoon = 5;           // drawn otherwise

// One object as DemoObjectsInsert put it into the render list this frame.
struct DemoDrawn {
    const Object3D* object;
    int32_t first;  // index of its first record in the render list
    int32_t count;  // records it inserted
};
// The terrain, the objects (the sun or the moon) and the balloons.
constexpr int32_t kDemoDrawnMax = 1 + kDemoObjectCount - 1 + kDemoInstanceCount;

struct DemoWorld {
    Camera camera;
    Object3D terrain;
    Object3D objects[kDemoObjectCount];
    Object3D instances[kDemoInstanceCount];
    Light lights[kMaxLights];
    ZBuffer zbuffer;
    RenderContext context;  // the render pass's choices, set once by DemoRenderContextInit
    float engineGlobal[4];  // (20, 20, 20, 1), set at start-up; nothing in this build reads it
    DemoDrawn drawn[kDemoDrawnMax];  // this frame's objects, in insertion order
    int32_t drawnCount;
};

// The one world of the process (static storage).
DemoWorld* DemoWorldGet();

// The render pass's choices for the whole show, made at start-up: less-than depth, affine
// texture sampling, each triangle's own alpha, the frame's render list. The frame and depth
// targets are the engine's to fill each frame (RenderFrame).
void DemoRenderContextInit(RenderContext* context);

// The ten lights of start-up: ambient, one directional light and eight point lights
// over the centre (the last two, the sun's and the moon's, start switched off).
void DemoLightsCreate(Light* lights);

// Moves the point lights for this frame (positions from the sky time) and switches
// the sun's and the moon's lights with the time of day.
void DemoLightsAnimate(DemoWorld* world, float skyTime);

// Places every object of `scene` for this frame around the camera already placed for
// it, and takes it through reset, transform, model-to-world and insertion into `list`:
// the terrain, the logo, the lighthouse (not in scene 0), the airship and the knot, the
// sun or the moon (h = 2000 sin(sky time) decides, kept in the sun's record as dir.x),
// and the eight balloons. Lists them in world->drawn.
void DemoObjectsInsert(DemoWorld* world, RenderList* list, float skyTime, int32_t scene);
