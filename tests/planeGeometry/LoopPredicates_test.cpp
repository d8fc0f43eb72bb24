#include "quorvex/planeGeometry/LoopPredicates.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace Quorvex {
namespace {

using Loop = std::vector<Point2>;

const Loop kUnitSquare = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
// Widdershins L whose reflex vertex (1,1) lies off the sides of the box.
const Loop kL = {{0, 0}, {2, 0}, {2, 1}, {1, 1}, {1, 2}, {0, 2}};

Loop reversed(Loop loop) { return Loop(loop.rbegin(), loop.rend()); }

// A regular polygon, widdershins, with the given vertex count.
Loop circle(int n, float radius) {
  Loop loop;
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
  for (size_t i = 0, n = loop.size(); i < n; ++i) {
    const Point2 &p = loop[i], &q = loop[(i + 1) % n];
    sum += static_cast<long double>(p.x) * q.y - static_cast<long double>(p.y) * q.x;
  }
  return static_cast<float>(sum * 0.5L);
}

// Lengths around the point where the sum moves to a thread team: the split of the index range
// must still cover every edge once, the closing edge included.
TEST(LoopArea, TeamSumMatchesSerialSumAroundTheThreshold) {
  for (int n : {kAreaLoopParallelThreshold - 1, kAreaLoopParallelThreshold, 100003}) {
    const Loop loop = circle(n, 1000.0f);
    EXPECT_FLOAT_EQ(get_area_loop(loop), serial_area_reference(loop)) << n;
    EXPECT_FLOAT_EQ(get_area_loop(reversed(loop)), -get_area_loop(loop)) << n;
    EXPECT_TRUE(is_widdershins(loop) && !is_widdershins(reversed(loop))) << n;
  }
  // Up to two points enclose nothing; away from the origin the closing edge carries -16 of
  // the doubled sum.
  for (const Loop& loop : {Loop{}, Loop{{3, 4}}, Loop{{0, 0}, {5, 7}}}) {
    EXPECT_EQ(get_area_loop(loop), 0.0f);
    EXPECT_FALSE(is_widdershins(loop));
  }
  EXPECT_EQ(get_area_loop({{4, 0}, {8, 0}, {8, 4}, {4, 4}}), 16.0f);
}

// Team sizes that split the index range unevenly, including more threads than fit. The runtime
// is reached through the process's symbol table, as the library links it privately.
// One team size per test process: the OpenMP runtime loses track of some of its own thread
// records when one process grows and shrinks its team several times, which the leak checker
// of the sanitized build would report against this test.
class LoopAreaTeamSize : public ::testing::TestWithParam<int> {};

TEST_P(LoopAreaTeamSize, MatchesSerialSum) {
  const auto set_threads =
      reinterpret_cast<void (*)(int)>(dlsym(RTLD_DEFAULT, "omp_set_num_threads"));
  if (set_threads == nullptr) GTEST_SKIP() << "OpenMP runtime not found";
  const Loop loop = circle(kAreaLoopParallelThreshold + 5, 250.0f);
  set_threads(GetParam());
  const float area = get_area_loop(loop);
  set_threads(2);
  EXPECT_FLOAT_EQ(area, serial_area_reference(loop));
}

INSTANTIATE_TEST_SUITE_P(UnevenTeams, LoopAreaTeamSize, ::testing::Values(1, 3, 7, 64));

// The counting rule step by step, one edge after another, as the reference for the library's
// reordered walk; a vertex within 1e-14 in both coordinates, or a point on an edge, counts 1.
int literal_intersections_to_left(const Loop& loop, const Point2& pt) {
  const int n = static_cast<int>(loop.size());
  int count = 0;
  for (int i = 0; i < n; ++i) {
    const Point2 a = loop[i], b = loop[(i + 1) % n];
    if (std::fabs(pt.x - a.x) < 1e-14 && std::fabs(pt.y - a.y) < 1e-14) return 1;
    if (std::fabs(pt.x - b.x) < 1e-14 && std::fabs(pt.y - b.y) < 1e-14) return 1;
    if (pt.y == a.y && pt.y == b.y) {
      if ((pt.x > a.x) != (pt.x > b.x)) return 1;
      continue;
    }
    const bool part = pt.y == a.y   ? b.y > a.y
                      : pt.y == b.y ? a.y > b.y
                                    : (pt.y > a.y) != (pt.y > b.y);
    if (!part) continue;
    const float X = (pt.y - a.y) / (b.y - a.y) * (b.x - a.x) + a.x;
    if (X == pt.x) return 1;
    if (pt.x > X) ++count;
  }
  return count;
}

// Loops on a coarse grid: many share heights, many edges are horizontal, and many query points
// fall on vertices and edges. Then the tolerance at its float boundaries.
TEST(RayCount, AgreesWithTheStepByStepRule) {
  std::mt19937 rng(12345);
  std::uniform_int_distribution<int> coord(0, 6), length(1, 12);
  for (int trial = 0; trial < 400; ++trial) {
    Loop loop(static_cast<size_t>(length(rng)));
    for (Point2& p : loop) p = Point2(coord(rng), coord(rng));
    for (int q = 0; q < 16 * 16; ++q) {
      const Point2 pt(q % 16 * 0.5f - 0.5f, q / 16 * 0.5f - 0.5f);
      ASSERT_EQ(get_number_of_intersections_to_left(loop, pt),
                literal_intersections_to_left(loop, pt))
          << "trial " << trial << " point " << pt.x << "," << pt.y;
      ASSERT_EQ(is_point_in_loop(pt, loop), literal_intersections_to_left(loop, pt) % 2 == 1);
    }
  }
  const std::pair<Point2, int> rows[] = {{{-5e-15f, -5e-15f}, 1},
                                         {{-2e-14f, -2e-14f}, 0},
                                         {{-0x1.6849b8p-47f, 0}, 1},  // last float below 1e-14
                                         {{-0x1.6849bap-47f, -0x1.6849bap-47f}, 0}};
  for (const auto& [pt, count] : rows) {
    EXPECT_EQ(get_number_of_intersections_to_left(kUnitSquare, pt), count) << pt.x;
  }
  EXPECT_EQ(get_number_of_intersections_to_left({}, Point2(0, 0)), 0);
}

TEST(SegmentLoop, Crossing) {
  const struct {
    Point2 a, b;
    bool crosses;
  } rows[] = {
      {{0.5f, 0.5f}, {0.5f, 0.5f}, false},  // zero length
      {{0.5f, 0}, {0.5f, 0}, false},        // zero length on an edge
      {{0.5f, -1}, {0.5f, 2}, true},
      {{-1, -1}, {2, 2}, true},
      {{0.2f, 0.5f}, {0.8f, 0.5f}, false},
      {{2, 0}, {3, 1}, false},
      {{0.5f, -1}, {0.5f, 0}, true},  // ends on an edge
      {{0.5f, 1}, {0.5f, 3}, true},   // starts on an edge, outward
      {{-1, 0}, {0, 0}, true},        // touches a vertex
      {{0.2f, 0}, {0.8f, 0}, false},  // along an edge, inside it
      {{-1, 0}, {2, 0}, true},        // along an edge, past both ends
      {{0.5f, -1}, {0.5f, -0.001f}, false},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(is_line_intersecting_loop(r.a, r.b, kUnitSquare), r.crosses)
        << r.a.x << "," << r.a.y << " " << r.b.x << "," << r.b.y;
  }
  EXPECT_FALSE(is_line_intersecting_loop({-1, -1}, {2, 2}, {}));
}

// Repeated vertices give zero-length edges, which are passed over.
TEST(LoopPair, Crossing) {
  const Loop big = {{-5, -5}, {5, -5}, {5, 5}, {-5, 5}};
  const Loop small = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
  const struct {
    Loop first, second;
    bool crosses;
  } rows[] = {
      {small, big, false},
      {big, small, false},
      {big, {{0, 0}, {10, 0}, {10, 10}, {0, 10}}, true},
      {{}, big, false},
      {big, {}, false},
      {{{5, 0}}, big, false},
      {{{0, 0}, {0, 0}, {10, 0}, {10, 0}, {10, 10}, {0, 10}}, big, true},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(is_loop_intersecting_other_loop(r.first, r.second), r.crosses)
        << r.first.size() << " " << r.second.size();
  }
}

// Every cross product of the tiny square is 1e-6, below the vote's threshold: the area
// decides. Where the vote is clear it agrees with the sign of the area, both ways round; the
// rectangle has extra points along every side, so extremes tie along whole stretches.
TEST(SimpleDirection, AgreesWithTheArea) {
  EXPECT_FALSE(is_widdershins_simple({{1, 1}}));
  EXPECT_FALSE(is_widdershins_simple({}));
  for (const Loop& loop :
       {Loop{{0, 0}, {0.001f, 0}, {0.001f, 0.001f}, {0, 0.001f}}, kL, circle(3, 50),
        circle(1000, 50),
        Loop{{0, 0}, {1, 0}, {2, 0}, {3, 0}, {3, 1}, {3, 2}, {2, 2}, {1, 2}, {0, 2}, {0, 1}}}) {
    ASSERT_TRUE(is_widdershins(loop));
    EXPECT_TRUE(is_widdershins_simple(loop)) << loop.size();
    EXPECT_FALSE(is_widdershins_simple(reversed(loop))) << loop.size();
  }
}

// A collinear overlap ends at `a` even when `a` lies outside cd; within the tolerance `a`
// itself is the crossing, just beyond it the crossing is interpolated.
TEST(CrossPoint, Intersection) {
  const struct {
    Point2 a, b, c, d;
    bool hit;
    Point2 out;
  } rows[] = {
      {{0, 0}, {2, 2}, {0, 2}, {2, 0}, true, {1, 1}},
      {{1, 0}, {1, 5}, {0, 0}, {2, 0}, true, {1, 0}},
      {{1, -1}, {1, 0}, {0, 0}, {2, 0}, true, {1, 0}},
      {{-1, 0}, {1, 0}, {0, 0}, {2, 0}, true, {-1, 0}},
      {{0, 0}, {1, 1}, {2, 0}, {3, 1}, false, {}},
      {{0, 0}, {2, 0}, {0, 1}, {2, 1}, false, {}},
      {{0, 0}, {1, 1}, {1, 0}, {0.9f, 0.4f}, false, {}},  // boxes overlap only
      {{1, -4e-6f}, {1, 1}, {0, 0}, {2, 0}, true, {1, -4e-6f}},
  };
  for (const auto& r : rows) {
    Point2 out(-999, -999);
    ASSERT_EQ(cross_point(r.a, r.b, r.c, r.d, out), r.hit) << r.a.x << "," << r.a.y;
    EXPECT_FLOAT_EQ(out.x, r.hit ? r.out.x : -999.0f);
    EXPECT_FLOAT_EQ(out.y, r.hit ? r.out.y : -999.0f);
  }
  Point2 out;
  ASSERT_TRUE(cross_point(Point2(1, -6e-6f), Point2(1, 1), Point2(0, 0), Point2(2, 0), out));
  EXPECT_TRUE(out.x == 1.0f && out.y != -6e-6f && std::fabs(out.y) < 1e-7f) << out.y;
}

}  // namespace
}  // namespace Quorvex
