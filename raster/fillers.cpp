// The 44 members of the filler family: one instantiation of the filler template each,
// and the table that lists them with their build-time choices.
#include "raster/fill_triangle.h"
#include "raster/filler.h"

using namespace raster_detail;
using D = FillerDepth;
using S = FillerShade;
using C = FillerCoords;

using M1 = Member<D::kLess, S::kTextured, C::kAffine, false>;
using M2 = Member<D::kLess, S::kBilinear, C::kAffine, false>;
using M3 = Member<D::kLess, S::kTint, C::kAffine, false>;
using M4 = Member<D::kLess, S::kLit, C::kAffine, false>;
using M5 = Member<D::kLess, S::kGouraud, C::kNone, false>;
using M6 = Member<D::kNone, S::kFlat, C::kNone, false>;
using M7 = Member<D::kNone, S::kTextured, C::kAffine, false>;
using M8 = Member<D::kNone, S::kBilinear, C::kAffine, false>;
using M9 = Member<D::kNone, S::kTint, C::kAffine, false>;
using M10 = Member<D::kNone, S::kLit, C::kAffine, false>;
using M11 = Member<D::kNone, S::kGouraud, C::kNone, false>;
using M12 = Member<D::kNone, S::kFlat, C::kNone, true>;
using M13 = Member<D::kNone, S::kTextured, C::kAffine, true>;
using M14 = Member<D::kNone, S::kTint, C::kAffine, true>;
using M15 = Member<D::kNone, S::kLit, C::kAffine, true>;
using M16 = Member<D::kNone, S::kGouraud, C::kNone, true>;
using M17 = Member<D::kLess, S::kFlat, C::kNone, true>;
using M18 = Member<D::kLess, S::kTextured, C::kAffine, true>;
using M19 = Member<D::kLess, S::kTint, C::kAffine, true>;
using M20 = Member<D::kLess, S::kLit, C::kAffine, true>;
using M21 = Member<D::kLess, S::kGouraud, C::kNone, true>;
using M22 = Member<D::kGreater, S::kTextured, C::kAffine, false>;
using M23 = Member<D::kGreater, S::kBilinear, C::kAffine, false>;
using M24 = Member<D::kGreater, S::kTextured, C::kPerspPixel, false>;
using M25 = Member<D::kGreater, S::kTextured, C::kPerspSpan, false>;
using M26 = Member<D::kGreater, S::kTint, C::kPerspPixel, false>;
using M27 = Member<D::kGreater, S::kTint, C::kPerspSpan, false>;
using M28 = Member<D::kGreater, S::kFlat, C::kNone, false>;
using M29 = Member<D::kGreater, S::kTint, C::kAffine, false>;
using M30 = Member<D::kGreater, S::kLit, C::kAffine, false>;
using M31 = Member<D::kGreater, S::kGouraud, C::kNone, false>;
using M32 = Member<D::kGreater, S::kFlat, C::kNone, true>;
using M33 = Member<D::kGreater, S::kTextured, C::kAffine, true>;
using M34 = Member<D::kGreater, S::kTextured, C::kPerspPixel, true>;
using M35 = Member<D::kGreater, S::kTextured, C::kPerspSpan, true>;
using M36 = Member<D::kGreater, S::kTint, C::kPerspPixel, true>;
using M37 = Member<D::kGreater, S::kTint, C::kPerspSpan, true>;
using M38 = Member<D::kGreater, S::kTint, C::kAffine, true>;
using M39 = Member<D::kGreater, S::kLit, C::kAffine, true>;
using M40 = Member<D::kGreater, S::kGouraud, C::kNone, true>;
using M41 = Member<D::kWriteOnly, S::kTextured, C::kAffine, false>;
using M42 = Member<D::kWriteOnly, S::kTint, C::kAffine, false>;
using M43 = Member<D::kWriteOnly, S::kGouraud, C::kNone, false>;
using M44 = Member<D::kLess, S::kFlat, C::kNone, false, true>;

