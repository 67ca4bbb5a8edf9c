// The 44 members of the filler family: one instantiation of the filler template each,
// and the table that lists them with their build-time choices.
#include "raster/filler.h"

#include <utility>

#include "raster/fill_triangle.h"
#include "raster/filler_members.h"

using namespace raster_detail;

using M1 = FillerMemberType<1>;
using M2 = FillerMemberType<2>;
using M3 = FillerMemberType<3>;
using M4 = FillerMemberType<4>;
using M5 = FillerMemberType<5>;
using M6 = FillerMemberType<6>;
using M7 = FillerMemberType<7>;
using M8 = FillerMemberType<8>;
using M9 = FillerMemberType<9>;
using M10 = FillerMemberType<10>;
using M11 = FillerMemberType<11>;
using M12 = FillerMemberType<12>;
using M13 = FillerMemberType<13>;
using M14 = FillerMemberType<14>;
using M15 = FillerMemberType<15>;
using M16 = FillerMemberType<16>;
using M17 = FillerMemberType<17>;
using M18 = FillerMemberType<18>;
using M19 = FillerMemberType<19>;
using M20 = FillerMemberType<20>;
using M21 = FillerMemberType<21>;
using M22 = FillerMemberType<22>;
using M23 = FillerMemberType<23>;
using M24 = FillerMemberType<24>;
using M25 = FillerMemberType<25>;
using M26 = FillerMemberType<26>;
using M27 = FillerMemberType<27>;
using M28 = FillerMemberType<28>;
using M29 = FillerMemberType<29>;
using M30 = FillerMemberType<30>;
using M31 = FillerMemberType<31>;
using M32 = FillerMemberType<32>;
using M33 = FillerMemberType<33>;
using M34 = FillerMemberType<34>;
using M35 = FillerMemberType<35>;
using M36 = FillerMemberType<36>;
using M37 = FillerMemberType<37>;
using M38 = FillerMemberType<38>;
using M39 = FillerMemberType<39>;
using M40 = FillerMemberType<40>;
using M41 = FillerMemberType<41>;
using M42 = FillerMemberType<42>;
using M43 = FillerMemberType<43>;
using M44 = FillerMemberType<44>;

