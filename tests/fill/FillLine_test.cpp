#include "quorvex/fill/FillLine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "FillTestUtil.h"
#include "quorvex/fill/ZoneArrangement.h"

namespace Quorvex {
namespace {

using fill_test::Lines;
using fill_test::loop;
using fill_test::Loops;
using fill_test::Pts;
using fill_test::rect;

// The heights of the extra first and last lines: a thousandth of the spacing inside the
// extreme vertex heights, formed in double and narrowed.
float band_low(float min_h, float spacing) {
  return static_cast<float>(static_cast<double>(min_h) + 0.001 * static_cast<double>(spacing));
}
float band_high(float max_h, float spacing) {
  return static_cast<float>(static_cast<double>(max_h) - 0.001 * static_cast<double>(spacing));
}

Lines fill(const Loops& loops, float spacing, float min_length, bool connect, float angle = 0) {
  Lines out;
  EXPECT_EQ(get_fill_line_from_loops(loops, out, spacing, angle, min_length, connect), RETVAL_OK);
  return out;
}

// Where a grid line meets a vertex height it steps aside to a free zone 1e-7 wide.
double stepped(std::vector<double> vertex_heights, double grid) {
  ZoneArrangement zones;
  zones.set_zoneInterval(1e-7);
  zones.set_zoneSet(vertex_heights);
  return zones.getEmptyZ(grid);
}

// Lines at the band start, the grid from 0 in steps of the spacing, the band end; a hole's
// lines step off its vertex heights, which decides whether they cross it.
TEST(FillLine, BandLinesAndGridLines) {
  std::vector<Pts> expected = {{{0, band_low(0, 1)}, {10, band_low(0, 1)}}};
  for (int k = 1; k <= 9; ++k) expected.push_back({{0, float(k)}, {10, float(k)}});
  expected.push_back({{0, band_high(10, 1)}, {10, band_high(10, 1)}});
  EXPECT_EQ(fill_test::flat(fill({rect(0, 0, 10, 10)}, 1, 0, false)), expected);
  for (int k : {3, 7}) {
    const double z = stepped({0, 10, 3, 7}, k);  // narrowed it may be the vertex height again
    const float y = static_cast<float>(z);
    EXPECT_NE(z, k);
    expected[k] = z > 3 && z < 7 ? Pts{{0, y}, {3, y}, {7, y}, {10, y}} : Pts{{0, y}, {10, y}};
  }
  for (int k : {4, 5, 6})
    expected[k] = {{0, float(k)}, {3, float(k)}, {7, float(k)}, {10, float(k)}};
  EXPECT_EQ(fill_test::flat(fill({rect(0, 0, 10, 10), rect(3, 3, 7, 7, true)}, 1, 0, false)),
            expected);

  // Band from -0.5195 to 2.5995 at spacing 0.5: the grid line -0.5 lies within 0.05 of the
  // band's start, so no extra first line; 2.5 lies 0.0995 below its end, so the band end
  // comes last.
  const Lines lines = fill({rect(0, -0.52f, 4, 2.6f)}, 0.5f, 0, false);
  ASSERT_EQ(lines.size(), 8u);
  EXPECT_EQ((*lines.front())[0].y, -0.5f);
  EXPECT_EQ((*lines[6])[0].y, 2.5f);
  EXPECT_EQ((*lines.back())[0].y, band_high(2.6f, 0.5f));
}

// Every line spans the full width: touching loops cancel on the shared side, and far from the
// origin (2e6, beyond where zones near grid lines suffice) the band start rounds to the
// bottom itself and the grid line there steps off it.
TEST(FillLine, FullWidthLines) {
  const std::pair<Loops, float> rows[] = {{{rect(0, 0, 5, 10), rect(5, 0, 10, 10)}, 0.0f},
                                          {{rect(0, 2e6f, 10, 2e6f + 10)}, 2e6f}};
  for (const auto& [loops, bottom] : rows) {
    const Lines lines = fill(loops, 1, 0, false);
    ASSERT_GE(lines.size(), 9u);
    for (const auto& l : lines) {
      ASSERT_EQ(l->size(), 2u);
      EXPECT_TRUE((*l)[0].x == 0.0f && (*l)[1].x == 10.0f) << (*l)[0].y;
      EXPECT_TRUE((*l)[0].y >= bottom && (*l)[0].y <= bottom + 10) << (*l)[0].y;
    }
  }
}

// 2n+1 vertices on the left side at heights k * 1e-7 occupy a run of cells around the grid
// line at 0; the line steps to the nearest free cell past the run, also where the run is
// longer than the window of heights near grid lines.
TEST(FillLine, GridLineStepsPastARunOfVertexHeights) {
  for (int n : {3, 400}) {
    auto pts = std::make_shared<Point2Vector>(Point2Vector{{0, -5}, {10, -5}, {10, 5}, {0, 5}});
    std::vector<double> heights = {-5.0, 5.0};
    for (int k = n; k >= -n; --k) {
      pts->emplace_back(k % 2 != 0 ? -0.01f : 0.0f, static_cast<float>(k * 1e-7));
      heights.push_back(static_cast<float>(k * 1e-7));
    }
    const float expected_y = static_cast<float>(stepped(heights, 0));
    EXPECT_GT(std::fabs(expected_y), n * 1e-7f);
    const Lines lines = fill({pts}, 1, 0, false);
    ASSERT_EQ(lines.size(), 11u);  // the band start, -4 .. 4 and the band end
    EXPECT_TRUE((*lines[5])[0].y == expected_y && (*lines[5])[1] == Point2(10, expected_y)) << n;
  }
}

// Outline vertices and horizontal edges exactly at the height of the extra first or last
// line: each crossing is recorded once, where the outline passes through the line, and a local
// extreme only touches it. A shelf running right records its end by the rising edge that
// starts there; a shelf running left by the falling edge. A flat top at the height of the last
// line, which a taller square sets, records only the start of the falling edge that leaves it
// (the end test looks two nodes ahead): three crossings, and the whole line is dropped.
TEST(FillLine, OutlineOnABandLineIsCrossedOnce) {
  const float m0 = band_low(0, 1), m1 = band_low(-1, 1), top = band_high(10, 1);
  const struct {
    Loops loops;
    bool last;  // the last line, else the first
    Pts expected;
  } rows[] = {
      {{loop({{0, 0}, {10, 0}, {10, 10}, {0, 10}, {-1, m0}})}, false, {{-1, m0}, {10, m0}}},
      {{loop({{0, -1}, {10, -1}, {10, 10}, {6, 10}, {5, m1}, {4, 10}, {0, 10}})},
       false,
       {{0, m1}, {10, m1}}},
      {{loop({{0, 0}, {4, 0}, {4, m0}, {10, m0}, {10, 10}, {0, 10}})}, false, {{0, m0}, {10, m0}}},
      {{loop({{2, 0}, {10, 0}, {10, 10}, {6, 10}, {6, top}, {2, top}})},
       true,
       {{2, top}, {10, top}}},
      {{rect(0, 0, 10, top), rect(20, 0, 30, 10)}, true, {{0, 9}, {10, 9}, {20, 9}, {30, 9}}},
  };
  for (const auto& r : rows) {
    const Lines lines = fill(r.loops, 1, 0, false);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(r.last ? *lines.back() : *lines.front(), r.expected) << r.expected[0].x;
  }
}

TEST(FillLine, ConnectedConvexRegionIsOneZigzagFromTheLowestLinesSmallerX) {
  Pts expected;
  int i = 0;
  for (Pts l : fill_test::flat(fill({rect(0, 0, 10, 10)}, 1, 0, false))) {
    if (i++ % 2 == 1) std::reverse(l.begin(), l.end());
    expected.insert(expected.end(), l.begin(), l.end());
  }
  const Lines lines = fill({rect(0, 0, 10, 10)}, 1, 0, true);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(*lines[0], expected);
  EXPECT_EQ(expected.size(), 22u);
}

// Position of the run `want` inside `got`, or -1.
long find_run(const Point2Vector& got, const Pts& want) {
  const auto it = std::search(got.begin(), got.end(), want.begin(), want.end());
  return it == got.end() ? -1 : it - got.begin();
}

// A U: at the inner end (7,3) of the right prong's lowest segment, the walk one way reaches
// (3,3) on the same line around the bottom of the gap, the other way (7,4) one line up. The
// lower line wins, and the outline between comes along. On equal lines the path turns back to
// the end behind the direction of travel.
TEST(FillLine, LinkingTieRules) {
  const Lines u =
      fill({loop({{0, 0}, {10, 0}, {10, 10}, {7, 10}, {7, 2.5f}, {3, 2.5f}, {3, 10}, {0, 10}})}, 1,
           0, true);
  ASSERT_EQ(u.size(), 2u);
  EXPECT_GE(
      find_run(
          *u[0],
          {{0, 2}, {10, 2}, {10, 3}, {7, 3}, {7, 2.5f}, {3, 2.5f}, {3, 3}, {0, 3}, {0, 4}, {3, 4}}),
      0);
  EXPECT_TRUE((*u[1])[0] == Point2(7, 4));  // the right prong above line 3, from its lowest left
  // Travelling right along line 4 into a hole whose other side on line 4 is too short to
  // link, both walks around the hole reach line 5: at (3,5) and at the hole's right side.
  const Lines hole = fill(
      {rect(0, 0, 10, 10), loop({{3, 3.5f}, {9.8f, 3.5f}, {9.8f, 4.2f}, {6, 5.5f}, {3, 5.5f}})}, 1,
      1, true);
  ASSERT_FALSE(hole.empty());
  EXPECT_GE(find_run(*hole[0], {{10, 3}, {0, 3}, {0, 4}, {3, 4}, {3, 5}, {0, 5}}), 0);
}

// The connection copies outline vertices farther than min_length from its ends; min_length
// changes nothing in the plain lines.
TEST(FillLine, MinLengthThinsOnlyTheLinking) {
  const Loops loops = {loop({{0, 0}, {10, 0}, {11, 4.5f}, {10, 10}, {0, 10}})};
  const Lines all = fill(loops, 1, 0, true), thinned = fill(loops, 1, 1, true);
  ASSERT_TRUE(all.size() == 1 && thinned.size() == 1);
  EXPECT_NE(std::find(all[0]->begin(), all[0]->end(), Point2(11, 4.5f)), all[0]->end());
  Pts without_vertex = *all[0];
  without_vertex.erase(std::find(without_vertex.begin(), without_vertex.end(), Point2(11, 4.5f)));
  EXPECT_EQ(*thinned[0], without_vertex);
  EXPECT_EQ(fill_test::flat(fill(loops, 1, 3, false)), fill_test::flat(fill(loops, 1, 0, false)));
}

// Zones of 1e-7 carry 64-bit numbers, so heights reach up to, not including, 2^63 zones
// from zero; up there the grid lines keep their own heights, one per line.
TEST(FillLine, HeightsUpToTheLastZoneFillAndBeyondAreRefused) {
  const double limit = 9223372036854775808.0;
  float top = 9.2e11f;
  while (std::fabs(static_cast<double>(std::nextafter(top, 1e13f)) / 1e-7) < limit) {
    top = std::nextafter(top, 1e13f);
  }
  const float spacing = 4e9f;
  for (const float sign : {1.0f, -1.0f}) {
    const Loops inside = {sign > 0 ? rect(0, 1e11f, 10, top) : rect(0, -top, 10, -1e11f)};
    const Lines lines = fill(inside, spacing, 0, false);
    ASSERT_GE(lines.size(), 200u);
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
      EXPECT_LT((*lines[i])[0].y, (*lines[i + 1])[0].y) << i;
    }
    const float beyond = std::nextafter(top, 1e13f);
    const Loops outside = {sign > 0 ? rect(0, 1e11f, 10, beyond) : rect(0, -beyond, 10, -1e11f)};
    Lines out = {std::make_shared<Point2Vector>(Point2Vector{{1, 2}})};
    const auto before = out[0];
    EXPECT_EQ(get_fill_line_from_loops(outside, out, spacing, 0, 0, false), RETVAL_BAD_INPUT);
    EXPECT_TRUE(out.size() == 1 && out[0] == before);
  }
}

TEST(FillLine, RefusalsReturnTheirCodeAndLeaveOutputAlone) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  auto comb = std::make_shared<Point2Vector>();  // with 10 000 lines every edge crosses every line
  for (int i = 0; i < 2000; ++i) comb->insert(comb->end(), {{float(i), 0}, {i + 0.5f, 100}});
  comb->insert(comb->end(), {{2000, -1}, {0, -1}});
  const auto square = rect(0, 0, 10, 10);
  const struct {
    const char* name;
    Loops loops;
    float spacing, angle;
    RetVal expected;
  } rows[] = {
      {"no loops", {}, 1, 0, RETVAL_BAD_INPUT},
      {"zero spacing", {square}, 0, 0, RETVAL_BAD_INPUT},
      {"NaN spacing", {square}, nan, 0, RETVAL_BAD_INPUT},
      {"infinite angle", {square}, 1, inf, RETVAL_BAD_INPUT},
      {"NaN vertex", {loop({{0, 0}, {nan, 0}, {10, 10}})}, 1, 0, RETVAL_BAD_INPUT},
      {"rotation leaves float range", {rect(0, 0, 3e38f, 3e38f)}, 1, 45, RETVAL_BAD_INPUT},
      {"too many lines", {square}, 1e-6f, 0, RETVAL_BAD_INPUT},
      {"too many crossings", {comb}, 0.01f, 0, RETVAL_BAD_INPUT},
      {"float step vanishes", {rect(0, 1e8f, 10, 1e8f + 4096)}, 1, 0, RETVAL_BAD_INPUT},
      {"grid index beyond 32 bits", {rect(0, 1e10f, 10, 1e10f + 1e4f)}, 1, 0, RETVAL_BAD_INPUT},
      // Heights of 2^63 zones of 1e-7 and more share one saturated zone: all grid lines there
      // used to step to one height (2 lines for the first, 57 stacked at 9.22e11 for the
      // second).
      {"heights beyond the zones", {rect(0, 1e12f, 10, 3e12f)}, 1e10f, 0, RETVAL_BAD_INPUT},
      {"top beyond the zones", {rect(0, 5e11f, 10, 1.5e12f)}, 1e10f, 0, RETVAL_BAD_INPUT},
      {"bottom beyond the zones", {rect(0, -1.5e12f, 10, -5e11f)}, 1e10f, 0, RETVAL_BAD_INPUT},
      {"rotated beyond the zones", {rect(1e12f, 0, 3e12f, 10)}, 1e10f, 90, RETVAL_BAD_INPUT},
      {"all loops empty", {std::make_shared<const Point2Vector>(), nullptr}, 1, 0, RETVAL_FAILED},
      {"all points equal", {loop({{3, 3}, {3, 3}, {3, 3}})}, 1, 0, RETVAL_FAILED},
      {"huge spacing", {square}, 1e30f, 0, RETVAL_FAILED},
      {"infinite spacing", {square}, inf, 0, RETVAL_FAILED},
      {"thinner than the spacing", {rect(0, 0, 10, 0.8f)}, 1, 0, RETVAL_FAILED},
  };
  for (const auto& r : rows) {
    Lines out = {std::make_shared<Point2Vector>(Point2Vector{{1, 2}, {3, 4}})};
    const auto before = out[0];
    for (bool connect : {false, true}) {
      EXPECT_EQ(get_fill_line_from_loops(r.loops, out, r.spacing, r.angle, 0.0f, connect),
                r.expected)
          << r.name;
      EXPECT_TRUE(out.size() == 1 && out[0] == before) << r.name;
    }
  }
}

}  // namespace
}  // namespace Quorvex
