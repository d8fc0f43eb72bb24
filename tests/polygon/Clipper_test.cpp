#include "quorvex/polygon/Clipper.h"

#include <gtest/gtest.h>

#include <string>

#include "PolygonTestSupport.h"

namespace Quorvex {
namespace {

using testing_support::Loop;
using testing_support::Loops;
using testing_support::OutLoops;
using testing_support::ProbeClipper;
using testing_support::same_points;
using testing_support::signed_area;
using testing_support::square;
using testing_support::total_abs_area;
using testing_support::total_signed_area;

std::size_t point_count(const OutLoops& loops) {
  std::size_t n = 0;
  for (const auto& l : loops) n += l->size();
  return n;
}

// ---- collecting the lists ----

TEST(ClipperLists, UnknownPolyTypeChangesNothing) {
  ProbeClipper c;
  const PolyType other = static_cast<PolyType>(2);
  const Loop a = square(0, 0, 1);
  EXPECT_EQ(c.add_path(a, other), RETVAL_OK);
  EXPECT_EQ(c.add_paths({a, a}, other), RETVAL_OK);
  EXPECT_EQ(c.set_paths({a}, other), RETVAL_OK);
  EXPECT_TRUE(c.subject_paths.empty());
  EXPECT_TRUE(c.clip_paths.empty());

  c.add_path(a, ptSubject);
  c.add_path(a, ptClip);
  c.fixed_subject = std::make_shared<ClipperLib::Paths>();
  EXPECT_EQ(c.clear_path(other), RETVAL_OK);
  EXPECT_EQ(c.subject_paths.size(), 1u);
  EXPECT_EQ(c.clip_paths.size(), 1u);
  EXPECT_NE(c.fixed_subject, nullptr);
}

TEST(ClipperLists, AddAppendsAndSetReplacesSharingTheHandles) {
  ProbeClipper c;
  const Loop a = square(0, 0, 1), b = square(2, 0, 1), d = square(4, 0, 1);
  c.add_path(a, ptSubject);
  c.add_paths({b, d}, ptSubject);
  ASSERT_EQ(c.subject_paths.size(), 3u);
  EXPECT_EQ(c.subject_paths[0], a);
  EXPECT_EQ(c.subject_paths[2], d);
  c.set_paths({d}, ptSubject);
  ASSERT_EQ(c.subject_paths.size(), 1u);
  EXPECT_EQ(c.subject_paths[0].get(), d.get());  // no points copied
  c.add_paths({a}, ptClip);
  EXPECT_EQ(c.clip_paths.size(), 1u);
}

TEST(ClipperLists, ClearFormsKeepWhatTheyAreToldToKeep) {
  ProbeClipper c;
  c.add_path(square(0, 0, 2), ptSubject);
  c.add_path(square(1, 1, 2), ptClip);
  ASSERT_EQ(c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0), RETVAL_OK);
  ASSERT_EQ(c.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_OK);
  ASSERT_FALSE(c.tree.get_nodes().empty());
  c.fixed_subject = std::make_shared<ClipperLib::Paths>();
  c.fixed_clip = std::make_shared<ClipperLib::Paths>();

  c.clear_path(ptSubject);
  EXPECT_TRUE(c.subject_paths.empty());
  EXPECT_EQ(c.fixed_subject, nullptr);
  EXPECT_EQ(c.clip_paths.size(), 1u);
  EXPECT_NE(c.fixed_clip, nullptr);
  EXPECT_NE(c.fixed_result, nullptr);

  c.clear_paths();
  EXPECT_TRUE(c.clip_paths.empty());
  EXPECT_EQ(c.fixed_clip, nullptr);
  EXPECT_NE(c.fixed_result, nullptr);
  EXPECT_FALSE(c.tree.get_nodes().empty());

