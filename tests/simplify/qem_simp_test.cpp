#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "LoopFixtures.h"
#include "quorvex/planeGeometry/QEMSimp.h"
// The one source of test_simplify that defines the allocation operators.
#define QXTEST_DEFINE_FAILING_OPERATOR_NEW
#include "support/FailingAllocation.h"

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

// A NaN tolerance would never stop the collapses and took every loop down to two points.
TEST(QEMSimp, RefusesBadToleranceAndShortLoops) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  const std::pair<Loop, float> rows[] = {{kSquare, 0.0f}, {kSquare, -1.0f},
                                         {kSquare, nan},  {kSquare, inf},
                                         {kSquare, -inf}, {{{0, 0}, {1, 0}, {0, 1}}, 10.0f}};
  for (const auto& [input, tol] : rows) {
    Loop loop = input;
    EXPECT_EQ(get_QEM_simplified_loop(loop, tol), RETVAL_BAD_INPUT) << tol;
    EXPECT_EQ(loop, input) << tol;
  }
  // Loops beyond INT32_MAX vertices are refused as well, which no test can afford to build.
}

// ---- Coloured form: refusals leave the very same point and colour sequences.

// Tolerances that are not finite, or whose ratio rounds to 0 or overflows, and points that
// leave the float range once scaled, used to come back as two NaN points with the old
// sequence scaled to 0 or infinity.
TEST(QEMSimpColour, RefusalsLeaveThePathUntouched) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  const struct {
    float position_tolerance, colour_tolerance;
    int points, colours;
    float radius = 10;
  } rows[] = {{0, 1, 20, 20},
              {1, -1, 20, 20},
              {1, 1, 20, 19},
              {1, 1, 3, 3},
              {100, 100, 4, -1},
              {1e30f, 1e-20f, 20, 20},  // the scale rounds to 0
              {1e-30f, 1e10f, 20, 20},  // the scale overflows
              {inf, 0.1f, 20, 20},
              {1.0f, inf, 20, 20},
              {nan, 0.1f, 20, 20},
              {0.1f, nan, 20, 20},
              {1e-3f, 1e3f, 20, 20, 1e33f}};  // scale 1e6: the points overflow
  for (const auto& r : rows) {
    const Loop original = test::noisy_ring(r.points, r.radius, 0.5f, 3);
    auto path = coloured_path(original, ColorVector(std::max(r.colours, 0), Color3f(1, 0, 0)));
    if (r.colours < 0) path->set_colors(nullptr);
    const auto points = path->get_points();
    const auto colours = path->get_colors();
    get_QEM_simplified_loop_with_colour(path, r.position_tolerance, r.colour_tolerance);
    EXPECT_EQ(path->get_points(), points);
    EXPECT_EQ(path->get_colors(), colours);
    EXPECT_EQ(*points, original) << r.position_tolerance << " " << r.colour_tolerance;
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

// The square of dense_square(10) with every vertex pushed off its side by a multiple of
// 0.0173, and colours that change along it; from integer and float arithmetic only, so that
// the exact results below hold on any standard library.
Loop wavy_square() {
  Loop loop = test::dense_square(10);
  for (int i = 0; i < 40; ++i) {
    const float w = static_cast<float>((i * 37) % 11 - 5) * 0.0173f;
    const Point2 p = loop[i];
    loop[i] = i < 10   ? Point2(p.x, w)
              : i < 20 ? Point2(10 + w, p.y)
              : i < 30 ? Point2(p.x, 10 + w)
                       : Point2(w, p.y);
  }
  return loop;
}

ColorVector wavy_colours() {
  ColorVector colours;
  for (int i = 0; i < 40; ++i) {
    colours.emplace_back(static_cast<float>((i * 13) % 7) / 7.0f, i < 20 ? 0.25f : 0.75f, 0.5f);
  }
  return colours;
}

// What a scale of 0.11f / 0.3f gives, to the bit: the survivors scaled and scaled back (7 comes
// back one bit above), and the former sequence scaled in 64-bit and narrowed.
const Loop kWavyAtScale = {
    {0x0p+0f, -0x1.624dd4p-4f},  {0x1p+0f, -0x1.1b7176p-6f},  {0x1.c00002p+2f, 0x1.1b7176p-6f},
    {0x1p+3f, 0x1.624dd4p-4f},   {0x1.411b72p+3f, 0x0p+0f},   {0x1.3dc91ep+3f, 0x1p+2f},
    {0x1.4p+3f, 0x1.4p+2f},      {0x1.42c49cp+3f, 0x1.2p+3f}, {0x1.4p+3f, 0x1.3ee48ep+3f},
    {0x1.2p+3f, 0x1.411b72p+3f}, {0x1p+3f, 0x1.3d3b64p+3f},   {0x1p+1f, 0x1.3e56d6p+3f},
    {0x1p+0f, 0x1.408db8p+3f},   {0x1.624dd4p-4f, 0x1.4p+3f}, {0x1.a92a3p-5f, 0x1.4p+2f},
    {-0x1.1b7176p-4f, 0x1p+2f},  {-0x1.a92a3p-5f, 0x1p+0f}};

Loop scaled_by(const Loop& loop, float position_tolerance, float colour_tolerance) {
  const double scale = colour_tolerance / position_tolerance;
  Loop out;
  for (const Point2& p : loop) {
    out.emplace_back(static_cast<float>(p.x * scale), static_cast<float>(p.y * scale));
  }
  return out;
}

TEST(QEMSimpColour, ScaledResultsToTheBit) {
  const Loop original = wavy_square();
  const struct {
    float position_tolerance, colour_tolerance;
    std::size_t kept;
  } rows[] = {{0.3f, 0.11f, kWavyAtScale.size()}, {0.05f, 0.4f, 33}};
  for (const auto& r : rows) {
    auto path = coloured_path(original, wavy_colours());
    const auto old_points = path->get_points();
    get_QEM_simplified_loop_with_colour(path, r.position_tolerance, r.colour_tolerance);
    ASSERT_EQ(path->get_points()->size(), r.kept);
    EXPECT_EQ(path->get_colors()->size(), r.kept);
    EXPECT_EQ(*old_points, scaled_by(original, r.position_tolerance, r.colour_tolerance));
  }
  auto path = coloured_path(original, wavy_colours());
  get_QEM_simplified_loop_with_colour(path, 0.3f, 0.11f);
  EXPECT_EQ(*path->get_points(), kWavyAtScale);
}

// Whichever allocation fails, the path keeps its sequences, unscaled; the points used to be
// scaled before the working memory was allocated.
TEST(QEMSimpColour, FailedAllocationLeavesThePathAsItWas) {
  const Loop original = wavy_square();
  const ColorVector colours = wavy_colours();
  std::shared_ptr<Path> path;
  std::shared_ptr<Point2Vector> points;
  std::shared_ptr<ColorVector> colour_handle;
  long failures = 0;
  const long allocations = qxtest::for_each_failing_allocation(
      [&] {
        path = coloured_path(original, colours);
        points = path->get_points();
        colour_handle = path->get_colors();
      },
      [&] { get_QEM_simplified_loop_with_colour(path, 0.3f, 0.11f); },
      [&] {
        ++failures;
        EXPECT_EQ(path->get_points(), points);
        EXPECT_EQ(path->get_colors(), colour_handle);
        EXPECT_EQ(*points, original);
        EXPECT_EQ(*colour_handle, colours);
      });
  EXPECT_GE(allocations, 3);
  EXPECT_EQ(failures, allocations);
  EXPECT_EQ(*path->get_points(), kWavyAtScale);
  EXPECT_EQ(*points, scaled_by(original, 0.3f, 0.11f));
}

}  // namespace
}  // namespace Quorvex
