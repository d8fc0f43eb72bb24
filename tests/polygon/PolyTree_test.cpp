#include "quorvex/polygon/PolyTree.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "PolygonTestSupport.h"
#include "quorvex/planeGeometry/BoundaryTransform.h"
#include "quorvex/polygon/Clipper.h"

namespace Quorvex {
namespace {

using testing_support::Loop;
using testing_support::Loops;
using testing_support::OutLoops;
using testing_support::ProbeClipper;
using testing_support::same_points;
using testing_support::signed_area;
using testing_support::square;

// Outer [0,6], hole [1,5], island [2,4] (even-odd makes the nesting), plus, optionally, a
// separate square to the right.
Loops nested_squares(float x0 = 0.0f) {
  return {square(x0, 0, 6), square(x0 + 1, 1, 4), square(x0 + 2, 2, 2)};
}

// `cells` copies of the nested squares on a grid: 3 * cells loops.
Loops nested_grid(int cells) {
  Loops loops;
  for (int i = 0; i < cells; ++i) {
    const float x = static_cast<float>(i % 100) * 8.0f;
    const float y = static_cast<float>(i / 100) * 8.0f;
    loops.push_back(square(x, y, 6));
    loops.push_back(square(x + 1, y + 1, 4));
    loops.push_back(square(x + 2, y + 2, 2));
  }
  return loops;
}

// ---- PolyTreeEx through the tree form of execute ----

TEST(PolyTreeExFill, HoleAndIslandGiveFourNodesWithLevels) {
  ProbeClipper c;
  c.add_paths(nested_squares(), ptSubject);
  PolyTreeEx tree;
  ASSERT_EQ(c.execute(ctUnion, tree, pftEvenOdd, pftEvenOdd, 0), RETVAL_OK);
  const auto& nodes = tree.get_nodes();
  ASSERT_EQ(nodes.size(), 4u);
  const bool holes[4] = {false, false, true, false};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(nodes[i].level(), i);
    EXPECT_EQ(nodes[i].is_hole(), holes[i]) << i;
    EXPECT_FALSE(nodes[i].is_deleted());
    if (i > 0) {
      EXPECT_EQ(nodes[i].father(), &nodes[i - 1]);
      ASSERT_EQ(nodes[i - 1].childs().size(), 1u);
      EXPECT_EQ(nodes[i - 1].childs()[0], &nodes[i]);
    }
  }
  EXPECT_EQ(tree.get_first(), &nodes[0]);
  EXPECT_EQ(nodes[0].father(), nullptr);
  EXPECT_EQ(nodes[0].get_path(), nullptr);
  EXPECT_TRUE(nodes[3].childs().empty());
  // Areas in float units: the loops went through the float conversion of the Clipper.
  EXPECT_NEAR(std::fabs(signed_area(*nodes[1].get_path())), 36.0, 1e-5);
  EXPECT_NEAR(std::fabs(signed_area(*nodes[2].get_path())), 16.0, 1e-5);
  EXPECT_NEAR(std::fabs(signed_area(*nodes[3].get_path())), 4.0, 1e-5);
  // Boxes are those of the loops; the root's stays zero.
  const AABB2D root = nodes[0].get_bbox();
  EXPECT_EQ(root.min_x + root.min_y + root.max_x + root.max_y, 0.0f);
  for (std::size_t i = 1; i < nodes.size(); ++i) {
    AABB2D want;
    get_boundary_bbox(nodes[i].get_path(), want.min_x, want.min_y, want.max_x, want.max_y);
    const AABB2D box = nodes[i].get_bbox();
    EXPECT_TRUE(box.min_x == want.min_x && box.min_y == want.min_y && box.max_x == want.max_x &&
                box.max_y == want.max_y)
        << i;
  }
  EXPECT_EQ(nodes[1].get_bbox().max_x, 6.0f);
  // The Clipper's own results untouched.
  EXPECT_EQ(c.fixed_result, nullptr);
  EXPECT_TRUE(c.tree.get_nodes().empty());
}

TEST(PolyTreeExFill, SiblingsStandDirectlyBehindTheRoot) {
  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  c.add_path(square(5, 0, 1), ptSubject);
  PolyTreeEx tree;
  ASSERT_EQ(c.execute(ctUnion, tree, pftNonZero, pftNonZero, 0), RETVAL_OK);
  const auto& nodes = tree.get_nodes();
  ASSERT_EQ(nodes.size(), 3u);
  ASSERT_EQ(nodes[0].childs().size(), 2u);
  EXPECT_EQ(nodes[0].childs()[0], &nodes[1]);
  EXPECT_EQ(nodes[0].childs()[1], &nodes[2]);
  EXPECT_EQ(nodes[2].level(), 1);
}

TEST(PolyTreeExFill, EmptyResultFailsAndKeepsTheInputsImported) {
  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  c.add_path(square(5, 0, 1), ptClip);
  PolyTreeEx tree;
  // Fill the caller's tree first: the failure empties it.
  {
    ProbeClipper filler;
    filler.add_path(square(0, 0, 1), ptSubject);
    ASSERT_EQ(filler.execute(ctUnion, tree, pftNonZero, pftNonZero, 0), RETVAL_OK);
    ASSERT_FALSE(tree.get_nodes().empty());
  }
  EXPECT_EQ(c.execute(ctIntersection, tree, pftNonZero, pftNonZero, 0), RETVAL_FAILED);
  EXPECT_TRUE(tree.get_nodes().empty());
  EXPECT_EQ(tree.get_first(), nullptr);
  EXPECT_NE(c.fixed_subject, nullptr);
  EXPECT_NE(c.fixed_clip, nullptr);
}

TEST(PolyTreeExFill, RefusedOrThrowingRunLeavesTheCallersTreeAlone) {
  PolyTreeEx tree;
  ProbeClipper filler;
  filler.add_path(square(0, 0, 1), ptSubject);
  ASSERT_EQ(filler.execute(ctUnion, tree, pftNonZero, pftNonZero, 0), RETVAL_OK);

  ProbeClipper refused;
  refused.add_paths({nullptr}, ptSubject);
  EXPECT_EQ(refused.execute(ctUnion, tree, pftNonZero, pftNonZero, 0), RETVAL_BAD_INPUT);
  EXPECT_EQ(tree.get_nodes().size(), 2u);

  ProbeClipper huge;
  huge.add_path(square(0, 0, 5e11f), ptSubject);
  EXPECT_THROW(huge.execute(ctUnion, tree, pftNonZero, pftNonZero, 0),
               ClipperLib::clipperException);
  EXPECT_EQ(tree.get_nodes().size(), 2u);
}

TEST(PolyTreeExFill, HasNoNodeLimit) {
  ProbeClipper c;
  c.add_paths(nested_grid(5000), ptSubject);
  PolyTreeEx tree;
  ASSERT_EQ(c.execute(ctUnion, tree, pftEvenOdd, pftEvenOdd, 0), RETVAL_OK);
  EXPECT_EQ(tree.get_nodes().size(), 15001u);
  EXPECT_EQ(tree.get_nodes().back().level(), 3);
}

// ---- PolyTreeEx nodes ----

TEST(PolyTreeExNode, IsHoleByLevel) {
  const std::pair<int, bool> table[] = {{-1, false}, {0, false}, {1, false},
                                        {2, true},   {3, false}, {4, true}};
  for (const auto& row : table) {
    PolyTreeEx::Node n;
    n.level_ = row.first;
    EXPECT_EQ(n.is_hole(), row.second) << row.first;
  }
  EXPECT_FALSE(PolyTreeEx::Node().is_hole());
}

class PolyTreeExPruning : public ::testing::Test {
 protected:
  void SetUp() override {
    ProbeClipper c;
    c.add_paths(nested_squares(), ptSubject);
    ASSERT_EQ(c.execute(ctUnion, tree, pftEvenOdd, pftEvenOdd, 0), RETVAL_OK);
    ASSERT_EQ(tree.get_nodes().size(), 4u);
  }
  PolyTreeEx::Node& node(int i) { return tree.get_nodes()[i]; }
  PolyTreeEx tree;
};

TEST_F(PolyTreeExPruning, DumpIsBreadthFirstFromTheNode) {
  auto all = node(0).dump();
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(all[0], node(1).path);
  EXPECT_EQ(all[1], node(2).path);
  EXPECT_EQ(all[2], node(3).path);
  auto from_hole = node(2).dump();
  ASSERT_EQ(from_hole.size(), 2u);
  EXPECT_EQ(from_hole[0], node(2).path);
}

TEST_F(PolyTreeExPruning, DeletingTheHoleHidesItsIslandAndUndeletingBringsBoth) {
  node(2).set_deleted(true);
  EXPECT_TRUE(node(2).is_deleted());
  EXPECT_TRUE(node(3).is_deleted());
  EXPECT_FALSE(node(1).is_deleted());
  auto live = node(0).dump();
  ASSERT_EQ(live.size(), 1u);
  EXPECT_EQ(live[0], node(1).path);
  EXPECT_TRUE(node(2).dump().empty());

  node(2).set_deleted(false);
  EXPECT_EQ(node(0).dump().size(), 3u);

  // A live node below a deleted one is skipped; a root without live children dumps nothing.
  node(2).set_deleted(true);
  node(3).deleted = false;
  EXPECT_EQ(node(0).dump().size(), 1u);
  node(1).set_deleted(true);
  EXPECT_TRUE(node(0).dump().empty());
}

TEST_F(PolyTreeExPruning, InitBboxRecomputesAndIgnoresTheRoot) {
  node(1).bbox = AABB2D(9, 9, 9, 9);
  node(1).init_bbox();
  EXPECT_EQ(node(1).get_bbox().min_x, 0.0f);
  EXPECT_EQ(node(1).get_bbox().max_y, 6.0f);
  node(0).init_bbox();
  EXPECT_EQ(node(0).get_bbox().max_x, 0.0f);
}

TEST_F(PolyTreeExPruning, CopyIsDeepAndLinksIntoItsOwnNodes) {
  PolyTreeEx copy(tree);
  auto& cn = copy.get_nodes();
  ASSERT_EQ(cn.size(), 4u);
  for (std::size_t i = 0; i < cn.size(); ++i) {
    EXPECT_EQ(cn[i].level(), node(static_cast<int>(i)).level());
    if (i > 0) {
      EXPECT_EQ(cn[i].father(), &cn[i - 1]);
      EXPECT_NE(cn[i].get_path().get(), node(static_cast<int>(i)).get_path().get());
      EXPECT_TRUE(same_points(*cn[i].get_path(), *node(static_cast<int>(i)).get_path()));
    }
    if (i + 1 < cn.size()) {
      EXPECT_EQ(cn[i].childs()[0], &cn[i + 1]);
    }
  }
  cn[1].set_deleted(true);
  EXPECT_FALSE(node(1).is_deleted());
  EXPECT_EQ(node(0).dump().size(), 3u);
  EXPECT_TRUE(cn[0].dump().empty());

  PolyTreeEx assigned;
  assigned = copy;
  tree = assigned;  // assignment over a filled tree
  EXPECT_TRUE(node(3).is_deleted());
  EXPECT_EQ(node(3).father(), &node(2));
  EXPECT_TRUE(node(0).dump().empty());
}

TEST(PolyTreeExCopy, ForeignLinksAreDropped) {
  PolyTreeEx tree;
  PolyTreeEx::Node outsider;
  tree.get_nodes().resize(2);
  tree.get_nodes()[0].childs_ = {&tree.get_nodes()[1], &outsider};
  tree.get_nodes()[1].father_ = &outsider;
  PolyTreeEx copy(tree);
  ASSERT_EQ(copy.get_nodes()[0].childs().size(), 1u);
  EXPECT_EQ(copy.get_nodes()[0].childs()[0], &copy.get_nodes()[1]);
  EXPECT_EQ(copy.get_nodes()[1].father(), nullptr);
}

// ---- PolyTree through execute_using_polytree ----

TEST(PolyTreeFill, HoleAndIslandGiveThreeNodes) {
  ProbeClipper c;
  c.add_paths(nested_squares(), ptSubject);
  ASSERT_EQ(c.execute_using_polytree(ctUnion, pftEvenOdd, pftEvenOdd, 0), RETVAL_OK);
  const auto& nodes = c.tree.get_nodes();
  ASSERT_EQ(nodes.size(), 3u);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(nodes[i].level(), i);
    EXPECT_EQ(nodes[i].get_data().size(), 4u);
    EXPECT_EQ(nodes[i].father(), i == 0 ? nullptr : &nodes[i - 1]);
  }
  EXPECT_EQ(c.tree.get_first(), &nodes[0]);
  ASSERT_EQ(nodes[0].childs().size(), 1u);
  EXPECT_EQ(nodes[0].childs()[0], &nodes[1]);
  // Fixed-point contour: the island spans 2e7 units.
  ClipperLib::cInt max_x = 0;
  for (const auto& p : nodes[2].get_data()) max_x = std::max(max_x, p.X);
  EXPECT_EQ(max_x, 40000000);
  EXPECT_EQ(c.fixed_subject, nullptr);
  EXPECT_EQ(c.fixed_result, nullptr);
}

