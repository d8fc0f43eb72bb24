#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "LoopFixtures.h"
#include "quorvex/baseType/Path.h"
#include "quorvex/planeGeometry/SimplifyDistance.h"

namespace Quorvex {
namespace {

using test::subsequence_indices;
using Loop = std::vector<Point2>;

float distance(const Point2& a, const Point2& b) { return (a - b).length(); }

bool has_point(const Loop& loop, const Point2& p) {
  for (const Point2& q : loop)
    if (test::same_point(p, q)) return true;
  return false;
}

std::shared_ptr<Path> coloured_path(const Loop& points, const ColorVector& colours) {
  auto path = std::make_shared<Path>();
  path->set_points(std::make_shared<Point2Vector>(points));
  path->set_colors(std::make_shared<ColorVector>(colours));
  return path;
}

TEST(SimplifyDistance, ShortAndDegenerateLoops) {
  for (const Loop& short_loop : {Loop{}, Loop{{3, 4}}}) {  // below two points: refused
    Loop loop = short_loop;
    EXPECT_EQ(get_simplified_loop(loop, 1.0f), RETVAL_BAD_INPUT);
    EXPECT_EQ(loop.size(), short_loop.size());
    auto path = coloured_path(short_loop, ColorVector(short_loop.size(), Color3f(1, 0, 0)));
    EXPECT_EQ(get_simplified_path_with_colour(path, 1.0f, 0.1f), RETVAL_BAD_INPUT);
    EXPECT_EQ(path->get_vn(), short_loop.size());
  }
  for (float tol : {0.0f, 1.0f, 100.0f}) {
    Loop loop = {{0, 0}, {1, 0}};
    EXPECT_EQ(get_simplified_loop(loop, tol), RETVAL_OK);
    EXPECT_TRUE(loop.size() == 1 || loop.size() == 2);
  }
  Loop equal(10, Point2(2, 3));
  EXPECT_EQ(get_simplified_loop(equal, 1.0f), RETVAL_OK);
  ASSERT_EQ(equal.size(), 1u);
  EXPECT_TRUE(test::same_point(equal[0], {2, 3}));
  Loop midpoint = {{0, 0}, {5, 0}, {10, 0}, {10, 10}, {0, 10}};
  EXPECT_EQ(get_simplified_loop(midpoint, 1.0f), RETVAL_OK);
  EXPECT_EQ(midpoint.size(), 4u);
  EXPECT_FALSE(has_point(midpoint, {5, 0}));
  const Loop straight = test::square_with_side_points(20, 10, 0, 1);
  Loop unchanged = straight;
  EXPECT_EQ(get_simplified_loop(unchanged, 0.0f), RETVAL_OK);  // zero tolerance
  EXPECT_EQ(subsequence_indices(unchanged, straight).size(), straight.size());
}

TEST(SimplifyDistance, DenseSquareKeepsCornersAndSpacing) {
  const float tol = 1.0f;
  const Loop original = test::square_with_side_points(100, 10, 0, 1);
  Loop loop = original;
  EXPECT_EQ(get_simplified_loop(loop, tol), RETVAL_OK);
  for (const Point2& c : {Point2(0, 0), Point2(10, 0), Point2(10, 10), Point2(0, 10)}) {
    EXPECT_TRUE(has_point(loop, c)) << c.x << "," << c.y;
  }
  EXPECT_EQ(subsequence_indices(loop, original).size(), loop.size());
  for (std::size_t i = 0; i < loop.size(); ++i) {
    EXPECT_GE(distance(loop[i], loop[(i + 1) % loop.size()]), tol);
  }
}

TEST(SimplifyDistance, NoisyRingsKeepOrderAndLeaveNoCloseNeighbours) {
  for (uint32_t seed : {1u, 2u}) {
    for (float tol : {0.2f, 1.0f, 5.0f}) {
      const Loop original = test::noisy_ring(3000, 100, 0.5f, seed);
      Loop loop = original;
      EXPECT_EQ(get_simplified_loop(loop, tol), RETVAL_OK);
      ASSERT_GE(loop.size(), 2u);
      EXPECT_LT(loop.size(), original.size());
      EXPECT_EQ(subsequence_indices(loop, original).size(), loop.size());
      for (std::size_t i = 0; i < loop.size(); ++i) {
        ASSERT_GE(distance(loop[i], loop[(i + 1) % loop.size()]), tol) << seed << " " << tol;
      }
    }
  }
}

TEST(SimplifyDistance, ExtremeInputsFinish) {
  for (float scale : {1e-38f, 1e30f, 3e38f}) {
    for (float tol : {-1.0f, 0.0f, 1e-2f * scale, 1e30f}) {
      Loop loop = test::noisy_ring(300, 1, 0.2f, 5);
      for (Point2& p : loop) p = Point2(p.x * scale, p.y * scale);
      loop.insert(loop.end(), 20, loop.front());  // repeated points
      EXPECT_EQ(get_simplified_loop(loop, tol), RETVAL_OK);
      EXPECT_FALSE(loop.empty());
    }
  }
}

TEST(SimplifyDistanceColour, ColourStepKeepsCandidatesOnAStraightRun) {
  // Points 2 apart, tolerance 1: the run's inner points are flat and go unless a colour step
  // holds them.
  Loop points;
  for (int i = 0; i <= 10; ++i) points.emplace_back(2.0f * i, 0.0f);
  points.emplace_back(10.0f, 10.0f);
  const ColorVector plain(points.size(), Color3f(1, 0, 0));
  ColorVector stepped = plain;
  for (std::size_t i = 6; i <= 10; ++i) stepped[i] = Color3f(0, 0, 1);
  stepped.back() = Color3f(0, 0, 1);

  auto flat = coloured_path(points, plain);
  auto step = coloured_path(points, stepped);
  EXPECT_EQ(get_simplified_path_with_colour(flat, 1.0f, 0.5f), RETVAL_OK);
  EXPECT_EQ(get_simplified_path_with_colour(step, 1.0f, 0.5f), RETVAL_OK);
  EXPECT_FALSE(has_point(*flat->get_points(), {10, 0}));
  EXPECT_TRUE(has_point(*step->get_points(), {10, 0}));
  EXPECT_TRUE(has_point(*step->get_points(), {12, 0}));
}

TEST(SimplifyDistanceColour, EachColourStaysWithItsPoint) {
  for (uint32_t seed : {1u, 2u}) {
    const Loop original = test::noisy_ring(2000, 100, 0.5f, seed);
    ColorVector colours;
    for (const Point2& p : original) colours.emplace_back(p.x / 100, p.y / 100, 0.5f);
    auto path = coloured_path(original, colours);
    EXPECT_EQ(get_simplified_path_with_colour(path, 1.0f, 0.05f), RETVAL_OK);
    const Point2Vector& pts = *path->get_points();
    ASSERT_EQ(pts.size(), path->get_colors()->size());
    EXPECT_LT(pts.size(), original.size());
    const std::vector<std::size_t> idx = subsequence_indices(pts, original);
    ASSERT_EQ(idx.size(), pts.size());
    for (std::size_t i = 0; i < idx.size(); ++i) {
      EXPECT_EQ(path->get_color(i), colours[idx[i]]) << i;
    }
    // The final pass runs along the path without wrapping, on points and colours together.
    for (std::size_t i = 0; i + 1 < pts.size(); ++i) {
      const bool close = distance(pts[i], pts[i + 1]) < 1.0f;
      const bool similar = (path->get_color(i) - path->get_color(i + 1)).norm() < 0.05f;
      EXPECT_FALSE(close && similar) << i;
    }
  }
}

TEST(SimplifyDistanceColour, MissingOrShortColoursAreRefused) {
  const Loop points = test::noisy_ring(50, 10, 0.1f, 1);
  auto no_colours = std::make_shared<Path>();
  no_colours->set_points(std::make_shared<Point2Vector>(points));
  EXPECT_EQ(get_simplified_path_with_colour(no_colours, 1.0f, 0.1f), RETVAL_BAD_INPUT);
  EXPECT_EQ(no_colours->get_vn(), points.size());

  auto short_colours = coloured_path(points, ColorVector(10, Color3f(0, 0, 0)));
  EXPECT_EQ(get_simplified_path_with_colour(short_colours, 1.0f, 0.1f), RETVAL_BAD_INPUT);
  EXPECT_EQ(short_colours->get_vn(), points.size());

  std::shared_ptr<Path> null_path;
  EXPECT_EQ(get_simplified_path_with_colour(null_path, 1.0f, 0.1f), RETVAL_BAD_INPUT);
  auto no_points = std::make_shared<Path>();
  EXPECT_EQ(get_simplified_path_with_colour(no_points, 1.0f, 0.1f), RETVAL_BAD_INPUT);
}

TEST(SimplifyDistanceColour, ExtraColoursFollowTheSurvivors) {
  const Loop points = test::noisy_ring(200, 10, 0.1f, 2);
  auto path = coloured_path(points, ColorVector(points.size() + 5, Color3f(0, 0, 0)));
  EXPECT_EQ(get_simplified_path_with_colour(path, 1.0f, 0.1f), RETVAL_OK);
  EXPECT_EQ(path->get_colors()->size(), path->get_vn());
}

}  // namespace
}  // namespace Quorvex
