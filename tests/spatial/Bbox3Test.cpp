#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "quorvex/spatial/Bbox3.h"

namespace Quorvex {
namespace {

const float kBig = std::numeric_limits<float>::max();

void expect_box(const Bbox3& b, float x0, float y0, float z0, float x1, float y1, float z1) {
  EXPECT_EQ(b.xMin(), x0);
  EXPECT_EQ(b.yMin(), y0);
  EXPECT_EQ(b.zMin(), z0);
  EXPECT_EQ(b.xMax(), x1);
  EXPECT_EQ(b.yMax(), y1);
  EXPECT_EQ(b.zMax(), z1);
}

TEST(Bbox3, DefaultIsThePointAtTheOrigin) {
  const Bbox3 b;
  expect_box(b, 0, 0, 0, 0, 0, 0);
  EXPECT_EQ(b.get_volume(), 0.0f);
  EXPECT_EQ(b.get_center(), Vector3f(0, 0, 0));
  // Not an empty box: a union with it reaches the origin.
  expect_box(b + Bbox3(2, 2, 2, 3, 3, 3), 0, 0, 0, 3, 3, 3);
}

TEST(Bbox3, UnionTakesSmallerMinimaAndLargerMaxima) {
  expect_box(Bbox3(0, 0, 0, 1, 1, 1) + Bbox3(2, 2, 2, 3, 3, 3), 0, 0, 0, 3, 3, 3);
  Bbox3 a(-1, 5, 0, 0, 6, 9);
  a += Bbox3(0, -2, 1, 4, 3, 2);
  expect_box(a, -1, -2, 0, 4, 6, 9);
}

TEST(Bbox3, AxisAccessorsMapEveryOtherAxisToZ) {
  Bbox3 b(1, 2, 3, 4, 5, 6);
  EXPECT_EQ(b.Min(0), 1);
  EXPECT_EQ(b.Min(1), 2);
  EXPECT_EQ(b.Min(2), 3);
  EXPECT_EQ(b.Max(2), 6);
  EXPECT_EQ(b.Max(7), 6);
  EXPECT_EQ(b.Max(-1), 6);
  b.Max(7) = 10;
  EXPECT_EQ(b.zMax(), 10);
  b.Min(1) = -3;
  EXPECT_EQ(b.yMin(), -3);
  EXPECT_EQ(b.get_side(0), 3);
  EXPECT_EQ(b.get_side(1), 8);
  EXPECT_EQ(b.get_side(5), 7);
}

TEST(Bbox3, CalcFromCoords) {
  Bbox3 b(1, 1, 1, 2, 2, 2);
  b.calc_from_coords({});
  expect_box(b, kBig, kBig, kBig, -kBig, -kBig, -kBig);
  b.calc_from_coords({Vector3f(1, -2, 3)});
  expect_box(b, 1, -2, 3, 1, -2, 3);
  EXPECT_EQ(b.get_volume(), 0.0f);
  b.calc_from_coords({Vector3f(1, -2, 3), Vector3f(-1, 4, 0), Vector3f(0, 0, 7)});
  expect_box(b, -1, -2, 0, 1, 4, 7);
}

TEST(Bbox3, Measures) {
  const Bbox3 b(0, 0, 0, 2, 3, 6);
  EXPECT_EQ(b.get_volume(), 36.0f);
  EXPECT_EQ(b.get_diag_length(), 7.0f);
  EXPECT_EQ(b.get_center(), Vector3f(1, 1.5f, 3));
  // An inverted box measures nonsense without complaint.
  EXPECT_LT(Bbox3(1, 0, 0, 0, 1, 1).get_side(0), 0.0f);
}

TEST(Bbox3, ComparatorsOrderByTheMinimaAlone) {
  const Bbox3 a(0, 5, 2, 1, 6, 3);
  const Bbox3 b(0, 1, 4, 1, 2, 5);
  EXPECT_FALSE(comp_x(a, b) || comp_x(b, a));  // equal minima: neither first
  EXPECT_TRUE(comp_y(b, a) && !comp_y(a, b));
  EXPECT_TRUE(comp_z(a, b));
}

struct PointCase {
  Vector3f p;
  bool inside;
  float distance2;
  float closest_distance2;
};

void PrintTo(const PointCase& c, std::ostream* os) {
  *os << "(" << c.p.x() << ", " << c.p.y() << ", " << c.p.z() << ")";
}

class Bbox3PointTest : public ::testing::TestWithParam<PointCase> {};

TEST_P(Bbox3PointTest, AgainstUnitBox) {
  const Bbox3 box(0, 0, 0, 1, 1, 1);
  const PointCase& c = GetParam();
  EXPECT_EQ(is_in_box(c.p, box), c.inside);
  EXPECT_FLOAT_EQ(distance2(c.p, box), c.distance2);
  EXPECT_FLOAT_EQ(closest_distance2(c.p, box), c.closest_distance2);
}

INSTANTIATE_TEST_SUITE_P(
    Table, Bbox3PointTest,
    ::testing::Values(
        // Outside: only the axes that lie outside count for distance2.
        PointCase{Vector3f(2, 0.5f, 0.5f), false, 1.0f, 1.5f},
        PointCase{Vector3f(2, 2, 0.5f), false, 2.0f, 2.25f},
        PointCase{Vector3f(-1, -1, -1), false, 3.0f, 3.0f},
        // Inside: the squared distance to the nearest face.
        PointCase{Vector3f(0.5f, 0.5f, 0.5f), true, 0.25f, 0.75f},
        PointCase{Vector3f(0.9f, 0.5f, 0.5f), true, (1.0f - 0.9f) * (1.0f - 0.9f),
                  (0.9f - 1.0f) * (0.9f - 1.0f) + 0.25f + 0.25f},
        // On a face, on a corner: inside, distance 0.
        PointCase{Vector3f(1, 0.5f, 0.5f), true, 0.0f, 0.5f},
        PointCase{Vector3f(1, 1, 1), true, 0.0f, 0.0f},
        PointCase{Vector3f(0, 0, 0), true, 0.0f, 0.0f},
        // Just beyond a face by the smallest step.
        PointCase{Vector3f(std::nextafter(1.0f, 2.0f), 0.5f, 0.5f), false,
                  (std::nextafter(1.0f, 2.0f) - 1.0f) * (std::nextafter(1.0f, 2.0f) - 1.0f),
                  0.5f}));

}  // namespace
}  // namespace Quorvex
