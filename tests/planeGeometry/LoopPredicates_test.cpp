#include "quorvex/planeGeometry/LoopPredicates.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace Quorvex {
namespace {

using Loop = std::vector<Point2>;

const Loop kUnitSquare = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
const Loop kDiamond = {{0, -1}, {1, 0}, {0, 1}, {-1, 0}};
// Vertex (1,1) is a local minimum of the loop, at the height of the query points below.
const Loop kValley = {{0, 2}, {1, 1}, {2, 2}, {2, 3}, {0, 3}};
// Vertex (1,1) is a local maximum.
const Loop kPeak = {{0, 0}, {2, 0}, {1, 1}};
// Widdershins L whose reflex vertex (1,1) lies off the sides of the box.
const Loop kL = {{0, 0}, {2, 0}, {2, 1}, {1, 1}, {1, 2}, {0, 2}};

Loop reversed(Loop loop) { return Loop(loop.rbegin(), loop.rend()); }

// A regular polygon, widdershins, with the given vertex count.
Loop circle(int n, float radius) {
  Loop loop;
  loop.reserve(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) {
    const double a = 2.0 * M_PI * i / n;
    loop.emplace_back(static_cast<float>(radius * std::cos(a)),
                      static_cast<float>(radius * std::sin(a)));
  }
  return loop;
}

// The shoelace sum in long double, one thread, as the reference for the team's sum.
float serial_area_reference(const Loop& loop) {
  long double sum = 0;
  const size_t n = loop.size();
  for (size_t i = 0; i < n; ++i) {
    const Point2& p = loop[i];
    const Point2& q = loop[(i + 1) % n];
    sum += static_cast<long double>(p.x) * q.y - static_cast<long double>(p.y) * q.x;
  }
  return static_cast<float>(sum * 0.5L);
}

// ---- get_area_loop, is_widdershins ----

struct AreaCase {
  std::string name;
  Loop loop;
  float area;
  bool widdershins;
};

void PrintTo(const AreaCase& c, std::ostream* os) { *os << c.name; }

class LoopAreaTest : public ::testing::TestWithParam<AreaCase> {};

TEST_P(LoopAreaTest, AreaAndDirection) {
  const AreaCase& c = GetParam();
  EXPECT_FLOAT_EQ(get_area_loop(c.loop), c.area);
  EXPECT_EQ(is_widdershins(c.loop), c.widdershins);
}

INSTANTIATE_TEST_SUITE_P(
    Loops, LoopAreaTest,
    ::testing::Values(AreaCase{"unit_square", kUnitSquare, 1.0f, true},
                      AreaCase{"unit_square_reversed", reversed(kUnitSquare), -1.0f, false},
                      AreaCase{"empty", {}, 0.0f, false},
                      AreaCase{"one_point", {{3, 4}}, 0.0f, false},
                      AreaCase{"two_points", {{0, 0}, {5, 7}}, 0.0f, false},
                      AreaCase{"L_shape", kL, 3.0f, true},
                      AreaCase{"offset_triangle", {{100, 100}, {104, 100}, {100, 103}}, 6.0f, true},
                      AreaCase{"collinear_zero_area", {{0, 0}, {1, 1}, {2, 2}}, 0.0f, false}),
    [](const auto& info) { return info.param.name; });

// Lengths around the point where the sum moves to a thread team: the split of the index
// range must still cover every edge once, the closing edge included.
class LoopAreaTeamTest : public ::testing::TestWithParam<int> {};

TEST_P(LoopAreaTeamTest, MatchesSerialSum) {
  const Loop loop = circle(GetParam(), 1000.0f);
  const float area = get_area_loop(loop);
  EXPECT_FLOAT_EQ(area, serial_area_reference(loop));
  EXPECT_FLOAT_EQ(get_area_loop(reversed(loop)), -area);
  EXPECT_TRUE(is_widdershins(loop));
}

INSTANTIATE_TEST_SUITE_P(Lengths, LoopAreaTeamTest,
                         ::testing::Values(3, 17, kAreaLoopParallelThreshold - 1,
                                           kAreaLoopParallelThreshold,
                                           kAreaLoopParallelThreshold + 1, 100003));

// Team sizes that split the index range unevenly, including more threads than fit: the
// blocks must still cover every edge once. The runtime is reached through the process's
// symbol table, as the library links it privately.
using SetThreadsFn = void (*)(int);
SetThreadsFn find_omp_set_num_threads() {
  return reinterpret_cast<SetThreadsFn>(dlsym(RTLD_DEFAULT, "omp_set_num_threads"));
}

class LoopAreaTeamSizeTest : public ::testing::TestWithParam<int> {};

TEST_P(LoopAreaTeamSizeTest, MatchesSerialSum) {
  const SetThreadsFn set_threads = find_omp_set_num_threads();
  if (set_threads == nullptr) GTEST_SKIP() << "OpenMP runtime not found";
  const Loop loop = circle(kAreaLoopParallelThreshold + 5, 250.0f);
  set_threads(GetParam());
  const float area = get_area_loop(loop);
  set_threads(2);
  EXPECT_FLOAT_EQ(area, serial_area_reference(loop));
}

INSTANTIATE_TEST_SUITE_P(Teams, LoopAreaTeamSizeTest, ::testing::Values(1, 2, 3, 7, 64));

TEST(LoopAreaTest, ClosingEdgeCounts) {
  // Away from the origin the closing edge (4,4) -> (4,0) carries -16 of the doubled sum:
  // a loop that forgot it would report 24.
  const Loop loop = {{4, 0}, {8, 0}, {8, 4}, {4, 4}};
  EXPECT_FLOAT_EQ(get_area_loop(loop), 16.0f);
}

// ---- get_number_of_intersections_to_left, is_point_in_loop ----
// The table pins the tie rules and the vertex tolerance; edges, vertices and horizontal runs
// at large are compared with the step-by-step rule below.

struct RayCase {
  std::string name;
  Loop loop;
  Point2 point;
  int count;
};

void PrintTo(const RayCase& c, std::ostream* os) { *os << c.name; }

class RayCountTest : public ::testing::TestWithParam<RayCase> {};

TEST_P(RayCountTest, CountAndInside) {
  const RayCase& c = GetParam();
  EXPECT_EQ(get_number_of_intersections_to_left(c.loop, c.point), c.count);
  EXPECT_EQ(is_point_in_loop(c.point, c.loop), c.count % 2 == 1);
}

INSTANTIATE_TEST_SUITE_P(
    Loops, RayCountTest,
    ::testing::Values(
        RayCase{"empty_loop", {}, {0, 0}, 0}, RayCase{"one_point_same", {{2, 3}}, {2, 3}, 1},
        RayCase{"one_point_other", {{2, 3}}, {5, 3}, 0},
        RayCase{"inside", kUnitSquare, {0.5f, 0.5f}, 1},
        RayCase{"right_of_square", kUnitSquare, {2, 0.5f}, 2},
        RayCase{"vertex", kUnitSquare, {1, 1}, 1},
        RayCase{"diamond_through_vertices", kDiamond, {2, 0}, 2},
        RayCase{"local_minimum_counts_twice", kValley, {5, 1}, 2},
        RayCase{"local_maximum_counts_never", kPeak, {5, 1}, 0},
        // Within 1e-14 of a vertex in both coordinates: on the loop, though outside.
        RayCase{"near_vertex_within_tolerance", kUnitSquare, {-5e-15f, -5e-15f}, 1},
        RayCase{"near_vertex_beyond_tolerance", kUnitSquare, {-2e-14f, -2e-14f}, 0},
        // The floats on either side of 1e-14: the last one below it, the first one above.
        RayCase{"vertex_tolerance_last_float_inside", kUnitSquare, {-0x1.6849b8p-47f, 0}, 1},
        RayCase{"vertex_tolerance_first_float_outside",
                kUnitSquare,
                {-0x1.6849bap-47f, -0x1.6849bap-47f},
                0}),
    [](const auto& info) { return info.param.name; });

// The counting rule step by step, one edge after another, as the reference for the
// library's reordered walk on loops full of horizontal runs and repeated heights.
int literal_intersections_to_left(const Loop& loop, const Point2& pt) {
  const int n = static_cast<int>(loop.size());
  if (n < 1) return 0;
  int count = 0;
  for (int i = 0; i < n; ++i) {
    const Point2 a = loop[i];
    const Point2 b = loop[(i + 1) % n];
    if (std::fabs(pt.x - a.x) < 1e-14 && std::fabs(pt.y - a.y) < 1e-14) return 1;
    if (std::fabs(pt.x - b.x) < 1e-14 && std::fabs(pt.y - b.y) < 1e-14) return 1;
    bool part;
    if (pt.y == a.y && pt.y == b.y) {
      if ((pt.x > a.x) != (pt.x > b.x)) return 1;
      continue;
    } else if (pt.y == a.y) {
      part = b.y > a.y;
    } else if (pt.y == b.y) {
      part = a.y > b.y;
    } else {
      part = (pt.y > a.y) != (pt.y > b.y);
    }
    if (!part) continue;
    const float X = (pt.y - a.y) / (b.y - a.y) * (b.x - a.x) + a.x;
    if (X == pt.x) return 1;
    if (pt.x > X) ++count;
  }
  return count;
}

TEST(RayCountTest, AgreesWithStepByStepRuleOnGridLoops) {
  std::mt19937 rng(12345);
  std::uniform_int_distribution<int> coord(0, 6);
  std::uniform_int_distribution<int> length(1, 12);
  int compared = 0;
  for (int trial = 0; trial < 400; ++trial) {
    // Vertices on a coarse grid: many share heights, many edges are horizontal, and many
    // query points fall on vertices and edges.
    Loop loop(static_cast<size_t>(length(rng)));
    for (Point2& p : loop)
      p = Point2(static_cast<float>(coord(rng)), static_cast<float>(coord(rng)));
    for (int qx = -1; qx <= 14; ++qx) {
      for (int qy = -1; qy <= 14; ++qy) {
        const Point2 q(qx * 0.5f, qy * 0.5f);
        ASSERT_EQ(get_number_of_intersections_to_left(loop, q),
                  literal_intersections_to_left(loop, q))
            << "trial " << trial << " point " << q.x << "," << q.y;
        ++compared;
      }
    }
  }
  EXPECT_EQ(compared, 400 * 16 * 16);
}

// ---- is_line_intersecting_loop ----

struct SegmentCase {
  std::string name;
  Point2 a;
  Point2 b;
  Loop loop;
  bool crosses;
};

void PrintTo(const SegmentCase& c, std::ostream* os) { *os << c.name; }

class SegmentLoopTest : public ::testing::TestWithParam<SegmentCase> {};

TEST_P(SegmentLoopTest, Crossing) {
  const SegmentCase& c = GetParam();
  EXPECT_EQ(is_line_intersecting_loop(c.a, c.b, c.loop), c.crosses);
}

INSTANTIATE_TEST_SUITE_P(
    Segments, SegmentLoopTest,
    ::testing::Values(SegmentCase{"zero_length", {0.5f, 0.5f}, {0.5f, 0.5f}, kUnitSquare, false},
                      SegmentCase{"zero_length_on_edge", {0.5f, 0}, {0.5f, 0}, kUnitSquare, false},
                      SegmentCase{"empty_loop", {-1, -1}, {2, 2}, {}, false},
                      SegmentCase{"through", {0.5f, -1}, {0.5f, 2}, kUnitSquare, true},
                      SegmentCase{"diagonal_through", {-1, -1}, {2, 2}, kUnitSquare, true},
                      SegmentCase{"inside", {0.2f, 0.5f}, {0.8f, 0.5f}, kUnitSquare, false},
                      SegmentCase{"outside", {2, 0}, {3, 1}, kUnitSquare, false},
                      SegmentCase{"ends_on_edge", {0.5f, -1}, {0.5f, 0}, kUnitSquare, true},
                      SegmentCase{
                          "starts_on_edge_outward", {0.5f, 1}, {0.5f, 3}, kUnitSquare, true},
                      SegmentCase{"touches_vertex", {-1, 0}, {0, 0}, kUnitSquare, true},
                      SegmentCase{"along_edge_inside_it", {0.2f, 0}, {0.8f, 0}, kUnitSquare, false},
                      SegmentCase{"along_edge_past_both_ends", {-1, 0}, {2, 0}, kUnitSquare, true},
                      SegmentCase{"stops_short", {0.5f, -1}, {0.5f, -0.001f}, kUnitSquare, false}),
    [](const auto& info) { return info.param.name; });

// ---- is_loop_intersecting_other_loop ----

struct LoopPairCase {
  std::string name;
  Loop first;
  Loop second;
  bool crosses;
};

void PrintTo(const LoopPairCase& c, std::ostream* os) { *os << c.name; }

class LoopPairTest : public ::testing::TestWithParam<LoopPairCase> {};

TEST_P(LoopPairTest, Crossing) {
  const LoopPairCase& c = GetParam();
  EXPECT_EQ(is_loop_intersecting_other_loop(c.first, c.second), c.crosses);
}

const Loop kBig = {{-5, -5}, {5, -5}, {5, 5}, {-5, 5}};
const Loop kSmall = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
const Loop kShifted = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};

