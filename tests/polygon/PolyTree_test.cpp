#include "quorvex/polygon/PolyTree.h"

#include <gtest/gtest.h>

#include "PolygonTestSupport.h"
#include "quorvex/planeGeometry/BoundaryTransform.h"
#include "quorvex/polygon/Clipper.h"

namespace Quorvex {
namespace {

using testing_support::Loops;
using testing_support::OutLoops;
using testing_support::ProbeClipper;
using testing_support::same_points;
using testing_support::signed_area;
using testing_support::square;

// `cells` copies of an outer [0,6], hole [1,5] and island [2,4] on a grid (even-odd makes the
// nesting): 3 * cells loops.
Loops nested_grid(int cells) {
  Loops loops;
  for (int i = 0; i < cells; ++i) {
    const float x = static_cast<float>(i % 100) * 8.0f, y = static_cast<float>(i / 100) * 8.0f;
    for (int k = 0; k < 3; ++k) loops.push_back(square(x + k, y + k, 6.0f - 2 * k));
  }
  return loops;
}

RetVal fill_tree(PolyTreeEx& tree, const Loops& subject, PolyFillType fill = pftEvenOdd) {
  ProbeClipper c;
  c.add_paths(subject, ptSubject);
  return c.execute(ctUnion, tree, fill, fill, 0);
}

TEST(PolyTreeExFill, HoleAndIslandGiveFourNodesWithLevelsAndBoxes) {
  ProbeClipper c;
  c.add_paths(nested_grid(1), ptSubject);
  PolyTreeEx tree;
  ASSERT_EQ(c.execute(ctUnion, tree, pftEvenOdd, pftEvenOdd, 0), RETVAL_OK);
  const auto& nodes = tree.get_nodes();
  ASSERT_EQ(nodes.size(), 4u);
  EXPECT_EQ(tree.get_first(), &nodes[0]);
  EXPECT_EQ(nodes[0].father(), nullptr);
  EXPECT_EQ(nodes[0].get_path(), nullptr);
  EXPECT_EQ(nodes[0].get_bbox().max_x, 0.0f);
  EXPECT_TRUE(nodes[3].childs().empty());
  const double areas[4] = {0, 36, 16, 4};
  for (int i = 1; i < 4; ++i) {
    EXPECT_EQ(nodes[i].level(), i);
    EXPECT_EQ(nodes[i].is_hole(), i == 2) << i;
    EXPECT_EQ(nodes[i].father(), &nodes[i - 1]);
    ASSERT_EQ(nodes[i - 1].childs().size(), 1u);
    EXPECT_EQ(nodes[i - 1].childs()[0], &nodes[i]);
    EXPECT_NEAR(std::fabs(signed_area(*nodes[i].get_path())), areas[i], 1e-5);
    AABB2D want;
    get_boundary_bbox(nodes[i].get_path(), want.min_x, want.min_y, want.max_x, want.max_y);
    const AABB2D box = nodes[i].get_bbox();
    EXPECT_TRUE(box.min_x == want.min_x && box.min_y == want.min_y && box.max_x == want.max_x &&
                box.max_y == want.max_y)
        << i;
  }
  EXPECT_EQ(c.fixed_result, nullptr);  // the Clipper's own results untouched
  EXPECT_TRUE(c.tree.get_nodes().empty());

  PolyTreeEx siblings;
  ASSERT_EQ(fill_tree(siblings, {square(0, 0, 1), square(5, 0, 1)}, pftNonZero), RETVAL_OK);
  ASSERT_EQ(siblings.get_nodes().size(), 3u);
  EXPECT_EQ(siblings.get_nodes()[0].childs().size(), 2u);
  EXPECT_EQ(siblings.get_nodes()[2].level(), 1);
}

TEST(PolyTreeExFill, EmptyResultFailsAndEmptiesTheTreeRefusalsLeaveItAlone) {
  PolyTreeEx tree;
  ASSERT_EQ(fill_tree(tree, {square(0, 0, 1)}), RETVAL_OK);
  ProbeClipper refused;
  refused.add_paths({nullptr}, ptSubject);
  EXPECT_EQ(refused.execute(ctUnion, tree, pftNonZero, pftNonZero, 0), RETVAL_BAD_INPUT);
  EXPECT_EQ(tree.get_nodes().size(), 2u);
  EXPECT_THROW(fill_tree(tree, {square(0, 0, 5e11f)}), ClipperLib::clipperException);
  EXPECT_EQ(tree.get_nodes().size(), 2u);

  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  c.add_path(square(5, 0, 1), ptClip);
  EXPECT_EQ(c.execute(ctIntersection, tree, pftNonZero, pftNonZero, 0), RETVAL_FAILED);
  EXPECT_TRUE(tree.get_nodes().empty());
  EXPECT_EQ(tree.get_first(), nullptr);
  EXPECT_NE(c.fixed_subject, nullptr);  // the inputs stay imported
  EXPECT_NE(c.fixed_clip, nullptr);
}

// The plain tree tests its limit after each level: 5000 outer loops and their holes pass 9999
// at the end of the second level and the islands never come. The extended tree has no limit.
TEST(PolyTreeNodeLimit, OnlyThePlainTreeStopsAndOnlyBetweenLevels) {
  PolyTreeEx ex;
  ASSERT_EQ(fill_tree(ex, nested_grid(5000)), RETVAL_OK);
  EXPECT_EQ(ex.get_nodes().size(), 15001u);
  EXPECT_EQ(ex.get_nodes().back().level(), 3);
  for (const auto& row : {std::pair<int, std::size_t>{3333, 9999}, {5000, 10000}}) {
    ProbeClipper c;
    c.add_paths(nested_grid(row.first), ptSubject);
    ASSERT_EQ(c.execute_using_polytree(ctUnion, pftEvenOdd, pftEvenOdd, 0), RETVAL_OK);
    const auto& nodes = c.tree.get_nodes();
    EXPECT_EQ(nodes.size(), row.second);
    for (std::size_t i = 1; i < nodes.size(); ++i)
      EXPECT_LE(nodes[i - 1].level(), nodes[i].level());
  }
}

class PolyTreeExPruning : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(fill_tree(tree, nested_grid(1)), RETVAL_OK);
    ASSERT_EQ(tree.get_nodes().size(), 4u);
  }
  PolyTreeEx::Node& node(int i) { return tree.get_nodes()[i]; }
  PolyTreeEx tree;
};

