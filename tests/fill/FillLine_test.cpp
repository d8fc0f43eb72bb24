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
using fill_test::rect;
using fill_test::rect_cw;

// The heights of the extra first and last lines: a thousandth of the spacing inside the
// extreme vertex heights, formed in double and narrowed.
float band_low(float min_h, float spacing) {
  return static_cast<float>(static_cast<double>(min_h) + 0.001 * static_cast<double>(spacing));
}
float band_high(float max_h, float spacing) {
  return static_cast<float>(static_cast<double>(max_h) - 0.001 * static_cast<double>(spacing));
}

Lines fill(const Loops& loops, float spacing, float angle, float min_length, bool connect,
           RetVal expected = RETVAL_OK) {
  Lines out;
  EXPECT_EQ(get_fill_line_from_loops(loops, out, spacing, angle, min_length, connect), expected);
  return out;
}

TEST(FillLine, SquareAtZeroDegreesGivesBandLinesAndGridLines) {
  const Lines lines = fill({rect(0, 0, 10, 10)}, 1.0f, 0.0f, 0.0f, false);
  std::vector<float> ys = {band_low(0, 1)};
  for (int k = 1; k <= 9; ++k) ys.push_back(static_cast<float>(k));
  ys.push_back(band_high(10, 1));
  ASSERT_EQ(lines.size(), ys.size());
  for (size_t i = 0; i < ys.size(); ++i) {
    EXPECT_TRUE(fill_test::same_points(*lines[i], {{0, ys[i]}, {10, ys[i]}})) << i;
  }
}

// Every line spans the full width: touching loops cancel on the shared side, and far from the
// origin (2e6, beyond where zones near grid lines suffice) the band start rounds to the
// bottom itself and the grid line there steps off it.
TEST(FillLine, FullWidthLines) {
  const std::pair<Loops, float> rows[] = {{{rect(0, 0, 5, 10), rect(5, 0, 10, 10)}, 0.0f},
                                          {{rect(0, 2e6f, 10, 2e6f + 10)}, 2e6f}};
  for (const auto& r : rows) {
    const Lines lines = fill(r.first, 1.0f, 0.0f, 0.0f, false);
    ASSERT_GE(lines.size(), 9u);
    for (const auto& l : lines) {
      ASSERT_EQ(l->size(), 2u);
      EXPECT_TRUE((*l)[0].x == 0.0f && (*l)[1].x == 10.0f) << (*l)[0].y;
      EXPECT_GE((*l)[0].y, r.second);
      EXPECT_LE((*l)[0].y, r.second + 10);
    }
  }
}

TEST(FillLine, BandLinesLeftOutWhenGridIsWithinATenthOfSpacing) {
  // Band from -0.5195 to 2.5995 at spacing 0.5: the grid line -0.5 lies within 0.05 of the
  // band's start, so no extra first line; 2.5 lies 0.0995 below its end, so the band end
  // comes last.
  const Lines lines = fill({rect(0, -0.52f, 4, 2.6f)}, 0.5f, 0.0f, 0.0f, false);
  ASSERT_EQ(lines.size(), 8u);
  EXPECT_EQ((*lines.front())[0].y, -0.5f);
  EXPECT_EQ((*lines[6])[0].y, 2.5f);
  EXPECT_EQ((*lines.back())[0].y, band_high(2.6f, 0.5f));
}