TEST(PolyTreeFill, EmptyResultGivesNoNodes) {
  ProbeClipper c;
  c.add_paths(nested_squares(), ptSubject);
  c.execute_using_polytree(ctUnion, pftEvenOdd, pftEvenOdd, 0);
  ASSERT_FALSE(c.tree.get_nodes().empty());
  c.clear_paths();
  c.add_path(square(0, 0, 1), ptSubject);
  c.add_path(square(5, 0, 1), ptClip);
  EXPECT_EQ(c.execute_using_polytree(ctIntersection, pftNonZero, pftNonZero, 0), RETVAL_OK);
  EXPECT_TRUE(c.tree.get_nodes().empty());
  EXPECT_EQ(c.tree.get_first(), nullptr);
}

struct NodeLimitCase {
  const char* name;
  int cells;
  std::size_t nodes;
  friend void PrintTo(const NodeLimitCase& c, std::ostream* os) { *os << c.name; }
};

class PolyTreeNodeLimit : public ::testing::TestWithParam<NodeLimitCase> {};

// The limit is tested after each level: 5000 outer loops and their 5000 holes pass 9999 at
// the end of the second level and the islands never come; 3333 cells stay at 9999.
TEST_P(PolyTreeNodeLimit, StopsOnlyBetweenLevels) {
  ProbeClipper c;
  c.add_paths(nested_grid(GetParam().cells), ptSubject);
  ASSERT_EQ(c.execute_using_polytree(ctUnion, pftEvenOdd, pftEvenOdd, 0), RETVAL_OK);
  const auto& nodes = c.tree.get_nodes();
  EXPECT_EQ(nodes.size(), GetParam().nodes);
  for (std::size_t i = 1; i < nodes.size(); ++i) {
    EXPECT_LE(nodes[i - 1].level(), nodes[i].level());
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, PolyTreeNodeLimit,
                         ::testing::Values(NodeLimitCase{"at_the_limit", 3333, 9999},
                                           NodeLimitCase{"past_the_limit", 5000, 10000}),
                         [](const ::testing::TestParamInfo<NodeLimitCase>& info) {
                           return info.param.name;
                         });

// ---- tree results through get_result ----

TEST(TreeResult, OpenSubjectIsClippedIntoTheTree) {
  ProbeClipper c;
  c.add_path(std::make_shared<Point2Vector>(Point2Vector{{0, 0.5f}, {3, 0.5f}}), ptSubject);
  c.add_path(square(1, 0, 1), ptClip);
  ASSERT_EQ(c.execute(ctIntersection, pftNonZero, pftNonZero, 0, false), RETVAL_OK);
  OutLoops out;
  c.get_result(out, true);
  EXPECT_TRUE(out.empty());
  ASSERT_NE(c.fixed_result, nullptr);
  c.get_result(out, false);
  ASSERT_EQ(out.size(), 1u);
  ASSERT_EQ(out[0]->size(), 2u);
  const float xs[2] = {std::min((*out[0])[0].x, (*out[0])[1].x),
                       std::max((*out[0])[0].x, (*out[0])[1].x)};
  EXPECT_FLOAT_EQ(xs[0], 1.0f);
  EXPECT_FLOAT_EQ(xs[1], 2.0f);
  EXPECT_FLOAT_EQ((*out[0])[0].y, 0.5f);
  // No node list stands for the new engine tree.
  EXPECT_TRUE(c.tree.get_nodes().empty());
}

TEST(TreeResult, ClosedTreeResultIsFlattenedParentsFirst) {
  ProbeClipper c;
  c.add_paths(nested_squares(), ptSubject);
  c.execute_using_polytree(ctUnion, pftEvenOdd, pftEvenOdd, 0);
  OutLoops out;
  c.get_result(out, false);
  ASSERT_EQ(out.size(), 3u);
  EXPECT_NEAR(std::fabs(signed_area(*out[0])), 36.0, 1e-5);
  EXPECT_NEAR(std::fabs(signed_area(*out[2])), 4.0, 1e-5);
}

TEST(TreeResult, ConsecutivePointsOnOneFloatPairMergeOnlyOnTheTreePath) {
  // 17000004 and 17000005 units both become the float 17000004 before the division.
  const ClipperLib::Paths pentagon{
      {{0, 0}, {30000000, 0}, {17000005, 17000004}, {17000004, 17000004}, {0, 30000000}}};
  ProbeClipper c;
  c.fixed_subject = std::make_shared<ClipperLib::Paths>(pentagon);
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  OutLoops from_paths;
  c.get_result(from_paths, true);
  ASSERT_EQ(from_paths.size(), 1u);
  ASSERT_EQ(from_paths[0]->size(), 5u);

  c.fixed_subject = std::make_shared<ClipperLib::Paths>(pentagon);
  c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0);
  OutLoops from_tree;
  c.get_result(from_tree, false);
  ASSERT_EQ(from_tree.size(), 1u);
  EXPECT_EQ(from_tree[0]->size(), 4u);
}

TEST(TreeResult, FirstAndLastPointsAreNotCompared) {
  ProbeClipper c;
  c.fixed_subject = std::make_shared<ClipperLib::Paths>(
      ClipperLib::Paths{{{0, 0}, {20000000, 0}, {20000000, 20000000}}});
  c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0);
  OutLoops out;
  c.get_result(out, false);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0]->size(), 3u);
}

}  // namespace
}  // namespace Quorvex
