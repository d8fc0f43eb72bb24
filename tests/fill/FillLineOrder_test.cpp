#include "quorvex/fill/FillLineOrder.h"

#include <gtest/gtest.h>

#include <limits>

#include "FillTestUtil.h"
// The one source of test_fill that defines the allocation operators.
#define QXTEST_DEFINE_FAILING_OPERATOR_NEW
#include "support/FailingAllocation.h"

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

// Worked cases: the columns each pair joins, and the order the columns come out in.
TEST(FillLineOrder, WorkedCases) {
  const struct {
    const char* name;
    Loops lines;
    std::pair<float, float> link_offset;
    std::vector<std::vector<Point2>> expected;
  } rows[] = {
      {"one line: a column per pair, by distance from column 0",
       {line_at(0, {0, 1, 10, 11, 3, 4})},
       {2, 1},
       {{{0, 0}, {1, 0}}, {{3, 0}, {4, 0}}, {{10, 0}, {11, 0}}}},
      {"equal counts keep columns by position whatever the geometry",
       {line_at(0, {0, 1, 10, 11}), line_at(1, {10, 11, 0, 1}), line_at(2, {0, 1, 10, 11})},
       {2, 1},
       {{{0, 0}, {1, 0}, {11, 1}, {10, 1}, {0, 2}, {1, 2}},
        {{10, 0}, {11, 0}, {1, 1}, {0, 1}, {10, 2}, {11, 2}}}},
      // Column 0 ends where the line below the hole's top continues the column with the
      // larger overlap, column 1.
      {"counts 1-2-2-1 around a hole",
       {line_at(0, {0, 10}), line_at(1, {0, 3, 6, 10}), line_at(2, {0, 3, 6, 10}),
        line_at(3, {0, 10})},
       {2, 1.5f},
       {{{0, 0}, {10, 0}, {3, 1}, {0, 1}, {0, 2}, {3, 2}},
        {{6, 1}, {10, 1}, {10, 2}, {6, 2}, {0, 3}, {10, 3}}}},
      // (0,4) takes 0 by overlap; (5,10) may not take 0 again and is far from (20,30): new
      // column 2, which lies nearer column 0's exit (0,1) than column 1.
      {"a neighbour on the same line never shares a number",
       {line_at(0, {0, 10, 20, 30}), line_at(1, {0, 4, 5, 10, 20, 30})},
       {2, 1.5f},
       {{{0, 0}, {10, 0}, {4, 1}, {0, 1}},
        {{5, 1}, {10, 1}},
        {{20, 0}, {30, 0}, {30, 1}, {20, 1}}}},
      {"link distance continues a column without overlap",
       {line_at(0, {0, 1, 10, 11}), line_at(1, {1.2f, 2})},
       {2, 1.5f},
       {{{0, 0}, {1, 0}, {2, 1}, {1.2f, 1}}, {{10, 0}, {11, 0}}}},
      {"overlap within the line offset counts",
       {line_at(0, {0, 10, 20, 30}), line_at(3, {0, 10})},
       {2, 4},
       {{{0, 0}, {10, 0}, {10, 3}, {0, 3}}, {{20, 0}, {30, 0}}}},
      // The last line is judged against line 1, the last one used.
      {"odd lines are skipped, the first even line opens columns",
       {line_at(0, {5}), line_at(1, {0, 10}), line_at(2, {0, 1, 2}), line_at(3, {0, 4, 6, 10})},
       {3, 2.5f},
       {{{0, 1}, {10, 1}, {4, 3}, {0, 3}}, {{6, 3}, {10, 3}}}},
      {"a zero-length previous segment continues by distance",
       {line_at(0, {5, 5}), line_at(1, {4, 6, 20, 21})},
       {2, 1.5f},
       {{{5, 0}, {5, 0}, {6, 1}, {4, 1}}, {{20, 1}, {21, 1}}}},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(fill_test::flat(sort_ok(r.lines, r.link_offset.first, r.link_offset.second)),
              r.expected)
        << r.name;
  }
  // Without the link distance, or beyond the line offset, the same inputs open new columns.
  EXPECT_EQ(sort_ok({line_at(0, {0, 1, 10, 11}), line_at(1, {1.2f, 2})}, 1, 1.5f).size(), 3u);
  EXPECT_EQ(sort_ok({line_at(0, {0, 10, 20, 30}), line_at(3, {0, 10})}, 2, 1).size(), 3u);
  EXPECT_EQ(sort_ok({line_at(0, {5, 5}), line_at(1, {4, 6, 20, 21})}, 1, 1.5f).size(), 3u);
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
}

// Whichever allocation fails, the output keeps the very handles it held, here one of them
// an input line's; the call that runs through replaces them and leaves the input alone.
TEST(FillLineOrder, FailedAllocationLeavesOutputAlone) {
  const Loops in = {line_at(0, {0, 10}), line_at(1, {0, 3, 6, 10}), line_at(2, {0, 3, 6, 10}),
                    line_at(3, {0, 10})};
  const Point2Vector second = *in[1];
  const Lines expected = sort_ok(in, 2, 1.5f);
  Lines out, held;
  RetVal ret = RETVAL_FAILED;
  long failures = 0;
  const long allocations = qxtest::for_each_failing_allocation(
      [&] {
        out = {std::const_pointer_cast<Point2Vector>(in[1]),
               std::make_shared<Point2Vector>(Point2Vector{{7, 7}})};
        held = out;
      },
      [&] { ret = sort_discontinued_fill_line(in, out, 2, 1.5f); },
      [&] {
        ++failures;
        EXPECT_EQ(out, held);
        EXPECT_EQ(*out[1], (Point2Vector{{7, 7}}));
      });
  EXPECT_GT(allocations, 5);
  EXPECT_EQ(failures, allocations);
  EXPECT_EQ(ret, RETVAL_OK);
  EXPECT_EQ(fill_test::flat(out), fill_test::flat(expected));
  EXPECT_EQ(*in[1], second);
}

}  // namespace
}  // namespace Quorvex
