// Object and light motion of the show. Everything turns round the origin, where every
// camera of the schedule looks: the logo hovers over the centre, the knot and the sun
// or moon above it, the airship and the balloons circle it, the lighthouse stands on
// its hill, and six coloured point lights sweep over the hills.
#include "demo/world.h"

#include <cmath>

#include "assets/assets.h"

static DemoWorld gWorld;

DemoWorld* DemoWorldGet() {
    return &gWorld;
}

// Spin angles grow a little every frame and wrap at a full turn.
struct Spin {
    float angle;
    float step;
};
static Spin gLogoSpin = {0, 1.1f};
static Spin gKnotSpin = {0, 0.9f};
static Spin gSunSpin = {0, 0.6f};
static Spin gMoonSpin = {0, 0.4f};
static Spin gBalloonSpin = {0, 0.35f};

static float SpinStep(Spin* spin) {
    spin->angle += spin->step;
    if (spin->angle >= 360.0f) spin->angle -= 360.0f;
    return spin->angle;
}

static Vec3 Point(double x, double y, double z) {
    return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), 1.0f};
}

// Where the sun (by day) or the moon (by night) is: an arc over the valley.
static Vec3 SkyBodyPosition(double t) {
    const double h = 2000 * std::sin(t);
    return Point(-2300 * std::cos(0.5 * t), 750 + 0.45 * std::fabs(h), -2300 * std::sin(0.5 * t));
}

void DemoLightsCreate(Light* lights) {
    LightsInit(lights, kMaxLights);
    const Vec3 direction = {-1, 1, -1, 1};
    const Vec3 position = {0, 500, 0, 1};
    LightInit(lights, 0, 1, kLightAmbient, 0x64646400, 0, 0, nullptr, nullptr, 0, 0, 0, 0, 0, 0);
    LightInit(lights, 1, 1, kLightInfinite, 0, 0xFFFFFF00, 0, nullptr, &direction, 0, 0, 0, 0, 0,
              0);
    static const struct {
        uint32_t state, colour;
        float linear;
    } kPoint[8] = {{1, 0xFF800000, 0.001f},   {1, 0xFFFF0000, 0.002f},  {1, 0xFF800000, 0.001f},
                   {1, 0xFF800000, 0.0008f},  {1, 0xFF800000, 0.001f},  {1, 0xFF800000, 0.001f},
                   {0, 0xFFDF7B00, 0.00065f}, {0, 0x18518D00, 0.00065f}};
    for (int32_t i = 0; i < 8; ++i)
        LightInit(lights, 2 + i, kPoint[i].state, kLightPoint, 0, kPoint[i].colour, 0, &position,
                  nullptr, 0, kPoint[i].linear, 0, 0, 0, 1.0f);
}

void DemoLightsAnimate(DemoWorld* world, float skyTime) {
    const double t = skyTime;
    // Lights 2..7: each on its own circle over the terrain, at its own pace.
    static const struct {
        double radius, speed, phase, height;
    } kSweep[6] = {{1500, 0.55, 0.0, 520}, {2300, -0.35, 1.1, 600}, {900, 0.8, 2.3, 480},
                   {2600, 0.25, 3.6, 650}, {1900, -0.6, 4.4, 560},  {1200, 0.45, 5.5, 500}};
    for (int k = 0; k < 6; ++k) {
        const double a = t * kSweep[k].speed + kSweep[k].phase;
        world->lights[2 + k].pos =
            Point(kSweep[k].radius * std::cos(a), kSweep[k].height + 120 * std::sin(1.7 * a),
                  kSweep[k].radius * std::sin(a));
    }
    // Light 8 is the sun's warm light by day, light 9 the moon's blue light by night.
    const double h = 2000 * std::sin(t);
    Light& sunLight = world->lights[8];
    Light& moonLight = world->lights[9];
    sunLight.state = h > 0;
    moonLight.state = h <= 0;
    sunLight.pos = SkyBodyPosition(t);
    moonLight.pos = sunLight.pos;
}

