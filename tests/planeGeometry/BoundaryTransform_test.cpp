#include "quorvex/planeGeometry/BoundaryTransform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>

namespace Quorvex {
namespace {

using Loop = std::shared_ptr<Point2Vector>;
using ConstLoops = std::vector<std::shared_ptr<Point2Vector const>>;

constexpr float kMax = 3.4028235e38f;

Loop make_loop(std::initializer_list<Point2> points) {
  return std::make_shared<Point2Vector>(Point2Vector(points));
}

// ---- boxes ----

void expect_box(const float (&got)[4], float x0, float y0, float x1, float y1) {
  EXPECT_EQ(got[0], x0);
  EXPECT_EQ(got[1], y0);
  EXPECT_EQ(got[2], x1);
  EXPECT_EQ(got[3], y1);
}

TEST(BoundaryBbox, MinimaFirstThenMaximaResetOnEveryCall) {
  float b[4] = {-1e30f, -1e30f, 1e30f, 1e30f};
  get_boundary_bbox(make_loop({{3, -1}, {-2, 4}, {0.5f, 7}}), b[0], b[1], b[2], b[3]);
  expect_box(b, -2, -1, 3, 7);
  get_boundary_bbox(make_loop({{-kMax, kMax}}), b[0], b[1], b[2], b[3]);
  expect_box(b, -kMax, kMax, -kMax, kMax);
  get_boundarys_bbox(
      {make_loop({{0, 0}, {1, 1}}), std::make_shared<Point2Vector>(), make_loop({{-5, 2}, {3, 9}})},
      b[0], b[1], b[2], b[3]);
  expect_box(b, -5, 0, 3, 9);
}

// Nothing to measure: minima stay at the largest float, maxima at its negative.
TEST(BoundaryBbox, EmptyInputLeavesTheInvertedBox) {
  float b[4] = {0, 0, 0, 0};
  get_boundary_bbox(std::make_shared<Point2Vector>(), b[0], b[1], b[2], b[3]);
  expect_box(b, kMax, kMax, -kMax, -kMax);
  for (const ConstLoops& loops : {ConstLoops{}, ConstLoops{std::make_shared<Point2Vector>(),
                                                           std::make_shared<Point2Vector>()}}) {
    std::fill(b, b + 4, 0.0f);
    get_boundarys_bbox(loops, b[0], b[1], b[2], b[3]);
    expect_box(b, kMax, kMax, -kMax, -kMax);
  }
}

// ---- translation ----

TEST(TranslateBoundary, AddsInFloatThroughTheSharedHandle) {
  Loop loop = make_loop({{0.1f, -3}, {1e8f, 0}});
  Loop alias = loop;
  translate_boundary(loop, Point2(0.2f, 0.5f));
  EXPECT_EQ((*alias)[0].x, 0.1f + 0.2f);  // float sum, not the double 0.3
  EXPECT_EQ((*alias)[0].y, -2.5f);
  EXPECT_EQ((*alias)[1].x, 1e8f);  // 0.2 is below half a unit of 1e8 in float
}

TEST(TranslateBoundarys, SameHandleTwiceMovesTwice) {
  Loop a = make_loop({{1, 1}});
  Loop b = make_loop({{0, 0}, {2, 2}});
  std::vector<Loop> loops{a, b, a};
  translate_boundarys(loops, Point2(1, -1));
  EXPECT_EQ((*a)[0].x, 3.0f);
  EXPECT_EQ((*a)[0].y, -1.0f);
  EXPECT_EQ((*b)[1].x, 3.0f);
  std::vector<Loop> none;
  translate_boundarys(none, Point2(1, 1));
  EXPECT_TRUE(none.empty());
}

// ---- rotation ----

struct SinCosCase {
  const char* name;
  float angle;
  float sin_value;  // exact float expected, or NaN to check only the bound below
  float cos_value;
  float residual_bound;  // |the one that is not exact| stays below this and is non-zero
  friend void PrintTo(const SinCosCase& c, std::ostream* os) { *os << c.name; }
};

class RotationSinCos : public ::testing::TestWithParam<SinCosCase> {};

// pi is rounded to float before the multiplication, so right angles do not give exact
// zeros: the remainder is float rounding of pi, not of the trigonometric functions.
TEST_P(RotationSinCos, RightAnglesLeaveAFloatRoundingResidual) {
  const SinCosCase& sc = GetParam();
  float s, c;
  rotation_sin_cos_f32(sc.angle, s, c);
  if (std::isnan(sc.sin_value)) {
    EXPECT_EQ(c, sc.cos_value);
    EXPECT_NE(s, 0.0f);
    EXPECT_LT(std::fabs(s), sc.residual_bound);
  } else {
    EXPECT_EQ(s, sc.sin_value);
    EXPECT_NE(c, 0.0f);
    EXPECT_LT(std::fabs(c), sc.residual_bound);
  }
}

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(RightAngles, RotationSinCos,
                         ::testing::Values(SinCosCase{"quarter", 90.0f, 1.0f, 0.0f, 1e-7f},
                                           SinCosCase{"minus_quarter", -90.0f, -1.0f, 0.0f, 1e-7f},
                                           SinCosCase{"half", 180.0f, kNaN, -1.0f, 2e-7f},
                                           SinCosCase{"full", 360.0f, kNaN, 1.0f, 4e-7f}),
                         [](const ::testing::TestParamInfo<SinCosCase>& info) {
                           return info.param.name;
                         });

TEST(RotationSinCosZero, ZeroIsExact) {
  float s = 1, c = 0;
  rotation_sin_cos_f32(0.0f, s, c);
  EXPECT_EQ(s, 0.0f);
  EXPECT_EQ(c, 1.0f);
}

TEST(RotateBoundary, QuarterTurnAboutTheOrigin) {
  Loop loop = make_loop({{1, 0}, {0, 2}});
  rotate_boundary(loop, Point2(0, 0), 90.0f);
  EXPECT_NE((*loop)[0].x, 0.0f);
  EXPECT_LT(std::fabs((*loop)[0].x), 1e-7f);
  EXPECT_EQ((*loop)[0].y, 1.0f);
  EXPECT_EQ((*loop)[1].x, -2.0f);  // counter-clockwise
  EXPECT_LT(std::fabs((*loop)[1].y), 2e-7f);
}

TEST(RotateBoundary, QuarterTurnAboutACenter) {
  Loop loop = make_loop({{3, 1}});
  rotate_boundary(loop, Point2(2, 1), 90.0f);
  EXPECT_NEAR((*loop)[0].x, 2.0f, 1e-6f);
  EXPECT_EQ((*loop)[0].y, 2.0f);
}

TEST(RotateBoundary, ZeroAngleCanMoveTheLastBitThroughTheCenter) {
  Loop at_origin = make_loop({{1e-8f, 5}});
  rotate_boundary(at_origin, Point2(0, 0), 0.0f);
  EXPECT_EQ((*at_origin)[0].x, 1e-8f);
  EXPECT_EQ((*at_origin)[0].y, 5.0f);

  // 1e-8 - 0.1 rounds to a float step of 0.1, so adding 0.1 back does not restore it.
  Loop off_center = make_loop({{1e-8f, 5}});
  rotate_boundary(off_center, Point2(0.1f, 0), 0.0f);
  EXPECT_NE((*off_center)[0].x, 1e-8f);
  EXPECT_LT(std::fabs((*off_center)[0].x - 1e-8f), 1e-8f);
  EXPECT_EQ((*off_center)[0].y, 5.0f);
}

TEST(RotateBoundarys, EveryLoopTurnsAndARepeatedHandleTurnsTwice) {
  Loop a = make_loop({{1, 0}});
  Loop b = make_loop({{0, 1}});
  std::vector<Loop> loops{a, b, a};
  rotate_boundarys(loops, Point2(0, 0), 90.0f);
  EXPECT_NEAR((*a)[0].x, -1.0f, 1e-6f);  // half a turn
  EXPECT_NEAR((*a)[0].y, 0.0f, 1e-6f);
  EXPECT_NEAR((*b)[0].x, -1.0f, 1e-6f);
  EXPECT_NEAR((*b)[0].y, 0.0f, 1e-6f);

  // Same per-point arithmetic as the single form.
  Loop single = make_loop({{0.3f, -7.1f}});
  Loop in_list = make_loop({{0.3f, -7.1f}});
  std::vector<Loop> one{in_list};
  rotate_boundary(single, Point2(1.5f, 2.5f), 33.3f);
  rotate_boundarys(one, Point2(1.5f, 2.5f), 33.3f);
  EXPECT_EQ((*single)[0].x, (*in_list)[0].x);
  EXPECT_EQ((*single)[0].y, (*in_list)[0].y);
}

}  // namespace
}  // namespace Quorvex
