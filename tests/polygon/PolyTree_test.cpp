#include "quorvex/polygon/PolyTree.h"

#include <gtest/gtest.h>

#include "PolygonTestSupport.h"
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

// The extended tree: a root without a loop, then outer, hole and island, each the only child
// of the one before, with its level and the box of its loop; the Clipper's own results stay
// untouched. The plain tree holds the engine's fixed-point loops from the outer one down, and
// gives them parents first.
TEST(PolyTreeFill, HoleAndIslandInBothTrees) {
  ProbeClipper c;
  c.add_paths(nested_grid(1), ptSubject);
  PolyTreeEx tree;
  ASSERT_EQ(c.execute(ctUnion, tree, pftEvenOdd, pftEvenOdd, 0), RETVAL_OK);
  const auto& nodes = tree.get_nodes();
  ASSERT_EQ(nodes.size(), 4u);
  EXPECT_EQ(tree.get_first(), &nodes[0]);
  EXPECT_TRUE(nodes[0].father() == nullptr && nodes[0].get_path() == nullptr);
  EXPECT_TRUE(nodes[3].childs().empty());
  for (int i = 1; i < 4; ++i) {
    EXPECT_EQ(nodes[i].level(), i);
    EXPECT_EQ(nodes[i].is_hole(), i == 2) << i;
    EXPECT_EQ(nodes[i].father(), &nodes[i - 1]);
    EXPECT_EQ(nodes[i - 1].childs(), std::vector<PolyTreeEx::Node*>{tree.get_nodes().data() + i});
    const AABB2D b = nodes[i].get_bbox();
    EXPECT_EQ((std::vector<float>{b.min_x, b.min_y, b.max_x, b.max_y}),
              (std::vector<float>{i - 1.0f, i - 1.0f, 7.0f - i, 7.0f - i}));
  }
  EXPECT_EQ(c.fixed_result, nullptr);
  EXPECT_TRUE(c.tree.get_nodes().empty());
  ASSERT_EQ(c.execute_using_polytree(ctUnion, pftEvenOdd, pftEvenOdd, 0), RETVAL_OK);
  const auto& plain = c.tree.get_nodes();
  ASSERT_EQ(plain.size(), 3u);
  EXPECT_EQ(c.tree.get_first(), &plain[0]);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(plain[i].level(), i);
    EXPECT_EQ(plain[i].father(), i == 0 ? nullptr : &plain[i - 1]);
  }
  ClipperLib::cInt max_x = 0;
  for (const auto& p : plain[2].get_data()) max_x = std::max(max_x, p.X);
  EXPECT_EQ(max_x, 40000000);
  EXPECT_TRUE(c.fixed_subject == nullptr && c.fixed_result == nullptr);
  OutLoops out;
  c.get_result(out, false);
  ASSERT_EQ(out.size(), 3u);
  EXPECT_NEAR(std::fabs(signed_area(*out[0])), 36.0, 1e-5);
  EXPECT_NEAR(std::fabs(signed_area(*out[2])), 4.0, 1e-5);

  PolyTreeEx siblings;
  ASSERT_EQ(fill_tree(siblings, {square(0, 0, 1), square(5, 0, 1)}, pftNonZero), RETVAL_OK);
  ASSERT_EQ(siblings.get_nodes().size(), 3u);
  EXPECT_EQ(siblings.get_nodes()[0].childs().size(), 2u);
  EXPECT_EQ(siblings.get_nodes()[2].level(), 1);
}