TEST(FillLine, HoleSplitsTheLinesThatCrossIt) {
  const Loops loops = {rect(0, 0, 10, 10), rect_cw(3, 3, 7, 7)};
  const Lines lines = fill(loops, 1.0f, 0.0f, 0.0f, false);
  ASSERT_EQ(lines.size(), 11u);
  // The grid lines at 3 and 7 meet hole vertices and step aside by 1e-7 to a free zone;
  // which side decides whether they still cross the hole.
  ZoneArrangement zones;
  zones.set_zoneInterval(1e-7);
  zones.set_zoneSet({0.0, 10.0, 3.0, 7.0});
  const double z3 = zones.getEmptyZ(3.0);
  const double z7 = zones.getEmptyZ(7.0);
  EXPECT_NE(z3, 3.0);
  EXPECT_NE(z7, 7.0);
  for (int k = 1; k <= 9; ++k) {
    const Point2Vector& l = *lines[static_cast<size_t>(k)];
    const double z = k == 3 ? z3 : (k == 7 ? z7 : k);
    const bool through_hole = z > 3.0 && z < 7.0;
    ASSERT_EQ(l.size(), through_hole ? 4u : 2u) << "line " << k;
    EXPECT_EQ(l[0].x, 0.0f);
    if (through_hole) {
      EXPECT_EQ(l[1].x, 3.0f);
      EXPECT_EQ(l[2].x, 7.0f);
    }
    EXPECT_EQ(l.back().x, 10.0f);
    // The narrowed height may be the vertex height again.
    EXPECT_EQ(l[0].y, static_cast<float>(z));
  }
}

// 2n+1 vertices on the left side at heights k * 1e-7 occupy a run of cells around the grid
// line at 0; the line steps to the nearest free cell past the run, however long.
TEST(FillLine, GridLineStepsPastARunOfVertexHeights) {
  for (int n : {3, 20, 100, 400}) {
    auto pts = std::make_shared<Point2Vector>(Point2Vector{{0, -5}, {10, -5}, {10, 5}, {0, 5}});
    std::vector<double> heights = {-5.0, 5.0};
    for (int k = n; k >= -n; --k) {
      const float y = static_cast<float>(k * 1e-7);
      pts->emplace_back(k % 2 != 0 ? -0.01f : 0.0f, y);
      heights.push_back(y);
    }
    ZoneArrangement zones;
    zones.set_zoneInterval(1e-7);
    zones.set_zoneSet(heights);
    const float expected_y = static_cast<float>(zones.getEmptyZ(0.0));
    EXPECT_GT(std::fabs(expected_y), n * 1e-7f);
    const Lines lines = fill({pts}, 1.0f, 0.0f, 0.0f, false);
    ASSERT_EQ(lines.size(), 11u);  // the band start, -4 .. 4 and the band end
    EXPECT_EQ((*lines[5])[0].y, expected_y) << n;
    EXPECT_EQ((*lines[5])[1].x, 10.0f) << n;
  }
}

TEST(FillLine, IslandInsideHoleIsFilledAgain) {
  const Loops loops = {rect(0, 0, 10, 10), rect_cw(2, 2, 8, 8), rect(4, 4, 6, 6)};
  const Lines lines = fill(loops, 1.0f, 0.0f, 0.0f, false);
  // Line 5 crosses all three loops: 0-2, 4-6, 8-10.
  const Point2Vector& l = *lines[5];
  ASSERT_EQ(l.size(), 6u);
  const float xs[6] = {0, 2, 4, 6, 8, 10};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(l[static_cast<size_t>(i)].x, xs[i]);
}

// Outline vertices and horizontal edges exactly at the height of the extra first or last
// line: each crossing is recorded once, where the outline passes through the line, and a local
// extreme only touches it. A shelf running right records its end by the rising edge that
// starts there; a shelf running left by the falling edge.
TEST(FillLine, OutlineOnABandLineIsCrossedOnce) {
  const float m0 = band_low(0, 1), m1 = band_low(-1, 1), top = band_high(10, 1);
  const struct {
    const char* name;
    Loops loops;
    bool last;  // the last line, else the first
    float x0, x1, y;
  } rows[] = {
      {"vertex bends out",
       {loop({{0, 0}, {10, 0}, {10, 10}, {0, 10}, {-1, m0}})},
       false,
       -1,
       10,
       m0},
      {"notch from the top touches",
       {loop({{0, -1}, {10, -1}, {10, 10}, {6, 10}, {5, m1}, {4, 10}, {0, 10}})},
       false,
       0,
       10,
       m1},
      {"shelf running right",
       {loop({{0, 0}, {4, 0}, {4, m0}, {10, m0}, {10, 10}, {0, 10}})},
       false,
       0,
       10,
       m0},
      {"shelf running left",
       {loop({{2, 0}, {10, 0}, {10, 10}, {6, 10}, {6, top}, {2, top}})},
       true,
       2,
       10,
       top},
  };
  for (const auto& r : rows) {
    const Lines lines = fill(r.loops, 1.0f, 0.0f, 0.0f, false);
    ASSERT_FALSE(lines.empty()) << r.name;
    const Point2Vector& l = r.last ? *lines.back() : *lines.front();
    ASSERT_EQ(l.size(), 2u) << r.name;
    EXPECT_TRUE(l[0].x == r.x0 && l[1].x == r.x1 && l[0].y == r.y && l[1].y == r.y) << r.name;
  }
}

