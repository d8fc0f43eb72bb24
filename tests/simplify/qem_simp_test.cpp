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

struct QEMCase {
  const char* name;
  Loop input;
  float tolerance;
  Loop expected;
};

class QEMWorkedCase : public ::testing::TestWithParam<QEMCase> {};

TEST_P(QEMWorkedCase, GivesTheExpectedLoop) {
  Loop loop = GetParam().input;
  EXPECT_EQ(get_QEM_simplified_loop(loop, GetParam().tolerance), RETVAL_OK);
  expect_loop(loop, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, QEMWorkedCase,
    ::testing::Values(
        // A corner lies 7.07 from the diagonal of its neighbours.
        QEMCase{"SquareBelowCornerCostUnchanged", kSquare, 7.0f, kSquare},
        // All four costs tie at 50: the heap serves vertex 0, then 2 (the hole takes the right
        // child on ties), and the ring is down to 1 and 3.
        QEMCase{"SquareShrinksToTwoInHeapOrder", kSquare, 100.0f, {{10, 0}, {0, 10}}},
        QEMCase{"CollinearGoFirst",
                {{0, 0}, {2, 0}, {5, 0}, {10, 0}, {10, 10}, {0, 10}},
                0.01f,
                kSquare},
        // Vertex 1 sits between two copies of the origin: a zero chord costs nothing.
        QEMCase{"SpikeOnZeroChordGoes",
                {{0, 0}, {50, 70}, {0, 0}, {10, 0}, {10, 10}, {0, 10}},
                0.5f,
                {{0, 0}, {0, 0}, {10, 0}, {10, 10}, {0, 10}}}),
    [](const auto& info) { return std::string(info.param.name); });

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

TEST(QEMSimp, NoisySidesCollapseToTheCorners) {
  const Loop original = test::square_with_side_points(10, 10, 1e-3f, 4);
  Loop loop = original;
  EXPECT_EQ(get_QEM_simplified_loop(loop, 0.1f), RETVAL_OK);
  expect_loop(loop, kSquare);
}

class QEMNoisyRing : public ::testing::TestWithParam<std::tuple<uint32_t, float>> {};

TEST_P(QEMNoisyRing, KeepsOrderAndAtLeastTwo) {
  const auto [seed, tol] = GetParam();
  const Loop original = test::noisy_ring(3000, 100, 0.5f, seed);
  Loop loop = original;
  EXPECT_EQ(get_QEM_simplified_loop(loop, tol), RETVAL_OK);
  ASSERT_GE(loop.size(), 2u);
  EXPECT_LT(loop.size(), original.size());
  EXPECT_EQ(subsequence_indices(loop, original).size(), loop.size());
}

INSTANTIATE_TEST_SUITE_P(Rings, QEMNoisyRing,
                         ::testing::Combine(::testing::Values(1u, 2u),
                                            ::testing::Values(0.3f, 2.0f, 1e6f)));

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

struct ColourRefusal {
  const char* name;
  float position_tolerance;
  float colour_tolerance;
  int points;
  int colours;
};

class QEMColourRefusal : public ::testing::TestWithParam<ColourRefusal> {};

TEST_P(QEMColourRefusal, LeavesThePathUntouched) {
  const ColourRefusal& c = GetParam();
  const Loop points = test::noisy_ring(c.points, 10, 0.5f, 3);
  auto path = coloured_path(points, ColorVector(c.colours, Color3f(1, 0, 0)));
  const auto before_points = path->get_points();
  const auto before_colours = path->get_colors();
  get_QEM_simplified_loop_with_colour(path, c.position_tolerance, c.colour_tolerance);
  EXPECT_EQ(path->get_points(), before_points);
  EXPECT_EQ(path->get_colors(), before_colours);
  ASSERT_EQ(before_points->size(), points.size());
  EXPECT_EQ(subsequence_indices(*before_points, points).size(), points.size());
}

INSTANTIATE_TEST_SUITE_P(Cases, QEMColourRefusal,
                         ::testing::Values(ColourRefusal{"ZeroPosition", 0, 1, 20, 20},
                                           ColourRefusal{"NegativeColour", 1, -1, 20, 20},
                                           ColourRefusal{"SizesDiffer", 1, 1, 20, 19},
                                           ColourRefusal{"ThreePoints", 1, 1, 3, 3}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(QEMSimpColour, MissingHandlesAreRefused) {
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

class QEMColourNoisyRing : public ::testing::TestWithParam<uint32_t> {};

TEST_P(QEMColourNoisyRing, EqualColoursMatchThePlainFormAndColoursTravel) {
  const Loop original = test::noisy_ring(2000, 100, 0.5f, GetParam());
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

INSTANTIATE_TEST_SUITE_P(Rings, QEMColourNoisyRing, ::testing::Values(1u, 2u));

}  // namespace
}  // namespace Quorvex
