#include "quorvex/planeGeometry/DynamicTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Quorvex {
namespace {

using Tree = DynamicTree<AABB2D>;
using Node = DT_Node<AABB2D>;

void* tag(std::intptr_t v) { return reinterpret_cast<void*>(v); }

bool same_box(const AABB2D& a, const AABB2D& b) {
  return a.min_x == b.min_x && a.min_y == b.min_y && a.max_x == b.max_x && a.max_y == b.max_y;
}

AABB2D unit_box_at(float x, float y) { return AABB2D(x, y, x + 1, y + 1); }

// The tree as nested ids: a leaf is its id, an inner node "id(child1,child2)".
std::string shape(const Tree& t, int id) {
  const Node& n = t.get_node(id);
  if (n.is_leaf()) return std::to_string(id);
  return std::to_string(id) + "(" + shape(t, n.child1) + "," + shape(t, n.child2) + ")";
}
std::string shape(const Tree& t) { return t.get_root() < 0 ? "" : shape(t, t.get_root()); }

// Creates unit-high boxes [x0, x1] x [0, 1] in order.
void create_row(Tree& t, std::initializer_list<std::pair<float, float>> spans) {
  for (const auto& s : spans) t.create_proxy(AABB2D(s.first, 0, s.second, 1), nullptr);
}

struct Proxy {
  AABB2D box;
  void* userdata;
};

// Walks the tree and the free list and checks every structural promise of the pool.
// Returns the largest height difference between two siblings.
int check_tree(const Tree& t, const std::map<int, Proxy>& live) {
  const int n = static_cast<int>(live.size());
  EXPECT_EQ(t.get_node_count(), n == 0 ? 0 : 2 * n - 1);
  std::set<int> in_tree;
  std::set<int> leaves;
  int max_imbalance = 0;
  if (n == 0) {
    EXPECT_EQ(t.get_root(), -1);
  } else {
    EXPECT_EQ(t.get_node(t.get_root()).parent, -1);
    std::vector<int> stack = {t.get_root()};
    while (!stack.empty()) {
      const int id = stack.back();
      stack.pop_back();
      EXPECT_TRUE(in_tree.insert(id).second) << "node " << id << " reached twice";
      const Node& node = t.get_node(id);
      if (node.is_leaf()) {
        leaves.insert(id);
        EXPECT_EQ(node.height, 0);
        EXPECT_EQ(node.child2, -1);
        const auto it = live.find(id);
        if (it == live.end()) {
          ADD_FAILURE() << "leaf " << id << " is not a live proxy";
          continue;
        }
        EXPECT_TRUE(same_box(node.aabb, it->second.box)) << "leaf " << id;
        EXPECT_EQ(node.userdata, it->second.userdata);
        continue;
      }
      const Node& c1 = t.get_node(node.child1);
      const Node& c2 = t.get_node(node.child2);
      EXPECT_EQ(c1.parent, id);
      EXPECT_EQ(c2.parent, id);
      EXPECT_EQ(node.height, 1 + std::max(c1.height, c2.height)) << "node " << id;
      EXPECT_TRUE(same_box(node.aabb, aabb_union(c1.aabb, c2.aabb))) << "node " << id;
      EXPECT_EQ(node.userdata, nullptr);
      max_imbalance = std::max(max_imbalance, std::abs(c1.height - c2.height));
      stack.push_back(node.child1);
      stack.push_back(node.child2);
    }
  }
  EXPECT_EQ(static_cast<int>(leaves.size()), n);
  for (const auto& kv : live) EXPECT_TRUE(same_box(t.get_AABB(kv.first), kv.second.box));

  int free_count = 0;
  for (int f = t.get_free_list(); f != -1 && free_count <= t.get_node_capacity();
       f = t.get_node(f).next) {
    EXPECT_EQ(t.get_node(f).height, -1);
    EXPECT_EQ(in_tree.count(f), 0u) << "free node " << f << " is in the tree";
    ++free_count;
  }
  EXPECT_EQ(free_count, t.get_node_capacity() - t.get_node_count());
  return max_imbalance;
}

TEST(DynamicTreeTest, FirstProxiesOnAFreshPoolAndBackToEmpty) {
  Tree t;
  EXPECT_EQ(t.get_node_capacity(), 16);
  EXPECT_EQ(t.get_free_list(), 0);
  check_tree(t, {});
  const AABB2D a(-1e-30f, 0.1f, 1, 0.30000001f), b(3, -2, 4, 0.5f);  // boxes stored exactly
  EXPECT_EQ(t.create_proxy(a, tag(10)), 0);
  EXPECT_EQ(shape(t), "0");
  EXPECT_EQ(t.create_proxy(b, tag(11)), 1);
  EXPECT_EQ(shape(t), "2(0,1)");
  check_tree(t, {{0, {a, tag(10)}}, {1, {b, tag(11)}}});
  t.destroy_proxy(1);
  t.destroy_proxy(0);
  EXPECT_EQ(t.get_free_list(), 0);
  check_tree(t, {});
}

TEST(DynamicTreeTest, NinthProxyDoublesThePool) {
  Tree t;
  std::map<int, Proxy> live;
  for (int i = 0; i < 8; ++i) {
    const AABB2D box = unit_box_at(static_cast<float>(3 * i), 0);
    live[t.create_proxy(box, tag(100 + i))] = {box, tag(100 + i)};
  }
  EXPECT_EQ(t.get_node_capacity(), 16);
  const AABB2D ninth = unit_box_at(100, 100);
  const int id = t.create_proxy(ninth, tag(999));
  EXPECT_EQ(id, 15);  // the leaf takes the last node of the old pool
  live[id] = {ninth, tag(999)};
  EXPECT_EQ(t.get_node_capacity(), 32);
  check_tree(t, live);
}

TEST(DynamicTreeTest, DestroyedIdIsReusedAndUserdataChangesOnlyThePointer) {
  Tree t;
  std::map<int, Proxy> live;
  for (int i = 0; i < 5; ++i) {
    const AABB2D box = unit_box_at(static_cast<float>(i), static_cast<float>(i % 2));
    live[t.create_proxy(box, tag(i))] = {box, tag(i)};
  }
  t.destroy_proxy(3);
  live.erase(3);
  check_tree(t, live);
  const AABB2D box = unit_box_at(50, 50);
  EXPECT_EQ(t.create_proxy(box, tag(77)), 3);
  live[3] = {box, tag(77)};
  const int root = t.get_root();
  t.update_userdata(1, tag(400));
  live[1].userdata = tag(400);
  EXPECT_EQ(t.get_userdata(1), tag(400));
  EXPECT_EQ(t.get_root(), root);
  check_tree(t, live);
}

TEST(DynamicTreeTest, ClearKeepsThePoolAndStartsOver) {
  Tree t;
  for (int i = 0; i < 40; ++i) t.create_proxy(unit_box_at(static_cast<float>(i), 0), nullptr);
  const int capacity = t.get_node_capacity();
  ASSERT_GT(capacity, 16);
  t.clear();
  EXPECT_EQ(t.get_node_capacity(), capacity);
  EXPECT_EQ(t.get_free_list(), 0);
  check_tree(t, {});
  create_row(t, {{0, 1}, {5, 6}});
  EXPECT_EQ(shape(t), "2(0,1)");
}

// Where insertion puts nodes: a descent tie goes to the second child, and a child two deeper
// than its sibling rises.
TEST(DynamicTreeTest, InsertionShapes) {
  const struct {
    std::initializer_list<std::pair<float, float>> row;
    const char* before;
    AABB2D added;
    const char* after;
  } rows[] = {
      {{{0, 1}, {2, 3}}, "2(0,1)", AABB2D(1, 0, 2, 1), "2(0,4(1,3))"},
      {{{0, 1}, {2, 3}, {10, 11}}, "4(2(0,1),3)", AABB2D(0.5f, 0, 1.5f, 1), "2(4(1,3),6(0,5))"},
      {{{10, 11}, {0, 1}, {1.5f, 2.5f}}, "2(0,4(1,3))", AABB2D(3, 0, 4, 1), "4(2(0,1),6(3,5))"},
  };
  for (const auto& r : rows) {
    Tree t;
    create_row(t, r.row);
    ASSERT_EQ(shape(t), r.before);
    t.create_proxy(r.added, nullptr);
    EXPECT_EQ(shape(t), r.after);
  }
}

// The sibling moves up into the grandparent's slot; the leaf is freed after its parent, and
// the free list is last in, first out.
TEST(DynamicTreeTest, RemovalLiftsTheSiblingIntoTheGrandparent) {
  Tree t;
  create_row(t, {{0, 1}, {2, 3}, {10, 11}});
  t.destroy_proxy(1);
  EXPECT_EQ(shape(t), "4(0,3)");
  EXPECT_EQ(t.get_free_list(), 1);
  EXPECT_EQ(t.get_node(1).next, 2);
}

TEST(DynamicTreeTest, SortedRowStaysLogarithmic) {
  for (int n : {64, 1024, 8192}) {
    Tree t;
    for (int i = 0; i < n; ++i) t.create_proxy(unit_box_at(static_cast<float>(i) * 2, 0), nullptr);
    EXPECT_LE(t.get_node(t.get_root()).height, 2 * static_cast<int>(std::ceil(std::log2(n)))) << n;
  }
}

TEST(DynamicTreeTest, InvariantsHoldThroughRandomCreatesAndDestroys) {
  for (unsigned seed : {1u, 2u, 42u}) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> pos(-1000.0f, 1000.0f);
    std::uniform_real_distribution<float> size(0.0f, 50.0f);
    Tree t;
    std::map<int, Proxy> live;
    std::vector<int> ids;
    int max_imbalance = 0;
    for (int step = 0; step < 3000; ++step) {
      // Grow for a while, then shrink towards empty and grow again.
      const unsigned create_percent = (step / 1000) % 2 == 0 ? 70 : 30;
      if (ids.empty() || rng() % 100 < create_percent) {
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

TEST(DynamicTreeTest, CopyIsDeepAndIndependent) {
  Tree a;
  std::map<int, Proxy> live;
  for (int i = 0; i < 20; ++i) {
    const AABB2D box = unit_box_at(static_cast<float>(i), static_cast<float>(-i));
    live[a.create_proxy(box, tag(i))] = {box, tag(i)};
  }
  Tree b(a);
  check_tree(b, live);
  b.destroy_proxy(5);
  b.create_proxy(unit_box_at(500, 500), tag(1));
  b.update_userdata(7, tag(70));
  check_tree(a, live);
  a.clear();
  EXPECT_EQ(b.get_userdata(7), tag(70));
  Tree c;
  c.create_proxy(unit_box_at(0, 0), nullptr);
  c = b;
  EXPECT_EQ(shape(c), shape(b));
  EXPECT_NE(&c.get_node(0), &b.get_node(0));
  const Tree& same = c;
  c = same;
  EXPECT_EQ(shape(c), shape(b));
}

TEST(DynamicTreeTest, MoveTransfersThePoolAndLeavesAUsableTree) {
  Tree a;
  std::map<int, Proxy> live;
  for (int i = 0; i < 12; ++i) {
    const AABB2D box = unit_box_at(static_cast<float>(3 * i), 0);
    live[a.create_proxy(box, tag(i))] = {box, tag(i)};
  }
  const Node* pool = &a.get_node(0);
  Tree b(std::move(a));
  EXPECT_EQ(&b.get_node(0), pool);
  check_tree(b, live);
  EXPECT_EQ(a.get_root(), -1);  // NOLINT(bugprone-use-after-move): the moved-from state
  EXPECT_EQ(a.get_node_count(), 0);
  EXPECT_EQ(a.create_proxy(unit_box_at(0, 0), tag(1)), 0);
  EXPECT_EQ(a.get_node_capacity(), 16);
  Tree c;
  c = std::move(b);
  EXPECT_EQ(&c.get_node(0), pool);
  check_tree(c, live);
}

}  // namespace
}  // namespace Quorvex