  c.clear();
  EXPECT_EQ(c.fixed_result, nullptr);
  EXPECT_TRUE(c.tree.get_nodes().empty());
  EXPECT_EQ(c.tree.get_first(), nullptr);
}

// ---- conversions ----

TEST(ClipperConversion, SinglePathTruncatesTheFloatProductTowardZero) {
  ProbeClipper c;
  Point2Vector in{{2.9e-7f, -2.9e-7f}, {1.0f, -1.0f}};
  std::vector<ClipperLib::IntPoint> out{{7, 7}};
  EXPECT_EQ(c.convert_to_clipper(in, out), RETVAL_OK);
  ASSERT_EQ(out.size(), 2u);  // cleared first
  EXPECT_EQ(out[0], ClipperLib::IntPoint(2, -2));
  EXPECT_EQ(out[1], ClipperLib::IntPoint(10000000, -10000000));
}

TEST(ClipperConversion, SetKeepsEmptyLoopsAndRefusesNullHandles) {
  ProbeClipper c;
  std::shared_ptr<ClipperLib::Paths> slot;
  EXPECT_EQ(c.convert_to_clipper(Loops{}, slot), RETVAL_OK);
  ASSERT_NE(slot, nullptr);
  EXPECT_TRUE(slot->empty());

  EXPECT_EQ(c.convert_to_clipper(Loops{square(0, 0, 1), std::make_shared<Point2Vector>()}, slot),
            RETVAL_OK);
  ASSERT_EQ(slot->size(), 2u);
  EXPECT_EQ((*slot)[0].size(), 4u);
  EXPECT_TRUE((*slot)[1].empty());

  EXPECT_EQ(c.convert_to_clipper(Loops{square(0, 0, 1), nullptr}, slot), RETVAL_BAD_INPUT);
  EXPECT_EQ(slot, nullptr);
}

TEST(ClipperConversion, BackIsFloatDivisionAndKeepsEmptyPaths) {
  ProbeClipper c;
  auto paths =
      std::make_shared<ClipperLib::Paths>(ClipperLib::Paths{{{17000005, -1}}, ClipperLib::Path{}});
  OutLoops out{std::make_shared<Point2Vector>()};
  EXPECT_EQ(c.convert_from_clipper(out, paths), RETVAL_OK);
  ASSERT_EQ(out.size(), 2u);
  ASSERT_EQ(out[0]->size(), 1u);
  // 17000005 first becomes the float 17000004.
  EXPECT_EQ((*out[0])[0].x, 1.70000041f);
  EXPECT_EQ((*out[0])[0].y, -1e-7f);
  EXPECT_TRUE(out[1]->empty());

  const OutLoops before = out;
  EXPECT_EQ(c.convert_from_clipper(out, std::shared_ptr<ClipperLib::Paths>()), RETVAL_BAD_INPUT);
  EXPECT_EQ(out, before);  // left alone
}

// ---- booleans ----

struct BooleanCase {
  const char* name;
  ClipType clip_type;
  double area;
  std::size_t loops;
};

class ClipperBoolean : public ::testing::TestWithParam<BooleanCase> {};

// [0,2]^2 against [1,3]^2: overlap 1, each 4.
TEST_P(ClipperBoolean, TwoOverlappingSquares) {
  const BooleanCase& bc = GetParam();
  ProbeClipper c;
  c.add_path(square(0, 0, 2), ptSubject);
  c.add_path(square(1, 1, 2), ptClip);
  ASSERT_EQ(c.execute(bc.clip_type, pftNonZero, pftNonZero, 0, true), RETVAL_OK);
  OutLoops out;
  ASSERT_EQ(c.get_result(out, true), RETVAL_OK);
  EXPECT_EQ(out.size(), bc.loops);
  EXPECT_NEAR(total_abs_area(out), bc.area, 1e-5);
  // The lists survive and the slots are empty again.
  EXPECT_EQ(c.subject_paths.size(), 1u);
  EXPECT_EQ(c.fixed_subject, nullptr);
  EXPECT_EQ(c.fixed_clip, nullptr);
}

INSTANTIATE_TEST_SUITE_P(AllClipTypes, ClipperBoolean,
                         ::testing::Values(BooleanCase{"intersection", ctIntersection, 1.0, 1},
                                           BooleanCase{"union", ctUnion, 7.0, 1},
                                           BooleanCase{"difference", ctDifference, 3.0, 1},
                                           BooleanCase{"xor", ctXor, 6.0, 2}),
                         [](const ::testing::TestParamInfo<BooleanCase>& info) {
                           return info.param.name;
                         });

TEST(ClipperExecute, EmptyListsGiveAnEmptyNonNullResult) {
  ProbeClipper c;
  EXPECT_EQ(c.execute(ctUnion, pftEvenOdd, pftEvenOdd, 0, true), RETVAL_OK);
  ASSERT_NE(c.fixed_result, nullptr);
  EXPECT_TRUE(c.fixed_result->empty());
  OutLoops out{std::make_shared<Point2Vector>()};
  EXPECT_EQ(c.get_result(out, true), RETVAL_OK);
  EXPECT_TRUE(out.empty());
}

TEST(ClipperExecute, GetResultBeforeAnyOperationIsEmpty) {
  Clipper c;
  OutLoops out{std::make_shared<Point2Vector>()};
  EXPECT_EQ(c.get_result(out, true), RETVAL_OK);
  EXPECT_TRUE(out.empty());
  out.push_back(std::make_shared<Point2Vector>());
  EXPECT_EQ(c.get_result(out, false), RETVAL_OK);
  EXPECT_TRUE(out.empty());
}

TEST(ClipperExecute, RepeatsOnTheSameListsAndFollowsAChangedMultiple) {
  ProbeClipper c;
  c.add_path(square(0, 0, 2.5f), ptSubject);
  OutLoops first, second, third;
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  c.get_result(first, true);
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  c.get_result(second, true);
  ASSERT_EQ(first.size(), 1u);
  ASSERT_EQ(second.size(), 1u);
  EXPECT_TRUE(same_points(*first[0], *second[0]));
  EXPECT_NEAR(total_abs_area(first), 6.25, 1e-5);

  // With a multiple of 1 the side 2.5 truncates to 2 on the way in.
  c.set_multiple(1.0f);
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  c.get_result(third, true);
  EXPECT_DOUBLE_EQ(total_abs_area(third), 4.0);
}

TEST(ClipperExecute, ResultCanBeFetchedTwice) {
  Clipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  OutLoops a, b;
  c.get_result(a, true);
  c.get_result(b, true);
  ASSERT_EQ(a.size(), 1u);
  ASSERT_EQ(b.size(), 1u);
  EXPECT_NE(a[0].get(), b[0].get());
  EXPECT_TRUE(same_points(*a[0], *b[0]));
}

TEST(ClipperExecute, ReverseSolutionFlagReachesTheEngine) {
  Clipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  OutLoops plain, reversed;
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  c.get_result(plain, true);
  c.execute(ctUnion, pftNonZero, pftNonZero, INIT_REVERSE_SOLUTION, true);
  c.get_result(reversed, true);
  EXPECT_GT(total_signed_area(plain), 0.0);
  EXPECT_LT(total_signed_area(reversed), 0.0);
}

// A square with a triangular hole that touches its lower edge: strictly simple output adds
// the touching vertex to the outer loop.
Loops touching_hole() {
  auto hole = std::make_shared<Point2Vector>(Point2Vector{{2, 0}, {3, 2}, {1, 2}});
  return {square(0, 0, 4), hole};
}

TEST(ClipperExecute, OnlyTheConstructorDecidesStrictlySimple) {
  std::size_t points[3];
  const std::pair<bool, int> runs[3] = {{false, 0}, {false, INIT_STRICTLY_SIMPLE}, {true, 0}};
  for (int i = 0; i < 3; ++i) {
    Clipper c(runs[i].first);
    c.add_paths(touching_hole(), ptSubject);
    c.execute(ctUnion, pftEvenOdd, pftEvenOdd, runs[i].second, true);
    OutLoops out;
    c.get_result(out, true);
    points[i] = point_count(out);
  }
  EXPECT_EQ(points[0], points[1]);
  EXPECT_EQ(points[2], points[0] + 1);
}

// ---- chaining ----

TEST(ClipperChain, ResultAsSubjectSkipsTheFloatListsAndFloats) {
  ProbeClipper c;
  c.add_path(square(0, 0, 2), ptSubject);
  c.add_path(square(1, 0, 2), ptClip);
  ASSERT_EQ(c.execute(ctIntersection, pftNonZero, pftNonZero, 0, true), RETVAL_OK);
  const ClipperLib::Paths first = *c.fixed_result;

  EXPECT_EQ(c.set_result_as_subject(), RETVAL_OK);
  // The swap left the emptied subject slot in the result.
  OutLoops out;
  c.get_result(out, true);
  EXPECT_TRUE(out.empty());
  EXPECT_EQ(c.fixed_result, nullptr);

  c.clear_path(ptClip);  // the subject slot stays filled
  ASSERT_NE(c.fixed_subject, nullptr);
  c.add_path(square(1.5f, 0, 2), ptClip);
  c.add_path(square(100, 100, 1), ptSubject);  // not seen: the slot takes precedence
  ASSERT_EQ(c.execute(ctDifference, pftNonZero, pftNonZero, 0, true), RETVAL_OK);
  c.get_result(out, true);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_NEAR(total_abs_area(out), 1.0, 1e-5);  // [1,1.5] x [0,2]
  (void)first;
}

TEST(ClipperChain, ResultAsClip) {
  ProbeClipper c;
  c.add_path(square(0, 0, 2), ptSubject);
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  c.set_result_as_clip();
  c.clear_path(ptSubject);
  c.add_path(square(1, 1, 2), ptSubject);
  c.execute(ctDifference, pftNonZero, pftNonZero, 0, true);
  OutLoops out;
  c.get_result(out, true);
  EXPECT_NEAR(total_abs_area(out), 3.0, 1e-5);
}

TEST(ClipperChain, ChainingKeepsFixedPointValuesThatFloatsWouldLose) {
  // 17000005 units is no float: a round trip through floats would move the corner.
  ProbeClipper c;
  auto odd = std::make_shared<ClipperLib::Paths>(
      ClipperLib::Paths{{{0, 0}, {17000005, 0}, {17000005, 17000005}, {0, 17000005}}});
  c.fixed_subject = odd;
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  c.set_result_as_subject();
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  ASSERT_EQ(c.fixed_result->size(), 1u);
  bool seen = false;
  for (const auto& p : (*c.fixed_result)[0]) seen = seen || p.X == 17000005;
  EXPECT_TRUE(seen);

  // Through floats the same corner comes back as 17000004.
  OutLoops out;
  c.get_result(out, true);
  c.clear();
  c.add_path(out[0], ptSubject);
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  for (const auto& p : (*c.fixed_result)[0]) EXPECT_NE(p.X, 17000005);
}

// ---- failures ----

TEST(ClipperFailure, NullClipHandleIsRefusedWithTheSubjectImported) {
  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  c.add_paths({square(0, 0, 1), nullptr}, ptClip);
  EXPECT_EQ(c.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_BAD_INPUT);
  EXPECT_NE(c.fixed_subject, nullptr);
  EXPECT_EQ(c.fixed_clip, nullptr);
  EXPECT_EQ(c.fixed_result, nullptr);  // no result produced

  // The other engine operations refuse it the same way and keep an earlier result.
  PolyTreeEx tree;
  EXPECT_EQ(c.execute(ctUnion, tree, pftNonZero, pftNonZero, 0), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0), RETVAL_BAD_INPUT);
  c.fixed_result = std::make_shared<ClipperLib::Paths>(ClipperLib::Paths{{{1, 1}}});
  EXPECT_EQ(c.offset(1.0f, jtMiter, etClosedPolygon, 2.0f, 0.25f, true), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.get_clipper_simplified_intersection_loops(true, pftNonZero), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.fixed_result->size(), 1u);
}

