#include "quorvex/polygon/RegionBoolean.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "PolygonTestSupport.h"

namespace Quorvex {
namespace {

using testing_support::Loops;
using testing_support::OutLoops;
using testing_support::signed_area;
using testing_support::square;
using testing_support::total_abs_area;
using testing_support::writable;

using Regions = std::vector<OutLoops>;

TEST(ClassifiedRegion, GroupsOuterLoopsWithTheirHoles) {
  const struct {
    const char* name;
    Loops loops;
    PolyFillType fill;
    std::vector<std::size_t> region_sizes;  // loops per region, in order
    std::vector<double> outer_areas;
  } rows[] = {
      {"nonzero same direction", {square(0, 0, 6), square(1, 1, 4)}, pftNonZero, {1}, {36}},
      {"nonzero opposite", {square(0, 0, 6), square(1, 1, 4, false)}, pftNonZero, {2}, {36}},
      {"no loops", {}, pftEvenOdd, {}, {}},
      // An island opens a region of its own behind the ring around it, before the sibling.
      {"nested before sibling",
       {square(0, 0, 6), square(1, 1, 4), square(2, 2, 2), square(10, 0, 3)},
       pftEvenOdd,
       {2, 1, 1},
       {36, 4, 9}},
  };
  for (const auto& r : rows) {
    Regions regions{{writable(square(9, 9, 1))}};  // replaced, not extended
    EXPECT_EQ(get_classified_region(r.loops, regions, r.fill), RETVAL_OK);
    ASSERT_EQ(regions.size(), r.region_sizes.size()) << r.name;
    for (std::size_t i = 0; i < regions.size(); ++i) {
      EXPECT_EQ(regions[i].size(), r.region_sizes[i]) << r.name << i;
      EXPECT_NEAR(std::fabs(signed_area(*regions[i][0])), r.outer_areas[i], 1e-4) << r.name << i;
    }
  }
}

// The first two functions scale by 1e7 in double both ways; region_bool_operation goes
// through a Clipper and its float product, where 1.70000052 becomes 17000006 units. One and a
// half units truncate to one.
TEST(RegionBooleanScale, DoubleScalingForTwoFloatForTheThird) {
  const float lo = 1.5e-7f, hi = 1.70000052f;
  const auto loop =
      std::make_shared<Point2Vector>(Point2Vector{{lo, lo}, {hi, lo}, {hi, hi}, {lo, hi}});
  const auto expect_x_range = [](const OutLoops& out, float max_x) {
    ASSERT_EQ(out.size(), 1u);
    const auto [min, max] = std::minmax_element(
        out[0]->begin(), out[0]->end(), [](const Point2& a, const Point2& b) { return a.x < b.x; });
    EXPECT_EQ(min->x, 1e-7f);
    EXPECT_EQ(max->x, max_x);
  };
  Regions regions;
  get_classified_region({loop}, regions, pftNonZero);
  ASSERT_EQ(regions.size(), 1u);
  expect_x_range(regions[0], hi);
  OutLoops out;
  get_clipper_boolean_operation_result({loop}, out, ctUnion, {}, pftNonZero, pftNonZero);
  expect_x_range(out, hi);
  region_bool_operation(out, {loop}, {}, 2);
  expect_x_range(out, 1.70000064f);
}

TEST(RegionBooleanFailure, OutOfRangeThrowsNullHandlesAndEmptySetsGiveNothing) {
  Regions regions;
  EXPECT_THROW(get_classified_region({square(0, 0, 5e11f)}, regions, pftNonZero),
               ClipperLib::clipperException);
  EXPECT_EQ(get_classified_region({nullptr, square(0, 0, 1)}, regions, pftNonZero), RETVAL_OK);
  EXPECT_EQ(regions.size(), 1u);
  OutLoops result{writable(square(0, 0, 1))};
  EXPECT_EQ(get_clipper_boolean_operation_result({nullptr}, result, ctUnion, {nullptr}, pftNonZero,
                                                 pftNonZero),
            RETVAL_OK);
  EXPECT_TRUE(result.empty());
  result = {writable(square(0, 0, 1))};
  EXPECT_EQ(get_clipper_boolean_operation_result({}, result, ctXor, {}, pftEvenOdd, pftEvenOdd),
            RETVAL_OK);
  EXPECT_TRUE(result.empty());
  result = {writable(square(0, 0, 1))};
  region_bool_operation(result, {square(0, 0, 2)}, {nullptr}, 2);
  EXPECT_TRUE(result.empty());
}

// Subject: [0,6]^2 with a same-direction [1,5]^2 inside; clip: [4,10] x [0,6]. Even-odd makes
// the subject a ring around [1,5]^2; non-zero fills it.
TEST(BooleanOperationResult, FillRulesAndClipTypes) {
  const struct {
    ClipType type;
    PolyFillType subject_fill;
    double area;
  } rows[] = {{ctUnion, pftEvenOdd, 48},
              {ctUnion, pftNonZero, 60},
              {ctIntersection, pftEvenOdd, 8},
              {ctDifference, pftNonZero, 24}};
  for (const auto& r : rows) {
    OutLoops result{writable(square(50, 50, 1))};
    EXPECT_EQ(
        get_clipper_boolean_operation_result({square(0, 0, 6), square(1, 1, 4)}, result, r.type,
                                             {square(4, 0, 6)}, r.subject_fill, pftNonZero),
        RETVAL_OK);
    double area = 0.0;
    for (const auto& l : result) area += signed_area(*l);
    EXPECT_NEAR(std::fabs(area), r.area, 1e-4) << r.type << " " << r.subject_fill;
  }
}

// [0,2]^2 and [1,3]^2 overlap in 1; any unknown code is exclusive or.
TEST(RegionBoolOperation, OperationCodeSelectsTheClipType) {
  const std::pair<int, double> rows[] = {{0, 6.0}, {1, 3.0}, {2, 7.0},
                                         {3, 3.0}, {4, 6.0}, {-7, 6.0}};
  for (const auto& r : rows) {
    OutLoops result{writable(square(9, 9, 1))};
    region_bool_operation(result, {square(0, 0, 2)}, {square(1, 1, 2)}, r.first);
    EXPECT_NEAR(total_abs_area(result), r.second, 1e-5) << r.first;
    if (r.second == 6.0) {
      EXPECT_GE(result.size(), 2u) << r.first;
    }
  }
}

}  // namespace
}  // namespace Quorvex
