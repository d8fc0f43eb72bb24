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

// A second offset starts from the float lists unless chained. A distance that consumes the
// loop, or a zero distance on an open path, gives nothing; use_subject false offsets the clip
// set and drops both slots.
TEST(Offset, ChainingConsumedLoopsStrokesAndTheClipSet) {
  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  EXPECT_NEAR(total_abs_area(offset_result(c, 1.0f)), 9.0, 1e-5);
  EXPECT_NEAR(total_abs_area(offset_result(c, 0.5f)), 4.0, 1e-5);  // side 2, not 4
  offset_result(c, 1.0f);
  c.set_result_as_subject();
  EXPECT_NEAR(total_abs_area(offset_result(c, 0.5f)), 16.0, 1e-5);
  EXPECT_TRUE(offset_result(c, -0.6f).empty());
  c.add_path(square(0, 0, 10), ptClip);
  EXPECT_NEAR(total_abs_area(offset_result(c, 1.0f, etClosedPolygon, false)), 144.0, 1e-5);
  EXPECT_TRUE(c.fixed_subject == nullptr && c.fixed_clip == nullptr);
  Clipper stroke;  // a two-point path of length 4
  stroke.add_path(std::make_shared<Point2Vector>(Point2Vector{{0, 0}, {4, 0}}), ptSubject);
  EXPECT_TRUE(offset_result(stroke, 0.0f, etOpenButt).empty());
  const OutLoops out = offset_result(stroke, 0.5f, etOpenButt);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_NEAR(total_abs_area(out), 4.0, 1e-5);
}

// 0.25 fixed-point units on a radius of 1e7 units: thousands of arc points. Were the
// tolerance scaled like a length, the engine would cap it and give a handful.
TEST(Offset, ArcToleranceIsInFixedPointUnits) {
  for (const float tolerance : {0.25f, 2.5e6f}) {
    ProbeClipper c;
    c.add_path(square(0, 0, 1), ptSubject);
    c.offset(1.0f, jtRound, etClosedPolygon, 2.0f, tolerance, true);
    ASSERT_EQ(c.fixed_result->size(), 1u);
    EXPECT_EQ((*c.fixed_result)[0].size() > 1000u, tolerance < 1.0f);
  }
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
  }
}

// simplify_polygons tolerates one handle for input and output; clean_polygon scales the
// distance by the multiple (a vertex 5 units off an edge: kept at 1 unit, gone at 10).
TEST(ClipperHelpers, SimplifyCleanAndOrientation) {
  ProbeClipper c;
  auto in =
      std::make_shared<ClipperLib::Paths>(ClipperLib::Paths{{{0, 0}, {20, 20}, {20, 0}, {0, 20}}});
  std::shared_ptr<ClipperLib::Paths> out = in;
  EXPECT_EQ(c.simplify_polygons(out, out, pftNonZero), RETVAL_OK);
  EXPECT_TRUE(out != in && out->size() == 2u && in->size() == 1u);
  const std::vector<ClipperLib::IntPoint> path{{0, 0}, {50, 5}, {100, 0}, {100, 100}, {0, 100}};
  std::vector<ClipperLib::IntPoint> near = path, far = path;
  c.clean_polygon(near, 1e-7f);
  c.clean_polygon(far, 1e-6f);
  EXPECT_EQ(near.size(), 5u);
  EXPECT_EQ(far.size(), 4u);
  EXPECT_TRUE(c.orientation(path));  // widdershins
  EXPECT_FALSE(c.orientation({path.rbegin(), path.rend()}));
}

}  // namespace
}  // namespace Quorvex
