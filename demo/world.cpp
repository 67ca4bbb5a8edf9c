// Object and light motion of the show. Every camera of the schedule looks at the
// origin, so the show is staged round it, scene by scene: the logo hovers over the
// centre facing the camera, the knot swings behind it, the airship and the balloons
// circle the valley, the lighthouse stands on its hill, the sun or the moon crosses the
// sky of the picture, and six coloured point lights sweep over the hills. Whatever
// moves gives way to the camera.
#include "demo/world.h"

#include <cmath>

#include "assets/assets.h"
#include "demo/timeline.h"

static DemoWorld gWorld;

DemoWorld* DemoWorldGet() {
    return &gWorld;
}

void DemoRenderContextInit(RenderContext* context) {
    *context = {};
    context->attr = kRenderDepthZ | kRenderAffine;  // 0x102
    context->list = RenderListMain();
    context->alphaOverride = -1;
    context->mipDistance = 0;
    context->perspectiveSwitchDistance = 1000;
}

// Spin angles grow a little every frame and wrap at a full turn.
struct Spin {
    float angle;
    float step;
};
static Spin gKnotSpin = {0, 0.9f};
static Spin gSunSpin = {0, 0.6f};
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

// How each scene sets out its objects, tuned to its camera path. Lengths in world units;
// "beyond" is measured from the centre away from the camera, "across" to its right.
struct Stage {
    float logoHeight;  // where the logo rests over the centre
    float logoReach;   // it comes forward to stay this near a distant camera
    float knotBeyond, knotAcross, knotHeight;  // the knot's swing behind the logo
    float ringBeyond;                          // centre of the airship's and the balloons' rings
    float airshipRing, airshipHeight;
    float balloonRing, balloonSwing, balloonLow, balloonHigh;
    int32_t lighthouse;  // drawn in this scene
};
static const Stage kStages[kSceneCount] = {
    // 0: the long low sweep over the hills; it flies over the lighthouse's hill.
    {450, 2600, 700, 1100, 350, 0, 1500, 800, 1600, 400, 300, 1000, 0},
    // 1 and 2: the high orbits.
    {450, 2200, 700, 1100, 350, 0, 1500, 900, 1300, 400, 400, 1200, 1},
    {450, 2200, 700, 1100, 350, 0, 1500, 900, 1300, 400, 400, 1200, 1},
    // 3: the fixed view across the valley.
    {260, 1800, 700, 1100, 300, 1200, 1100, 700, 900, 250, 300, 800, 1},
    // 4: the circle round the logo.
    {300, 2100, 700, 1100, 250, 0, 1250, 750, 1500, 300, 250, 800, 1},
};

// How far the sun or the moon stands from the camera.
constexpr double kSkyDistance = 3500;

// The point `distance` away from the camera that the picture shows at (x, y), both
// from -1 to 1 between its edges, y upwards.
static Vec3 InPicture(const Camera& cam, double x, double y, double distance) {
    const double right = x / cam.viewDist, up = y / (cam.viewDist * cam.aspectRatio);
    const double s = distance / std::sqrt(right * right + up * up + 1);
    return Point(cam.pos.x + s * (cam.u.x * right + cam.v.x * up + cam.n.x),
                 cam.pos.y + s * (cam.u.y * right + cam.v.y * up + cam.n.y),
                 cam.pos.z + s * (cam.u.z * right + cam.v.z * up + cam.n.z));
}

// Objects keep at least this far outside their bounding sphere from the camera.
constexpr double kCameraMargin = 300;