void FillTexturedLess(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M1>(t, f, fp, z, zp, 0);
}
void FillBilinearLess(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M2>(t, f, fp, z, zp, 0);
}
void FillTintLess(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M3>(t, f, fp, z, zp, 0);
}
void FillLitLess(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M4>(t, f, fp, z, zp, 0);
}
void FillGouraudLess(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M5>(t, f, fp, z, zp, 0);
}
void FillFlat(RasterTri* t, uint16_t* f, int32_t fp) {
    FillRecord<M6>(t, f, fp, nullptr, 0, 0);
}
void FillTextured(RasterTri* t, uint16_t* f, int32_t fp) {
    FillRecord<M7>(t, f, fp, nullptr, 0, 0);
}
void FillBilinear(RasterTri* t, uint16_t* f, int32_t fp) {
    FillRecord<M8>(t, f, fp, nullptr, 0, 0);
}
void FillTint(RasterTri* t, uint16_t* f, int32_t fp) {
    FillRecord<M9>(t, f, fp, nullptr, 0, 0);
}
void FillLit(RasterTri* t, uint16_t* f, int32_t fp) {
    FillRecord<M10>(t, f, fp, nullptr, 0, 0);
}
void FillGouraud(RasterTri* t, uint16_t* f, int32_t fp) {
    FillRecord<M11>(t, f, fp, nullptr, 0, 0);
}
void FillFlatBlend(RasterTri* t, uint16_t* f, int32_t fp, int32_t level) {
    FillRecord<M12>(t, f, fp, nullptr, 0, level);
}
void FillTexturedBlend(RasterTri* t, uint16_t* f, int32_t fp, int32_t level) {
    FillRecord<M13>(t, f, fp, nullptr, 0, level);
}
void FillTintBlend(RasterTri* t, uint16_t* f, int32_t fp, int32_t level) {
    FillRecord<M14>(t, f, fp, nullptr, 0, level);
}
void FillLitBlend(RasterTri* t, uint16_t* f, int32_t fp, int32_t level) {
    FillRecord<M15>(t, f, fp, nullptr, 0, level);
}
void FillGouraudBlend(RasterTri* t, uint16_t* f, int32_t fp, int32_t level) {
    FillRecord<M16>(t, f, fp, nullptr, 0, level);
}
void FillFlatLessBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                       int32_t level) {
    FillRecord<M17>(t, f, fp, z, zp, level);
}
void FillTexturedLessBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                           int32_t level) {
    FillRecord<M18>(t, f, fp, z, zp, level);
}
void FillTintLessBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                       int32_t level) {
    FillRecord<M19>(t, f, fp, z, zp, level);
}
void FillLitLessBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                      int32_t level) {
    FillRecord<M20>(t, f, fp, z, zp, level);
}
void FillGouraudLessBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                          int32_t level) {
    FillRecord<M21>(t, f, fp, z, zp, level);
}
void FillTexturedGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M22>(t, f, fp, z, zp, 0);
}
void FillBilinearGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M23>(t, f, fp, z, zp, 0);
}
void FillTexturedPixelGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M24>(t, f, fp, z, zp, 0);
}
void FillTexturedSpanGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M25>(t, f, fp, z, zp, 0);
}
void FillTintPixelGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M26>(t, f, fp, z, zp, 0);
}
void FillTintSpanGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M27>(t, f, fp, z, zp, 0);
}
void FillFlatGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M28>(t, f, fp, z, zp, 0);
}
void FillTintGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M29>(t, f, fp, z, zp, 0);
}
void FillLitGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M30>(t, f, fp, z, zp, 0);
}
void FillGouraudGreater(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M31>(t, f, fp, z, zp, 0);
}
void FillFlatGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                          int32_t level) {
    FillRecord<M32>(t, f, fp, z, zp, level);
}
void FillTexturedGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                              int32_t level) {
    FillRecord<M33>(t, f, fp, z, zp, level);
}
void FillTexturedPixelGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                                   int32_t level) {
    FillRecord<M34>(t, f, fp, z, zp, level);
}
void FillTexturedSpanGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                                  int32_t level) {
    FillRecord<M35>(t, f, fp, z, zp, level);
}
void FillTintPixelGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                               int32_t level) {
    FillRecord<M36>(t, f, fp, z, zp, level);
}
void FillTintSpanGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                              int32_t level) {
    FillRecord<M37>(t, f, fp, z, zp, level);
}
void FillTintGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                          int32_t level) {
    FillRecord<M38>(t, f, fp, z, zp, level);
}
void FillLitGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                         int32_t level) {
    FillRecord<M39>(t, f, fp, z, zp, level);
}
void FillGouraudGreaterBlend(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp,
                             int32_t level) {
    FillRecord<M40>(t, f, fp, z, zp, level);
}
void FillTexturedWrite(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M41>(t, f, fp, z, zp, 0);
}
void FillTintWrite(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M42>(t, f, fp, z, zp, 0);
}
void FillGouraudWrite(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M43>(t, f, fp, z, zp, 0);
}
void FillFlatLess(RasterTri* t, uint16_t* f, int32_t fp, uint32_t* z, int32_t zp) {
    FillRecord<M44>(t, f, fp, z, zp, 0);
}

// A table entry whose properties come from the same build-time choices as the function.
template <class M>
static constexpr FillerMember Entry(int32_t number, const char* name, FillerFn fill,
                                    FillerBlendFn fillBlend, FillerDepthFn fillDepth,
                                    FillerDepthBlendFn fillDepthBlend) {
    return {number, name,      M::kDepth, M::kShade,      M::kCoords,  M::kBlend ? 1 : 0,
            fill,   fillBlend, fillDepth, fillDepthBlend, FillPlain<M>};
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

// The draw forms built for the wide lanes, where the build has them.
template <class M>
constexpr FillerAnyFn WideDraw() {
    if constexpr (kLanesWideBuilt) {
        return FillWide<M>;
    } else {
        return FillPlain<M>;
    }
}

template <std::size_t... I>
struct DrawTables {
    static constexpr FillerAnyFn kPlain[] = {
        FillPlain<std::tuple_element_t<I, FillerMemberTypes>>...};
    static constexpr FillerAnyFn kWide[] = {
        WideDraw<std::tuple_element_t<I, FillerMemberTypes>>()...};
};
template <std::size_t... I>
constexpr DrawTables<I...> DrawTablesOf(std::index_sequence<I...>) {
    return {};
}
using Draws = decltype(DrawTablesOf(std::make_index_sequence<kFillerCount>{}));

const FillerAnyFn* FillerDraws() {
    return LanesWideInUse() ? Draws::kWide : Draws::kPlain;
}

void RasterDrawFromTri(const RasterTri* tri, RasterDraw* draw) {
    for (int i = 0; i < 3; ++i) {
        const Vertex3D& v = tri->tvlist[i];
        draw->x[i] = v.x, draw->y[i] = v.y, draw->z[i] = v.z, draw->u[i] = v.u, draw->v[i] = v.v;
        draw->litColor[i] = tri->litColor[i];
    }
    draw->texture = tri->texture;
}