TEST(FillLine, PlateauOnBandLineLeavesOddParityAndDropsTheLine) {
  // The flat top of one square lies at the height of the last line, which a second, taller
  // square sets. Only the falling edge that leaves the top records its start, since the end
  // test looks two nodes ahead: three crossings, and the whole line is dropped.
  const float top = band_high(10, 1);
  const Loops loops = {rect(0, 0, 10, top), rect(20, 0, 30, 10)};
  const Lines lines = fill(loops, 1.0f, 0.0f, 0.0f, false);
  ASSERT_EQ(lines.size(), 10u);
  EXPECT_EQ((*lines.back())[0].y, 9.0f);
  EXPECT_EQ(lines.back()->size(), 4u);
}

TEST(FillLine, GridIsSharedAcrossRegions) {
  // Two regions at the same angle share scan heights where both have lines.
  const Lines a = fill({rect(0, 0.3f, 5, 7.7f)}, 1.0f, 0.0f, 0.0f, false);
  const Lines b = fill({rect(20, 2.6f, 30, 9.1f)}, 1.0f, 0.0f, 0.0f, false);
  std::vector<float> ya, yb;
  for (const auto& l : a) ya.push_back((*l)[0].y);
  for (const auto& l : b) yb.push_back((*l)[0].y);
  for (float y : {3.0f, 4.0f, 5.0f, 6.0f, 7.0f}) {
    EXPECT_NE(std::find(ya.begin(), ya.end(), y), ya.end());
    EXPECT_NE(std::find(yb.begin(), yb.end(), y), yb.end());
  }
}

TEST(FillLine, ConnectedConvexRegionIsOneZigzag) {
  const Lines lines = fill({rect(0, 0, 10, 10)}, 1.0f, 0.0f, 0.0f, true);
  ASSERT_EQ(lines.size(), 1u);
  const Point2Vector& z = *lines[0];
  ASSERT_EQ(z.size(), 22u);
  // Starts at the end of the lowest line with the smaller x.
  EXPECT_EQ(z[0].x, 0.0f);
  EXPECT_EQ(z[0].y, band_low(0, 1));
  for (size_t i = 0; i < z.size(); i += 2) {
    const bool rightward = (i / 2) % 2 == 0;
    EXPECT_EQ(z[i].x, rightward ? 0.0f : 10.0f);
    EXPECT_EQ(z[i + 1].x, rightward ? 10.0f : 0.0f);
    EXPECT_EQ(z[i].y, z[i + 1].y);
  }
}

// Position of the run `want` inside `got`, or -1.
long find_run(const Point2Vector& got, const std::vector<Point2>& want) {
  for (size_t i = 0; i + want.size() <= got.size(); ++i) {
    bool match = true;
    for (size_t j = 0; j < want.size() && match; ++j) {
      match = got[i + j].x == want[j].x && got[i + j].y == want[j].y;
    }
    if (match) return static_cast<long>(i);
  }
  return -1;
}

