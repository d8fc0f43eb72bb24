#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "quorvex/spatial/Bbox3.h"

namespace Quorvex {
namespace {

const float kBig = std::numeric_limits<float>::max();

void expect_box(const Bbox3& b, float x0, float y0, float z0, float x1, float y1, float z1) {
  EXPECT_TRUE(b.xMin() == x0 && b.yMin() == y0 && b.zMin() == z0 && b.xMax() == x1 &&
              b.yMax() == y1 && b.zMax() == z1)
      << b.xMin() << " " << b.yMin() << " " << b.zMin() << " " << b.xMax() << " " << b.yMax() << " "
      << b.zMax();
}

// The default box is the point at the origin, not an empty box: a union with it reaches it.
TEST(Bbox3, DefaultIsTheOriginAndUnionTakesMinimaAndMaxima) {
  expect_box(Bbox3() + Bbox3(2, 2, 2, 3, 3, 3), 0, 0, 0, 3, 3, 3);
  Bbox3 a(-1, 5, 0, 0, 6, 9);
  a += Bbox3(0, -2, 1, 4, 3, 2);
  expect_box(a, -1, -2, 0, 4, 6, 9);
}

TEST(Bbox3, AxisAccessorsMapEveryOtherAxisToZ) {
  Bbox3 b(1, 2, 3, 4, 5, 6);
  EXPECT_EQ(b.Min(1), 2);
  EXPECT_EQ(b.Max(7), 6);
  EXPECT_EQ(b.Max(-1), 6);
  b.Max(7) = 10;
  EXPECT_EQ(b.zMax(), 10);
  b.Min(1) = -3;
  EXPECT_EQ(b.get_side(1), 8);
  EXPECT_EQ(b.get_side(5), 7);
}

TEST(Bbox3, CalcFromCoordsAndMeasures) {
  Bbox3 b(1, 1, 1, 2, 2, 2);
  b.calc_from_coords({});
  expect_box(b, kBig, kBig, kBig, -kBig, -kBig, -kBig);
  b.calc_from_coords({Vector3f(1, -2, 3), Vector3f(-1, 4, 0), Vector3f(0, 0, 7)});
  expect_box(b, -1, -2, 0, 1, 4, 7);
  const Bbox3 m(0, 0, 0, 2, 3, 6);
  EXPECT_EQ(m.get_volume(), 36.0f);
  EXPECT_EQ(m.get_diag_length(), 7.0f);
  EXPECT_EQ(m.get_center(), Vector3f(1, 1.5f, 3));
  EXPECT_LT(Bbox3(1, 0, 0, 0, 1, 1).get_side(0), 0.0f);  // inverted boxes measure nonsense
}

TEST(Bbox3, ComparatorsOrderByTheMinimaAlone) {
  const Bbox3 a(0, 5, 2, 1, 6, 3);
  const Bbox3 b(0, 1, 4, 1, 2, 5);
  EXPECT_FALSE(comp_x(a, b) || comp_x(b, a));  // equal minima: neither first
  EXPECT_TRUE(comp_y(b, a) && !comp_y(a, b));
  EXPECT_TRUE(comp_z(a, b));
}

// Outside only the axes that lie outside count for distance2; inside it is the squared
// distance to the nearest face; faces and corners are inside at distance 0.
TEST(Bbox3, PointQueriesAgainstTheUnitBox) {
  const Bbox3 box(0, 0, 0, 1, 1, 1);
  const float up = std::nextafter(1.0f, 2.0f);
  const struct {
    Vector3f p;
    bool inside;
    float distance2, closest_distance2;
  } rows[] = {
      {Vector3f(2, 0.5f, 0.5f), false, 1.0f, 1.5f},
      {Vector3f(2, 2, 0.5f), false, 2.0f, 2.25f},
      {Vector3f(-1, -1, -1), false, 3.0f, 3.0f},
      {Vector3f(0.5f, 0.5f, 0.5f), true, 0.25f, 0.75f},
      {Vector3f(0.9f, 0.5f, 0.5f), true, (1.0f - 0.9f) * (1.0f - 0.9f),
       (0.9f - 1.0f) * (0.9f - 1.0f) + 0.25f + 0.25f},
      {Vector3f(1, 0.5f, 0.5f), true, 0.0f, 0.5f},
      {Vector3f(1, 1, 1), true, 0.0f, 0.0f},
      {Vector3f(0, 0, 0), true, 0.0f, 0.0f},
      {Vector3f(up, 0.5f, 0.5f), false, (up - 1.0f) * (up - 1.0f), 0.5f},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(is_in_box(r.p, box), r.inside) << r.p.transpose();
    EXPECT_FLOAT_EQ(distance2(r.p, box), r.distance2) << r.p.transpose();
    EXPECT_FLOAT_EQ(closest_distance2(r.p, box), r.closest_distance2) << r.p.transpose();
  }
}

}  // namespace
}  // namespace Quorvex
