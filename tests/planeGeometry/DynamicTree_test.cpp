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

// ---- the first proxies and the pool ----

TEST(DynamicTreeTest, NewTreeIsEmptyWithSixteenFreeNodes) {
  Tree t;
  EXPECT_EQ(t.get_root(), -1);
  EXPECT_EQ(t.get_node_count(), 0);
  EXPECT_EQ(t.get_node_capacity(), 16);
  EXPECT_EQ(t.get_free_list(), 0);
  check_tree(t, {});
}

TEST(DynamicTreeTest, FirstTwoProxies) {
  Tree t;
  const AABB2D a(-1e-30f, 0.1f, 1, 0.30000001f), b(3, -2, 4, 0.5f);  // boxes stored exactly
  EXPECT_EQ(t.create_proxy(a, tag(10)), 0);
  EXPECT_EQ(shape(t), "0");
  EXPECT_EQ(t.create_proxy(b, tag(11)), 1);
  EXPECT_EQ(shape(t), "2(0,1)");
  check_tree(t, {{0, {a, tag(10)}}, {1, {b, tag(11)}}});
}

TEST(DynamicTreeTest, NinthProxyDoublesThePool) {
  Tree t;
  std::map<int, Proxy> live;
  for (int i = 0; i < 8; ++i) {
    const AABB2D box = unit_box_at(static_cast<float>(3 * i), 0);
    live[t.create_proxy(box, tag(100 + i))] = {box, tag(100 + i)};
  }
  EXPECT_EQ(t.get_node_count(), 15);
  EXPECT_EQ(t.get_node_capacity(), 16);
  const AABB2D ninth = unit_box_at(100, 100);
  const int id = t.create_proxy(ninth, tag(999));
  EXPECT_EQ(id, 15);  // the leaf takes the last node of the old pool
  live[id] = {ninth, tag(999)};
  EXPECT_EQ(t.get_node_capacity(), 32);
  EXPECT_EQ(t.get_node_count(), 17);
  for (const auto& kv : live) EXPECT_EQ(t.get_userdata(kv.first), kv.second.userdata);
  check_tree(t, live);
}

TEST(DynamicTreeTest, DestroyingTheOnlyProxyEmptiesTheTree) {
  Tree t;
  const int id = t.create_proxy(unit_box_at(0, 0), nullptr);
  t.destroy_proxy(id);
  EXPECT_EQ(t.get_root(), -1);
  EXPECT_EQ(t.get_node_count(), 0);
  EXPECT_EQ(t.get_free_list(), id);
  check_tree(t, {});
}

TEST(DynamicTreeTest, DestroyThenCreateReusesTheId) {
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
  EXPECT_EQ(t.create_proxy(unit_box_at(0, 0), tag(1)), 0);
  EXPECT_EQ(t.create_proxy(unit_box_at(5, 0), tag(2)), 1);
  EXPECT_EQ(shape(t), "2(0,1)");
}

TEST(DynamicTreeTest, UpdateUserdataChangesOnlyThePointer) {
  Tree t;
  std::map<int, Proxy> live;
  for (int i = 0; i < 6; ++i) {
    const AABB2D box = unit_box_at(static_cast<float>(2 * i), 0);
    live[t.create_proxy(box, tag(i))] = {box, tag(i)};
  }
  const int root = t.get_root();
  const int leaf = std::next(live.begin(), 3)->first;
  t.update_userdata(leaf, tag(400));
  live[leaf].userdata = tag(400);
  EXPECT_EQ(t.get_userdata(leaf), tag(400));
  EXPECT_EQ(t.get_root(), root);
  check_tree(t, live);
}

// ---- where insertion and removal put nodes; boxes and heights are the invariants that
// check_tree asks of every tree ----

TEST(DynamicTreeTest, DescentTieGoesToTheSecondChild) {
  Tree t;
  create_row(t, {{0, 1}, {2, 3}});
  // Both children grow to the same perimeter: the new parent goes over child2.
  EXPECT_EQ(t.create_proxy(AABB2D(1, 0, 2, 1), nullptr), 3);
  EXPECT_EQ(shape(t), "2(0,4(1,3))");
}

TEST(DynamicTreeTest, LeftChildRisesWhenTwoDeeper) {
  Tree t;
  create_row(t, {{0, 1}, {2, 3}, {10, 11}});  // 3 far away: new root 4 over 2
  ASSERT_EQ(shape(t), "4(2(0,1),3)");
  // Lands beside 0 under a new node 6; node 2 then stands two above 3 and rises.
  EXPECT_EQ(t.create_proxy(AABB2D(0.5f, 0, 1.5f, 1), nullptr), 5);
  EXPECT_EQ(shape(t), "2(4(1,3),6(0,5))");
}

TEST(DynamicTreeTest, RightChildRisesWhenTwoDeeper) {
  Tree t;
  create_row(t, {{10, 11}, {0, 1}, {1.5f, 2.5f}});  // 3 beside 1 under node 4
  ASSERT_EQ(shape(t), "2(0,4(1,3))");
  EXPECT_EQ(t.create_proxy(AABB2D(3, 0, 4, 1), nullptr), 5);  // beside 3 under node 6
  EXPECT_EQ(shape(t), "4(2(0,1),6(3,5))");
}

