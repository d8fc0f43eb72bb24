#include <gtest/gtest.h>

#include "PolygonTestSupport.h"
#include "quorvex/polygon/Clipper.h"

namespace Quorvex {
namespace {

using testing_support::Loop;
using testing_support::OutLoops;
using testing_support::ProbeClipper;
using testing_support::square;
using testing_support::total_abs_area;

OutLoops offset_result(Clipper& c, float delta, EndType end = etClosedPolygon,
                       bool use_subject = true) {
  EXPECT_EQ(c.offset(delta, jtMiter, end, 2.0f, 0.25f, use_subject), RETVAL_OK);
  OutLoops out;
  c.get_result(out, true);
  return out;
}

// A distance that consumes the loop, or a zero distance on an open path, is no failure: the
// result is merely empty.
TEST(Offset, AreaAndLoopsOfTheUnitSquareAndAStroke) {
  const struct {
    bool open;  // a two-point stroke of length 4 instead of the unit square
    float delta;
    EndType end;
    double area;
    std::size_t loops;
  } rows[] = {{false, 1.0f, etClosedPolygon, 9.0, 1},  {false, -0.25f, etClosedPolygon, 0.25, 1},
              {false, -0.6f, etClosedPolygon, 0.0, 0}, {false, 0.0f, etClosedPolygon, 1.0, 1},
              {true, 0.0f, etOpenButt, 0.0, 0},        {true, 0.5f, etOpenButt, 4.0, 1}};
  for (const auto& r : rows) {
    Clipper c;
    c.add_path(
        r.open ? std::make_shared<Point2Vector>(Point2Vector{{0, 0}, {4, 0}}) : square(0, 0, 1),
        ptSubject);
    const OutLoops out = offset_result(c, r.delta, r.end);
    ASSERT_EQ(out.size(), r.loops) << r.delta;
    EXPECT_NEAR(total_abs_area(out), r.area, 1e-5) << r.delta;
    if (r.loops == 1 && !r.open) {  // miter joins keep corners
      EXPECT_EQ(out[0]->size(), 4u);
    }
  }
  ProbeClipper empty;
  EXPECT_EQ(empty.offset(1.0f, jtRound, etClosedPolygon, 2.0f, 0.25f, true), RETVAL_OK);
  ASSERT_NE(empty.fixed_result, nullptr);
  EXPECT_TRUE(empty.fixed_result->empty());
}

TEST(Offset, SecondOffsetStartsFromTheFloatListsUnlessChained) {
  Clipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  offset_result(c, 1.0f);
  EXPECT_NEAR(total_abs_area(offset_result(c, 0.5f)), 4.0, 1e-5);  // side 2, not 4
  offset_result(c, 1.0f);
  c.set_result_as_subject();
  EXPECT_NEAR(total_abs_area(offset_result(c, 0.5f)), 16.0, 1e-5);
}

TEST(Offset, UseSubjectFalseOffsetsTheClipSetAndDropsBothSlots) {
  ProbeClipper c;
  c.add_path(square(0, 0, 10), ptSubject);
  c.add_path(square(0, 0, 1), ptClip);
  EXPECT_NEAR(total_abs_area(offset_result(c, 1.0f, etClosedPolygon, false)), 9.0, 1e-5);
  EXPECT_EQ(c.fixed_subject, nullptr);
  EXPECT_EQ(c.fixed_clip, nullptr);
}

// 0.25 fixed-point units on a radius of 1e7 units: thousands of arc points. Were the
// tolerance scaled like a length, the engine would cap it and give a handful.
TEST(Offset, ArcToleranceIsInFixedPointUnits) {
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

TEST(SimplifiedIntersectionLoops, FigureOfEightSplitsInTwoFromEitherSet) {
  const Loop eight = std::make_shared<Point2Vector>(Point2Vector{{0, 0}, {2, 2}, {2, 0}, {0, 2}});
  for (bool use_subject : {true, false}) {
    ProbeClipper c;
    c.add_path(use_subject ? eight : square(0, 0, 5), ptSubject);
    c.add_path(use_subject ? square(0, 0, 5) : eight, ptClip);
    ASSERT_EQ(c.get_clipper_simplified_intersection_loops(use_subject, pftNonZero), RETVAL_OK);
    OutLoops out;
    c.get_result(out, true);
    EXPECT_EQ(out.size(), 2u);
    EXPECT_NEAR(total_abs_area(out), 2.0, 1e-5);
    if (use_subject) {
      EXPECT_EQ(c.fixed_subject, nullptr);
    }
  }
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

// A vertex 5 units off the lower edge of a square of 100 units.
TEST(CleanPolygon, DistanceIsScaledByMultiple) {
  const std::vector<ClipperLib::IntPoint> path{{0, 0}, {50, 5}, {100, 0}, {100, 100}, {0, 100}};
  ProbeClipper c;
  std::vector<ClipperLib::IntPoint> near = path, far = path;
  EXPECT_EQ(c.clean_polygon(near, 1e-7f), RETVAL_OK);  // 1 unit: kept
  EXPECT_EQ(near.size(), 5u);
  c.clean_polygon(far, 1e-6f);  // 10 units: removed
  EXPECT_EQ(far.size(), 4u);
}

TEST(Orientation, WiddershinsIsTrueAndEmptyOrFlatCountsAsTrue) {
  ProbeClipper c;
  const std::vector<ClipperLib::IntPoint> ccw{{0, 0}, {10, 0}, {10, 10}, {0, 10}};
  EXPECT_TRUE(c.orientation(ccw));
  EXPECT_FALSE(c.orientation({ccw.rbegin(), ccw.rend()}));
  EXPECT_TRUE(c.orientation({}));
  EXPECT_TRUE(c.orientation({{0, 0}, {5, 5}, {10, 10}}));
}

}  // namespace
}  // namespace Quorvex