// Moves p straight away from the camera until the object's bounding sphere, grown by
// the margin, leaves the camera outside: objects may pass the viewer close and fast,
// never through it.
static Vec3 GiveWay(Vec3 p, const Object3D* obj, const Vec3& camera) {
    const double clearance = obj->maxRadius[0] + kCameraMargin;
    const double dx = p.x - camera.x, dy = p.y - camera.y, dz = p.z - camera.z;
    const double d = std::sqrt(dx * dx + dy * dy + dz * dz);
    if (d >= clearance) return p;
    if (d < 1e-3) return Point(camera.x, camera.y - clearance, camera.z);
    const double s = clearance / d;
    return Point(camera.x + dx * s, camera.y + dy * s, camera.z + dz * s);
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

static float Degrees(double radians) {
    return static_cast<float>(radians * 180.0 / 3.14159265358979);
}

// The rotation that turns an object's -z face from `at` towards the camera, swayed
// about the vertical by `sway` degrees and leant back by `lean` of the camera's angle
// above it.
static void FaceCamera(const Vec3& at, const Vec3& camera, double sway, double lean, Mat4* m) {
    const double dx = camera.x - at.x, dy = camera.y - at.y, dz = camera.z - at.z;
    const double heading = Degrees(std::atan2(-dx, -dz)) + sway;
    const double tilt = lean * Degrees(std::atan2(dy, std::sqrt(dx * dx + dz * dz)));
    Mat4BuildRotationXYZ(static_cast<float>(tilt), static_cast<float>(heading), 0, m);
}

void DemoObjectsInsert(DemoWorld* world, RenderList* list, float skyTime, int32_t scene) {
    const double t = skyTime;
    const Stage& stage = kStages[scene >= 0 && scene < kSceneCount ? scene : 0];
    const Vec3 camera = world->camera.pos;
    // The camera's heading on the ground: forward from it towards the centre, and right.
    double fx = -camera.x, fz = -camera.z;
    const double ground = std::sqrt(fx * fx + fz * fz);
    if (ground > 1) {
        fx /= ground, fz /= ground;
    } else {
        fx = 0, fz = 1;
    }
    const double rx = fz, rz = -fx;
    const double ringX = fx * stage.ringBeyond, ringZ = fz * stage.ringBeyond;

    Mat4 m;  // the frame's shared object matrix, rebuilt for each object
    world->drawnCount = 0;
    Mat4BuildRotationXYZ(0, 0, 0, &m);
    ObjectThroughEngine(world, &world->terrain, m, list);

    // The logo rests over the centre, where every camera looks, and comes forward to
    // meet a distant one; it turns its face to the camera, swaying, and leans back to
    // a camera above it.
    Object3D* logo = &world->objects[0];
    const Vec3 rest = Point(0, stage.logoHeight + 50 * std::sin(1.3 * t), 0);
    const double lx = camera.x - rest.x, ly = camera.y - rest.y, lz = camera.z - rest.z;
    const double reach = std::sqrt(lx * lx + ly * ly + lz * lz);
    const double forward = reach > stage.logoReach ? 1 - stage.logoReach / reach : 0;
    const Vec3 logoAt = Point(rest.x + lx * forward, rest.y + ly * forward, rest.z + lz * forward);
    logo->worldPos = GiveWay(logoAt, logo, camera);
    FaceCamera(logo->worldPos, camera, 22 * std::sin(0.9 * t), 0.6, &m);
    ObjectThroughEngine(world, logo, m, list);

    // The lighthouse stands on the highest hill; the low sweep flies over its hill, so
    // it is left out of that scene.
    Object3D* lighthouse = &world->objects[1];
    if (stage.lighthouse) {
        lighthouse->worldPos = Point(kLandmarkHillX, kLandmarkHillY, kLandmarkHillZ);
        Mat4BuildRotationXYZ(0, 0, 0, &m);
        ObjectThroughEngine(world, lighthouse, m, list);
    }

    // The airship circles the valley nose first, rolling gently into its turn.
    Object3D* airship = &world->objects[2];
    const double orbit = 0.32 * t;
    airship->worldPos = GiveWay(Point(ringX + stage.airshipRing * std::cos(orbit),
                                      stage.airshipHeight + 120 * std::sin(0.8 * t),
                                      ringZ + stage.airshipRing * std::sin(orbit)),
                                airship, camera);
    Mat4BuildRotationXYZ(static_cast<float>(6 * std::sin(1.1 * t)), -Degrees(orbit) - 90.0f, 0, &m);
    ObjectThroughEngine(world, airship, m, list);

    // The knot tumbles behind the logo, swinging from one side to the other.
    Object3D* knot = &world->objects[3];
    const double swing = 1.45 * std::sin(0.45 * t);
    const double kb = stage.knotBeyond * std::cos(swing), ka = stage.knotAcross * std::sin(swing);
    knot->worldPos = GiveWay(
        Point(logoAt.x + fx * kb + rx * ka, logoAt.y + stage.knotHeight + 90 * std::sin(0.9 * t),
              logoAt.z + fz * kb + rz * ka),
        knot, camera);
    const float k = SpinStep(&gKnotSpin);
    Mat4BuildRotationXYZ(k, 1.3f * k, 0.7f * k, &m);
    ObjectThroughEngine(world, knot, m, list);

    // The sun by day, the moon by night, far off in the sky of the picture: each rises
    // on the left, climbs over the logo and sets on the right in its half of the sky
    // time's turn. The sun spins; the crescent rocks, facing the camera.
    const double h = 2000 * std::sin(t);
    Object3D* sun = &world->objects[kDemoSun];
    Object3D* moon = &world->objects[kDemoMoon];
    sun->dir.x = static_cast<float>(h);
    Object3D* body = h > 0 ? sun : moon;
    const double arc = std::fmod(t, 3.14159265358979);
    body->worldPos = GiveWay(
        InPicture(world->camera, -0.72 * std::cos(arc), 0.42 + 0.3 * std::sin(arc), kSkyDistance),
        body, camera);
    if (h > 0)
        Mat4BuildRotationXYZ(0, 0, SpinStep(&gSunSpin), &m);
    else
        FaceCamera(body->worldPos, camera, 25 * std::sin(1.7 * t), 0.8, &m);
    ObjectThroughEngine(world, body, m, list);

    // The balloons drift round the valley, each at its own height and bob.
    const float turn = SpinStep(&gBalloonSpin);
    for (int i = 0; i < kDemoInstanceCount; ++i) {
        Object3D* balloon = &world->instances[i];
        const double a = 0.12 * t + i * 0.785398;
        const double r = stage.balloonRing + stage.balloonSwing * std::sin(0.5 * t + i * 1.7);
        const double level = ((i * 5) % kDemoInstanceCount) / (kDemoInstanceCount - 1.0);
        const double y = stage.balloonLow + (stage.balloonHigh - stage.balloonLow) * level +
                         90 * std::sin(0.9 * t + i * 1.3);
        balloon->worldPos =
            GiveWay(Point(ringX + r * std::cos(a), y, ringZ + r * std::sin(a)), balloon, camera);
        Mat4BuildRotationXYZ(0, turn + 45.0f * i, 0, &m);
        ObjectThroughEngine(world, balloon, m, list);
    }
}