// Reset, transform by m from the local list, move to the world position, insert; the
// object's records are noted in world->drawn.
static void ObjectThroughEngine(DemoWorld* world, Object3D* obj, const Mat4& m, RenderList* list) {
    Object3DReset(obj);
    Object3DTransform(obj, m, kTransformLocalToTrans, 0, 1);
    Object3DModelToWorld(obj, kTransformTransOnly, 1);
    const int32_t first = list->numPolys;
    RenderListInsertObject(list, obj, 0);
    if (world->drawnCount < kDemoDrawnMax)
        world->drawn[world->drawnCount++] = {obj, first, list->numPolys - first};
}

void DemoObjectsInsert(DemoWorld* world, RenderList* list, float skyTime, int32_t) {
    const double t = skyTime;
    Mat4 m;  // the frame's shared object matrix, rebuilt for each object
    world->drawnCount = 0;

    Mat4BuildRotationXYZ(0, 0, 0, &m);
    ObjectThroughEngine(world, &world->terrain, m, list);

    // The logo hovers over the centre and turns slowly to face every camera in turn.
    Object3D* logo = &world->objects[0];
    logo->worldPos = Point(0, 500 + 60 * std::sin(1.3 * t), 0);
    Mat4BuildRotationXYZ(0, SpinStep(&gLogoSpin), 0, &m);
    ObjectThroughEngine(world, logo, m, list);

    // The lighthouse stands on the highest hill.
    Object3D* lighthouse = &world->objects[1];
    lighthouse->worldPos = Point(kLandmarkHillX, kLandmarkHillY, kLandmarkHillZ);
    Mat4BuildRotationXYZ(0, 0, 0, &m);
    ObjectThroughEngine(world, lighthouse, m, list);

    // The airship circles the centre nose first, rolling gently into its turn.
    Object3D* airship = &world->objects[2];
    const double orbit = 0.32 * t;
    airship->worldPos =
        Point(1900 * std::cos(orbit), 1350 + 120 * std::sin(0.8 * t), 1900 * std::sin(orbit));
    const float heading = static_cast<float>(-(orbit * 180.0 / 3.14159265358979) - 90.0);
    Mat4BuildRotationXYZ(static_cast<float>(6 * std::sin(1.1 * t)), heading, 0, &m);
    ObjectThroughEngine(world, airship, m, list);

    // The knot tumbles round the logo, slowly, above the basin.
    Object3D* knot = &world->objects[3];
    const double knotOrbit = 0.15 * t + 0.7;
    knot->worldPos =
        Point(1000 * std::cos(knotOrbit), 950 + 90 * std::sin(0.9 * t), 1000 * std::sin(knotOrbit));
    const float k = SpinStep(&gKnotSpin);
    Mat4BuildRotationXYZ(k, 1.3f * k, 0.7f * k, &m);
    ObjectThroughEngine(world, knot, m, list);

    // The sun by day, the moon by night, on an arc over the valley.
    const double h = 2000 * std::sin(t);
    Object3D* sun = &world->objects[kDemoSun];
    Object3D* moon = &world->objects[kDemoMoon];
    sun->dir.x = static_cast<float>(h);
    const Vec3 sky = SkyBodyPosition(t);
    if (h > 0) {
        sun->worldPos = sky;
        Mat4BuildRotationXYZ(0, 0, SpinStep(&gSunSpin), &m);
        ObjectThroughEngine(world, sun, m, list);
    } else {
        moon->worldPos = sky;
        Mat4BuildRotationXYZ(0, SpinStep(&gMoonSpin), 0, &m);
        ObjectThroughEngine(world, moon, m, list);
    }

    // The balloons drift round the valley, each at its own height and bob.
    const float turn = SpinStep(&gBalloonSpin);
    for (int i = 0; i < kDemoInstanceCount; ++i) {
        Object3D* balloon = &world->instances[i];
        const double a = 0.12 * t + i * 0.785398;
        const double r = 1250 + 250 * std::sin(0.5 * t + i * 1.7);
        balloon->worldPos = Point(r * std::cos(a), 650 + 85 * i + 90 * std::sin(0.9 * t + i * 1.3),
                                  r * std::sin(a));
        Mat4BuildRotationXYZ(0, turn + 45.0f * i, 0, &m);
        ObjectThroughEngine(world, balloon, m, list);
    }
}
