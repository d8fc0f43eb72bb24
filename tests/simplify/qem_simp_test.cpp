#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "LoopFixtures.h"
#include "quorvex/planeGeometry/QEMSimp.h"

namespace Quorvex {
namespace {

using test::coloured_path;
using test::kSquare;
using test::Loop;

TEST(QEMSimp, WorkedCases) {
  test::expect_worked_cases(
      {
          // A corner lies 7.07 from the diagonal of its neighbours.
          {"square below the corner cost", kSquare, 7.0f, kSquare},
          // All four costs tie at 50: the heap serves vertex 0, then 2 (the hole takes the right
          // child on ties), and the ring is down to 1 and 3.
          {"square shrinks to two in heap order", kSquare, 100.0f, {{10, 0}, {0, 10}}},
          {"collinear go first",
           {{0, 0}, {2, 0}, {5, 0}, {10, 0}, {10, 10}, {0, 10}},
           0.01f,
           kSquare},
          // Vertex 1 sits between two copies of the origin: a zero chord costs nothing.
          {"spike on a zero chord goes",
           {{0, 0}, {50, 70}, {0, 0}, {10, 0}, {10, 10}, {0, 10}},
           0.5f,
           {{0, 0}, {0, 0}, {10, 0}, {10, 10}, {0, 10}}},
          {"all points equal leave two", Loop(10, Point2(2, 3)), 1e-3f, {{2, 3}, {2, 3}}},
      },
      get_QEM_simplified_loop);
}

TEST(QEMSimp, RefusesBadToleranceAndShortLoops) {
  for (float tol : {0.0f, -1.0f, 10.0f}) {
    Loop loop = tol > 0 ? Loop{{0, 0}, {1, 0}, {0, 1}} : kSquare;
    EXPECT_EQ(get_QEM_simplified_loop(loop, tol), RETVAL_BAD_INPUT);
    EXPECT_EQ(loop.size(), tol > 0 ? 3u : 4u);
  }
}

// ---- Coloured form: refusals leave the very same point and colour sequences.

TEST(QEMSimpColour, RefusalsLeaveThePathUntouched) {
  const struct {
    float position_tolerance, colour_tolerance;
    int points, colours;
  } rows[] = {{0, 1, 20, 20}, {1, -1, 20, 20}, {1, 1, 20, 19}, {1, 1, 3, 3}, {100, 100, 4, -1}};
  for (const auto& r : rows) {
    auto path = coloured_path(test::noisy_ring(r.points, 10, 0.5f, 3),
                              ColorVector(std::max(r.colours, 0), Color3f(1, 0, 0)));
    if (r.colours < 0) path->set_colors(nullptr);
    const auto points = path->get_points();
    const auto colours = path->get_colors();
    get_QEM_simplified_loop_with_colour(path, r.position_tolerance, r.colour_tolerance);
    EXPECT_EQ(path->get_points(), points);
    EXPECT_EQ(path->get_colors(), colours);
    EXPECT_EQ(points->size(), static_cast<std::size_t>(r.points));
  }
  std::shared_ptr<Path> null_path;
  get_QEM_simplified_loop_with_colour(null_path, 1, 1);
  EXPECT_FALSE(null_path);
  auto no_points = coloured_path({}, ColorVector(4, Color3f(0, 0, 0)));
  no_points->set_points(nullptr);
  get_QEM_simplified_loop_with_colour(no_points, 100, 100);
  EXPECT_EQ(no_points->get_colors()->size(), 4u);
}

TEST(QEMSimpColour, FourPointsRunAndTheOldSequenceStaysScaled) {
  auto path = coloured_path(kSquare, ColorVector(4, Color3f(0.5f, 0.5f, 0.5f)));
  const auto old_points = path->get_points();
  get_QEM_simplified_loop_with_colour(path, 0.5f, 2.0f);  // scale 4, square unchanged
  EXPECT_NE(path->get_points(), old_points);
  EXPECT_EQ(*path->get_points(), kSquare);
  EXPECT_EQ(path->get_colors()->size(), 4u);
  EXPECT_EQ(*old_points, (Loop{{0, 0}, {40, 0}, {40, 40}, {0, 40}}));
}

TEST(QEMSimpColour, ColourStepOnAStraightRunIsKept) {
  // Blue from (6,0) round the corner (10,0), red elsewhere. The colour along a chord is
  // interpolated, so the two vertices at each step cost a quarter of the step squared.
  const Loop points = test::dense_square(10);
  ColorVector colours(points.size(), Color3f(1, 0, 0));
  for (std::size_t i = 6; i <= 10; ++i) colours[i] = Color3f(0, 0, 1);
  auto path = coloured_path(points, colours);
  get_QEM_simplified_loop_with_colour(path, 0.1f, 0.1f);
  EXPECT_EQ(*path->get_points(),
            (Loop{{0, 0}, {5, 0}, {6, 0}, {10, 0}, {10, 1}, {10, 10}, {0, 10}}));
  const std::vector<std::size_t> idx = {0, 5, 6, 10, 11, 20, 30};
  for (std::size_t i = 0; i < idx.size(); ++i) EXPECT_EQ(path->get_color(i), colours[idx[i]]);
}

TEST(QEMSimpColour, EqualColoursMatchThePlainForm) {
  const Loop original = test::noisy_ring(2000, 100, 0.5f, 1);
  Loop plain = original;
  get_QEM_simplified_loop(plain, 0.5f);
  auto path = coloured_path(original, ColorVector(original.size(), Color3f(0.2f, 0.4f, 0.6f)));
  get_QEM_simplified_loop_with_colour(path, 0.5f, 0.5f);  // scale 1: positions unchanged
  EXPECT_EQ(*path->get_points(), plain);
}

}  // namespace
}  // namespace Quorvex