INSTANTIATE_TEST_SUITE_P(
    Pairs, LoopPairTest,
    ::testing::Values(LoopPairCase{"small_inside_big", kSmall, kBig, false},
                      LoopPairCase{"big_around_small", kBig, kSmall, false},
                      LoopPairCase{"overlapping", kBig, kShifted, true},
                      LoopPairCase{"disjoint", kSmall, {{20, 20}, {21, 20}, {21, 21}}, false},
                      LoopPairCase{"first_empty", {}, kBig, false},
                      LoopPairCase{"second_empty", kBig, {}, false},
                      LoopPairCase{"first_one_point_on_second", {{5, 0}}, kBig, false},
                      // Repeated vertices give zero-length edges, which are passed over.
                      LoopPairCase{"repeated_vertices",
                                   {{0, 0}, {0, 0}, {10, 0}, {10, 0}, {10, 10}, {0, 10}},
                                   kBig,
                                   true}),
    [](const auto& info) { return info.param.name; });

// ---- is_widdershins_simple ----

struct DirectionCase {
  std::string name;
  Loop loop;
  bool widdershins;
};

void PrintTo(const DirectionCase& c, std::ostream* os) { *os << c.name; }

class SimpleDirectionTest : public ::testing::TestWithParam<DirectionCase> {};