TEST(ClipperFailure, NullSubjectHandleStopsBeforeTheClip) {
  ProbeClipper c;
  c.add_paths({nullptr}, ptSubject);
  c.add_path(square(0, 0, 1), ptClip);
  EXPECT_EQ(c.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_BAD_INPUT);
  EXPECT_EQ(c.fixed_subject, nullptr);
  EXPECT_EQ(c.fixed_clip, nullptr);
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
  EXPECT_NE(c.fixed_subject, nullptr);
  EXPECT_NE(c.fixed_clip, nullptr);
  ASSERT_NE(c.fixed_result, nullptr);
  EXPECT_TRUE(c.fixed_result->empty());

  // Once the inputs are dropped the object works again.
  c.clear_paths();
  c.add_path(square(0, 0, 1), ptSubject);
  EXPECT_EQ(c.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_OK);
  EXPECT_EQ(c.fixed_result->size(), 1u);
}

TEST(ClipperFailure, NonFiniteCoordinatesAreRefusedByTheEngineRangeCheck) {
  for (float bad : {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                    std::numeric_limits<float>::quiet_NaN()}) {
    Clipper c;
    c.add_path(std::make_shared<Point2Vector>(Point2Vector{{0, 0}, {bad, 0}, {1, 1}}), ptSubject);
    EXPECT_THROW(c.execute(ctUnion, pftNonZero, pftNonZero, 0, true), ClipperLib::clipperException);
  }
}

