// Scene schedule, sky colour and the five camera paths. Sines and cosines are the
// double-precision library functions of the float angles.
#include "demo/timeline.h"

#include <cmath>

static TimelineState gState = {1, 0, 0, 0, 0, 0.0f, 0, 0, 0, 0};

// Each scene keeps its path angles from one visit to the next; only scene 4 restarts.
static float gP, gQ, gR;           // scene 0
static float gU1, gV1, gW1;        // scene 1
static float gU2, gV2, gW2;        // scene 2
static float gA4, gB4, gHeading4;  // scene 4
constexpr float kPi = 3.1415927f;  // single precision, as the path uses it

void TimelineReset() {
    gState = {};
    gState.firstFrame = 1;
    gP = gQ = gR = 0;
    gU1 = gV1 = gW1 = 0;
    gU2 = gV2 = gW2 = 0;
    gA4 = gB4 = gHeading4 = 0;
}

const TimelineState* TimelineStateGet() {
    return &gState;
}

void TimelineFirstFrameDone() {
    gState.firstFrame = 0;
}

void TimelineStart(uint32_t now) {
    if (gState.sceneStart != 0) return;
    gState.sceneStart = now;
    gState.scene = 4;
    gState.sceneDuration = 15000;
}

void TimelineSkyAdvance(int32_t* red, int32_t* green, int32_t* blue) {
    gState.skyTime += 0.01;
    gState.frameCount += 1;
    const double s = std::sin(double{gState.skyTime});
    gState.skyRed = static_cast<int32_t>(70 + 70 * s);
    gState.skyGreen = static_cast<int32_t>(91 + 90 * s);
    gState.skyBlue = static_cast<int32_t>(118 + 117 * s);
    *red = gState.skyRed;
    *green = gState.skyGreen;
    *blue = gState.skyBlue;
}

void TimelineScheduleStep(uint32_t now) {
    if (now - gState.sceneStart > gState.sceneDuration) {
        gState.sceneStart = now;
        gState.scene += 1;
        if (gState.scene > 4) {
            gState.scene = 0;
            gState.wrapped = 1;
        }
    }
}

static Vec3 Point(double x, double y, double z) {
    return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), 1.0f};
}

SceneCamera TimelineSceneCamera() {
    SceneCamera camera = {};
    camera.heading = gHeading4;
    switch (gState.scene) {
        case 0:
            gState.sceneDuration = 40000;
            camera.position =
                Point(3000 * std::cos(double{gP}) + 500 * std::sin(2 * gQ + 0.125),
                      1400 + 900 * std::cos(double{gR}),
                      3000 * std::sin(double{gQ}) + 700 * std::cos(1.7 * gP + 46.056));
            gP += 0.03256;
            gQ += 0.04654;
            gR += 0.0156;
            break;
        case 1:
            gState.sceneDuration = 20000;
            camera.position =
                Point(3000 * std::cos(double{gU1}), 3400 + 500 * std::cos(double{gW1}),
                      3000 * std::sin(double{gV1}));
            gU1 += 0.045;
            gV1 += 0.045;
            gW1 += 0.045;
            break;
        case 2:
            gState.sceneDuration = 20000;
            camera.position =
                Point(3000 * std::cos(double{gU2}), 3400 + 500 * std::cos(double{gW2}),
                      3000 * std::sin(double{gV2}));
            gU2 -= 0.033;
            gV2 -= 0.033;
            gW2 -= 0.033;
            break;
        case 3:
            gState.sceneDuration = 20000;
            camera.position = Point(1773.18, 860.0, 945.69);
            break;
        default:
            gState.sceneDuration = 15000;
            if (gState.wrapped) {
                // Entered after a wrap: the path restarts, heading included (our choice
                // for the path's third angle).
                gA4 = gB4 = gHeading4 = 0;
                gState.wrapped = 0;
            }
            camera.position =
                Point(2000 * std::sin(double{gA4 + kPi}), 1500, 2000 * std::cos(double{gB4 + kPi}));
            gHeading4 += 0.1;
            camera.heading = gHeading4;
            camera.uvnMode = 1;
            gA4 += 0.01570796327;
            gB4 += 0.01570796327;
            break;
    }
    return camera;
}
