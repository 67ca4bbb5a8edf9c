// The filler family's members as types, in member order: member n is FillerMemberType<n>.
// Internal to raster/ and its tests.
#pragma once
#include <tuple>

#include "raster/fill_triangle.h"

namespace raster_detail {

using D = FillerDepth;
using S = FillerShade;
using C = FillerCoords;

// clang-format off
using FillerMemberTypes = std::tuple<
    Member<D::kLess, S::kTextured, C::kAffine, false>,
    Member<D::kLess, S::kBilinear, C::kAffine, false>,
    Member<D::kLess, S::kTint, C::kAffine, false>,
    Member<D::kLess, S::kLit, C::kAffine, false>,
    Member<D::kLess, S::kGouraud, C::kNone, false>,
    Member<D::kNone, S::kFlat, C::kNone, false>,
    Member<D::kNone, S::kTextured, C::kAffine, false>,
    Member<D::kNone, S::kBilinear, C::kAffine, false>,
    Member<D::kNone, S::kTint, C::kAffine, false>,
    Member<D::kNone, S::kLit, C::kAffine, false>,
    Member<D::kNone, S::kGouraud, C::kNone, false>,
    Member<D::kNone, S::kFlat, C::kNone, true>,
    Member<D::kNone, S::kTextured, C::kAffine, true>,
    Member<D::kNone, S::kTint, C::kAffine, true>,
    Member<D::kNone, S::kLit, C::kAffine, true>,
    Member<D::kNone, S::kGouraud, C::kNone, true>,
    Member<D::kLess, S::kFlat, C::kNone, true>,
    Member<D::kLess, S::kTextured, C::kAffine, true>,
    Member<D::kLess, S::kTint, C::kAffine, true>,
    Member<D::kLess, S::kLit, C::kAffine, true>,
    Member<D::kLess, S::kGouraud, C::kNone, true>,
    Member<D::kGreater, S::kTextured, C::kAffine, false>,
    Member<D::kGreater, S::kBilinear, C::kAffine, false>,
    Member<D::kGreater, S::kTextured, C::kPerspPixel, false>,
    Member<D::kGreater, S::kTextured, C::kPerspSpan, false>,
    Member<D::kGreater, S::kTint, C::kPerspPixel, false>,
    Member<D::kGreater, S::kTint, C::kPerspSpan, false>,
    Member<D::kGreater, S::kFlat, C::kNone, false>,
    Member<D::kGreater, S::kTint, C::kAffine, false>,
    Member<D::kGreater, S::kLit, C::kAffine, false>,
    Member<D::kGreater, S::kGouraud, C::kNone, false>,
    Member<D::kGreater, S::kFlat, C::kNone, true>,
    Member<D::kGreater, S::kTextured, C::kAffine, true>,
    Member<D::kGreater, S::kTextured, C::kPerspPixel, true>,
    Member<D::kGreater, S::kTextured, C::kPerspSpan, true>,
    Member<D::kGreater, S::kTint, C::kPerspPixel, true>,
    Member<D::kGreater, S::kTint, C::kPerspSpan, true>,
    Member<D::kGreater, S::kTint, C::kAffine, true>,
    Member<D::kGreater, S::kLit, C::kAffine, true>,
    Member<D::kGreater, S::kGouraud, C::kNone, true>,
    Member<D::kWriteOnly, S::kTextured, C::kAffine, false>,
    Member<D::kWriteOnly, S::kTint, C::kAffine, false>,
    Member<D::kWriteOnly, S::kGouraud, C::kNone, false>,
    Member<D::kLess, S::kFlat, C::kNone, false, true>>;
// clang-format on

template <int N>
using FillerMemberType = std::tuple_element_t<N - 1, FillerMemberTypes>;

}  // namespace raster_detail