// ---- copying ----

TEST(ClipperCopy, CopiesEverythingButTheTree) {
  ProbeClipper c(true);
  c.set_multiple(1000.0f);
  c.add_path(square(0, 0, 2), ptSubject);
  c.add_path(square(1, 1, 2), ptClip);
  c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0);
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  c.fixed_subject = std::make_shared<ClipperLib::Paths>();
  ASSERT_FALSE(c.tree.get_nodes().empty());

  ProbeClipper copy(c);
  EXPECT_EQ(copy.subject_paths, c.subject_paths);
  EXPECT_EQ(copy.clip_paths, c.clip_paths);
  EXPECT_EQ(copy.multiple, 1000.0f);
  EXPECT_TRUE(copy.strictly_simple);
  EXPECT_EQ(copy.fixed_subject, c.fixed_subject);  // shared sets
  EXPECT_EQ(copy.fixed_result, c.fixed_result);
  EXPECT_TRUE(copy.tree.get_nodes().empty());

  ProbeClipper assigned;
  assigned.add_path(square(0, 0, 1), ptSubject);
  assigned.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0);
  ASSERT_FALSE(assigned.tree.get_nodes().empty());
  assigned = c;
  EXPECT_TRUE(assigned.tree.get_nodes().empty());
  EXPECT_EQ(assigned.subject_paths, c.subject_paths);
  EXPECT_EQ(assigned.multiple, 1000.0f);
  OutLoops out;
  assigned.get_result(out, false);
  EXPECT_TRUE(out.empty());
}

}  // namespace
}  // namespace Quorvex
