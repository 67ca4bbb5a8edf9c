// The triangle filler family: 44 scan-converting fillers, one per combination of
// depth handling, shading and texturing, texture coordinates and blending.
//
// Each member draws one triangle from the screen x, y, depth, u and v of its three
// vertices, their 5.6.5 lit colours (the first is the flat colour) and the texture, into
// the FrameBuffer (and the ZBuffer, one 32-bit word per pixel) inside the clip rectangle,
// never touching row maxY or column maxX. A member called by name reads those words from
// a RasterTri's tvlist and litColor and writes the snapped screen x and y back into the
// record; the render pass hands its prepared triangles (RasterDraw) to the members' `draw`
// form, which reads them as they are and writes nothing back.
#pragma once
#include <cstdint>

#include "display/display.h"
#include "raster/raster_tri.h"

// The words of one triangle that a filler draws from, side by side.
struct RasterDraw {
    float x[3], y[3];        // screen position in pixels, not yet snapped
    float z[3];              // depth
    float u[3], v[3];        // texture coordinates in texels
    uint32_t litColor[3];    // 5.6.5; litColor[0] is the flat colour
    const Texture* texture;  // the level to sample
};

// The drawing words of a record: its tvlist positions, u and v, lit colours and texture.
void RasterDrawFromTri(const RasterTri* tri, RasterDraw* draw);

// What the ZBuffer is used for.
enum class FillerDepth : int32_t {
    kNone,       // neither read nor written
    kLess,       // drawn where the 16.16 depth is below the stored word, which is then replaced
    kGreater,    // walks W = 2^28 / depth; drawn where W is above the stored word
    kWriteOnly,  // no test; every drawn pixel stores its depth
};

// What colour a pixel gets.
enum class FillerShade : int32_t {
    kFlat,      // litColor[0]
    kTextured,  // the texel
    kBilinear,  // four texels weighted by the fractions of u and v
    kTint,      // the texel times litColor[0], channel by channel
    kLit,       // the texel times the interpolated vertex colours
    kGouraud,   // the interpolated vertex colours
};

// How texture coordinates are walked.
enum class FillerCoords : int32_t {
    kNone,        // untextured
    kAffine,      // u and v linearly in 16.16
    kPerspPixel,  // u / depth, v / depth and 1 / depth linearly, two divisions per pixel
    kPerspSpan,   // exact at both span ends, linear between
};

// The four calling forms.
using FillerFn = void (*)(RasterTri* tri, uint16_t* frame, int32_t framePitchBytes);
using FillerBlendFn = void (*)(RasterTri* tri, uint16_t* frame, int32_t framePitchBytes,
                               int32_t level);
using FillerDepthFn = void (*)(RasterTri* tri, uint16_t* frame, int32_t framePitchBytes,
                               uint32_t* depth, int32_t depthPitchBytes);
using FillerDepthBlendFn = void (*)(RasterTri* tri, uint16_t* frame, int32_t framePitchBytes,
                                    uint32_t* depth, int32_t depthPitchBytes, int32_t level);

// Any member drawing a prepared triangle, with all the arguments and the clip rectangle
// given rather than gClipRectangle; a member ignores the arguments its calling form does
// not take.
using FillerAnyFn = void (*)(const RasterDraw& tri, uint16_t* frame, int32_t framePitchBytes,
                             uint32_t* depth, int32_t depthPitchBytes, int32_t level,
                             const ClipRectangle& clip);

// One member of the family; exactly one of the four calling forms is set, and `draw`.
struct FillerMember {
    int32_t number;  // 1..44
    const char* name;
    FillerDepth depth;
    FillerShade shade;
    FillerCoords coords;
    int32_t blend;  // 1: takes the blend level L (0..7) and draws table[L][s] + table[7-L][d]
    FillerFn fill;
    FillerBlendFn fillBlend;
    FillerDepthFn fillDepth;
    FillerDepthBlendFn fillDepthBlend;
    FillerAnyFn draw;
};

constexpr int32_t kFillerCount = 44;

// Member n is FillerMembers[n - 1].
extern const FillerMember FillerMembers[kFillerCount];

// The members' draw forms as the render pass runs them, by member number - 1: FillerMembers'
// own, or the same members built for the wide lanes while those are in use
// (raster/lanes.h). Each gives the same pixels as the other.
const FillerAnyFn* FillerDraws();

// The members by number. Depth: (none), Less, Greater, Write. Blend: Blend suffix.
void FillTexturedLess(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                   // 1
void FillBilinearLess(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                   // 2
void FillTintLess(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                       // 3
void FillLitLess(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                        // 4
void FillGouraudLess(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                    // 5
void FillFlat(RasterTri*, uint16_t*, int32_t);                                               // 6
void FillTextured(RasterTri*, uint16_t*, int32_t);                                           // 7
void FillBilinear(RasterTri*, uint16_t*, int32_t);                                           // 8
void FillTint(RasterTri*, uint16_t*, int32_t);                                               // 9
void FillLit(RasterTri*, uint16_t*, int32_t);                                                // 10
void FillGouraud(RasterTri*, uint16_t*, int32_t);                                            // 11
void FillFlatBlend(RasterTri*, uint16_t*, int32_t, int32_t);                                 // 12
void FillTexturedBlend(RasterTri*, uint16_t*, int32_t, int32_t);                             // 13
void FillTintBlend(RasterTri*, uint16_t*, int32_t, int32_t);                                 // 14
void FillLitBlend(RasterTri*, uint16_t*, int32_t, int32_t);                                  // 15
void FillGouraudBlend(RasterTri*, uint16_t*, int32_t, int32_t);                              // 16
void FillFlatLessBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t, int32_t);         // 17
void FillTexturedLessBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t, int32_t);     // 18
void FillTintLessBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t, int32_t);         // 19
void FillLitLessBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t, int32_t);          // 20
void FillGouraudLessBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t, int32_t);      // 21
void FillTexturedGreater(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                // 22
void FillBilinearGreater(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                // 23
void FillTexturedPixelGreater(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);           // 24
void FillTexturedSpanGreater(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);            // 25
void FillTintPixelGreater(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);               // 26
void FillTintSpanGreater(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                // 27
void FillFlatGreater(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                    // 28
void FillTintGreater(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                    // 29
void FillLitGreater(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                     // 30
void FillGouraudGreater(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                 // 31
void FillFlatGreaterBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t, int32_t);      // 32
void FillTexturedGreaterBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t, int32_t);  // 33
void FillTexturedPixelGreaterBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t,
                                   int32_t);  // 34
void FillTexturedSpanGreaterBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t,
                                  int32_t);                                                   // 35
void FillTintPixelGreaterBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t, int32_t);  // 36
void FillTintSpanGreaterBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t, int32_t);   // 37
void FillTintGreaterBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t, int32_t);       // 38
void FillLitGreaterBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t, int32_t);        // 39
void FillGouraudGreaterBlend(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t, int32_t);    // 40
void FillTexturedWrite(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                   // 41
void FillTintWrite(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                       // 42
void FillGouraudWrite(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                    // 43
void FillFlatLess(RasterTri*, uint16_t*, int32_t, uint32_t*, int32_t);                        // 44
