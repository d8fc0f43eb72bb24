#include "quorvex/planeGeometry/DynamicTree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Quorvex {
namespace {

using Tree = DynamicTree<AABB2D>;

void* tag(std::intptr_t v) { return reinterpret_cast<void*>(v); }

bool same_box(const AABB2D& a, const AABB2D& b) {
  return a.min_x == b.min_x && a.min_y == b.min_y && a.max_x == b.max_x && a.max_y == b.max_y;
}

AABB2D unit_box_at(float x, float y) { return AABB2D(x, y, x + 1, y + 1); }

// The tree as nested ids: a leaf is its id, an inner node "id(child1,child2)".
std::string shape(const Tree& t, int id = -2) {
  if (id == -2) return t.get_root() < 0 ? "" : shape(t, t.get_root());
  const auto& n = t.get_node(id);
  if (n.is_leaf()) return std::to_string(id);
  return std::to_string(id) + "(" + shape(t, n.child1) + "," + shape(t, n.child2) + ")";
}

// Unit-high boxes [x0, x1] x [0, 1], created in order.
Tree row(std::initializer_list<std::pair<float, float>> spans) {
  Tree t;
  for (const auto& s : spans) t.create_proxy(AABB2D(s.first, 0, s.second, 1), nullptr);
  return t;
}

using Live = std::map<int, std::pair<AABB2D, void*>>;

// Walks the tree and the free list and checks every structural promise of the pool.
// Returns the largest height difference between two siblings.
int check_tree(const Tree& t, const Live& live) {
  const int n = static_cast<int>(live.size());
  EXPECT_EQ(t.get_node_count(), n == 0 ? 0 : 2 * n - 1);
  EXPECT_TRUE(n > 0 || t.get_root() == -1);
  std::set<int> in_tree;
  int leaves = 0, max_imbalance = 0;
  EXPECT_TRUE(n == 0 || t.get_node(t.get_root()).parent == -1);
  for (std::vector<int> stack = {t.get_root()}; n > 0 && !stack.empty();) {
    const int id = stack.back();
    stack.pop_back();
    EXPECT_TRUE(in_tree.insert(id).second) << "node " << id << " reached twice";
    const auto& node = t.get_node(id);
    if (node.is_leaf()) {
      ++leaves;
      EXPECT_TRUE(node.height == 0 && node.child2 == -1) << "leaf " << id;
      const auto it = live.find(id);
      EXPECT_NE(it, live.end()) << "leaf " << id << " is not a live proxy";
      if (it == live.end()) continue;
      EXPECT_TRUE(same_box(node.aabb, it->second.first)) << "leaf " << id;
      EXPECT_EQ(node.userdata, it->second.second);
      continue;
    }
    const auto& c1 = t.get_node(node.child1);
    const auto& c2 = t.get_node(node.child2);
    EXPECT_TRUE(c1.parent == id && c2.parent == id) << "node " << id;
    EXPECT_EQ(node.height, 1 + std::max(c1.height, c2.height)) << "node " << id;
    EXPECT_TRUE(same_box(node.aabb, aabb_union(c1.aabb, c2.aabb))) << "node " << id;
    EXPECT_EQ(node.userdata, nullptr);
    max_imbalance = std::max(max_imbalance, std::abs(c1.height - c2.height));
    stack.push_back(node.child1);
    stack.push_back(node.child2);
  }
  EXPECT_EQ(leaves, n);
  for (const auto& kv : live) EXPECT_TRUE(same_box(t.get_AABB(kv.first), kv.second.first));
  int free_count = 0;
  for (int f = t.get_free_list(); f != -1 && free_count <= t.get_node_capacity();
       f = t.get_node(f).next, ++free_count) {
    EXPECT_EQ(t.get_node(f).height, -1);
    EXPECT_EQ(in_tree.count(f), 0u) << "free node " << f << " is in the tree";
  }
  EXPECT_EQ(free_count, t.get_node_capacity() - t.get_node_count());
  return max_imbalance;
}

// The pool starts at 16 nodes and doubles when full, a leaf and then its parent taking the
// next free nodes; clear keeps the pool and starts over.
TEST(DynamicTreeTest, PoolGrowsAndClearStartsOver) {
  Tree t;
  EXPECT_EQ(t.get_node_capacity(), 16);
  for (int i = 0; i < 9; ++i) {
    EXPECT_EQ(t.create_proxy(unit_box_at(3.0f * i, 0), nullptr), i == 0 ? 0 : 2 * i - 1);
  }
  EXPECT_EQ(t.get_node_capacity(), 32);  // the ninth leaf took the last node of the old pool
  t.clear();
  EXPECT_EQ(t.get_node_capacity(), 32);
  EXPECT_EQ(t.get_free_list(), 0);
  check_tree(t, {});
  t.create_proxy(unit_box_at(0, 0), nullptr);
  t.create_proxy(unit_box_at(5, 0), nullptr);
  EXPECT_EQ(shape(t), "2(0,1)");
}

// Where insertion puts nodes: a descent tie goes to the second child, and a child two deeper
// than its sibling rises. Removal lifts the sibling into the grandparent's slot and frees the
// leaf after its parent.
TEST(DynamicTreeTest, InsertionAndRemovalShapes) {
  const struct {
    Tree tree;
    const char* before;
    AABB2D added;
    const char* after;
  } rows[] = {
      {row({{0, 1}, {2, 3}}), "2(0,1)", AABB2D(1, 0, 2, 1), "2(0,4(1,3))"},
      {row({{0, 1}, {2, 3}, {10, 11}}), "4(2(0,1),3)", AABB2D(0.5f, 0, 1.5f, 1),
       "2(4(1,3),6(0,5))"},
      {row({{10, 11}, {0, 1}, {1.5f, 2.5f}}), "2(0,4(1,3))", AABB2D(3, 0, 4, 1),
       "4(2(0,1),6(3,5))"},
  };
  for (auto r : rows) {
    ASSERT_EQ(shape(r.tree), r.before);
    r.tree.create_proxy(r.added, nullptr);
    EXPECT_EQ(shape(r.tree), r.after);
  }
  Tree t = row({{0, 1}, {2, 3}, {10, 11}});
  t.destroy_proxy(1);
  EXPECT_EQ(shape(t), "4(0,3)");
  EXPECT_EQ(t.get_free_list(), 1);
  EXPECT_EQ(t.get_node(1).next, 2);
}

TEST(DynamicTreeTest, InvariantsHoldThroughRandomCreatesAndDestroys) {
  for (unsigned seed : {1u, 42u}) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> pos(-1000.0f, 1000.0f), size(0.0f, 50.0f);
    Tree t;
    Live live;
    std::vector<int> ids;
    int max_imbalance = 0;
    for (int step = 0; step < 3000; ++step) {
      // Grow for a while, then shrink towards empty and grow again.
      if (ids.empty() || rng() % 100 < ((step / 1000) % 2 == 0 ? 70u : 30u)) {
        const float x = pos(rng), y = pos(rng);
        const AABB2D box(x, y, x + size(rng), y + size(rng));
        const int id = t.create_proxy(box, tag(step + 1));
        ASSERT_EQ(live.count(id), 0u) << "id handed out twice";
        live[id] = {box, tag(step + 1)};
        ids.push_back(id);
      } else {
        const size_t k = static_cast<size_t>(rng() % ids.size());
        const int id = ids[k];
        ids[k] = ids.back();
        ids.pop_back();
        t.destroy_proxy(id);
        live.erase(id);
        ASSERT_EQ(t.get_free_list(), id);  // freed last, so handed out first
      }
      if (step % 97 == 0) max_imbalance = std::max(max_imbalance, check_tree(t, live));
      if (HasFailure()) return;
    }
    EXPECT_LE(std::max(max_imbalance, check_tree(t, live)), 1) << seed;
  }
}

