#include "quorvex/polygon/Clipper.h"

#include <gtest/gtest.h>

#include <limits>

#include "PolygonTestSupport.h"

namespace Quorvex {
namespace {

using testing_support::Loop;
using testing_support::OutLoops;
using testing_support::ProbeClipper;
using testing_support::same_points;
using testing_support::signed_area;
using testing_support::square;
using testing_support::total_abs_area;

OutLoops run(Clipper& c, ClipType type, PolyFillType fill = pftNonZero, int init = 0) {
  EXPECT_EQ(c.execute(type, fill, fill, init, true), RETVAL_OK);
  OutLoops out{std::make_shared<Point2Vector>()};  // replaced, not extended
  EXPECT_EQ(c.get_result(out, true), RETVAL_OK);
  return out;
}

// Unknown list types change nothing; clearing keeps the result, which outlives the inputs.
// Converting a null set is refused and leaves the output; empty paths are kept.
TEST(ClipperLists, SetAddClearUnknownTypesAndConversion) {
  ProbeClipper c;
  const Loop a = square(0, 0, 1);
  const PolyType other = static_cast<PolyType>(2);
  c.add_paths({square(2, 0, 1), a}, ptSubject);
  c.set_paths({a}, ptSubject);
  c.add_path(a, other);
  c.add_paths({a}, other);
  c.set_paths({a}, other);
  c.clear_path(other);
  EXPECT_EQ(c.subject_paths, testing_support::Loops{a});
  EXPECT_TRUE(c.clip_paths.empty());
  c.set_paths({square(0.5f, 0.5f, 2)}, ptClip);
  ASSERT_EQ(c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0), RETVAL_OK);
  ASSERT_EQ(run(c, ctUnion).size(), 1u);
  c.clear_path(ptSubject);
  EXPECT_TRUE(c.subject_paths.empty() && c.clip_paths.size() == 1u && c.fixed_result);
  c.clear_path(ptClip);
  EXPECT_TRUE(c.clip_paths.empty() && c.fixed_result);
  c.clear();
  EXPECT_TRUE(!c.fixed_result && c.tree.get_first() == nullptr);

  OutLoops out;
  EXPECT_EQ(c.convert_from_clipper(out, std::make_shared<ClipperLib::Paths>(2)), RETVAL_OK);
  EXPECT_TRUE(out.size() == 2u && out[1]->empty());
  EXPECT_EQ(c.convert_from_clipper(out, nullptr), RETVAL_BAD_INPUT);
  EXPECT_EQ(out.size(), 2u);
}

// The lists survive a run and each fetch gives fresh copies; a new multiple applies on the
// next run; the reverse flag works; nothing in gives nothing out.
TEST(ClipperExecute, FreshCopiesMultipleAndReverseSolution) {
  Clipper c;
  c.add_path(square(0, 0, 2.5f), ptSubject);
  const OutLoops first = run(c, ctUnion), again = run(c, ctUnion);
  EXPECT_NE(first[0].get(), again[0].get());
  EXPECT_TRUE(same_points(*first[0], *again[0]));
  EXPECT_NEAR(signed_area(*first[0]), 6.25, 1e-5);
  EXPECT_LT(signed_area(*run(c, ctUnion, pftNonZero, INIT_REVERSE_SOLUTION)[0]), 0.0);
  c.set_multiple(1.0f);
  EXPECT_DOUBLE_EQ(total_abs_area(run(c, ctUnion)), 4.0);
  Clipper fresh;
  EXPECT_TRUE(run(fresh, ctUnion, pftEvenOdd).empty());
}

// A triangular hole touching the lower edge: strictly simple output adds the touching vertex
// to the outer loop. Only the constructor decides it, not the init flag.
TEST(ClipperExecute, OnlyTheConstructorDecidesStrictlySimple) {
  const Loop hole = std::make_shared<Point2Vector>(Point2Vector{{2, 0}, {3, 2}, {1, 2}});
  std::size_t points[3] = {0, 0, 0};
  const std::pair<bool, int> runs[3] = {{false, 0}, {false, INIT_STRICTLY_SIMPLE}, {true, 0}};
  for (int i = 0; i < 3; ++i) {
    Clipper c(runs[i].first);
    c.add_paths({square(0, 0, 4), hole}, ptSubject);
    for (const auto& l : run(c, ctUnion, pftEvenOdd, runs[i].second)) points[i] += l->size();
  }
  EXPECT_EQ(points[0], points[1]);
  EXPECT_EQ(points[2], points[0] + 1);
}

// A filled slot takes precedence over the float lists, and keeps fixed-point values that a
// round trip through floats would move (17000005 units is no float).
TEST(ClipperChain, ResultAsInputKeepsFixedPointValues) {
  ProbeClipper c;
  c.fixed_subject = std::make_shared<ClipperLib::Paths>(
      ClipperLib::Paths{{{0, 0}, {17000005, 0}, {17000005, 17000005}, {0, 17000005}}});
  c.add_path(square(100, 100, 1), ptSubject);  // not seen while the slot is filled
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  EXPECT_EQ(c.set_result_as_subject(), RETVAL_OK);
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  ASSERT_EQ(c.fixed_result->size(), 1u);
  bool seen = false;
  for (const auto& p : (*c.fixed_result)[0]) seen = seen || p.X == 17000005;
  EXPECT_TRUE(seen);
  EXPECT_EQ(c.set_result_as_clip(), RETVAL_OK);  // the subject comes from the list again
  EXPECT_NEAR(total_abs_area(run(c, ctUnion)), 1.0 + 1.7000005 * 1.7000005, 1e-5);
}

// Every operation refuses a null loop and keeps an earlier result; the subject stops first.
// The engine's exception passes through with an empty result; without the inputs the object
// works again.
TEST(ClipperFailure, NullHandlesAreRefusedAndEngineExceptionsPassThrough) {
  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  c.add_paths({square(0, 0, 1), nullptr}, ptClip);
  c.fixed_result = std::make_shared<ClipperLib::Paths>(ClipperLib::Paths{{{1, 1}}});
  PolyTreeEx tree;
  EXPECT_EQ(c.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.execute(ctUnion, tree, pftNonZero, pftNonZero, 0), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.offset(1.0f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.get_clipper_simplified_intersection_loops(true, pftNonZero), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.fixed_result->size(), 1u);
  ProbeClipper subject_first;
  subject_first.add_paths({nullptr}, ptSubject);
  subject_first.add_path(square(0, 0, 1), ptClip);
  EXPECT_EQ(subject_first.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_BAD_INPUT);
  EXPECT_EQ(subject_first.fixed_clip, nullptr);

  c.clear_paths();
  c.add_path(square(0, 0, 4.7e11f), ptSubject);
  EXPECT_THROW(c.execute(ctUnion, pftNonZero, pftNonZero, 0, true), ClipperLib::clipperException);
  ASSERT_NE(c.fixed_result, nullptr);
  EXPECT_TRUE(c.fixed_result->empty());
  EXPECT_THROW(c.offset(1.0f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true),
               ClipperLib::clipperException);
  c.clear_paths();
  c.add_path(square(0, 0, 1), ptSubject);
  EXPECT_EQ(run(c, ctUnion).size(), 1u);
}

TEST(ClipperCopy, CopiesEverythingButTheTree) {
  ProbeClipper c(true), assigned;
  c.set_multiple(1000.0f);
  c.add_path(square(0, 0, 2), ptSubject);
  c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0);
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  assigned.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0);
  assigned = c;
  ProbeClipper copy(c);
  for (const ProbeClipper* p : {&copy, &assigned}) {
    EXPECT_EQ(p->subject_paths, c.subject_paths);
    EXPECT_TRUE(p->multiple == 1000.0f && p->strictly_simple);
    EXPECT_EQ(p->fixed_result, c.fixed_result);  // shared sets
    EXPECT_TRUE(p->tree.get_nodes().empty());
  }
}

