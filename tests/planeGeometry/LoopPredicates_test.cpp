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

TEST(LoopArea, AreaAndDirection) {
  const struct {
    Loop loop;
    float area;
    bool widdershins;
  } rows[] = {
      {kUnitSquare, 1.0f, true},
      {reversed(kUnitSquare), -1.0f, false},
      {{}, 0.0f, false},
      {{{3, 4}}, 0.0f, false},
      {{{0, 0}, {5, 7}}, 0.0f, false},
      {kL, 3.0f, true},
      {{{100, 100}, {104, 100}, {100, 103}}, 6.0f, true},
      {{{0, 0}, {1, 1}, {2, 2}}, 0.0f, false},
      // Away from the origin the closing edge carries -16 of the doubled sum.
      {{{4, 0}, {8, 0}, {8, 4}, {4, 4}}, 16.0f, true},
  };
  for (const auto& r : rows) {
    EXPECT_FLOAT_EQ(get_area_loop(r.loop), r.area) << r.loop.size();
    EXPECT_EQ(is_widdershins(r.loop), r.widdershins) << r.area;
  }
}

// Lengths around the point where the sum moves to a thread team: the split of the index range
// must still cover every edge once, the closing edge included.
TEST(LoopArea, TeamSumMatchesSerialSumAroundTheThreshold) {
  for (int n : {17, kAreaLoopParallelThreshold - 1, kAreaLoopParallelThreshold,
                kAreaLoopParallelThreshold + 1, 100003}) {
    const Loop loop = circle(n, 1000.0f);
    const float area = get_area_loop(loop);
    EXPECT_FLOAT_EQ(area, serial_area_reference(loop)) << n;
    EXPECT_FLOAT_EQ(get_area_loop(reversed(loop)), -area) << n;
    EXPECT_TRUE(is_widdershins(loop)) << n;
  }
}

// Team sizes that split the index range unevenly, including more threads than fit. The runtime
// is reached through the process's symbol table, as the library links it privately.
// One team size per test process: the OpenMP runtime loses track of some of its own thread
// records when one process grows and shrinks its team several times, which the leak checker
// of the sanitized build would report against this test.
class LoopAreaTeamSize : public ::testing::TestWithParam<int> {};

TEST_P(LoopAreaTeamSize, MatchesSerialSum) {
  using SetThreadsFn = void (*)(int);
  const auto set_threads =
      reinterpret_cast<SetThreadsFn>(dlsym(RTLD_DEFAULT, "omp_set_num_threads"));
  if (set_threads == nullptr) GTEST_SKIP() << "OpenMP runtime not found";
  const Loop loop = circle(kAreaLoopParallelThreshold + 5, 250.0f);
  set_threads(GetParam());
  const float area = get_area_loop(loop);
  set_threads(2);
  EXPECT_FLOAT_EQ(area, serial_area_reference(loop));
}

INSTANTIATE_TEST_SUITE_P(UnevenTeams, LoopAreaTeamSize, ::testing::Values(1, 3, 7, 64));

// The tie rules and the vertex tolerance (1e-14 in both coordinates); edges, vertices and
// horizontal runs at large are compared with the step-by-step rule below.
TEST(RayCount, CountAndInside) {
  const struct {
    Loop loop;
    Point2 point;
    int count;
  } rows[] = {
      {{}, {0, 0}, 0},
      {{{2, 3}}, {2, 3}, 1},
      {{{2, 3}}, {5, 3}, 0},
      {kUnitSquare, {0.5f, 0.5f}, 1},
      {kUnitSquare, {2, 0.5f}, 2},
      {kUnitSquare, {1, 1}, 1},
      {kDiamond, {2, 0}, 2},
      {kValley, {5, 1}, 2},  // a local minimum counts twice
      {kPeak, {5, 1}, 0},    // a local maximum never
      {kUnitSquare, {-5e-15f, -5e-15f}, 1},
      {kUnitSquare, {-2e-14f, -2e-14f}, 0},
      {kUnitSquare, {-0x1.6849b8p-47f, 0}, 1},                 // last float below 1e-14
      {kUnitSquare, {-0x1.6849bap-47f, -0x1.6849bap-47f}, 0},  // first float above
  };
  for (const auto& r : rows) {
    EXPECT_EQ(get_number_of_intersections_to_left(r.loop, r.point), r.count)
        << r.point.x << "," << r.point.y;
    EXPECT_EQ(is_point_in_loop(r.point, r.loop), r.count % 2 == 1);
  }
}

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