TEST_F(PolyTreeExPruning, DumpIsBreadthFirstAndSkipsDeletedSubtrees) {
  auto all = node(0).dump();
  ASSERT_EQ(all.size(), 3u);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(all[i], node(i + 1).path);
  EXPECT_EQ(node(2).dump().size(), 2u);

  node(2).set_deleted(true);  // hides its island too
  EXPECT_TRUE(node(3).is_deleted());
  EXPECT_FALSE(node(1).is_deleted());
  ASSERT_EQ(node(0).dump().size(), 1u);
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

TEST_F(PolyTreeExPruning, CopyIsDeepAndLinksIntoItsOwnNodes) {
  PolyTreeEx copy(tree);
  auto& cn = copy.get_nodes();
  ASSERT_EQ(cn.size(), 4u);
  for (std::size_t i = 1; i < cn.size(); ++i) {
    EXPECT_EQ(cn[i].father(), &cn[i - 1]);
    EXPECT_EQ(cn[i - 1].childs()[0], &cn[i]);
    EXPECT_NE(cn[i].get_path().get(), node(static_cast<int>(i)).get_path().get());
    EXPECT_TRUE(same_points(*cn[i].get_path(), *node(static_cast<int>(i)).get_path()));
  }
  cn[1].set_deleted(true);
  EXPECT_FALSE(node(1).is_deleted());
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

TEST(PolyTreeFill, HoleAndIslandGiveThreeFixedPointNodesAndEmptyResultNone) {
  ProbeClipper c;
  c.add_paths(nested_grid(1), ptSubject);
  ASSERT_EQ(c.execute_using_polytree(ctUnion, pftEvenOdd, pftEvenOdd, 0), RETVAL_OK);
  const auto& nodes = c.tree.get_nodes();
  ASSERT_EQ(nodes.size(), 3u);
  EXPECT_EQ(c.tree.get_first(), &nodes[0]);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(nodes[i].level(), i);
    EXPECT_EQ(nodes[i].get_data().size(), 4u);
    EXPECT_EQ(nodes[i].father(), i == 0 ? nullptr : &nodes[i - 1]);
  }
  ClipperLib::cInt max_x = 0;
  for (const auto& p : nodes[2].get_data()) max_x = std::max(max_x, p.X);
  EXPECT_EQ(max_x, 40000000);
  EXPECT_EQ(c.fixed_subject, nullptr);
  EXPECT_EQ(c.fixed_result, nullptr);

  c.clear_paths();
  c.add_path(square(0, 0, 1), ptSubject);
  c.add_path(square(5, 0, 1), ptClip);
  EXPECT_EQ(c.execute_using_polytree(ctIntersection, pftNonZero, pftNonZero, 0), RETVAL_OK);
  EXPECT_TRUE(c.tree.get_nodes().empty());
  EXPECT_EQ(c.tree.get_first(), nullptr);
}

TEST(TreeResult, OpenSubjectIsClippedIntoTheTreeAndFetchedAsOpen) {
  ProbeClipper c;
  c.add_path(std::make_shared<Point2Vector>(Point2Vector{{0, 0.5f}, {3, 0.5f}}), ptSubject);
  c.add_path(square(1, 0, 1), ptClip);
  ASSERT_EQ(c.execute(ctIntersection, pftNonZero, pftNonZero, 0, false), RETVAL_OK);
  OutLoops out;
  c.get_result(out, true);
  EXPECT_TRUE(out.empty());
  c.get_result(out, false);
  ASSERT_EQ(out.size(), 1u);
  ASSERT_EQ(out[0]->size(), 2u);
  EXPECT_FLOAT_EQ(std::min((*out[0])[0].x, (*out[0])[1].x), 1.0f);
  EXPECT_FLOAT_EQ(std::max((*out[0])[0].x, (*out[0])[1].x), 2.0f);
  EXPECT_FLOAT_EQ((*out[0])[0].y, 0.5f);
  EXPECT_TRUE(c.tree.get_nodes().empty());  // no node list stands for the engine tree

  ProbeClipper nested;
  nested.add_paths(nested_grid(1), ptSubject);
  nested.execute_using_polytree(ctUnion, pftEvenOdd, pftEvenOdd, 0);
  nested.get_result(out, false);
  ASSERT_EQ(out.size(), 3u);  // parents first
  EXPECT_NEAR(std::fabs(signed_area(*out[0])), 36.0, 1e-5);
  EXPECT_NEAR(std::fabs(signed_area(*out[2])), 4.0, 1e-5);
}

// 17000004 and 17000005 units both become the float 17000004 before the division: the tree
// path merges such neighbours (but never the first with the last), the path form does not.
TEST(TreeResult, ConsecutivePointsOnOneFloatPairMergeOnlyOnTheTreePath) {
  const ClipperLib::Paths pentagon{
      {{0, 0}, {30000000, 0}, {17000005, 17000004}, {17000004, 17000004}, {0, 30000000}}};
  ProbeClipper c;
  c.fixed_subject = std::make_shared<ClipperLib::Paths>(pentagon);
  c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
  OutLoops out;
  c.get_result(out, true);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0]->size(), 5u);
  c.fixed_subject = std::make_shared<ClipperLib::Paths>(pentagon);
  c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0);
  c.get_result(out, false);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0]->size(), 4u);

  c.fixed_subject = std::make_shared<ClipperLib::Paths>(
      ClipperLib::Paths{{{0, 0}, {20000000, 0}, {20000000, 20000000}}});
  c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0);
  c.get_result(out, false);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0]->size(), 3u);
}

}  // namespace
}  // namespace Quorvex
