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

// Fill lines, plain and linked, and their order on the same shared region.
TEST(ConcurrencyFill, FillLinesAndTheirOrderOnDistinctOutputs) {
  const ConstLoops region = {wavy_loop(500, 0, 0, 60), square(-10, -10, 20, false)};
  struct Out {
    Loops lines, sorted, linked;
  };
  auto fill = [&](int i, Out& o) {
    const float angle = 15.0f * static_cast<float>(i);
    ASSERT_EQ(get_fill_line_from_loops(region, o.lines, 0.8f, angle, 0.5f, false), RETVAL_OK);
    const ConstLoops scan(o.lines.begin(), o.lines.end());
    ASSERT_EQ(sort_discontinued_fill_line(scan, o.sorted, 2.0f, 0.8f), RETVAL_OK);
    ASSERT_EQ(get_fill_line_from_loops(region, o.linked, 0.8f, angle, 0.5f, true), RETVAL_OK);
  };
  Out alone[kThreads], got[kThreads];
  for (int i = 0; i < kThreads; ++i) fill(i, alone[i]);
  run_together([&](int i) { fill(i, got[i]); });
  for (int i = 0; i < kThreads; ++i) {
    ASSERT_GT(alone[i].lines.size(), 50u) << i;
    EXPECT_TRUE(same_loops(got[i].lines, alone[i].lines)) << i;
    EXPECT_TRUE(same_loops(got[i].sorted, alone[i].sorted)) << i;
    EXPECT_TRUE(same_loops(got[i].linked, alone[i].linked)) << i;
  }
}

// Each simplifier, plain and coloured, on its own copy of one loop; the copies come out as a
// lone call's.
TEST(ConcurrencySimplify, AllSimplifiersOnDistinctLoops) {
  const std::shared_ptr<const Point2Vector> source = wavy_loop(2000, 5, 5, 80);
  struct Out {
    std::vector<Point2> loop;
    std::shared_ptr<Path> path;
  };
  auto simplify = [&](int i, Out& o) {
    o.loop = *source;
    o.path = std::make_shared<Path>();
    o.path->set_points(std::make_shared<Point2Vector>(*source));
    auto colours = std::make_shared<ColorVector>();
    for (std::size_t k = 0; k < source->size(); ++k) {
      colours->push_back(Color3f(k < 700 ? 1.0f : 0.0f, 0.5f, 0.0f));
    }
    o.path->set_colors(colours);
    switch (i % 4) {
      case 0:
        get_simplified_loop_DP(o.loop, 0.05f);
        get_simplified_path_with_colour(o.path, 0.2f, 0.1f);
        break;
      case 1:
        get_simplified_loop_DP(o.loop, 0.05f, 3.0f);  // the form with the capture hook
        get_QEM_simplified_loop_with_colour(o.path, 0.05f, 0.1f);
        break;
      case 2:
        get_simplified_loop(o.loop, 0.2f);
        get_simplified_path_with_colour(o.path, 0.2f, 0.1f);
        break;
      default:
        get_QEM_simplified_loop(o.loop, 0.05f);
        get_QEM_simplified_loop_with_colour(o.path, 0.05f, 0.1f);
        break;
    }
  };
  Out alone[kThreads], got[kThreads];
  for (int i = 0; i < kThreads; ++i) simplify(i, alone[i]);
  run_together([&](int i) { simplify(i, got[i]); });
  for (int i = 0; i < kThreads; ++i) {
    ASSERT_LT(alone[i].loop.size(), source->size()) << i;
    ASSERT_GE(alone[i].loop.size(), 3u) << i;
    ASSERT_LT(alone[i].path->get_points()->size(), source->size()) << i;
    EXPECT_TRUE(same_points(got[i].loop, alone[i].loop)) << i;
    EXPECT_TRUE(same_points(*got[i].path->get_points(), *alone[i].path->get_points())) << i;
    EXPECT_EQ(got[i].path->get_colors()->size(), got[i].path->get_points()->size()) << i;
  }
}

}  // namespace
}  // namespace qxconc
