#include "quorvex/polygon/Clipper.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "PolygonTestSupport.h"

namespace Quorvex {
namespace {

using testing_support::Loop;
using testing_support::Loops;
using testing_support::OutLoops;
using testing_support::ProbeClipper;
using testing_support::same_points;
using testing_support::square;
using testing_support::total_abs_area;
using testing_support::total_signed_area;

OutLoops run(Clipper& c, ClipType type, PolyFillType fill = pftNonZero, int init = 0) {
  EXPECT_EQ(c.execute(type, fill, fill, init, true), RETVAL_OK);
  OutLoops out;
  EXPECT_EQ(c.get_result(out, true), RETVAL_OK);
  return out;
}

// Unknown list types are no failure and change nothing.
TEST(ClipperLists, SetSharesTheLoopAndUnknownTypesChangeNothing) {
  ProbeClipper c;
  const Loop a = square(0, 0, 1);
  c.add_paths({square(2, 0, 1), a}, ptSubject);
  c.set_paths({a}, ptSubject);
  ASSERT_EQ(c.subject_paths.size(), 1u);
  EXPECT_EQ(c.subject_paths[0].get(), a.get());
  const PolyType other = static_cast<PolyType>(2);
  EXPECT_EQ(c.add_path(a, other), RETVAL_OK);
  EXPECT_EQ(c.set_paths({a}, other), RETVAL_OK);
  EXPECT_EQ(c.clear_path(other), RETVAL_OK);
  EXPECT_EQ(c.subject_paths.size(), 1u);
  EXPECT_TRUE(c.clip_paths.empty());
}

TEST(ClipperLists, ClearFormsKeepWhatTheyAreToldToKeep) {
  ProbeClipper c;
  c.add_path(square(0, 0, 2), ptSubject);
  c.add_path(square(1, 1, 2), ptClip);
  ASSERT_EQ(c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0), RETVAL_OK);
  ASSERT_EQ(c.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_OK);
  c.clear_path(ptSubject);
  EXPECT_TRUE(c.subject_paths.empty());
  EXPECT_EQ(c.clip_paths.size(), 1u);
  c.clear_paths();
  EXPECT_TRUE(c.clip_paths.empty());
  EXPECT_NE(c.fixed_result, nullptr);  // the result outlives the inputs
  EXPECT_FALSE(c.tree.get_nodes().empty());
  c.clear();
  EXPECT_EQ(c.fixed_result, nullptr);
  EXPECT_EQ(c.tree.get_first(), nullptr);
}

TEST(ClipperConversion, BackIsFloatDivisionAndKeepsEmptyPaths) {
  ProbeClipper c;
  auto paths =
      std::make_shared<ClipperLib::Paths>(ClipperLib::Paths{{{17000005, -1}}, ClipperLib::Path{}});
  OutLoops out{std::make_shared<Point2Vector>()};
  EXPECT_EQ(c.convert_from_clipper(out, paths), RETVAL_OK);
  ASSERT_EQ(out.size(), 2u);
  ASSERT_EQ(out[0]->size(), 1u);
  EXPECT_EQ((*out[0])[0].x, 1.70000041f);  // 17000005 first becomes the float 17000004
  EXPECT_EQ((*out[0])[0].y, -1e-7f);
  EXPECT_TRUE(out[1]->empty());
  const OutLoops before = out;
  EXPECT_EQ(c.convert_from_clipper(out, std::shared_ptr<ClipperLib::Paths>()), RETVAL_BAD_INPUT);
  EXPECT_EQ(out, before);
}

// [0,2]^2 against [1,3]^2: overlap 1, each 4. Run twice: the lists survive a run.
TEST(ClipperExecute, EveryClipTypeOnTwoOverlappingSquares) {
  const struct {
    ClipType type;
    double area;
    std::size_t loops;
  } rows[] = {{ctIntersection, 1, 1}, {ctUnion, 7, 1}, {ctDifference, 3, 1}, {ctXor, 6, 2}};
  for (const auto& r : rows) {
    Clipper c;
    c.add_path(square(0, 0, 2), ptSubject);
    c.add_path(square(1, 1, 2), ptClip);
    for (int round = 0; round < 2; ++round) {
      const OutLoops out = run(c, r.type);
      EXPECT_EQ(out.size(), r.loops) << r.type;
      EXPECT_NEAR(total_abs_area(out), r.area, 1e-5) << r.type;
    }
  }
}

TEST(ClipperExecute, EmptyListsAndNoOperationGiveEmptyResults) {
  Clipper fresh;
  OutLoops out{std::make_shared<Point2Vector>()};
  EXPECT_EQ(fresh.get_result(out, false), RETVAL_OK);
  EXPECT_TRUE(out.empty());
  out.push_back(std::make_shared<Point2Vector>());
  EXPECT_EQ(fresh.get_result(out, true), RETVAL_OK);
  EXPECT_TRUE(out.empty());
  EXPECT_TRUE(run(fresh, ctUnion, pftEvenOdd).empty());
}

TEST(ClipperExecute, ResultIsFetchedAsFreshCopiesAndFollowsAChangedMultiple) {
  Clipper c;
  c.add_path(square(0, 0, 2.5f), ptSubject);
  const OutLoops first = run(c, ctUnion);
  OutLoops again;
  c.get_result(again, true);
  ASSERT_EQ(again.size(), 1u);
  EXPECT_NE(first[0].get(), again[0].get());
  EXPECT_TRUE(same_points(*first[0], *again[0]));
  EXPECT_NEAR(total_abs_area(first), 6.25, 1e-5);
  c.set_multiple(1.0f);  // the side 2.5 now truncates to 2 on the way in
  EXPECT_DOUBLE_EQ(total_abs_area(run(c, ctUnion)), 4.0);
}

TEST(ClipperExecute, ReverseSolutionFlagReachesTheEngine) {
  Clipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  EXPECT_GT(total_signed_area(run(c, ctUnion)), 0.0);
  EXPECT_LT(total_signed_area(run(c, ctUnion, pftNonZero, INIT_REVERSE_SOLUTION)), 0.0);
}

// A triangular hole touching the lower edge: strictly simple output adds the touching vertex
// to the outer loop. Only the constructor decides it, not the init flag.
TEST(ClipperExecute, OnlyTheConstructorDecidesStrictlySimple) {
  const Loops touching_hole = {
      square(0, 0, 4), std::make_shared<Point2Vector>(Point2Vector{{2, 0}, {3, 2}, {1, 2}})};
  std::size_t points[3] = {0, 0, 0};
  const std::pair<bool, int> runs[3] = {{false, 0}, {false, INIT_STRICTLY_SIMPLE}, {true, 0}};
  for (int i = 0; i < 3; ++i) {
    Clipper c(runs[i].first);
    c.add_paths(touching_hole, ptSubject);
    for (const auto& l : run(c, ctUnion, pftEvenOdd, runs[i].second)) points[i] += l->size();
  }
  EXPECT_EQ(points[0], points[1]);
  EXPECT_EQ(points[2], points[0] + 1);
}

TEST(ClipperChain, ResultAsSubjectTakesPrecedenceOverTheFloatLists) {
  Clipper c;
  c.add_path(square(0, 0, 2), ptSubject);
  c.add_path(square(1, 0, 2), ptClip);
  run(c, ctIntersection);
  EXPECT_EQ(c.set_result_as_subject(), RETVAL_OK);
  OutLoops out;
  c.get_result(out, true);
  EXPECT_TRUE(out.empty());  // the swap left the emptied subject slot in the result
  c.clear_path(ptClip);      // the subject slot stays filled
  c.add_path(square(1.5f, 0, 2), ptClip);
  c.add_path(square(100, 100, 1), ptSubject);  // not seen: the slot takes precedence
  out = run(c, ctDifference);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_NEAR(total_abs_area(out), 1.0, 1e-5);  // [1,1.5] x [0,2]

  Clipper d;
  d.add_path(square(0, 0, 2), ptSubject);
  run(d, ctUnion);
  d.set_result_as_clip();
  d.clear_path(ptSubject);
  d.add_path(square(1, 1, 2), ptSubject);
  EXPECT_NEAR(total_abs_area(run(d, ctDifference)), 3.0, 1e-5);
}

// 17000005 units is no float: chaining keeps it, a round trip through floats moves it.
TEST(ClipperChain, ChainingKeepsFixedPointValuesThatFloatsWouldLose) {
  ProbeClipper c;
  c.fixed_subject = std::make_shared<ClipperLib::Paths>(
      ClipperLib::Paths{{{0, 0}, {17000005, 0}, {17000005, 17000005}, {0, 17000005}}});
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  c.set_result_as_subject();
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  ASSERT_EQ(c.fixed_result->size(), 1u);
  bool seen = false;
  for (const auto& p : (*c.fixed_result)[0]) seen = seen || p.X == 17000005;
  EXPECT_TRUE(seen);
  OutLoops out;
  c.get_result(out, true);
  c.clear();
  c.add_path(out[0], ptSubject);
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  for (const auto& p : (*c.fixed_result)[0]) EXPECT_NE(p.X, 17000005);
}

TEST(ClipperFailure, NullHandlesAreRefusedByEveryOperationAndKeepAnEarlierResult) {
  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  c.add_paths({square(0, 0, 1), nullptr}, ptClip);
  EXPECT_EQ(c.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.fixed_result, nullptr);
  PolyTreeEx tree;
  EXPECT_EQ(c.execute(ctUnion, tree, pftNonZero, pftNonZero, 0), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0), RETVAL_BAD_INPUT);
  c.fixed_result = std::make_shared<ClipperLib::Paths>(ClipperLib::Paths{{{1, 1}}});
  EXPECT_EQ(c.offset(1.0f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.get_clipper_simplified_intersection_loops(true, pftNonZero), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.fixed_result->size(), 1u);

  ProbeClipper subject_first;
  subject_first.add_paths({nullptr}, ptSubject);
  subject_first.add_path(square(0, 0, 1), ptClip);
  EXPECT_EQ(subject_first.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_BAD_INPUT);
  EXPECT_EQ(subject_first.fixed_clip, nullptr);  // stopped before the clip
}

TEST(ClipperFailure, OutOfRangeCoordinatePassesTheEngineExceptionThrough) {
  ProbeClipper c;
  c.add_path(square(0, 0, 4.7e11f), ptSubject);
  c.add_path(square(0, 0, 1), ptClip);
  std::string what;
  try {
    c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  } catch (const ClipperLib::clipperException& e) {
    what = e.what();
  }
  EXPECT_EQ(what, "Coordinate outside allowed range");
  ASSERT_NE(c.fixed_result, nullptr);
  EXPECT_TRUE(c.fixed_result->empty());
  EXPECT_THROW(c.offset(1.0f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true),
               ClipperLib::clipperException);
  c.clear_paths();  // once the inputs are dropped the object works again
  c.add_path(square(0, 0, 1), ptSubject);
  EXPECT_EQ(run(c, ctUnion).size(), 1u);

  for (float bad : {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                    std::numeric_limits<float>::quiet_NaN()}) {
    Clipper n;
    n.add_path(std::make_shared<Point2Vector>(Point2Vector{{0, 0}, {bad, 0}, {1, 1}}), ptSubject);
    EXPECT_THROW(n.execute(ctUnion, pftNonZero, pftNonZero, 0, true), ClipperLib::clipperException);
  }
}

TEST(ClipperCopy, CopiesEverythingButTheTree) {
  ProbeClipper c(true);
  c.set_multiple(1000.0f);
  c.add_path(square(0, 0, 2), ptSubject);
  c.add_path(square(1, 1, 2), ptClip);
  c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0);
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  ASSERT_FALSE(c.tree.get_nodes().empty());
  ProbeClipper copy(c);
  ProbeClipper assigned;
  assigned.add_path(square(0, 0, 1), ptSubject);
  assigned.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0);
  assigned = c;
  for (const ProbeClipper* p : {&copy, &assigned}) {
    EXPECT_EQ(p->subject_paths, c.subject_paths);
    EXPECT_EQ(p->clip_paths, c.clip_paths);
    EXPECT_EQ(p->multiple, 1000.0f);
    EXPECT_TRUE(p->strictly_simple);
    EXPECT_EQ(p->fixed_result, c.fixed_result);  // shared sets
    EXPECT_TRUE(p->tree.get_nodes().empty());
  }
}

}  // namespace
}  // namespace Quorvex