// An empty result fails and empties the extended tree, keeping the imported inputs; refusals
// and engine exceptions leave it alone. For the plain tree an empty result is no failure.
TEST(PolyTreeFill, EmptyResultFailsAndEmptiesTheTreeRefusalsLeaveItAlone) {
  PolyTreeEx tree;
  ASSERT_EQ(fill_tree(tree, {square(0, 0, 1)}), RETVAL_OK);
  ProbeClipper refused;
  refused.add_paths({nullptr}, ptSubject);
  EXPECT_EQ(refused.execute(ctUnion, tree, pftNonZero, pftNonZero, 0), RETVAL_BAD_INPUT);
  EXPECT_THROW(fill_tree(tree, {square(0, 0, 5e11f)}), ClipperLib::clipperException);
  EXPECT_EQ(tree.get_nodes().size(), 2u);
  ProbeClipper c;
  c.add_path(square(0, 0, 1), ptSubject);
  c.add_path(square(5, 0, 1), ptClip);
  EXPECT_EQ(c.execute(ctIntersection, tree, pftNonZero, pftNonZero, 0), RETVAL_FAILED);
  EXPECT_EQ(tree.get_first(), nullptr);
  EXPECT_TRUE(c.fixed_subject != nullptr && c.fixed_clip != nullptr);
  EXPECT_EQ(c.execute_using_polytree(ctIntersection, pftNonZero, pftNonZero, 0), RETVAL_OK);
  EXPECT_EQ(c.tree.get_first(), nullptr);
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

// Dump is breadth-first and a deleted node hides its subtree, live nodes below it included.
// Copies are deep, link into their own nodes and drop links that lead out of the source.
TEST(PolyTreeEx, DumpSkipsDeletedSubtreesAndCopiesAreDeep) {
  PolyTreeEx tree;
  ASSERT_EQ(fill_tree(tree, nested_grid(1)), RETVAL_OK);
  auto& n = tree.get_nodes();
  const auto all = n[0].dump();
  ASSERT_EQ(all.size(), 3u);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(all[i], n[i + 1].path);
  n[2].set_deleted(true);
  EXPECT_TRUE(n[3].is_deleted());
  EXPECT_FALSE(n[1].is_deleted());
  EXPECT_TRUE(n[2].dump().empty());
  n[3].deleted = false;
  EXPECT_EQ(n[0].dump().size(), 1u);

  PolyTreeEx copy(tree);
  auto& cn = copy.get_nodes();
  ASSERT_EQ(cn.size(), 4u);
  for (std::size_t i = 1; i < cn.size(); ++i) {
    EXPECT_EQ(cn[i].father(), &cn[i - 1]);
    EXPECT_EQ(cn[i - 1].childs()[0], &cn[i]);
    EXPECT_NE(cn[i].get_path().get(), n[i].get_path().get());
    EXPECT_TRUE(same_points(*cn[i].get_path(), *n[i].get_path()));
    EXPECT_EQ(cn[i].is_deleted(), n[i].is_deleted());
  }
  cn[1].set_deleted(true);
  EXPECT_FALSE(n[1].is_deleted());
  tree = copy;  // assignment over a filled tree
  EXPECT_TRUE(n[0].dump().empty());
  EXPECT_EQ(n[3].father(), &n[2]);

  PolyTreeEx::Node outsider;
  n.resize(2);
  n[0].childs_ = {&n[1], &outsider};
  n[1].father_ = &outsider;
  PolyTreeEx foreign(tree);
  EXPECT_EQ(foreign.get_nodes()[0].childs(),
            std::vector<PolyTreeEx::Node*>{&foreign.get_nodes()[1]});
  EXPECT_EQ(foreign.get_nodes()[1].father(), nullptr);
}

// One loop reached through a slit of no width: the engine splits it into an outer loop and a
// hole, and its own node count comes out one short. Both trees still hold both loops, and the
// plain tree's list does not depend on the room an earlier run left in it.
TEST(TreeResult, KeyholeLoopKeepsItsHoleInBothTrees) {
  const Loops keyhole = {std::make_shared<Point2Vector>(Point2Vector{{0, 0},
                                                                     {10, 0},
                                                                     {10, 10},
                                                                     {0, 10},
                                                                     {0, 5},
                                                                     {2, 5},
                                                                     {2, 8},
                                                                     {8, 8},
                                                                     {8, 2},
                                                                     {2, 2},
                                                                     {2, 5},
                                                                     {0, 5}})};
  PolyTreeEx tree;
  ASSERT_EQ(fill_tree(tree, keyhole, pftNonZero), RETVAL_OK);
  ASSERT_EQ(tree.get_nodes().size(), 3u);
  EXPECT_TRUE(tree.get_nodes()[2].is_hole());
  EXPECT_EQ(tree.get_nodes()[2].father(), &tree.get_nodes()[1]);
  ProbeClipper c;
  c.add_paths(keyhole, ptSubject);
  ASSERT_EQ(c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0), RETVAL_OK);
  const auto& plain = c.tree.get_nodes();
  ASSERT_EQ(plain.size(), 2u);
  EXPECT_EQ(plain[0].childs().size(), 1u);
  EXPECT_EQ(plain[0].childs()[0], &plain[1]);
  EXPECT_EQ(plain[1].father(), &plain[0]);
}

// Open subjects are clipped into the engine tree and fetched as open paths.
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
}

// 17000004 and 17000005 units both become the float 17000004 before the division: the tree
// path merges such neighbours, the path form does not.
TEST(TreeResult, ConsecutivePointsOnOneFloatPairMergeOnlyOnTheTreePath) {
  const ClipperLib::Paths pentagon{
      {{0, 0}, {30000000, 0}, {17000005, 17000004}, {17000004, 17000004}, {0, 30000000}}};
  ProbeClipper c;
  OutLoops out;
  for (bool tree : {false, true}) {
    c.fixed_subject = std::make_shared<ClipperLib::Paths>(pentagon);
    if (tree) c.execute_using_polytree(ctUnion, pftNonZero, pftNonZero, 0);
    if (!tree) c.execute(ctUnion, pftNonZero, pftNonZero, 0, true);
    c.get_result(out, !tree);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0]->size(), tree ? 4u : 5u);
  }
}

}  // namespace
}  // namespace Quorvex