TEST(DynamicTreeTest, CopiesAreDeepAndMovesTransferThePool) {
  Tree a;
  Live live;
  for (int i = 0; i < 20; ++i) {
    const AABB2D box = unit_box_at(static_cast<float>(i), static_cast<float>(-i));
    live[a.create_proxy(box, tag(i))] = {box, tag(i)};
  }
  Tree b(a);
  check_tree(b, live);
  b.destroy_proxy(5);
  b.create_proxy(unit_box_at(500, 500), tag(1));
  b.update_userdata(7, tag(70));
  EXPECT_EQ(b.get_userdata(7), tag(70));
  check_tree(a, live);
  Tree c;
  c.create_proxy(unit_box_at(0, 0), nullptr);
  c = a;
  a.clear();
  check_tree(c, live);
  const Tree& same = c;
  c = same;
  check_tree(c, live);

  const auto* pool = &c.get_node(0);
  Tree d(std::move(c));
  EXPECT_EQ(&d.get_node(0), pool);
  check_tree(d, live);
  EXPECT_EQ(c.get_root(), -1);  // NOLINT(bugprone-use-after-move): the moved-from state
  EXPECT_EQ(c.get_node_count(), 0);
  EXPECT_EQ(c.create_proxy(unit_box_at(0, 0), tag(1)), 0);
  EXPECT_EQ(c.get_node_capacity(), 16);
  Tree e;
  e = std::move(d);
  EXPECT_EQ(&e.get_node(0), pool);
  check_tree(e, live);
}

}  // namespace
}  // namespace Quorvex
