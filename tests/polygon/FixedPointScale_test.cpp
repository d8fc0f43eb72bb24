#include "quorvex/polygon/FixedPointScale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Quorvex {
namespace {

constexpr ClipperLib::cInt kMax = std::numeric_limits<ClipperLib::cInt>::max();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// Truncation toward zero of the float product (above 2^24 it has no odd integers); at or
// beyond 2^63 and for NaN the value is pinned to the largest magnitude, which the engine
// then refuses. The double product keeps every bit of the float.
TEST(FixedPointScale, ToFixed) {
  const struct {
    float coordinate, multiple;
    ClipperLib::cInt f32, f64;  // f64 only for the multiple 1e7
  } rows[] = {
      {2.9e-7f, 1e7f, 2, 2},  // float product 2.9000001: rounding would give 3
      {-1.5e-7f, 1e7f, -1, -1},
      {std::nextafter(1.7f, 2.0f), 1e7f, 17000002, 17000001},
      {1.70000052f, 1e7f, 17000006, 17000005},
      {1.25f, 4.0f, 5, 0},
      {9223371487098961920.0f, 1.0f, 9223371487098961920, 0},  // largest float below 2^63
      {9223372036854775808.0f, 1.0f, kMax, 0},
      {-9223372036854775808.0f, 1.0f, -kMax, 0},
      {std::numeric_limits<float>::max(), 1e7f, kMax, kMax},
      {-kInf, 1e7f, -kMax, -kMax},
      {kNaN, 1e7f, kMax, kMax},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(scale_to_fixed_f32(r.coordinate, r.multiple), r.f32) << r.coordinate;
    if (r.multiple == 1e7f) {
      EXPECT_EQ(scale_to_fixed_f64(r.coordinate), r.f64) << r.coordinate;
    }
  }
}

// 17000005 is no float: the float form rounds it to 17000004 before dividing and lands one
// float lower than the double form.
TEST(FixedPointScale, FromFixed) {
  const struct {
    ClipperLib::cInt fixed;
    float f32, f64;
  } rows[] = {{-1, -1e-7f, -1e-7f},
              {17000005, 1.70000041f, 1.70000052f},
              {17000006, 1.70000064f, 1.70000064f}};
  for (const auto& r : rows) {
    EXPECT_EQ(scale_from_fixed_f32(r.fixed, 1e7f), r.f32) << r.fixed;
    EXPECT_EQ(scale_from_fixed_f64(r.fixed), r.f64) << r.fixed;
  }
}

}  // namespace
}  // namespace Quorvex