TEST(DynamicTreeTest, RemovalLiftsTheSiblingIntoTheGrandparent) {
  Tree t;
  create_row(t, {{0, 1}, {2, 3}, {10, 11}});
  t.destroy_proxy(1);
  // Node 2 is freed after its sibling 0 moved up into root 4's first slot.
  EXPECT_EQ(shape(t), "4(0,3)");
  // Last in, first out: the leaf was freed after its parent.
  EXPECT_EQ(t.get_free_list(), 1);
  EXPECT_EQ(t.get_node(1).next, 2);
}

// ---- shape under many operations ----

TEST(DynamicTreeTest, SortedRowStaysLogarithmic) {
  for (int n : {64, 1024, 8192}) {
    Tree t;
    for (int i = 0; i < n; ++i) t.create_proxy(unit_box_at(static_cast<float>(i) * 2, 0), nullptr);
    const int height = t.get_node(t.get_root()).height;
    EXPECT_LE(height, 2 * static_cast<int>(std::ceil(std::log2(n)))) << n;
    EXPECT_EQ(t.get_node_count(), 2 * n - 1);
  }
}

class DynamicTreeRandomTest : public ::testing::TestWithParam<unsigned> {};

TEST_P(DynamicTreeRandomTest, InvariantsHoldThroughCreatesAndDestroys) {
  std::mt19937 rng(GetParam());
  std::uniform_real_distribution<float> pos(-1000.0f, 1000.0f);
  std::uniform_real_distribution<float> size(0.0f, 50.0f);
  std::uniform_int_distribution<int> coin(0, 99);
  Tree t;
  std::map<int, Proxy> live;
  std::vector<int> ids;
  int max_imbalance = 0;
  for (int step = 0; step < 3000; ++step) {
    // Grow for a while, then shrink towards empty and grow again.
    const int create_percent = (step / 1000) % 2 == 0 ? 70 : 30;
    if (ids.empty() || coin(rng) < create_percent) {
      const float x = pos(rng), y = pos(rng);
      const AABB2D box(x, y, x + size(rng), y + size(rng));
      void* ud = tag(step + 1);
      const int id = t.create_proxy(box, ud);
      ASSERT_EQ(live.count(id), 0u) << "id handed out twice";
      live[id] = {box, ud};
      ids.push_back(id);
    } else {
      const size_t k = static_cast<size_t>(rng() % ids.size());
      const int id = ids[k];
      ids[k] = ids.back();
      ids.pop_back();
      t.destroy_proxy(id);
      live.erase(id);
      // Freed last, so handed out first.
      ASSERT_EQ(t.get_free_list(), id);
    }
    if (step % 97 == 0) max_imbalance = std::max(max_imbalance, check_tree(t, live));
    if (HasFailure()) return;
  }
  max_imbalance = std::max(max_imbalance, check_tree(t, live));
  EXPECT_LE(max_imbalance, 1);
  if (!live.empty()) {
    const int n = static_cast<int>(live.size());
    EXPECT_LE(t.get_node(t.get_root()).height, 2 * static_cast<int>(std::ceil(std::log2(n))) + 1);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, DynamicTreeRandomTest, ::testing::Values(1u, 2u, 3u, 42u, 2024u));

// ---- copies and moves ----

TEST(DynamicTreeTest, CopyIsDeepAndIndependent) {
  Tree a;
  std::map<int, Proxy> live;
  for (int i = 0; i < 20; ++i) {
    const AABB2D box = unit_box_at(static_cast<float>(i), static_cast<float>(-i));
    live[a.create_proxy(box, tag(i))] = {box, tag(i)};
  }
  Tree b(a);
  EXPECT_NE(&a.get_node(0), &b.get_node(0));
  check_tree(b, live);
  // Changing the copy leaves the source alone, and the other way round.
  b.destroy_proxy(5);
  b.create_proxy(unit_box_at(500, 500), tag(1));
  b.update_userdata(7, tag(70));
  check_tree(a, live);
  a.clear();
  EXPECT_EQ(b.get_userdata(7), tag(70));

  Tree c;
  c.create_proxy(unit_box_at(0, 0), nullptr);
  c = b;
  EXPECT_EQ(c.get_node_count(), b.get_node_count());
  EXPECT_EQ(c.get_root(), b.get_root());
  EXPECT_NE(&c.get_node(0), &b.get_node(0));
  const Tree& same = c;
  c = same;  // self-assignment keeps the tree
  EXPECT_EQ(c.get_node_count(), b.get_node_count());
}

TEST(DynamicTreeTest, MoveTransfersThePool) {
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
  // A moved-from tree is usable again, from a fresh pool.
  EXPECT_EQ(a.create_proxy(unit_box_at(0, 0), tag(1)), 0);
  EXPECT_EQ(a.get_node_capacity(), 16);

  Tree c;
  c = std::move(b);
  EXPECT_EQ(&c.get_node(0), pool);
  check_tree(c, live);
  a.clear();
  EXPECT_EQ(a.get_free_list(), 0);
}

}  // namespace
}  // namespace Quorvex
