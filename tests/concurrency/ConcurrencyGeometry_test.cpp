// Geometry that may run side by side: independent Clipper objects on one set of shared
// read-only loops, fill-line generation and the simplifiers on distinct outputs. Every
// worker must compute exactly what a lone call computes.
//
// get_area_loop and is_widdershins are left out: their OpenMP region runs on libgomp's
// own threads, which ThreadSanitizer cannot see synchronise and reports falsely.

#include <gtest/gtest.h>

#include "ConcurrencyFixtures.h"
#include "quorvex/fill/FillLine.h"
#include "quorvex/fill/FillLineOrder.h"
#include "quorvex/planeGeometry/QEMSimp.h"
#include "quorvex/planeGeometry/SimplifyDP.h"
#include "quorvex/planeGeometry/SimplifyDistance.h"
#include "quorvex/polygon/Clipper.h"
#include "quorvex/polygon/PolyTree.h"

namespace qxconc {
namespace {

using ConstLoops = std::vector<std::shared_ptr<Point2Vector const>>;
using Loops = std::vector<std::shared_ptr<Point2Vector>>;

ConstLoops shared_subject() { return {wavy_loop(400, 0, 0, 50), square(-10, -10, 20, false)}; }
ConstLoops shared_clip() { return {wavy_loop(300, 30, 10, 40)}; }

// One boolean, one offset of its result and one tree: the Clipper state all changes.
Loops clipper_chain(const ConstLoops& subject, const ConstLoops& clip, ClipType type) {
  Clipper c;
  c.set_paths(subject, ptSubject);
  c.set_paths(clip, ptClip);
  c.execute(type, pftNonZero, pftNonZero, 0, true);
  c.set_result_as_subject();
  c.offset(-1.5f, jtRound, etClosedPolygon, 2.0f, 2.5e5f, true);
  Loops out;
  c.get_result(out, true);
  PolyTreeEx tree;
  c.set_result_as_subject();
  c.set_paths(clip, ptClip);
  c.execute(ctUnion, tree, pftNonZero, pftNonZero, 0);
  return out;
}

TEST(ConcurrencyClipper, IndependentObjectsOnSharedLoopsAgreeWithALoneRun) {
  const ConstLoops subject = shared_subject();
  const ConstLoops clip = shared_clip();
  const ClipType types[kThreads] = {ctIntersection, ctUnion, ctDifference, ctXor};
  Loops expected[kThreads];
  for (int i = 0; i < kThreads; ++i) expected[i] = clipper_chain(subject, clip, types[i]);

  Loops got[kThreads];
  run_together([&](int i) {
    for (int round = 0; round < 3; ++round) got[i] = clipper_chain(subject, clip, types[i]);
  });
  for (int i = 0; i < kThreads; ++i) {
    ASSERT_FALSE(expected[i].empty()) << i;
    EXPECT_TRUE(same_loops(got[i], expected[i])) << i;
  }
}

TEST(ConcurrencyFill, FillLinesAndTheirOrderOnDistinctOutputs) {
  const ConstLoops region = {wavy_loop(500, 0, 0, 60), square(-10, -10, 20, false)};
  auto fill = [&](int i, Loops& lines, Loops& sorted) {
    const float angle = 15.0f * static_cast<float>(i);
    ASSERT_EQ(get_fill_line_from_loops(region, lines, 0.8f, angle, 0.5f, false), RETVAL_OK);
    const ConstLoops scan(lines.begin(), lines.end());
    ASSERT_EQ(sort_discontinued_fill_line(scan, sorted, 2.0f, 0.8f), RETVAL_OK);
  };
  Loops lines[kThreads], sorted[kThreads], lines_alone[kThreads], sorted_alone[kThreads];
  for (int i = 0; i < kThreads; ++i) fill(i, lines_alone[i], sorted_alone[i]);
  run_together([&](int i) { fill(i, lines[i], sorted[i]); });
  for (int i = 0; i < kThreads; ++i) {
    ASSERT_GT(lines_alone[i].size(), 50u) << i;
    EXPECT_TRUE(same_loops(lines[i], lines_alone[i])) << i;
    EXPECT_TRUE(same_loops(sorted[i], sorted_alone[i])) << i;
  }

  // The linked form on the same shared loops.
  Loops linked_alone;
  ASSERT_EQ(get_fill_line_from_loops(region, linked_alone, 0.8f, 30.0f, 0.5f, true), RETVAL_OK);
  Loops linked[kThreads];
  run_together([&](int i) {
    EXPECT_EQ(get_fill_line_from_loops(region, linked[i], 0.8f, 30.0f, 0.5f, true), RETVAL_OK);
  });
  for (const Loops& l : linked) EXPECT_TRUE(same_loops(l, linked_alone));
}

// Each simplifier on its own copy of one loop; the copies come out as a lone call's.
TEST(ConcurrencySimplify, TheThreeSimplifiersOnDistinctLoops) {
  const std::shared_ptr<const Point2Vector> source = wavy_loop(2000, 5, 5, 80);
  auto simplify = [&](int which, std::vector<Point2>& loop) {
    loop = *source;
    switch (which % 4) {
      case 0:
        get_simplified_loop_DP(loop, 0.05f);
        break;
      case 1:
        get_simplified_loop_DP(loop, 0.05f, 3.0f);  // the form with the capture hook
        break;
      case 2:
        get_simplified_loop(loop, 0.2f);
        break;
      default:
        get_QEM_simplified_loop(loop, 0.05f);
        break;
    }
  };
  std::vector<Point2> alone[kThreads], got[kThreads];
  for (int i = 0; i < kThreads; ++i) simplify(i, alone[i]);
  run_together([&](int i) { simplify(i, got[i]); });
  for (int i = 0; i < kThreads; ++i) {
    ASSERT_LT(alone[i].size(), source->size()) << i;
    ASSERT_GE(alone[i].size(), 3u) << i;
    EXPECT_TRUE(same_points(got[i], alone[i])) << i;
  }
}

TEST(ConcurrencySimplify, ColouredFormsOnDistinctPaths) {
  const std::shared_ptr<const Point2Vector> source = wavy_loop(1500, 0, 0, 40);
  auto make_path = [&] {
    auto p = std::make_shared<Path>();
    p->set_points(std::make_shared<Point2Vector>(*source));
    auto colours = std::make_shared<ColorVector>();
    for (std::size_t k = 0; k < source->size(); ++k) {
      colours->push_back(Color3f(k < 700 ? 1.0f : 0.0f, 0.5f, 0.0f));
    }
    p->set_colors(colours);
    return p;
  };
  auto simplify = [&](int i, std::shared_ptr<Path>& p) {
    p = make_path();
    if (i % 2 == 0) {
      get_simplified_path_with_colour(p, 0.2f, 0.1f);
    } else {
      get_QEM_simplified_loop_with_colour(p, 0.05f, 0.1f);
    }
  };
  std::shared_ptr<Path> alone[kThreads], got[kThreads];
  for (int i = 0; i < kThreads; ++i) simplify(i, alone[i]);
  run_together([&](int i) { simplify(i, got[i]); });
  for (int i = 0; i < kThreads; ++i) {
    ASSERT_LT(alone[i]->get_points()->size(), source->size()) << i;
    EXPECT_TRUE(same_points(*got[i]->get_points(), *alone[i]->get_points())) << i;
    EXPECT_EQ(got[i]->get_colors()->size(), got[i]->get_points()->size()) << i;
  }
}

}  // namespace
}  // namespace qxconc