TEST(FillLine, LinkingPrefersTheLowerLineAndCopiesTheOutlineBetween) {
  // A U: at the inner end (7,3) of the right prong's lowest segment, the walk one way
  // reaches (3,3) on the same line around the bottom of the gap, the other way (7,4) one
  // line up. The lower line wins, and the outline between comes along.
  const Loops loops = {
      loop({{0, 0}, {10, 0}, {10, 10}, {7, 10}, {7, 2.5f}, {3, 2.5f}, {3, 10}, {0, 10}})};
  const Lines lines = fill(loops, 1.0f, 0.0f, 0.0f, true);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_GE(
      find_run(
          *lines[0],
          {{0, 2}, {10, 2}, {10, 3}, {7, 3}, {7, 2.5f}, {3, 2.5f}, {3, 3}, {0, 3}, {0, 4}, {3, 4}}),
      0);
  // The right prong above line 3 is the second polyline, from its lowest segment's left end.
  EXPECT_EQ((*lines[1])[0].x, 7.0f);
  EXPECT_EQ((*lines[1])[0].y, 4.0f);
}

TEST(FillLine, LinkingOnEqualLinesTurnsBackAgainstTheTravel) {
  // Travelling right along line 4 into a hole whose other side on line 4 is too short to
  // link, both walks around the hole reach line 5: at (3,5) and at the hole's right side.
  // The path turns back to (3,5), the one behind the direction of travel, and runs left.
  const Loops loops = {rect(0, 0, 10, 10),
                       loop({{3, 3.5f}, {9.8f, 3.5f}, {9.8f, 4.2f}, {6, 5.5f}, {3, 5.5f}})};
  const Lines lines = fill(loops, 1.0f, 0.0f, 1.0f, true);
  ASSERT_FALSE(lines.empty());
  EXPECT_GE(find_run(*lines[0], {{10, 3}, {0, 3}, {0, 4}, {3, 4}, {3, 5}, {0, 5}}), 0);
}

TEST(FillLine, ConnectionCopiesOutlineVerticesFartherThanMinLength) {
  // A vertex on the right side between the lines at 4 and 5.
  const Loops loops = {loop({{0, 0}, {10, 0}, {11, 4.5f}, {10, 10}, {0, 10}})};
  const Point2 vertex(11, 4.5f);
  auto holds_vertex = [&](const Lines& lines) {
    for (const auto& l : lines) {
      for (const Point2& p : *l) {
        if (p.x == vertex.x && p.y == vertex.y) return true;
      }
    }
    return false;
  };
  const Lines all = fill(loops, 1.0f, 0.0f, 0.0f, true);
  ASSERT_EQ(all.size(), 1u);
  EXPECT_TRUE(holds_vertex(all));
  const Lines thinned = fill(loops, 1.0f, 0.0f, 1.0f, true);
  ASSERT_EQ(thinned.size(), 1u);
  EXPECT_FALSE(holds_vertex(thinned));
  EXPECT_EQ(thinned[0]->size(), all[0]->size() - 1);
}

TEST(FillLine, MinLengthAffectsOnlyTheLinking) {
  // A narrow spike at the top gives short segments.
  const Loops loops = {loop({{0, 0}, {10, 0}, {10, 5}, {5.2f, 5}, {5, 9}, {4.8f, 5}, {0, 5}})};
  const Lines plain_short = fill(loops, 1.0f, 0.0f, 3.0f, false);
  const Lines plain = fill(loops, 1.0f, 0.0f, 0.0f, false);
  ASSERT_EQ(plain.size(), plain_short.size());
  size_t short_segments = 0;
  for (size_t i = 0; i < plain.size(); ++i) {
    EXPECT_TRUE(fill_test::same_points(*plain[i], *plain_short[i]));
    for (size_t j = 0; j < plain[i]->size(); j += 2) {
      if (std::fabs((*plain[i])[j].x - (*plain[i])[j + 1].x) < 3.0f) ++short_segments;
    }
  }
  EXPECT_GT(short_segments, 0u);
  // Linked: the short segments are left out.
  const Lines linked = fill(loops, 1.0f, 0.0f, 3.0f, true);
  for (const auto& l : linked) {
    for (size_t j = 1; j < l->size(); ++j) {
      const Point2& a = (*l)[j - 1];
      const Point2& b = (*l)[j];
      if (a.y == b.y) {
        EXPECT_FALSE(std::fabs(a.x - b.x) < 3.0f && a.y > 5.0f);
      }
    }
  }
}

