#include "quorvex/planeGeometry/BoundaryTransform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/PointEquality.h"

namespace Quorvex {
namespace {

using Loop = std::shared_ptr<Point2Vector>;

constexpr float kMax = 3.4028235e38f;

Loop make_loop(std::initializer_list<Point2> points) {
  return std::make_shared<Point2Vector>(Point2Vector(points));
}

// Reset on every call; with nothing to measure the minima stay at the largest float and the
// maxima at its negative.
TEST(BoundaryBbox, ResetOnEveryCallAndInvertedWhenEmpty) {
  float b[4] = {-1e30f, -1e30f, 1e30f, 1e30f};
  const auto box = [&b] { return std::vector<float>(b, b + 4); };
  const std::vector<float> inverted = {kMax, kMax, -kMax, -kMax};
  get_boundary_bbox(make_loop({{3, -1}, {-2, 4}, {0.5f, 7}}), b[0], b[1], b[2], b[3]);
  EXPECT_EQ(box(), (std::vector<float>{-2, -1, 3, 7}));
  get_boundary_bbox(make_loop({}), b[0], b[1], b[2], b[3]);
  EXPECT_EQ(box(), inverted);
  get_boundarys_bbox({make_loop({{0, 0}, {1, 1}}), make_loop({}), make_loop({{-5, 2}, {3, 9}})},
                     b[0], b[1], b[2], b[3]);
  EXPECT_EQ(box(), (std::vector<float>{-5, 0, 3, 9}));
  get_boundarys_bbox({make_loop({}), make_loop({})}, b[0], b[1], b[2], b[3]);
  EXPECT_EQ(box(), inverted);
}

TEST(TranslateBoundary, AddsInFloatThroughTheSharedHandleAndASharedHandleMovesTwice) {
  Loop loop = make_loop({{0.1f, -3}, {1e8f, 0}});
  translate_boundary(loop, Point2(0.2f, 0.5f));
  EXPECT_EQ((*loop)[0].x, 0.1f + 0.2f);  // float sum, not the double 0.3
  EXPECT_EQ((*loop)[0].y, -2.5f);
  EXPECT_EQ((*loop)[1].x, 1e8f);  // 0.2 is below half a unit of 1e8 in float
  Loop a = make_loop({{1, 1}});
  std::vector<Loop> loops{a, make_loop({{0, 0}}), a};
  translate_boundarys(loops, Point2(1, -1));
  EXPECT_TRUE((*a)[0].x == 3.0f && (*a)[0].y == -1.0f);
  EXPECT_EQ((*loops[1])[0].x, 1.0f);
}

// The offset may be a point of a loop being moved: every point moves by its value at the call.
TEST(TranslateBoundary, ByAPointOfTheLoopItself) {
  Loop loop = make_loop({{1, 1}, {3, 1}, {3, 2}});
  translate_boundary(loop, (*loop)[0]);
  EXPECT_EQ(*loop, (Point2Vector{{2, 2}, {4, 2}, {4, 3}}));
  std::vector<Loop> loops{make_loop({{1, 1}, {3, 1}}), make_loop({{0, 0}})};
  translate_boundarys(loops, (*loops[0])[1]);
  EXPECT_EQ(*loops[0], (Point2Vector{{4, 2}, {6, 2}}));
  EXPECT_EQ(*loops[1], (Point2Vector{{3, 1}}));
}

// pi is rounded to float before the multiplication, so right angles leave a residual of the
// float rounding of pi where an exact zero would be; 0 itself is exact.
TEST(RotationSinCos, RightAnglesLeaveAFloatRoundingResidual) {
  const struct {
    float angle;
    bool sin_exact;  // else the cosine is the exact one
    float exact;     // the exact one's value
    float residual;  // bound on the other, which is non-zero
  } rows[] = {{90.0f, true, 1.0f, 1e-7f},
              {-90.0f, true, -1.0f, 1e-7f},
              {180.0f, false, -1.0f, 2e-7f},
              {360.0f, false, 1.0f, 4e-7f}};
  for (const auto& r : rows) {
    float s, c;
    rotation_sin_cos_f32(r.angle, s, c);
    EXPECT_EQ(r.sin_exact ? s : c, r.exact) << r.angle;
    const float other = r.sin_exact ? c : s;
    EXPECT_NE(other, 0.0f) << r.angle;
    EXPECT_LT(std::fabs(other), r.residual) << r.angle;
  }
  float s = 1, c = 0;
  rotation_sin_cos_f32(0.0f, s, c);
  EXPECT_TRUE(s == 0.0f && c == 1.0f);
}

TEST(RotateBoundary, WiddershinsAboutTheCenterInFloatAndARepeatedHandleTurnsTwice) {
  Loop loop = make_loop({{1, 0}, {0, 2}});
  rotate_boundary(loop, Point2(0, 0), 90.0f);
  EXPECT_NE((*loop)[0].x, 0.0f);
  EXPECT_LT(std::fabs((*loop)[0].x), 1e-7f);
  EXPECT_EQ((*loop)[0].y, 1.0f);
  EXPECT_EQ((*loop)[1].x, -2.0f);
  Loop off = make_loop({{3, 1}});
  rotate_boundary(off, Point2(2, 1), 90.0f);
  EXPECT_NEAR((*off)[0].x, 2.0f, 1e-6f);
  EXPECT_EQ((*off)[0].y, 2.0f);
  // 1e-8 - 0.1 rounds to a float step of 0.1, so adding 0.1 back does not restore it.
  Loop at_origin = make_loop({{1e-8f, 5}}), off_center = make_loop({{1e-8f, 5}});
  rotate_boundary(at_origin, Point2(0, 0), 0.0f);
  EXPECT_EQ((*at_origin)[0].x, 1e-8f);
  rotate_boundary(off_center, Point2(0.1f, 0), 0.0f);
  EXPECT_NE((*off_center)[0].x, 1e-8f);
  EXPECT_LT(std::fabs((*off_center)[0].x - 1e-8f), 1e-8f);
  EXPECT_EQ((*off_center)[0].y, 5.0f);

  Loop a = make_loop({{1, 0}});
  std::vector<Loop> twice{a, a};
  rotate_boundarys(twice, Point2(0, 0), 90.0f);
  EXPECT_NEAR((*a)[0].x, -1.0f, 1e-6f);
  EXPECT_NEAR((*a)[0].y, 0.0f, 1e-6f);
  Loop single = make_loop({{0.3f, -7.1f}});
  std::vector<Loop> one{make_loop({{0.3f, -7.1f}})};
  rotate_boundary(single, Point2(1.5f, 2.5f), 33.3f);
  rotate_boundarys(one, Point2(1.5f, 2.5f), 33.3f);
  EXPECT_TRUE((*single)[0].x == (*one[0])[0].x && (*single)[0].y == (*one[0])[0].y);
}

}  // namespace
}  // namespace Quorvex
