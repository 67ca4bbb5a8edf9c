// Lights and the lighting of the render list in camera space.
#pragma once
#include <cstdint>

#include "engine/camera.h"
#include "engine/math3d.h"
#include "engine/render_list.h"

constexpr int32_t kMaxLights = 10;

// Light kinds (attr); a light acts by the first of these bits that it has.
constexpr uint32_t kLightAmbient = 0x1;
constexpr uint32_t kLightInfinite = 0x2;
constexpr uint32_t kLightPoint = 0x4;
constexpr uint32_t kLightSpot = 0x8;       // spot without a cone: attenuated directional
constexpr uint32_t kLightSpotCone = 0x10;  // spot whose cone falls off with c^pf

// 36 words, no pointers, so the layout is the same on every build.
struct Light {
    uint32_t state;  // 0 = off
    int32_t index;
    uint32_t attr;      // kLight* bits
    uint32_t ambient;   // colours 0xRRGGBBAA; the low byte is not used by lighting
    uint32_t diffuse;   //
    uint32_t specular;  //
    uint32_t spare[2];
    Vec3 pos;          // world
    Vec3 tpos;         // transformed (camera space after LightsTransform)
    Vec3 dir;          // normalised
    Vec3 tdir;         //
    float kc, kl, kq;  // constant, linear and quadratic attenuation
    float spotInner, spotOuter;
    float pf;  // spot power factor, rounded to an integer where used
    uint32_t reserved[6];
};
static_assert(sizeof(Light) == 36 * 4, "Light is 36 words");

// Clears `count` records and sets the number of lights in use to 0.
int LightsInit(Light* lights, int32_t count);
// The number of lights in use, as last set by LightsInit.
int32_t LightsInUse();
// Fills light `index` (0..9); a non-null pos goes to pos and tpos, a non-null dir is
// normalised into dir and tdir, null ones leave those fields alone. Returns index, or
// 0 when index is out of range or lights is null.
int32_t LightInit(Light* lights, int32_t index, uint32_t state, uint32_t attr, uint32_t ambient,
                  uint32_t diffuse, uint32_t specular, const Vec3* pos, const Vec3* dir, float kc,
                  float kl, float kq, float spotInner, float spotOuter, float pf);

constexpr int kLightsTransformInPlace = 0;  // pos, dir moved in place
constexpr int kLightsTransformTrans = 1;    // tpos, tdir moved in place
constexpr int kLightsTransformToTrans = 2;  // tpos, tdir = pos, dir moved
constexpr int kLightsCopyToTrans = 3;       // tpos, tdir = pos, dir
// Positions are multiplied by m, directions by m without its translation.
int LightsTransform(Light* lights, int32_t count, const Mat4& m, int select);

// Lights every processable, not yet lit record once (sets kPolyLit): flat triangles get
// litColor[0], Gouraud ones all three, others their base colour. Runs in camera space
// with lights moved by LightsTransform; colours are packed with ColourPacker. Only the
// first kMaxLights lights are looked at.
int LightRenderList(RenderList* list, const Camera* cam, const Light* lights, int32_t count);

// A double in four lanes, so that the lighting loops load it at once whatever their width.
struct alignas(32) LightValue {
    double lanes[4];
};

// A switched-on light reduced to what the lighting loops need.
struct LightTerm {
    uint32_t kind;          // its first kind bit
    uint32_t colour[3];     // red, green, blue: ambient colour for ambient lights, else diffuse
    LightValue channel[3];  // the same as doubles, times 2^-15
    LightValue px, py, pz;  // camera-space position
    LightValue dx, dy, dz;  // camera-space direction
    LightValue kc, kl, kq;
    int64_t power;  // cone exponent
    bool inRange;   // position within the range where distances are worked out in lanes
};

// The first kMaxLights of `count` lights as LightRenderList sees them: the switched-on
// ones by kind, from their camera-space fields. Made once a frame, after LightsTransform.
struct LightSet {
    LightTerm terms[kMaxLights];  // in table order
    int32_t count;
    const LightTerm* ambient[kMaxLights];
    const LightTerm* infinite[kMaxLights];
    const LightTerm* distant[kMaxLights];  // point and plain spot
    const LightTerm* cone[kMaxLights];
    int32_t ambientCount, infiniteCount, distantCount, coneCount;
    bool packs565;  // ColourPacker is the 5.6.5 packer, written out in the loops
};
void LightSetMake(const Light* lights, int32_t count, LightSet* set);

// The stage: LightRenderList for records [from, to) of the list only, with the lights made
// ready by LightSetMake.
void LightRenderListRange(RenderList* list, const LightSet& set, int32_t from, int32_t to);
