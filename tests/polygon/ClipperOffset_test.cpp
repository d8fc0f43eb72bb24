#include <gtest/gtest.h>

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

struct SquareOffsetCase {
  const char* name;
  float delta;
  float side;
};

class OffsetUnitSquare : public ::testing::TestWithParam<SquareOffsetCase> {};

TEST_P(OffsetUnitSquare, MiterGivesASquareOfTheExpectedSide) {
  const SquareOffsetCase& oc = GetParam();
  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  ASSERT_EQ(c.offset(oc.delta, jtMiter, etClosedPolygon, 2.0f, 0.25f, true), RETVAL_OK);
  OutLoops out;
  c.get_result(out, true);
  ASSERT_EQ(out.size(), 1u);
  ASSERT_EQ(out[0]->size(), 4u);
  float min_x = 1e9f, max_x = -1e9f, min_y = 1e9f, max_y = -1e9f;
  for (const Point2& p : *out[0]) {
    min_x = std::min(min_x, p.x);
    max_x = std::max(max_x, p.x);
    min_y = std::min(min_y, p.y);
    max_y = std::max(max_y, p.y);
  }
  EXPECT_NEAR(max_x - min_x, oc.side, 1e-6);
  EXPECT_NEAR(max_y - min_y, oc.side, 1e-6);
  EXPECT_NEAR(min_x, -oc.delta, 1e-6);
  EXPECT_EQ(c.fixed_subject, nullptr);
  EXPECT_EQ(c.fixed_clip, nullptr);
}

INSTANTIATE_TEST_SUITE_P(GrowAndShrink, OffsetUnitSquare,
                         ::testing::Values(SquareOffsetCase{"grow_by_one", 1.0f, 3.0f},
                                           SquareOffsetCase{"shrink_by_quarter", -0.25f, 0.5f}),
                         [](const ::testing::TestParamInfo<SquareOffsetCase>& info) {
                           return info.param.name;
                         });

TEST(Offset, EmptySubjectGivesAnEmptyResult) {
  ProbeClipper c;
  EXPECT_EQ(c.offset(1.0f, jtRound, etClosedPolygon, 2.0f, 0.25f, true), RETVAL_OK);
  ASSERT_NE(c.fixed_result, nullptr);
  EXPECT_TRUE(c.fixed_result->empty());
}

TEST(Offset, ConsumingDistanceIsNoFailure) {
  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  EXPECT_EQ(c.offset(-0.6f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true), RETVAL_OK);
  ASSERT_NE(c.fixed_result, nullptr);
  EXPECT_TRUE(c.fixed_result->empty());
}

TEST(Offset, ZeroDeltaKeepsClosedLoopsAndDropsOpenPaths) {
  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  c.offset(0.0f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true);
  OutLoops out;
  c.get_result(out, true);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_NEAR(total_abs_area(out), 1.0, 1e-6);

  c.offset(0.0f, jtMiter, etOpenButt, 2.0f, 0.25f, true);
  c.get_result(out, true);
  EXPECT_TRUE(out.empty());
}

TEST(Offset, OpenPathGrowsToBothSides) {
  ProbeClipper c;
  c.add_path(std::make_shared<Point2Vector>(Point2Vector{{0, 0}, {4, 0}}), ptSubject);
  c.offset(0.5f, jtMiter, etOpenButt, 2.0f, 0.25f, true);
  OutLoops out;
  c.get_result(out, true);
  EXPECT_NEAR(total_abs_area(out), 4.0, 1e-5);
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

TEST(Offset, OutOfRangeRaisesWithTheSlotsFilled) {
  ProbeClipper c;
  c.add_path(square(0, 0, 4.7e11f), ptSubject);
  std::string what;
  try {
    c.offset(1.0f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true);
  } catch (const ClipperLib::clipperException& e) {
    what = e.what();
  }
  EXPECT_EQ(what, "Coordinate outside allowed range");
  EXPECT_NE(c.fixed_subject, nullptr);
  EXPECT_NE(c.fixed_clip, nullptr);
  ASSERT_NE(c.fixed_result, nullptr);
  EXPECT_TRUE(c.fixed_result->empty());
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
