#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "PolygonTestSupport.h"
#include "quorvex/polygon/Clipper.h"

namespace Quorvex {
namespace {

using testing_support::Loop;
using testing_support::Loops;
using testing_support::OutLoops;
using testing_support::ProbeClipper;
using testing_support::signed_area;
using testing_support::square;
using testing_support::total_abs_area;

struct OffsetCase {
  const char* name;
  bool open;  // a two-point stroke of length 4 instead of the unit square
  float delta;
  EndType end;
  double area;
  std::size_t loops;
  friend void PrintTo(const OffsetCase& c, std::ostream* os) { *os << c.name; }
};

class OffsetTable : public ::testing::TestWithParam<OffsetCase> {};

// A distance that consumes the loop, or a zero distance on an open path, is no failure:
// the result is merely empty.
TEST_P(OffsetTable, AreaAndLoops) {
  const OffsetCase& oc = GetParam();
  Clipper c;
  c.add_path(
      oc.open ? std::make_shared<Point2Vector>(Point2Vector{{0, 0}, {4, 0}}) : square(0, 0, 1),
      ptSubject);
  ASSERT_EQ(c.offset(oc.delta, jtMiter, oc.end, 2.0f, 0.25f, true), RETVAL_OK);
  OutLoops out;
  c.get_result(out, true);
  ASSERT_EQ(out.size(), oc.loops);
  EXPECT_NEAR(total_abs_area(out), oc.area, 1e-5);
  if (oc.loops == 1 && !oc.open) {
    EXPECT_EQ(out[0]->size(), 4u);  // miter joins keep the corners
    float min_x = 1e9f;
    for (const Point2& p : *out[0]) min_x = std::min(min_x, p.x);
    EXPECT_NEAR(min_x, -oc.delta, 1e-6);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, OffsetTable,
    ::testing::Values(OffsetCase{"grow_by_one", false, 1.0f, etClosedPolygon, 9.0, 1},
                      OffsetCase{"shrink_by_quarter", false, -0.25f, etClosedPolygon, 0.25, 1},
                      OffsetCase{"consumed", false, -0.6f, etClosedPolygon, 0.0, 0},
                      OffsetCase{"zero_closed", false, 0.0f, etClosedPolygon, 1.0, 1},
                      OffsetCase{"zero_open", false, 0.0f, etOpenButt, 0.0, 0},
                      OffsetCase{"open_both_sides", true, 0.5f, etOpenButt, 4.0, 1}),
    [](const ::testing::TestParamInfo<OffsetCase>& info) { return info.param.name; });

TEST(Offset, EmptySubjectGivesAnEmptyResult) {
  ProbeClipper c;
  EXPECT_EQ(c.offset(1.0f, jtRound, etClosedPolygon, 2.0f, 0.25f, true), RETVAL_OK);
  ASSERT_NE(c.fixed_result, nullptr);
  EXPECT_TRUE(c.fixed_result->empty());
}

// The engine's message is pinned by the Clipper tests; offset lets it through too.
TEST(Offset, OutOfRangePassesTheEngineExceptionThrough) {
  Clipper c;
  c.add_path(square(0, 0, 4.7e11f), ptSubject);
  EXPECT_THROW(c.offset(1.0f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true),
               ClipperLib::clipperException);
}

TEST(Offset, SecondOffsetStartsFromTheFloatListsAgain) {
  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  OutLoops out;
  c.offset(1.0f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true);
  c.offset(0.5f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true);
  c.get_result(out, true);
  EXPECT_NEAR(total_abs_area(out), 4.0, 1e-5);  // side 2, not 4

  // Chained, the second offset grows the first result.
  c.offset(1.0f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true);
  c.set_result_as_subject();
  c.offset(0.5f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true);
  c.get_result(out, true);
  EXPECT_NEAR(total_abs_area(out), 16.0, 1e-5);
}

TEST(Offset, UseSubjectFalseOffsetsTheClipSetAndDropsBothSlots) {
  ProbeClipper c;
  c.add_path(square(0, 0, 10), ptSubject);
  c.add_path(square(0, 0, 1), ptClip);
  c.offset(1.0f, jtMiter, etClosedPolygon, 2.0f, 0.25f, false);
  OutLoops out;
  c.get_result(out, true);
  EXPECT_NEAR(total_abs_area(out), 9.0, 1e-5);
  EXPECT_EQ(c.fixed_subject, nullptr);
  EXPECT_EQ(c.fixed_clip, nullptr);
}

TEST(Offset, ArcToleranceIsInFixedPointUnits) {
  // 0.25 fixed-point units on a radius of 1e7 units: thousands of arc points. Were the
  // tolerance scaled like a length, the engine would cap it and give a handful.
  ProbeClipper fine, coarse;
  fine.add_path(square(0, 0, 1), ptSubject);
  coarse.add_path(square(0, 0, 1), ptSubject);
  fine.offset(1.0f, jtRound, etClosedPolygon, 2.0f, 0.25f, true);
  coarse.offset(1.0f, jtRound, etClosedPolygon, 2.0f, 2.5e6f, true);
  ASSERT_EQ(fine.fixed_result->size(), 1u);
  ASSERT_EQ(coarse.fixed_result->size(), 1u);
  EXPECT_GT((*fine.fixed_result)[0].size(), 1000u);
  EXPECT_LT((*coarse.fixed_result)[0].size(), 40u);
}

// ---- simplify, clean, orientation ----

Loop figure_eight() {
  return std::make_shared<Point2Vector>(Point2Vector{{0, 0}, {2, 2}, {2, 0}, {0, 2}});
}

TEST(SimplifiedIntersectionLoops, FigureOfEightSplitsInTwo) {
  ProbeClipper c;
  c.add_path(figure_eight(), ptSubject);
  ASSERT_EQ(c.get_clipper_simplified_intersection_loops(true, pftNonZero), RETVAL_OK);
  OutLoops out;
  c.get_result(out, true);
  EXPECT_EQ(out.size(), 2u);
  EXPECT_NEAR(total_abs_area(out), 2.0, 1e-5);
  EXPECT_EQ(c.fixed_subject, nullptr);
}

TEST(SimplifiedIntersectionLoops, PicksTheClipSetWhenAsked) {
  ProbeClipper c;
  c.add_path(square(0, 0, 5), ptSubject);
  c.add_path(figure_eight(), ptClip);
  c.get_clipper_simplified_intersection_loops(false, pftEvenOdd);
  OutLoops out;
  c.get_result(out, true);
  EXPECT_EQ(out.size(), 2u);
}

TEST(SimplifyPolygons, InstallsANewSetAndToleratesOneHandleForBoth) {
  ProbeClipper c;
  auto in =
      std::make_shared<ClipperLib::Paths>(ClipperLib::Paths{{{0, 0}, {20, 20}, {20, 0}, {0, 20}}});
  std::shared_ptr<ClipperLib::Paths> out = in;
  EXPECT_EQ(c.simplify_polygons(out, out, pftNonZero), RETVAL_OK);
  EXPECT_NE(out, in);
  EXPECT_EQ(out->size(), 2u);
  EXPECT_EQ(in->size(), 1u);
}

TEST(CleanPolygon, DistanceIsScaledByMultiple) {
  // A vertex 5 units off the lower edge of a square of 100 units.
  const std::vector<ClipperLib::IntPoint> path{{0, 0}, {50, 5}, {100, 0}, {100, 100}, {0, 100}};
  ProbeClipper c;
  std::vector<ClipperLib::IntPoint> near = path, far = path;
  EXPECT_EQ(c.clean_polygon(near, 1e-7f), RETVAL_OK);  // 1 unit: kept
  EXPECT_EQ(near.size(), 5u);
  c.clean_polygon(far, 1e-6f);  // 10 units: removed
  EXPECT_EQ(far.size(), 4u);
}

TEST(Orientation, WiddershinsIsTrueAndEmptyCountsAsTrue) {
  ProbeClipper c;
  const std::vector<ClipperLib::IntPoint> ccw{{0, 0}, {10, 0}, {10, 10}, {0, 10}};
  const std::vector<ClipperLib::IntPoint> cw(ccw.rbegin(), ccw.rend());
  EXPECT_TRUE(c.orientation(ccw));
  EXPECT_FALSE(c.orientation(cw));
  EXPECT_TRUE(c.orientation({}));
  EXPECT_TRUE(c.orientation({{0, 0}, {5, 5}, {10, 10}}));
}

}  // namespace
}  // namespace Quorvex