TEST_P(SimpleDirectionTest, AgreesWithExpected) {
  const DirectionCase& c = GetParam();
  EXPECT_EQ(is_widdershins_simple(c.loop), c.widdershins);
}

// Rectangle with extra points along every side, so extremes tie along whole stretches.
Loop rectangle_with_side_points() {
  return {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {3, 1}, {3, 2}, {2, 2}, {1, 2}, {0, 2}, {0, 1}};
}

INSTANTIATE_TEST_SUITE_P(
    Loops, SimpleDirectionTest,
    ::testing::Values(
        // Every cross product is 1e-6, below the vote's threshold: the area decides.
        DirectionCase{"tiny_square", {{0, 0}, {0.001f, 0}, {0.001f, 0.001f}, {0, 0.001f}}, true},
        DirectionCase{
            "tiny_square_reversed", {{0, 0.001f}, {0.001f, 0.001f}, {0.001f, 0}, {0, 0}}, false},
        DirectionCase{"one_point", {{1, 1}}, false}, DirectionCase{"empty", {}, false}),
    [](const auto& info) { return info.param.name; });

// Where the vote is clear it agrees with the sign of the area, both ways round.
TEST(SimpleDirectionTest, AgreesWithAreaOnPolygons) {
  std::vector<Loop> loops = {kUnitSquare, kL, kDiamond, rectangle_with_side_points()};
  for (int n : {3, 5, 8, 64, 1000}) loops.push_back(circle(n, 50.0f));
  for (const Loop& loop : loops) {
    ASSERT_TRUE(is_widdershins(loop));
    EXPECT_TRUE(is_widdershins_simple(loop)) << loop.size();
    EXPECT_FALSE(is_widdershins_simple(reversed(loop))) << loop.size();
  }
}

