#pragma once

#include <cstdint>
#include <limits>
#include <polyclipping/clipper.hpp>

namespace Quorvex {

// Two fixed-point scalings live side by side and are not interchangeable:
//  - a Clipper object multiplies in float by its own `multiple` and truncates, and divides
//    in float on the way back (24 significant bits survive the product);
//  - the stateless region functions multiply in double by the constant 1e7 and round the
//    quotient to float only once on the way back.
// Results that slicing compares across runs depend on these exact steps.

// The factor of the stateless functions; it does not follow Clipper::multiple.
constexpr double kStatelessFixedScale = 1e7;

namespace detail {
// 2^63 is exact in float and double. A product at or beyond it (or NaN) has no integer
// value; it is pinned to the largest magnitude so that the engine's own range check
// refuses it with its "Coordinate outside allowed range" instead of reading garbage.
template <class F>
inline ClipperLib::cInt truncate_to_cint_saturated(F product) {
  constexpr F kTwo63 = static_cast<F>(9223372036854775808.0);
  constexpr ClipperLib::cInt kMax = std::numeric_limits<ClipperLib::cInt>::max();
  if (!(product < kTwo63)) return kMax;           // also NaN
  if (!(product > -kTwo63)) return -kMax;         // keeps the value negatable
  return static_cast<ClipperLib::cInt>(product);  // truncates toward zero
}
}  // namespace detail

// Float product of the coordinate and `multiple`, truncated toward zero.
inline ClipperLib::cInt scale_to_fixed_f32(float coordinate, float multiple) {
  const float product = coordinate * multiple;
  return detail::truncate_to_cint_saturated(product);
}

// The integer rounded to float by the conversion, then divided by `multiple` in float.
inline float scale_from_fixed_f32(ClipperLib::cInt fixed, float multiple) {
  return static_cast<float>(fixed) / multiple;
}

// The coordinate widened to double, multiplied by 1e7 in double, truncated toward zero.
inline ClipperLib::cInt scale_to_fixed_f64(float coordinate) {
  const double product = static_cast<double>(coordinate) * kStatelessFixedScale;
  return detail::truncate_to_cint_saturated(product);
}

// The integer converted to double, divided by 1e7 in double, the quotient rounded to float.
inline float scale_from_fixed_f64(ClipperLib::cInt fixed) {
  return static_cast<float>(static_cast<double>(fixed) / kStatelessFixedScale);
}

}  // namespace Quorvex