// 2000 teeth over the full height: with 10 000 lines every edge crosses every line.
std::shared_ptr<const Point2Vector> comb() {
  auto pts = std::make_shared<Point2Vector>();
  for (int i = 0; i < 2000; ++i) {
    pts->emplace_back(static_cast<float>(i), 0.0f);
    pts->emplace_back(i + 0.5f, 100.0f);
  }
  pts->emplace_back(2000.0f, -1.0f);
  pts->emplace_back(0.0f, -1.0f);
  return pts;
}

TEST(FillLine, RefusalsReturnTheirCodeAndLeaveOutputAlone) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  const auto square = rect(0, 0, 10, 10);
  const struct {
    const char* name;
    Loops loops;
    float spacing, angle;
    RetVal expected;
  } rows[] = {
      {"no loops", {}, 1, 0, RETVAL_BAD_INPUT},
      {"zero spacing", {square}, 0, 0, RETVAL_BAD_INPUT},
      {"negative spacing", {square}, -1, 0, RETVAL_BAD_INPUT},
      {"NaN spacing", {square}, nan, 0, RETVAL_BAD_INPUT},
      {"NaN angle", {square}, 1, nan, RETVAL_BAD_INPUT},
      {"infinite angle", {square}, 1, inf, RETVAL_BAD_INPUT},
      {"NaN vertex", {loop({{0, 0}, {nan, 0}, {10, 10}})}, 1, 0, RETVAL_BAD_INPUT},
      {"infinite vertex", {loop({{0, 0}, {10, inf}, {10, 10}})}, 1, 0, RETVAL_BAD_INPUT},
      {"rotation leaves float range", {rect(0, 0, 3e38f, 3e38f)}, 1, 45, RETVAL_BAD_INPUT},
      {"too many lines", {square}, 1e-6f, 0, RETVAL_BAD_INPUT},
      {"too many crossings", {comb()}, 0.01f, 0, RETVAL_BAD_INPUT},
      {"float step vanishes", {rect(0, 1e8f, 10, 1e8f + 4096)}, 1, 0, RETVAL_BAD_INPUT},
      {"grid index beyond 32 bits", {rect(0, 1e10f, 10, 1e10f + 1e4f)}, 1, 0, RETVAL_BAD_INPUT},
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
      ASSERT_EQ(out.size(), 1u);
      EXPECT_EQ(out[0], before) << r.name;
    }
  }
}

TEST(FillLine, DegenerateLoopsSucceedWithoutSegmentsOfLength) {
  // A collinear loop encloses nothing; loops below 3 vertices only widen the extent.
  for (bool connect : {false, true}) {
    const Lines collinear = fill({loop({{0, 0}, {5, 5}, {10, 10}})}, 1.0f, 0.0f, 0.0f, connect);
    for (const auto& l : collinear) {
      for (size_t j = 1; j < l->size(); ++j) {
        EXPECT_LT(std::fabs((*l)[j].x - (*l)[j - 1].x), 1e-4f);
      }
    }
    const Lines pair_only = fill({loop({{0, 0}, {0, 10}})}, 1.0f, 0.0f, 0.0f, connect);
    EXPECT_TRUE(pair_only.empty());
    // The single vertex at height 20 adds lines above the square that stay empty.
    const Lines widened = fill({rect(0, 0, 10, 10), loop({{5, 20}})}, 1.0f, 0.0f, 0.0f, connect);
    ASSERT_FALSE(widened.empty());
    for (const auto& l : widened) {
      for (const Point2& p : *l) EXPECT_LE(p.y, 10.0f);
    }
  }
}

TEST(FillLine, ClosingDuplicateVertexChangesNothing) {
  const Lines open = fill({rect(0, 0, 10, 10)}, 1.0f, 30.0f, 0.0f, false);
  const Lines closed =
      fill({loop({{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0}})}, 1.0f, 30.0f, 0.0f, false);
  ASSERT_EQ(open.size(), closed.size());
  for (size_t i = 0; i < open.size(); ++i) {
    EXPECT_TRUE(fill_test::same_points(*open[i], *closed[i]));
  }
}

}  // namespace
}  // namespace Quorvex
