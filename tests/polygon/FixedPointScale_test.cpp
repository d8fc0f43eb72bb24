#include "quorvex/polygon/FixedPointScale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace Quorvex {
namespace {

constexpr ClipperLib::cInt kMaxCInt = std::numeric_limits<ClipperLib::cInt>::max();

struct ToFixedF32Case {
  const char* name;
  float coordinate;
  float multiple;
  ClipperLib::cInt expected;
};

class ScaleToFixedF32 : public ::testing::TestWithParam<ToFixedF32Case> {};

TEST_P(ScaleToFixedF32, TruncatesTheFloatProductTowardZero) {
  const ToFixedF32Case& c = GetParam();
  EXPECT_EQ(scale_to_fixed_f32(c.coordinate, c.multiple), c.expected) << c.name;
}

INSTANTIATE_TEST_SUITE_P(
    BoundaryValues, ScaleToFixedF32,
    ::testing::Values(
        // The float product is 2.9000001: rounding would give 3.
        ToFixedF32Case{"product_2_9", 2.9e-7f, 1e7f, 2},
        ToFixedF32Case{"product_minus_2_9", -2.9e-7f, 1e7f, -2},
        ToFixedF32Case{"below_one_unit", 0.99e-7f, 1e7f, 0},
        ToFixedF32Case{"negative_zero", -0.0f, 1e7f, 0},
        // Above 2^24 the float product has no odd integers: the double product of this
        // coordinate is 17000001.x, the float product rounds to 17000002.
        ToFixedF32Case{"near_1_7_loses_last_unit", std::nextafter(1.7f, 2.0f), 1e7f, 17000002},
        ToFixedF32Case{"near_1_7_second", 1.70000052f, 1e7f, 17000006},
        ToFixedF32Case{"own_multiple", 1.25f, 4.0f, 5},
        ToFixedF32Case{"engine_limit", 4611686018427387904.0f, 1.0f, 0x4000000000000000},
        // Largest float below 2^63 still has an integer value; 2^63 and beyond do not and
        // are pinned to the largest magnitude, which the engine refuses.
        ToFixedF32Case{"largest_below_2_63", 9223371487098961920.0f, 1.0f, 9223371487098961920},
        ToFixedF32Case{"exactly_2_63", 9223372036854775808.0f, 1.0f, kMaxCInt},
        ToFixedF32Case{"minus_2_63", -9223372036854775808.0f, 1.0f, -kMaxCInt},
        ToFixedF32Case{"huge", 1e30f, 1e7f, kMaxCInt},
        ToFixedF32Case{"infinity", std::numeric_limits<float>::infinity(), 1e7f, kMaxCInt},
        ToFixedF32Case{"minus_infinity", -std::numeric_limits<float>::infinity(), 1e7f, -kMaxCInt},
        ToFixedF32Case{"nan", std::numeric_limits<float>::quiet_NaN(), 1e7f, kMaxCInt}),
    [](const ::testing::TestParamInfo<ToFixedF32Case>& info) { return info.param.name; });

struct ToFixedF64Case {
  const char* name;
  float coordinate;
  ClipperLib::cInt expected;
};

class ScaleToFixedF64 : public ::testing::TestWithParam<ToFixedF64Case> {};

TEST_P(ScaleToFixedF64, TruncatesTheDoubleProductTowardZero) {
  const ToFixedF64Case& c = GetParam();
  EXPECT_EQ(scale_to_fixed_f64(c.coordinate), c.expected) << c.name;
}

INSTANTIATE_TEST_SUITE_P(
    BoundaryValues, ScaleToFixedF64,
    ::testing::Values(
        // 1.5e-7f is 1.50000005e-7: the double product truncates to 1.
        ToFixedF64Case{"one_and_a_half_units", 1.5e-7f, 1},
        ToFixedF64Case{"minus_one_and_a_half_units", -1.5e-7f, -1},
        ToFixedF64Case{"product_2_9", 2.9e-7f, 2},
        // The double product keeps every bit of the float: no unit is lost near 1.7.
        ToFixedF64Case{"near_1_7_keeps_last_unit", std::nextafter(1.7f, 2.0f), 17000001},
        ToFixedF64Case{"near_1_7_second", 1.70000052f, 17000005},
        ToFixedF64Case{"max_float", std::numeric_limits<float>::max(), kMaxCInt},
        ToFixedF64Case{"lowest_float", std::numeric_limits<float>::lowest(), -kMaxCInt},
        ToFixedF64Case{"nan", std::numeric_limits<float>::quiet_NaN(), kMaxCInt}),
    [](const ::testing::TestParamInfo<ToFixedF64Case>& info) { return info.param.name; });

struct FromFixedCase {
  const char* name;
  ClipperLib::cInt fixed;
  float expected_f32;  // float conversion, then float division by 1e7f
  float expected_f64;  // double division by 1e7, quotient rounded once
};

class ScaleFromFixed : public ::testing::TestWithParam<FromFixedCase> {};

TEST_P(ScaleFromFixed, BothFormsGiveTheirOwnFloat) {
  const FromFixedCase& c = GetParam();
  EXPECT_EQ(scale_from_fixed_f32(c.fixed, 1e7f), c.expected_f32) << c.name;
  EXPECT_EQ(scale_from_fixed_f64(c.fixed), c.expected_f64) << c.name;
}

INSTANTIATE_TEST_SUITE_P(
    BoundaryValues, ScaleFromFixed,
    ::testing::Values(FromFixedCase{"zero", 0, 0.0f, 0.0f},
                      FromFixedCase{"one_unit", 1, 1e-7f, 1e-7f},
                      FromFixedCase{"minus_one_unit", -1, -1e-7f, -1e-7f},
                      // 17000005 is not a float: the float form first rounds it to
                      // 17000004 and lands one float lower than the double form.
                      FromFixedCase{"odd_above_2_24", 17000005, 1.70000041f, 1.70000052f},
                      FromFixedCase{"even_above_2_24", 17000006, 1.70000064f, 1.70000064f}),
    [](const ::testing::TestParamInfo<FromFixedCase>& info) { return info.param.name; });

}  // namespace
}  // namespace Quorvex
