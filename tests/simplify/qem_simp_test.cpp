#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "LoopFixtures.h"
#include "quorvex/baseType/Path.h"
#include "quorvex/planeGeometry/QEMSimp.h"

namespace Quorvex {
namespace {

using test::same_point;
using test::subsequence_indices;
using Loop = std::vector<Point2>;

const Loop kSquare = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};

void expect_loop(const Loop& got, const Loop& want) {
  ASSERT_EQ(got.size(), want.size());
  for (std::size_t i = 0; i < got.size(); ++i) EXPECT_TRUE(same_point(got[i], want[i])) << i;
}

TEST(QEMSimp, WorkedCases) {
  const struct {
    const char* name;
    Loop input;
    float tolerance;
    Loop expected;
  } rows[] = {
      // A corner lies 7.07 from the diagonal of its neighbours.
      {"square below the corner cost", kSquare, 7.0f, kSquare},
      // All four costs tie at 50: the heap serves vertex 0, then 2 (the hole takes the right
      // child on ties), and the ring is down to 1 and 3.
      {"square shrinks to two in heap order", kSquare, 100.0f, {{10, 0}, {0, 10}}},
      {"collinear go first", {{0, 0}, {2, 0}, {5, 0}, {10, 0}, {10, 10}, {0, 10}}, 0.01f, kSquare},
      // Vertex 1 sits between two copies of the origin: a zero chord costs nothing.
      {"spike on a zero chord goes",
       {{0, 0}, {50, 70}, {0, 0}, {10, 0}, {10, 10}, {0, 10}},
       0.5f,
       {{0, 0}, {0, 0}, {10, 0}, {10, 10}, {0, 10}}},
      {"all points equal leave two", Loop(10, Point2(2, 3)), 1e-3f, {{2, 3}, {2, 3}}},
      {"noisy sides collapse to the corners", test::square_with_side_points(10, 10, 1e-3f, 4), 0.1f,
       kSquare},
  };
  for (const auto& r : rows) {
    Loop loop = r.input;
    EXPECT_EQ(get_QEM_simplified_loop(loop, r.tolerance), RETVAL_OK) << r.name;
    SCOPED_TRACE(r.name);
    expect_loop(loop, r.expected);
  }
}

TEST(QEMSimp, RefusesBadToleranceAndShortLoops) {
  for (float tol : {0.0f, -1.0f}) {
    Loop loop = {{0, 0}, {1, 0}, {1, 1}, {0.5f, 1}, {0, 1}};
    EXPECT_EQ(get_QEM_simplified_loop(loop, tol), RETVAL_BAD_INPUT);
    EXPECT_EQ(loop.size(), 5u);
  }
  Loop triangle = {{0, 0}, {1, 0}, {0, 1}};
  EXPECT_EQ(get_QEM_simplified_loop(triangle, 10.0f), RETVAL_BAD_INPUT);
  EXPECT_EQ(triangle.size(), 3u);
}

TEST(QEMSimp, NoisyRingsKeepOrderAndAtLeastTwo) {
  for (float tol : {0.3f, 2.0f, 1e6f}) {
    const Loop original = test::noisy_ring(3000, 100, 0.5f, 1);
    Loop loop = original;
    EXPECT_EQ(get_QEM_simplified_loop(loop, tol), RETVAL_OK);
    ASSERT_GE(loop.size(), 2u);
    EXPECT_LT(loop.size(), original.size());
    EXPECT_EQ(subsequence_indices(loop, original).size(), loop.size()) << tol;
  }
}

TEST(QEMSimp, ExtremeInputsFinish) {
  for (float scale : {1e-38f, 1e30f, 3e38f}) {
    Loop loop = test::noisy_ring(300, 1, 0.2f, 5);
    for (Point2& p : loop) p = Point2(p.x * scale, p.y * scale);
    loop.insert(loop.end(), 20, loop.front());
    EXPECT_EQ(get_QEM_simplified_loop(loop, 1e-2f * scale), RETVAL_OK);
    EXPECT_GE(loop.size(), 2u);
  }
}

// ---- Coloured form.

std::shared_ptr<Path> coloured_path(const Loop& points, const ColorVector& colours) {
  auto path = std::make_shared<Path>();
  path->set_points(std::make_shared<Point2Vector>(points));
  path->set_colors(std::make_shared<ColorVector>(colours));
  return path;
}

// Refusals leave the path as it was: the very same point and colour sequences.
TEST(QEMSimpColour, RefusalsLeaveThePathUntouched) {
  const struct {
    float position_tolerance, colour_tolerance;
    int points, colours;
  } rows[] = {{0, 1, 20, 20}, {1, -1, 20, 20}, {1, 1, 20, 19}, {1, 1, 3, 3}};
  for (const auto& r : rows) {
    auto path = coloured_path(test::noisy_ring(r.points, 10, 0.5f, 3),
                              ColorVector(r.colours, Color3f(1, 0, 0)));
    const auto before_points = path->get_points();
    const auto before_colours = path->get_colors();
    get_QEM_simplified_loop_with_colour(path, r.position_tolerance, r.colour_tolerance);
    EXPECT_EQ(path->get_points(), before_points);
    EXPECT_EQ(path->get_colors(), before_colours);
    EXPECT_EQ(before_points->size(), static_cast<std::size_t>(r.points));
  }
  std::shared_ptr<Path> null_path;
  get_QEM_simplified_loop_with_colour(null_path, 1, 1);
  EXPECT_FALSE(null_path);
  auto no_colours = std::make_shared<Path>();
  no_colours->set_points(std::make_shared<Point2Vector>(kSquare));
  get_QEM_simplified_loop_with_colour(no_colours, 100, 100);
  expect_loop(*no_colours->get_points(), kSquare);
  auto no_points = std::make_shared<Path>();
  no_points->set_colors(std::make_shared<ColorVector>(4, Color3f(0, 0, 0)));
  get_QEM_simplified_loop_with_colour(no_points, 100, 100);
  EXPECT_EQ(no_points->get_colors()->size(), 4u);
}

TEST(QEMSimpColour, FourPointsRunAndTheOldSequenceStaysScaled) {
  auto path = coloured_path(kSquare, ColorVector(4, Color3f(0.5f, 0.5f, 0.5f)));
  const auto old_points = path->get_points();
  get_QEM_simplified_loop_with_colour(path, 0.5f, 2.0f);  // scale 4, square unchanged
  EXPECT_NE(path->get_points(), old_points);
  expect_loop(*path->get_points(), kSquare);
  EXPECT_EQ(path->get_colors()->size(), 4u);
  expect_loop(*old_points, {{0, 0}, {40, 0}, {40, 40}, {0, 40}});
}

TEST(QEMSimpColour, ColourStepOnAStraightRunIsKept) {
  // Blue from (6,0) round the corner (10,0), red elsewhere. The colour along a chord is
  // interpolated, so the two vertices at each step cost a quarter of the step squared.
  const Loop points = test::square_with_side_points(10, 10, 0, 1);
  ColorVector colours(points.size(), Color3f(1, 0, 0));
  for (std::size_t i = 6; i <= 10; ++i) colours[i] = Color3f(0, 0, 1);
  auto path = coloured_path(points, colours);
  get_QEM_simplified_loop_with_colour(path, 0.1f, 0.1f);
  const Point2Vector& kept = *path->get_points();
  expect_loop(kept, {{0, 0}, {5, 0}, {6, 0}, {10, 0}, {10, 1}, {10, 10}, {0, 10}});
  const std::vector<std::size_t> idx = {0, 5, 6, 10, 11, 20, 30};
  for (std::size_t i = 0; i < idx.size(); ++i) EXPECT_EQ(path->get_color(i), colours[idx[i]]);

  auto plain = coloured_path(points, ColorVector(points.size(), Color3f(1, 0, 0)));
  get_QEM_simplified_loop_with_colour(plain, 0.1f, 0.1f);
  expect_loop(*plain->get_points(), kSquare);
}

TEST(QEMSimpColour, ShortChordCostsNothingWhateverTheColour) {
  const Loop points = {{0, 0}, {3, 4}, {0, 0}, {10, 0}, {10, 10}, {0, 10}};
  ColorVector colours(points.size(), Color3f(0, 0, 0));
  colours[1] = Color3f(100, -100, 100);
  auto path = coloured_path(points, colours);
  get_QEM_simplified_loop_with_colour(path, 0.1f, 0.1f);
  expect_loop(*path->get_points(), {{0, 0}, {0, 0}, {10, 0}, {10, 10}, {0, 10}});
}

TEST(QEMSimpColour, EqualColoursMatchThePlainFormAndColoursTravel) {
  const Loop original = test::noisy_ring(2000, 100, 0.5f, 1);
  Loop plain = original;
  get_QEM_simplified_loop(plain, 0.5f);

  auto path = coloured_path(original, ColorVector(original.size(), Color3f(0.2f, 0.4f, 0.6f)));
  get_QEM_simplified_loop_with_colour(path, 0.5f, 0.5f);  // scale 1: positions unchanged
  expect_loop(*path->get_points(), plain);

  // A colour that names its index shows that every colour left with its own point.
  ColorVector tagged;
  for (std::size_t i = 0; i < original.size(); ++i) tagged.emplace_back(0, 0, i * 1e-6f);
  auto tagged_path = coloured_path(original, tagged);
  get_QEM_simplified_loop_with_colour(tagged_path, 1.0f, 0.5f);
  const Point2Vector& pts = *tagged_path->get_points();
  ASSERT_EQ(pts.size(), tagged_path->get_colors()->size());
  ASSERT_GE(pts.size(), 2u);
  std::size_t last = 0;
  for (std::size_t i = 0; i < pts.size(); ++i) {
    const std::size_t k =
        static_cast<std::size_t>(std::lround(tagged_path->get_color(i)[2] / 1e-6f));
    ASSERT_LT(k, original.size());
    if (i > 0) {
      EXPECT_GT(k, last);
    }
    last = k;
    EXPECT_NEAR(pts[i].x, original[k].x, 1e-4f);
    EXPECT_NEAR(pts[i].y, original[k].y, 1e-4f);
  }
}

}  // namespace
}  // namespace Quorvex
