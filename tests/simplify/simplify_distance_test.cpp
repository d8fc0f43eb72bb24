#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "LoopFixtures.h"
#include "quorvex/planeGeometry/SimplifyDistance.h"

namespace Quorvex {
namespace {

using test::coloured_path;
using test::Loop;

bool has_point(const Loop& loop, const Point2& p) {
  return std::find(loop.begin(), loop.end(), p) != loop.end();
}

TEST(SimplifyDistance, WorkedCases) {
  test::expect_worked_cases(
      {
          {"all equal leave one", Loop(10, Point2(2, 3)), 1, {{2, 3}}},
          {"a close midpoint goes", {{0, 0}, {5, 0}, {10, 0}, {10, 10}, {0, 10}}, 1, test::kSquare},
          {"the last point close to the first drops the first",
           {{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0.5f}},
           1,
           {{10, 0}, {10, 10}, {0, 10}, {0, 0.5f}}},
          {"zero tolerance keeps all", test::dense_square(20), 0, test::dense_square(20)},
      },
      get_simplified_loop);
  for (float tol : {0.0f, 1.0f, 100.0f}) {  // two points: one or both stay
    Loop loop = {{0, 0}, {1, 0}};
    EXPECT_EQ(get_simplified_loop(loop, tol), RETVAL_OK);
    EXPECT_TRUE(loop.size() == 1 || loop.size() == 2);
  }
}

// Below two points, without colours, with too few or too many colours or without a path:
// refused and untouched. Extra colours used to be accepted and then dropped.
TEST(SimplifyDistanceColour, Refusals) {
  Loop short_loop = {{3, 4}};
  EXPECT_EQ(get_simplified_loop(short_loop, 1.0f), RETVAL_BAD_INPUT);
  EXPECT_EQ(short_loop.size(), 1u);
  const Loop points = test::noisy_ring(50, 10, 0.1f, 1);
  const std::shared_ptr<Path> refused[] = {
      coloured_path({{3, 4}}, ColorVector(1, Color3f(1, 0, 0))),
      coloured_path(points, ColorVector(10, Color3f(0, 0, 0))),
      coloured_path(points, {}),
      std::make_shared<Path>(),
      nullptr,
      coloured_path(points, ColorVector(points.size() + 5, Color3f(0, 0, 0)))};
  refused[2]->set_colors(nullptr);
  for (std::shared_ptr<Path> path : refused) {
    const auto before = path && path->get_points() ? path->get_points()->size() : 0;
    const auto colours_before = path && path->get_colors() ? path->get_colors()->size() : 0;
    EXPECT_EQ(get_simplified_path_with_colour(path, 1.0f, 0.1f), RETVAL_BAD_INPUT);
    EXPECT_EQ(path && path->get_points() ? path->get_points()->size() : 0, before);
    EXPECT_EQ(path && path->get_colors() ? path->get_colors()->size() : 0, colours_before);
  }
}

TEST(SimplifyDistanceColour, ColourStepKeepsCandidatesOnAStraightRun) {
  // Points 2 apart, tolerance 1: the run's inner points are flat and go unless a colour step
  // holds them.
  Loop points;
  for (int i = 0; i <= 10; ++i) points.emplace_back(2.0f * i, 0.0f);
  points.emplace_back(10.0f, 10.0f);
  ColorVector stepped(points.size(), Color3f(1, 0, 0));
  auto flat = coloured_path(points, stepped);
  std::fill(stepped.begin() + 6, stepped.end(), Color3f(0, 0, 1));
  auto step = coloured_path(points, stepped);
  EXPECT_EQ(get_simplified_path_with_colour(flat, 1.0f, 0.5f), RETVAL_OK);
  EXPECT_EQ(get_simplified_path_with_colour(step, 1.0f, 0.5f), RETVAL_OK);
  EXPECT_FALSE(has_point(*flat->get_points(), {10, 0}));
  EXPECT_TRUE(has_point(*step->get_points(), {10, 0}));
  EXPECT_TRUE(has_point(*step->get_points(), {12, 0}));
}

TEST(SimplifyDistanceColour, EachColourStaysWithItsPoint) {
  const Loop original = test::noisy_ring(2000, 100, 0.5f, 1);
  ColorVector colours;
  for (const Point2& p : original) colours.emplace_back(p.x / 100, p.y / 100, 0.5f);
  auto path = coloured_path(original, colours);
  EXPECT_EQ(get_simplified_path_with_colour(path, 1.0f, 0.05f), RETVAL_OK);
  const Point2Vector& pts = *path->get_points();
  ASSERT_EQ(pts.size(), path->get_colors()->size());
  EXPECT_LT(pts.size(), original.size());
  const std::vector<std::size_t> idx = test::subsequence_indices(pts, original);
  ASSERT_EQ(idx.size(), pts.size());
  for (std::size_t i = 0; i < idx.size(); ++i) EXPECT_EQ(path->get_color(i), colours[idx[i]]);
  // The final pass runs along the path without wrapping, on points and colours together.
  for (std::size_t i = 0; i + 1 < pts.size(); ++i) {
    const bool close = (pts[i] - pts[i + 1]).length() < 1.0f;
    EXPECT_FALSE(close && (path->get_color(i) - path->get_color(i + 1)).norm() < 0.05f) << i;
  }
}

}  // namespace
}  // namespace Quorvex
