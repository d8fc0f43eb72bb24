#include "quorvex/polygon/RegionBoolean.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "PolygonTestSupport.h"

namespace Quorvex {
namespace {

using testing_support::Loop;
using testing_support::Loops;
using testing_support::OutLoops;
using testing_support::signed_area;
using testing_support::square;
using testing_support::total_abs_area;
using testing_support::writable;

using Regions = std::vector<OutLoops>;

// ---- get_classified_region ----

struct ClassifyCase {
  const char* name;
  Loops loops;
  PolyFillType fill;
  std::vector<std::size_t> region_sizes;  // loops per region, in order
  std::vector<double> outer_areas;        // area of each region's outer loop
  friend void PrintTo(const ClassifyCase& c, std::ostream* os) { *os << c.name; }
};

class ClassifiedRegion : public ::testing::TestWithParam<ClassifyCase> {};

TEST_P(ClassifiedRegion, GroupsOuterLoopsWithTheirHoles) {
  const ClassifyCase& cc = GetParam();
  Regions regions{{writable(square(9, 9, 1))}};  // replaced, not extended
  EXPECT_EQ(get_classified_region(cc.loops, regions, cc.fill), RETVAL_OK);
  ASSERT_EQ(regions.size(), cc.region_sizes.size());
  for (std::size_t i = 0; i < regions.size(); ++i) {
    EXPECT_EQ(regions[i].size(), cc.region_sizes[i]) << i;
    EXPECT_NEAR(std::fabs(signed_area(*regions[i][0])), cc.outer_areas[i], 1e-4) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Nesting, ClassifiedRegion,
    ::testing::Values(
        ClassifyCase{"one_square", {square(0, 0, 2)}, pftEvenOdd, {1}, {4.0}},
        ClassifyCase{
            "square_with_hole", {square(0, 0, 6), square(1, 1, 4)}, pftEvenOdd, {2}, {36.0}},
        // An island opens a region of its own behind the ring around it.
        ClassifyCase{"hole_with_island",
                     {square(0, 0, 6), square(1, 1, 4), square(2, 2, 2)},
                     pftEvenOdd,
                     {2, 1},
                     {36.0, 4.0}},
        // Same direction under non-zero: the inner square is no hole.
        ClassifyCase{
            "nonzero_same_direction", {square(0, 0, 6), square(1, 1, 4)}, pftNonZero, {1}, {36.0}},
        ClassifyCase{"nonzero_opposite_direction",
                     {square(0, 0, 6), square(1, 1, 4, false)},
                     pftNonZero,
                     {2},
                     {36.0}},
        ClassifyCase{"overlap_merges", {square(0, 0, 2), square(1, 1, 2)}, pftNonZero, {1}, {7.0}},
        ClassifyCase{
            "same_loop_twice_cancels", {square(0, 0, 2), square(0, 0, 2)}, pftEvenOdd, {}, {}},
        ClassifyCase{"no_loops", {}, pftEvenOdd, {}, {}},
        // P with a hole holding R, and a separate Q: P, R, Q.
        ClassifyCase{"nested_before_sibling",
                     {square(0, 0, 6), square(1, 1, 4), square(2, 2, 2), square(10, 0, 3)},
                     pftEvenOdd,
                     {2, 1, 1},
                     {36.0, 4.0, 9.0}}),
    [](const ::testing::TestParamInfo<ClassifyCase>& info) { return info.param.name; });

TEST(ClassifiedRegionScale, UsesTheDoubleScalingBothWays) {
  // A corner at 1.70000052 float units is 17000005 fixed units in double and comes back
  // unchanged; the float scaling of a Clipper would give 1.70000064 on the way in.
  const float corner = 1.70000052f;
  auto loop = std::make_shared<Point2Vector>(
      Point2Vector{{0, 0}, {corner, 0}, {corner, corner}, {0, corner}});
  Regions regions;
  get_classified_region({loop}, regions, pftNonZero);
  ASSERT_EQ(regions.size(), 1u);
  float max_x = 0;
  for (const Point2& p : *regions[0][0]) max_x = std::max(max_x, p.x);
  EXPECT_EQ(max_x, corner);
}

TEST(ClassifiedRegionScale, OneAndAHalfUnitsBecomeOneUnit) {
  OutLoops result;
  auto tiny = std::make_shared<Point2Vector>(
      Point2Vector{{1.5e-7f, 1.5e-7f}, {1.0f, 1.5e-7f}, {1.0f, 1.0f}, {1.5e-7f, 1.0f}});
  get_clipper_boolean_operation_result({tiny}, result, ctUnion, {}, pftNonZero, pftNonZero);
  ASSERT_EQ(result.size(), 1u);
  float min_x = 1.0f;
  for (const Point2& p : *result[0]) min_x = std::min(min_x, p.x);
  EXPECT_EQ(min_x, 1e-7f);
}

// The engine's message is pinned by the Clipper tests.
TEST(ClassifiedRegionFailure, OutOfRangeThrowsAndNullHandleReadsAsAnEmptyLoop) {
  Regions regions;
  EXPECT_THROW(get_classified_region({square(0, 0, 5e11f)}, regions, pftNonZero),
               ClipperLib::clipperException);
  EXPECT_EQ(get_classified_region({nullptr, square(0, 0, 1)}, regions, pftNonZero), RETVAL_OK);
  EXPECT_EQ(regions.size(), 1u);
  OutLoops result;
  EXPECT_EQ(get_clipper_boolean_operation_result({nullptr}, result, ctUnion, {nullptr}, pftNonZero,
                                                 pftNonZero),
            RETVAL_OK);
  EXPECT_TRUE(result.empty());
}

// ---- get_clipper_boolean_operation_result ----

struct BoolCase {
  const char* name;
  ClipType clip_type;
  PolyFillType subject_fill;
  double area;
  friend void PrintTo(const BoolCase& c, std::ostream* os) { *os << c.name; }
};

class BooleanOperationResult : public ::testing::TestWithParam<BoolCase> {};

// Subject: [0,6]^2 with a same-direction [1,5]^2 inside; clip: [4,10] x [0,6].
TEST_P(BooleanOperationResult, FillRulesAndClipTypes) {
  const BoolCase& bc = GetParam();
  OutLoops result{writable(square(50, 50, 1))};
  EXPECT_EQ(
      get_clipper_boolean_operation_result({square(0, 0, 6), square(1, 1, 4)}, result, bc.clip_type,
                                           {square(4, 0, 6)}, bc.subject_fill, pftNonZero),
      RETVAL_OK);
  double area = 0.0;
  for (const auto& l : result) {
    EXPECT_FALSE(l->empty());
    area += signed_area(*l);
  }
  EXPECT_NEAR(std::fabs(area), bc.area, 1e-4);
}

INSTANTIATE_TEST_SUITE_P(
    Table, BooleanOperationResult,
    ::testing::Values(
        // Even-odd makes the subject a ring around [1,5]^2; non-zero fills it.
        BoolCase{"union_evenodd", ctUnion, pftEvenOdd, 60.0 - 12.0},
        BoolCase{"union_nonzero", ctUnion, pftNonZero, 60.0},
        BoolCase{"intersection_evenodd", ctIntersection, pftEvenOdd, 12.0 - 4.0},
        BoolCase{"intersection_nonzero", ctIntersection, pftNonZero, 12.0},
        BoolCase{"difference_nonzero", ctDifference, pftNonZero, 24.0}),
    [](const ::testing::TestParamInfo<BoolCase>& info) { return info.param.name; });

TEST(BooleanOperationResultEdge, TwoEmptySetsGiveNothing) {
  OutLoops result{writable(square(0, 0, 1))};
  EXPECT_EQ(get_clipper_boolean_operation_result({}, result, ctXor, {}, pftEvenOdd, pftEvenOdd),
            RETVAL_OK);
  EXPECT_TRUE(result.empty());
}

// ---- region_bool_operation ----

struct RegionOpCase {
  int operation;
  double area;
  friend void PrintTo(const RegionOpCase& c, std::ostream* os) { *os << c.operation; }
};

class RegionBoolOperation : public ::testing::TestWithParam<RegionOpCase> {};

// [0,2]^2 and [1,3]^2 overlap in 1.
TEST_P(RegionBoolOperation, OperationCodeSelectsTheClipType) {
  OutLoops result{writable(square(9, 9, 1))};
  region_bool_operation(result, {square(0, 0, 2)}, {square(1, 1, 2)}, GetParam().operation);
  EXPECT_NEAR(total_abs_area(result), GetParam().area, 1e-5) << GetParam().operation;
  if (GetParam().area == 6.0) {
    EXPECT_GE(result.size(), 2u);  // xor leaves the overlap uncovered
  }
}

INSTANTIATE_TEST_SUITE_P(Codes, RegionBoolOperation,
                         ::testing::Values(RegionOpCase{0, 6.0}, RegionOpCase{1, 3.0},
                                           RegionOpCase{2, 7.0}, RegionOpCase{3, 3.0},
                                           RegionOpCase{4, 6.0}, RegionOpCase{-7, 6.0}));

TEST(RegionBoolOperationEdge, NullHandleGivesAnEmptyResult) {
  OutLoops result{writable(square(0, 0, 1))};
  region_bool_operation(result, {square(0, 0, 2)}, {nullptr}, 2);
  EXPECT_TRUE(result.empty());
}

TEST(RegionBoolOperationEdge, UsesTheFloatScalingOfClipper) {
  // The float product of 1.70000052 and 1e7 is 17000006: the corner comes back one float
  // higher than it went in, unlike the double scaling of the other two functions.
  const float corner = 1.70000052f;
  auto loop = std::make_shared<Point2Vector>(
      Point2Vector{{0, 0}, {corner, 0}, {corner, corner}, {0, corner}});
  OutLoops result;
  region_bool_operation(result, {loop}, {}, 2);
  ASSERT_EQ(result.size(), 1u);
  float max_x = 0;
  for (const Point2& p : *result[0]) max_x = std::max(max_x, p.x);
  EXPECT_EQ(max_x, 1.70000064f);
}

}  // namespace
}  // namespace Quorvex