TEST(RayCount, AgreesWithStepByStepRuleOnGridLoops) {
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

TEST(SegmentLoop, Crossing) {
  const struct {
    Point2 a, b;
    Loop loop;
    bool crosses;
  } rows[] = {
      {{0.5f, 0.5f}, {0.5f, 0.5f}, kUnitSquare, false},  // zero length
      {{0.5f, 0}, {0.5f, 0}, kUnitSquare, false},        // zero length on an edge
      {{-1, -1}, {2, 2}, {}, false},
      {{0.5f, -1}, {0.5f, 2}, kUnitSquare, true},
      {{-1, -1}, {2, 2}, kUnitSquare, true},
      {{0.2f, 0.5f}, {0.8f, 0.5f}, kUnitSquare, false},
      {{2, 0}, {3, 1}, kUnitSquare, false},
      {{0.5f, -1}, {0.5f, 0}, kUnitSquare, true},  // ends on an edge
      {{0.5f, 1}, {0.5f, 3}, kUnitSquare, true},   // starts on an edge, outward
      {{-1, 0}, {0, 0}, kUnitSquare, true},        // touches a vertex
      {{0.2f, 0}, {0.8f, 0}, kUnitSquare, false},  // along an edge, inside it
      {{-1, 0}, {2, 0}, kUnitSquare, true},        // along an edge, past both ends
      {{0.5f, -1}, {0.5f, -0.001f}, kUnitSquare, false},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(is_line_intersecting_loop(r.a, r.b, r.loop), r.crosses)
        << r.a.x << "," << r.a.y << " " << r.b.x << "," << r.b.y;
  }
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
      {small, {{20, 20}, {21, 20}, {21, 21}}, false},
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
// decides. Where the vote is clear it agrees with the sign of the area, both ways round.
TEST(SimpleDirection, AgreesWithTheArea) {
  const Loop tiny = {{0, 0}, {0.001f, 0}, {0.001f, 0.001f}, {0, 0.001f}};
  EXPECT_TRUE(is_widdershins_simple(tiny));
  EXPECT_FALSE(is_widdershins_simple(reversed(tiny)));
  EXPECT_FALSE(is_widdershins_simple({{1, 1}}));
  EXPECT_FALSE(is_widdershins_simple({}));
  // The rectangle has extra points along every side, so extremes tie along whole stretches.
  std::vector<Loop> loops = {
      kUnitSquare,
      kL,
      kDiamond,
      {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {3, 1}, {3, 2}, {2, 2}, {1, 2}, {0, 2}, {0, 1}}};
  for (int n : {3, 5, 8, 64, 1000}) loops.push_back(circle(n, 50.0f));
  for (const Loop& loop : loops) {
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
      {{0, 0}, {4, 0}, {1, -1}, {1, 3}, true, {1, 0}},
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
  Point2 out(-999, -999);
  ASSERT_TRUE(cross_point(Point2(1, -6e-6f), Point2(1, 1), Point2(0, 0), Point2(2, 0), out));
  EXPECT_NE(out.y, -6e-6f);
  EXPECT_NEAR(out.y, 0.0f, 1e-7f);
  EXPECT_FLOAT_EQ(out.x, 1.0f);
}

}  // namespace
}  // namespace Quorvex