// ---- cross_point ----

struct CrossCase {
  std::string name;
  Point2 a, b, c, d;
  bool hit;
  Point2 out;  // expected when hit
};

void PrintTo(const CrossCase& c, std::ostream* os) { *os << c.name; }

class CrossPointTest : public ::testing::TestWithParam<CrossCase> {};

TEST_P(CrossPointTest, Intersection) {
  const CrossCase& k = GetParam();
  const Point2 sentinel(-999, -999);
  Point2 out = sentinel;
  ASSERT_EQ(cross_point(k.a, k.b, k.c, k.d, out), k.hit);
  if (k.hit) {
    EXPECT_FLOAT_EQ(out.x, k.out.x);
    EXPECT_FLOAT_EQ(out.y, k.out.y);
  } else {
    EXPECT_EQ(out.x, sentinel.x);
    EXPECT_EQ(out.y, sentinel.y);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Segments, CrossPointTest,
    ::testing::Values(
        CrossCase{"diagonals", {0, 0}, {2, 2}, {0, 2}, {2, 0}, true, {1, 1}},
        CrossCase{"uneven_split", {0, 0}, {4, 0}, {1, -1}, {1, 3}, true, {1, 0}},
        CrossCase{"a_on_cd", {1, 0}, {1, 5}, {0, 0}, {2, 0}, true, {1, 0}},
        CrossCase{"b_on_cd", {1, -1}, {1, 0}, {0, 0}, {2, 0}, true, {1, 0}},
        // Collinear overlap ends at `a` even though `a` lies outside cd.
        CrossCase{"collinear_overlap", {-1, 0}, {1, 0}, {0, 0}, {2, 0}, true, {-1, 0}},
        CrossCase{"boxes_apart_x", {0, 0}, {1, 1}, {2, 0}, {3, 1}, false, {}},
        CrossCase{"boxes_apart_y", {0, 0}, {2, 0}, {0, 1}, {2, 1}, false, {}},
        CrossCase{"shared_box_only", {0, 0}, {1, 1}, {1, 0}, {0.9f, 0.4f}, false, {}},
        CrossCase{
            "a_within_tolerance_of_cd", {1, -4e-6f}, {1, 1}, {0, 0}, {2, 0}, true, {1, -4e-6f}}),
    [](const auto& info) { return info.param.name; });

TEST(CrossPointTest, JustBeyondToleranceInterpolates) {
  // s1 = 1.2e-5 lies past the tolerance, so the crossing is computed, not snapped to a.
  const Point2 a(1, -6e-6f), b(1, 1), c(0, 0), d(2, 0);
  Point2 out(-999, -999);
  ASSERT_TRUE(cross_point(a, b, c, d, out));
  EXPECT_NE(out.y, a.y);
  EXPECT_NEAR(out.y, 0.0f, 1e-7f);
  EXPECT_FLOAT_EQ(out.x, 1.0f);
}

}  // namespace
}  // namespace Quorvex