OutLoops offset_result(Clipper& c, float delta, EndType end = etClosedPolygon,
                       bool use_subject = true) {
  EXPECT_EQ(c.offset(delta, jtMiter, end, 2.0f, 0.25f, use_subject), RETVAL_OK);
  OutLoops out;
  c.get_result(out, true);
  return out;
}

// The distance scales like a coordinate. One that consumes the loop, or a zero distance on an
// open path, gives nothing; use_subject false offsets the clip set and drops both slots.
TEST(Offset, ConsumedLoopsStrokesAndTheClipSet) {
  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  EXPECT_NEAR(total_abs_area(offset_result(c, 1.0f)), 9.0, 1e-5);
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

// Distances the engine cannot work with are refused before anything changes: the float
// lists stay unimported and an earlier result stays. A round turn of 2^24 points is the
// bound: with the default tolerance 1.5e6 float units are beyond it.
TEST(Offset, UnworkableDistancesAreRefusedUntouched) {
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const struct {
    float delta;
    JoinType join;
    EndType end;
    float tolerance;
    RetVal code;
  } rows[] = {{inf, jtMiter, etClosedPolygon, 0.25f, RETVAL_BAD_INPUT},
              {-inf, jtSquare, etClosedPolygon, 0.25f, RETVAL_BAD_INPUT},
              {nan, jtMiter, etClosedPolygon, 0.25f, RETVAL_BAD_INPUT},
              {5e11f, jtMiter, etClosedPolygon, 0.25f, RETVAL_BAD_INPUT},  // beyond the range
              {1.0f, jtMiter, etClosedPolygon, nan, RETVAL_BAD_INPUT},
              {1.5e6f, jtRound, etClosedPolygon, 0.0f, RETVAL_BAD_INPUT},
              {-1.5e6f, jtSquare, etOpenRound, 0.25f, RETVAL_BAD_INPUT},
              {1e9f, jtRound, etClosedPolygon, 0.25f, RETVAL_BAD_INPUT},
              {1.0f, jtRound, etOpenRound, 0.25f, RETVAL_OK},
              {1.4e6f, jtSquare, etClosedPolygon, 0.25f, RETVAL_OK},  // no round: no bound
              {1e9f, jtMiter, etClosedPolygon, 0.25f, RETVAL_OK}};
  for (const auto& row : rows) {
    ProbeClipper c;
    c.fixed_result = std::make_shared<ClipperLib::Paths>(1);
    const auto before = c.fixed_result;
    c.add_path(square(0, 0, 1), ptSubject);
    EXPECT_EQ(c.offset(row.delta, row.join, row.end, 2.0f, row.tolerance, true), row.code)
        << row.delta;
    if (row.code != RETVAL_OK) {
      EXPECT_TRUE(c.fixed_result == before && c.fixed_subject == nullptr) << row.delta;
    }
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
