#include "quorvex/fill/FillLineOrder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "FillTestUtil.h"

namespace Quorvex {
namespace {

using fill_test::Lines;
using fill_test::Loops;

// A scan line at height y from x pairs: {x0, x1, x2, x3, ...} gives segments (x0,x1), ...
std::shared_ptr<const Point2Vector> line_at(float y, std::initializer_list<float> xs) {
  auto l = std::make_shared<Point2Vector>();
  for (float x : xs) l->emplace_back(x, y);
  return l;
}

Lines sort_ok(const Loops& lines, float link, float offset) {
  Lines out;
  EXPECT_EQ(sort_discontinued_fill_line(lines, out, link, offset), RETVAL_OK);
  return out;
}

void expect_polyline(const Point2Vector& got, std::initializer_list<Point2> want) {
  ASSERT_EQ(got.size(), want.size());
  size_t i = 0;
  for (const Point2& p : want) {
    EXPECT_EQ(got[i].x, p.x) << "point " << i;
    EXPECT_EQ(got[i].y, p.y) << "point " << i;
    ++i;
  }
}

TEST(FillLineOrder, SingleLineGivesOneColumnPerPairByDistanceFromColumnZero) {
  const Lines out = sort_ok({line_at(0, {0, 1, 10, 11, 3, 4})}, 2.0f, 1.0f);
  ASSERT_EQ(out.size(), 3u);
  expect_polyline(*out[0], {{0, 0}, {1, 0}});
  expect_polyline(*out[1], {{3, 0}, {4, 0}});
  expect_polyline(*out[2], {{10, 0}, {11, 0}});
}

TEST(FillLineOrder, EqualCountsKeepColumnsByPositionWhateverTheGeometry) {
  // The second line's segments lie swapped against the first's; the count does not change,
  // so the columns follow the positions.
  const Lines out =
      sort_ok({line_at(0, {0, 1, 10, 11}), line_at(1, {10, 11, 0, 1}), line_at(2, {0, 1, 10, 11})},
              2.0f, 1.0f);
  ASSERT_EQ(out.size(), 2u);
  expect_polyline(*out[0], {{0, 0}, {1, 0}, {11, 1}, {10, 1}, {0, 2}, {1, 2}});
  expect_polyline(*out[1], {{10, 0}, {11, 0}, {1, 1}, {0, 1}, {10, 2}, {11, 2}});
}

TEST(FillLineOrder, CountsOneTwoOneAroundAHole) {
  const Lines out = sort_ok({line_at(0, {0, 10}), line_at(1, {0, 3, 6, 10}),
                             line_at(2, {0, 3, 6, 10}), line_at(3, {0, 10})},
                            2.0f, 1.5f);
  ASSERT_EQ(out.size(), 2u);
  // Column 0 ends where the line below the hole's top continues the column with the larger
  // overlap, column 1.
  expect_polyline(*out[0], {{0, 0}, {10, 0}, {3, 1}, {0, 1}, {0, 2}, {3, 2}});
  expect_polyline(*out[1], {{6, 1}, {10, 1}, {10, 2}, {6, 2}, {0, 3}, {10, 3}});
}

TEST(FillLineOrder, FarPairsOpenColumnsAboveTheHighestNumber) {
  const Lines out =
      sort_ok({line_at(0, {0, 1, 20, 21}), line_at(1, {0, 1, 40, 41, 60, 61})}, 5.0f, 1.5f);
  ASSERT_EQ(out.size(), 4u);
  // Columns: 0 = (0,1) twice, 1 = (20,21), 2 = (40,41), 3 = (60,61). Column 0 ends at
  // (1,1) after its second pair ran back: exit point is p[n-2] = (1,1).
  expect_polyline(*out[0], {{0, 0}, {1, 0}, {1, 1}, {0, 1}});
  expect_polyline(*out[1], {{20, 0}, {21, 0}});
  expect_polyline(*out[2], {{40, 1}, {41, 1}});
  expect_polyline(*out[3], {{60, 1}, {61, 1}});
}

TEST(FillLineOrder, NeighbourOfTheSameLineNeverSharesANumber) {
  const Lines out =
      sort_ok({line_at(0, {0, 10, 20, 30}), line_at(1, {0, 4, 5, 10, 20, 30})}, 2.0f, 1.5f);
  // (0,4) takes 0 by overlap; (5,10) may not take 0 again and is far from (20,30): new
  // column 2; (20,30) takes 1.
  ASSERT_EQ(out.size(), 3u);
  expect_polyline(*out[0], {{0, 0}, {10, 0}, {4, 1}, {0, 1}});
  // From column 0's exit (0,1), column 2 lies nearer than column 1.
  expect_polyline(*out[1], {{5, 1}, {10, 1}});
  expect_polyline(*out[2], {{20, 0}, {30, 0}, {30, 1}, {20, 1}});
}

TEST(FillLineOrder, LinkDistanceContinuesAColumnWithoutOverlap) {
  const Lines near = sort_ok({line_at(0, {0, 1, 10, 11}), line_at(1, {1.2f, 2})}, 2.0f, 1.5f);
  ASSERT_EQ(near.size(), 2u);
  expect_polyline(*near[0], {{0, 0}, {1, 0}, {2, 1}, {1.2f, 1}});
  const Lines far = sort_ok({line_at(0, {0, 1, 10, 11}), line_at(1, {1.2f, 2})}, 1.0f, 1.5f);
  ASSERT_EQ(far.size(), 3u);
}

TEST(FillLineOrder, OverlapBeyondLineOffsetDoesNotCount) {
  // The upper segment lies 3 above the lower one: with offset 1 it is no overlap, and with
  // a link distance of 2 it opens a new column.
  const Lines out = sort_ok({line_at(0, {0, 10, 20, 30}), line_at(3, {0, 10})}, 2.0f, 1.0f);
  ASSERT_EQ(out.size(), 3u);
  const Lines close = sort_ok({line_at(0, {0, 10, 20, 30}), line_at(3, {0, 10})}, 2.0f, 4.0f);
  ASSERT_EQ(close.size(), 2u);
  expect_polyline(*close[0], {{0, 0}, {10, 0}, {10, 3}, {0, 3}});
}

TEST(FillLineOrder, OddLinesAreSkippedAndFirstEvenLineOpensColumns) {
  const Lines out = sort_ok(
      {line_at(0, {5}), line_at(1, {0, 10}), line_at(2, {0, 1, 2}), line_at(3, {0, 4, 6, 10})},
      3.0f, 2.5f);
  // The last line is judged against line 1, the last one used.
  ASSERT_EQ(out.size(), 2u);
  expect_polyline(*out[0], {{0, 1}, {10, 1}, {4, 3}, {0, 3}});
  expect_polyline(*out[1], {{6, 3}, {10, 3}});
}

TEST(FillLineOrder, ZeroLengthPreviousSegmentContinuesOnlyByDistance) {
  const Loops lines = {line_at(0, {5, 5}), line_at(1, {4, 6, 20, 21})};
  const Lines near = sort_ok(lines, 2.0f, 1.5f);
  ASSERT_EQ(near.size(), 2u);
  expect_polyline(*near[0], {{5, 0}, {5, 0}, {6, 1}, {4, 1}});
  const Lines far = sort_ok(lines, 1.0f, 1.5f);
  ASSERT_EQ(far.size(), 3u);
  expect_polyline(*far[0], {{5, 0}, {5, 0}});
}

TEST(FillLineOrder, RefusalsLeaveOutputAlone) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const std::vector<Loops> refused = {
      {},
      {line_at(0, {}), nullptr},
      {line_at(0, {1}), line_at(1, {1, 2, 3})},
      {line_at(0, {0, 1}), line_at(1, {0, nan})},
  };
  for (const Loops& in : refused) {
    Lines out = {std::make_shared<Point2Vector>(Point2Vector{{7, 7}})};
    const auto before = out[0];
    EXPECT_EQ(sort_discontinued_fill_line(in, out, 1.0f, 1.0f), RETVAL_BAD_INPUT);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0], before);
  }
  Lines out = {std::make_shared<Point2Vector>(Point2Vector{{7, 7}})};
  EXPECT_EQ(sort_discontinued_fill_line({line_at(0, {0, 1})}, out, 1.0f, 1.0f), RETVAL_OK);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0]->size(), 2u);
}

}  // namespace
}  // namespace Quorvex