void FillTexturedLess(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M1>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillBilinearLess(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M2>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillTintLess(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M3>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillLitLess(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M4>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillGouraudLess(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M5>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillFlat(RasterTri* t, uint16_t* f, int32_t fp) {
    FillTriangle<M6>(t, f, fp, nullptr, 0, 0, gClipRectangle);
}
void FillTextured(RasterTri* t, uint16_t* f, int32_t fp) {
    FillTriangle<M7>(t, f, fp, nullptr, 0, 0, gClipRectangle);
}
void FillBilinear(RasterTri* t, uint16_t* f, int32_t fp) {
    FillTriangle<M8>(t, f, fp, nullptr, 0, 0, gClipRectangle);
}
void FillTint(RasterTri* t, uint16_t* f, int32_t fp) {
    FillTriangle<M9>(t, f, fp, nullptr, 0, 0, gClipRectangle);
}
void FillLit(RasterTri* t, uint16_t* f, int32_t fp) {
    FillTriangle<M10>(t, f, fp, nullptr, 0, 0, gClipRectangle);
}
void FillGouraud(RasterTri* t, uint16_t* f, int32_t fp) {
    FillTriangle<M11>(t, f, fp, nullptr, 0, 0, gClipRectangle);
}
void FillFlatBlend(RasterTri* t, uint16_t* f, int32_t fp, int32_t level) {
    FillTriangle<M12>(t, f, fp, nullptr, 0, level, gClipRectangle);
}
void FillTexturedBlend(RasterTri* t, uint16_t* f, int32_t fp, int32_t level) {
    FillTriangle<M13>(t, f, fp, nullptr, 0, level, gClipRectangle);
}
void FillTintBlend(RasterTri* t, uint16_t* f, int32_t fp, int32_t level) {
    FillTriangle<M14>(t, f, fp, nullptr, 0, level, gClipRectangle);
}
void FillLitBlend(RasterTri* t, uint16_t* f, int32_t fp, int32_t level) {
    FillTriangle<M15>(t, f, fp, nullptr, 0, level, gClipRectangle);
}
void FillGouraudBlend(RasterTri* t, uint16_t* f, int32_t fp, int32_t level) {
    FillTriangle<M16>(t, f, fp, nullptr, 0, level, gClipRectangle);
}
void FillFlatLessBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                       int32_t level) {
    FillTriangle<M17>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillTexturedLessBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                           int32_t level) {
    FillTriangle<M18>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillTintLessBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                       int32_t level) {
    FillTriangle<M19>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillLitLessBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                      int32_t level) {
    FillTriangle<M20>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillGouraudLessBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                          int32_t level) {
    FillTriangle<M21>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillTexturedGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M22>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillBilinearGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M23>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillTexturedPixelGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M24>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillTexturedSpanGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M25>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillTintPixelGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M26>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillTintSpanGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M27>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillFlatGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M28>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillTintGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M29>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillLitGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M30>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillGouraudGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M31>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillFlatGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                          int32_t level) {
    FillTriangle<M32>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillTexturedGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                              int32_t level) {
    FillTriangle<M33>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillTexturedPixelGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                                   int32_t level) {
    FillTriangle<M34>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillTexturedSpanGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                                  int32_t level) {
    FillTriangle<M35>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillTintPixelGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                               int32_t level) {
    FillTriangle<M36>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillTintSpanGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                              int32_t level) {
    FillTriangle<M37>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillTintGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                          int32_t level) {
    FillTriangle<M38>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillLitGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                         int32_t level) {
    FillTriangle<M39>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillGouraudGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                             int32_t level) {
    FillTriangle<M40>(t, f, fp, z, zp, level, gClipRectangle);
}
void FillTexturedWrite(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M41>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillTintWrite(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M42>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillGouraudWrite(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M43>(t, f, fp, z, zp, 0, gClipRectangle);
}
void FillFlatLess(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillTriangle<M44>(t, f, fp, z, zp, 0, gClipRectangle);
}

// A table entry whose properties come from the same build-time choices as the function.
template <class M>
static constexpr FillerMember Entry(int32_t number, const char* name, FillerFn fill,
                                    FillerBlendFn fillBlend, FillerDepthFn fillDepth,
                                    FillerDepthBlendFn fillDepthBlend) {
    return {number, name,      M::kDepth, M::kShade,      M::kCoords,     M::kBlend ? 1 : 0,
            fill,   fillBlend, fillDepth, fillDepthBlend, FillTriangle<M>};
}

const FillerMember FillerMembers[kFillerCount] = {
    Entry<M1>(1, "FillTexturedLess", nullptr, nullptr, FillTexturedLess, nullptr),
    Entry<M2>(2, "FillBilinearLess", nullptr, nullptr, FillBilinearLess, nullptr),
    Entry<M3>(3, "FillTintLess", nullptr, nullptr, FillTintLess, nullptr),
    Entry<M4>(4, "FillLitLess", nullptr, nullptr, FillLitLess, nullptr),
    Entry<M5>(5, "FillGouraudLess", nullptr, nullptr, FillGouraudLess, nullptr),
    Entry<M6>(6, "FillFlat", FillFlat, nullptr, nullptr, nullptr),
    Entry<M7>(7, "FillTextured", FillTextured, nullptr, nullptr, nullptr),
    Entry<M8>(8, "FillBilinear", FillBilinear, nullptr, nullptr, nullptr),
    Entry<M9>(9, "FillTint", FillTint, nullptr, nullptr, nullptr),
    Entry<M10>(10, "FillLit", FillLit, nullptr, nullptr, nullptr),
    Entry<M11>(11, "FillGouraud", FillGouraud, nullptr, nullptr, nullptr),
    Entry<M12>(12, "FillFlatBlend", nullptr, FillFlatBlend, nullptr, nullptr),
    Entry<M13>(13, "FillTexturedBlend", nullptr, FillTexturedBlend, nullptr, nullptr),
    Entry<M14>(14, "FillTintBlend", nullptr, FillTintBlend, nullptr, nullptr),
    Entry<M15>(15, "FillLitBlend", nullptr, FillLitBlend, nullptr, nullptr),
    Entry<M16>(16, "FillGouraudBlend", nullptr, FillGouraudBlend, nullptr, nullptr),
    Entry<M17>(17, "FillFlatLessBlend", nullptr, nullptr, nullptr, FillFlatLessBlend),
    Entry<M18>(18, "FillTexturedLessBlend", nullptr, nullptr, nullptr, FillTexturedLessBlend),
    Entry<M19>(19, "FillTintLessBlend", nullptr, nullptr, nullptr, FillTintLessBlend),
    Entry<M20>(20, "FillLitLessBlend", nullptr, nullptr, nullptr, FillLitLessBlend),
    Entry<M21>(21, "FillGouraudLessBlend", nullptr, nullptr, nullptr, FillGouraudLessBlend),
    Entry<M22>(22, "FillTexturedGreater", nullptr, nullptr, FillTexturedGreater, nullptr),
    Entry<M23>(23, "FillBilinearGreater", nullptr, nullptr, FillBilinearGreater, nullptr),
    Entry<M24>(24, "FillTexturedPixelGreater", nullptr, nullptr, FillTexturedPixelGreater, nullptr),
    Entry<M25>(25, "FillTexturedSpanGreater", nullptr, nullptr, FillTexturedSpanGreater, nullptr),
    Entry<M26>(26, "FillTintPixelGreater", nullptr, nullptr, FillTintPixelGreater, nullptr),
    Entry<M27>(27, "FillTintSpanGreater", nullptr, nullptr, FillTintSpanGreater, nullptr),
    Entry<M28>(28, "FillFlatGreater", nullptr, nullptr, FillFlatGreater, nullptr),
    Entry<M29>(29, "FillTintGreater", nullptr, nullptr, FillTintGreater, nullptr),
    Entry<M30>(30, "FillLitGreater", nullptr, nullptr, FillLitGreater, nullptr),
    Entry<M31>(31, "FillGouraudGreater", nullptr, nullptr, FillGouraudGreater, nullptr),
    Entry<M32>(32, "FillFlatGreaterBlend", nullptr, nullptr, nullptr, FillFlatGreaterBlend),
    Entry<M33>(33, "FillTexturedGreaterBlend", nullptr, nullptr, nullptr, FillTexturedGreaterBlend),
    Entry<M34>(34, "FillTexturedPixelGreaterBlend", nullptr, nullptr, nullptr,
               FillTexturedPixelGreaterBlend),
    Entry<M35>(35, "FillTexturedSpanGreaterBlend", nullptr, nullptr, nullptr,
               FillTexturedSpanGreaterBlend),
    Entry<M36>(36, "FillTintPixelGreaterBlend", nullptr, nullptr, nullptr,
               FillTintPixelGreaterBlend),
    Entry<M37>(37, "FillTintSpanGreaterBlend", nullptr, nullptr, nullptr, FillTintSpanGreaterBlend),
    Entry<M38>(38, "FillTintGreaterBlend", nullptr, nullptr, nullptr, FillTintGreaterBlend),
    Entry<M39>(39, "FillLitGreaterBlend", nullptr, nullptr, nullptr, FillLitGreaterBlend),
    Entry<M40>(40, "FillGouraudGreaterBlend", nullptr, nullptr, nullptr, FillGouraudGreaterBlend),
    Entry<M41>(41, "FillTexturedWrite", nullptr, nullptr, FillTexturedWrite, nullptr),
    Entry<M42>(42, "FillTintWrite", nullptr, nullptr, FillTintWrite, nullptr),
    Entry<M43>(43, "FillGouraudWrite", nullptr, nullptr, FillGouraudWrite, nullptr),
    Entry<M44>(44, "FillFlatLess", nullptr, nullptr, FillFlatLess, nullptr),
};

void FillerDraw(int32_t number, RasterTri* tri, uint16_t* frame, int32_t framePitchBytes,
                uint32_t* depth, int32_t depthPitchBytes, int32_t level) {
    FillerDrawClipped(number, tri, frame, framePitchBytes, depth, depthPitchBytes, level,
                      gClipRectangle);
}

void FillerDrawClipped(int32_t number, RasterTri* tri, uint16_t* frame, int32_t framePitchBytes,
                       uint32_t* depth, int32_t depthPitchBytes, int32_t level,
                       const ClipRectangle& clip) {
    if (number < 1 || number > kFillerCount) return;
    FillerMembers[number - 1].draw(tri, frame, framePitchBytes, depth, depthPitchBytes, level,
                                   clip);
}
