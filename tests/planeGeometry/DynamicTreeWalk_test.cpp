// The tree's walk to the root may stop early; the pool must then hold, byte for byte, what
// the plain walk that balances and refits every node up to the root leaves. The plain
// algorithm is written out here, step by step, and run beside the tree.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "quorvex/planeGeometry/DynamicTree.h"

namespace Quorvex {
namespace {

using Node = DT_Node<AABB2D>;

class PlainTree {
 public:
  PlainTree() : nodes_(16) { link_free(0); }

  int create_proxy(const AABB2D& box) {
    const int id = alloc_node();
    nodes_[id].aabb = box;
    nodes_[id].height = 0;
    insert_leaf(id);
    return id;
  }

  void destroy_proxy(int id) {
    remove_leaf(id);
    free_node(id);
  }

  void clear() {
    count_ = 0;
    root_ = -1;
    link_free(0);
    free_list_ = 0;
  }

  const std::vector<Node>& nodes() const { return nodes_; }
  int root() const { return root_; }
  int count() const { return count_; }
  int free_list() const { return free_list_; }

 private:
  int size() const { return static_cast<int>(nodes_.size()); }

  void link_free(int from) {
    for (int i = from; i < size(); ++i) {
      nodes_[i] = Node();
      nodes_[i].next = i + 1 < size() ? i + 1 : -1;
      nodes_[i].child1 = 0;
      nodes_[i].child2 = 0;
      nodes_[i].height = -1;
    }
  }

  int alloc_node() {
    if (free_list_ == -1) {
      nodes_.resize(nodes_.size() * 2);
      link_free(count_);
      free_list_ = count_;
    }
    const int id = free_list_;
    free_list_ = nodes_[id].next;
    nodes_[id].parent = nodes_[id].child1 = nodes_[id].child2 = -1;
    nodes_[id].height = 0;
    nodes_[id].userdata = nullptr;
    ++count_;
    return id;
  }

  void free_node(int id) {
    nodes_[id].next = free_list_;
    nodes_[id].height = -1;
    free_list_ = id;
    --count_;
  }

  void set_child(int parent, int old_child, int new_child) {
    if (parent == -1) {
      root_ = new_child;
    } else if (nodes_[parent].child1 == old_child) {
      nodes_[parent].child1 = new_child;
    } else {
      nodes_[parent].child2 = new_child;
    }
  }

  void walk_to_root(int index) {
    while (index != -1) {
      index = balance(index);
      Node& n = nodes_[index];
      n.height = 1 + std::max(nodes_[n.child1].height, nodes_[n.child2].height);
      n.aabb = aabb_union(nodes_[n.child1].aabb, nodes_[n.child2].aabb);
      index = n.parent;
    }
  }

  void insert_leaf(int leaf) {
    if (root_ == -1) {
      root_ = leaf;
      nodes_[leaf].parent = -1;
      return;
    }
    const AABB2D box = nodes_[leaf].aabb;
    int index = root_;
    while (nodes_[index].child1 != -1) {
      const Node& n = nodes_[index];
      const float area = n.aabb.get_perimeter();
      const float combined = aabb_union(n.aabb, box).get_perimeter();
      const float cost = 2.0f * combined;
      const float inheritance = 2.0f * (combined - area);
      float child_cost[2];
      for (int k = 0; k < 2; ++k) {
        const Node& c = nodes_[k == 0 ? n.child1 : n.child2];
        const float enlarged = aabb_union(box, c.aabb).get_perimeter();
        child_cost[k] =
            c.is_leaf() ? enlarged + inheritance : enlarged - c.aabb.get_perimeter() + inheritance;
      }
      if (child_cost[0] > cost && child_cost[1] > cost) break;
      index = child_cost[1] > child_cost[0] ? n.child1 : n.child2;
    }
    const int sibling = index;
    const int old_parent = nodes_[sibling].parent;
    const int parent = alloc_node();
    nodes_[parent].parent = old_parent;
    nodes_[parent].aabb = aabb_union(box, nodes_[sibling].aabb);
    nodes_[parent].height = nodes_[sibling].height + 1;
    set_child(old_parent, sibling, parent);
    nodes_[parent].child1 = sibling;
    nodes_[parent].child2 = leaf;
    nodes_[sibling].parent = parent;
    nodes_[leaf].parent = parent;
    walk_to_root(parent);
  }

  void remove_leaf(int leaf) {
    if (leaf == root_) {
      root_ = -1;
      return;
    }
    const int parent = nodes_[leaf].parent;
    const int grand = nodes_[parent].parent;
    const int sibling =
        nodes_[parent].child1 == leaf ? nodes_[parent].child2 : nodes_[parent].child1;
    if (grand != -1) {
      set_child(grand, parent, sibling);
      nodes_[sibling].parent = grand;
      free_node(parent);
      walk_to_root(grand);
    } else {
      root_ = sibling;
      nodes_[sibling].parent = -1;
      free_node(parent);
    }
  }

  // One rotation at most: the taller child of N rises by two or more.
  int balance(int n_id) {
    const Node& n = nodes_[n_id];
    if (n.is_leaf() || n.height < 2) return n_id;
    const int balance = nodes_[n.child2].height - nodes_[n.child1].height;
    if (balance >= 2) return rotate(n_id, n.child2, n.child1, true);
    if (balance < -1) return rotate(n_id, n.child1, n.child2, false);
    return n_id;
  }

  // `up` takes N's place with N as its first child and keeps its taller child (its second
  // on a tie); its other child goes to N, into the slot `up` left. N's box is the union of
  // N's remaining child and the one that went, in that order, as the steps state it.
  int rotate(int n_id, int up_id, int other_id, bool up_was_second) {
    Node& n = nodes_[n_id];
    Node& up = nodes_[up_id];
    const int first = up.child1;
    const int second = up.child2;
    up.child1 = n_id;
    up.parent = n.parent;
    n.parent = up_id;
    set_child(up.parent, n_id, up_id);
    const bool first_higher = nodes_[first].height > nodes_[second].height;
    const int stays = first_higher ? first : second;
    const int goes = first_higher ? second : first;
    up.child2 = stays;
    (up_was_second ? n.child2 : n.child1) = goes;
    nodes_[goes].parent = n_id;
    n.aabb = aabb_union(nodes_[other_id].aabb, nodes_[goes].aabb);
    up.aabb = aabb_union(n.aabb, nodes_[stays].aabb);
    n.height = 1 + std::max(nodes_[other_id].height, nodes_[goes].height);
    up.height = 1 + std::max(n.height, nodes_[stays].height);
    return up_id;
  }

  std::vector<Node> nodes_;
  int root_ = -1;
  int count_ = 0;
  int free_list_ = 0;
};

// Every node, used or free, byte for byte, and the tree's own fields.
::testing::AssertionResult same_pool(const DynamicTree<AABB2D>& tree, const PlainTree& plain) {
  if (tree.get_root() != plain.root() || tree.get_node_count() != plain.count() ||
      tree.get_free_list() != plain.free_list() ||
      tree.get_node_capacity() != static_cast<int>(plain.nodes().size())) {
    return ::testing::AssertionFailure() << "root, count, free list or capacity differ";
  }
  for (int i = 0; i < tree.get_node_capacity(); ++i) {
    if (std::memcmp(&tree.get_node(i), &plain.nodes()[i], sizeof(Node)) != 0) {
      return ::testing::AssertionFailure() << "node " << i << " differs";
    }
  }
  return ::testing::AssertionSuccess();
}

struct Scenario {
  const char* name;
  friend void PrintTo(const Scenario& s, std::ostream* out) { *out << s.name; }
  // A box for step `i`; `g` for randomness.
  AABB2D (*box)(std::mt19937& g, int i);
  int live_target;  // removals and insertions balance around this many proxies
};

float uniform(std::mt19937& g, float lo, float hi) {
  return std::uniform_real_distribution<float>(lo, hi)(g);
}

AABB2D scattered(std::mt19937& g, int) {
  const float x = uniform(g, 0, 1000);
  const float y = uniform(g, 0, 1000);
  return AABB2D(x, y, x + uniform(g, 0.1f, 5), y + uniform(g, 0.1f, 5));
}

// Sorted along a row: insertion keeps meeting inner siblings, which leaves nodes out of
// balance below the rotation.
AABB2D sorted_row(std::mt19937&, int i) { return AABB2D(float(i), 0, float(i) + 1, 1); }

// Corners at -0 and +0 and boxes of nothing but zeros: a union taken the other way round
// differs in its bits.
AABB2D signed_zeros(std::mt19937& g, int) {
  const float z[] = {-0.0f, 0.0f};
  const auto pick = [&] { return z[g() % 2]; };
  const float x = g() % 3 == 0 ? pick() : uniform(g, -2, 2);
  const float y = g() % 3 == 0 ? pick() : uniform(g, -2, 2);
  return AABB2D(x, y, g() % 2 ? pick() : x + 1, g() % 2 ? pick() : y + 1);
}

// Now and then a NaN corner, which the unions carry depending on their order.
AABB2D with_nans(std::mt19937& g, int i) {
  AABB2D b = scattered(g, i);
  if (g() % 17 == 0) b.min_x = std::numeric_limits<float>::quiet_NaN();
  if (g() % 23 == 0) b.max_y = std::numeric_limits<float>::quiet_NaN();
  return b;
}

// Small boxes with now and then a large one: a large box stops the walk down high in the tree,
// beside a deep sibling, and the one rotation that follows leaves a node out of balance.
AABB2D mixed_sizes(std::mt19937& g, int i) {
  if (g() % 8 != 0) return scattered(g, i);
  const float x = uniform(g, 0, 1000);
  const float y = uniform(g, 0, 1000);
  const float r = uniform(g, 50, 800);
  return AABB2D(x - r, y - r, x + r, y + r);
}

// The same few boxes again and again, and boxes that hold each other.
AABB2D repeated_and_nested(std::mt19937& g, int i) {
  if (g() % 2) return AABB2D(float(i % 4), 0, float(i % 4) + 1, 1);
  const float r = float(1 + g() % 64);
  return AABB2D(-r, -r, r, r);
}

class DynamicTreeWalk : public ::testing::TestWithParam<Scenario> {};

// Random insertions and removals, now and then a clear or a tree emptied to its last proxy,
// with the pool compared after every step.
TEST_P(DynamicTreeWalk, LeavesThePoolAsTheWalkToTheRootDoes) {
  const Scenario& s = GetParam();
  std::mt19937 g(20261123);
  DynamicTree<AABB2D> tree;
  PlainTree plain;
  std::vector<int> live;
  for (int step = 0; step < 6000; ++step) {
    const int target = step < 4500 ? s.live_target : 0;  // the end empties the tree
    const bool insert = live.empty() || (static_cast<int>(live.size()) < target && g() % 4 != 0);
    if (step == 3000) {
      tree.clear();
      plain.clear();
      live.clear();
    } else if (insert) {
      const AABB2D box = s.box(g, step);
      const int id = tree.create_proxy(box, nullptr);
      ASSERT_EQ(id, plain.create_proxy(box)) << s.name << ", step " << step;
      live.push_back(id);
    } else {
      const std::size_t k = g() % live.size();
      tree.destroy_proxy(live[k]);
      plain.destroy_proxy(live[k]);
      live[k] = live.back();
      live.pop_back();
    }
    ASSERT_TRUE(same_pool(tree, plain)) << s.name << ", step " << step;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Boxes, DynamicTreeWalk,
    ::testing::Values(Scenario{"scattered", scattered, 700},
                      Scenario{"sorted_row", sorted_row, 1500},
                      Scenario{"signed_zeros", signed_zeros, 400},
                      Scenario{"with_nans", with_nans, 400},
                      Scenario{"mixed_sizes", mixed_sizes, 1000},
                      Scenario{"repeated_and_nested", repeated_and_nested, 600}),
    [](const ::testing::TestParamInfo<Scenario>& info) { return std::string(info.param.name); });

// A box around everything stops the walk down at the root; the one rotation there leaves the
// node that went down out of balance (a row of the grid beside a leaf). A later removal in the
// grid whose walk finds a node unchanged below it must still go on and turn that node, as the
// full walk does. Every removal is tried on its own copy of the tree.
TEST(DynamicTreeWalkCases, ANodeLeftOutOfBalanceStillTurnsWhenAWalkBelowItStops) {
  DynamicTree<AABB2D> tree;
  PlainTree plain;
  std::vector<int> grid;
  for (int i = 0; i < 8; ++i) {
    for (int j = 0; j < 8; ++j) {
      const AABB2D box(2.0f * i, 2.0f * j, 2.0f * i + 1, 2.0f * j + 1);
      grid.push_back(tree.create_proxy(box, nullptr));
      plain.create_proxy(box);
    }
  }
  const AABB2D around(-1e4f, -1e4f, 1e4f, 1e4f);
  tree.create_proxy(around, nullptr);
  plain.create_proxy(around);
  ASSERT_TRUE(same_pool(tree, plain));
  for (int id : grid) {
    DynamicTree<AABB2D> tree_copy(tree);
    PlainTree plain_copy(plain);
    tree_copy.destroy_proxy(id);
    plain_copy.destroy_proxy(id);
    EXPECT_TRUE(same_pool(tree_copy, plain_copy)) << "removing " << id;
  }
}

// Eighty clusters, each with a box around it, leave more nodes out of balance than the tree
// keeps a list of; walks then go to the root until the tree is empty, and stop early again
// once it is refilled.
TEST(DynamicTreeWalkCases, MoreNodesOutOfBalanceThanListedAndATreeEmptiedAndRefilled) {
  DynamicTree<AABB2D> tree;
  PlainTree plain;
  std::vector<int> live;
  const auto add = [&](const AABB2D& box) {
    live.push_back(tree.create_proxy(box, nullptr));
    plain.create_proxy(box);
  };
  const auto fill = [&](int clusters) {
    for (int c = 0; c < clusters; ++c) {
      for (int k = 0; k < 16; ++k) {
        add(AABB2D(1000.0f * c + 2.0f * (k % 4), 2.0f * (k / 4), 1000.0f * c + 2.0f * (k % 4) + 1,
                   2.0f * (k / 4) + 1));
      }
    }
    for (int c = 0; c < clusters; ++c) add(AABB2D(1000.0f * c - 50, -50, 1000.0f * c + 50, 50));
  };
  std::mt19937 g(7);
  fill(80);
  ASSERT_TRUE(same_pool(tree, plain));
  for (int round = 0; round < 2; ++round) {
    while (!live.empty()) {
      const std::size_t k = g() % live.size();
      tree.destroy_proxy(live[k]);
      plain.destroy_proxy(live[k]);
      live[k] = live.back();
      live.pop_back();
      ASSERT_TRUE(same_pool(tree, plain)) << "round " << round << ", " << live.size() << " left";
    }
    fill(20);
    ASSERT_TRUE(same_pool(tree, plain)) << "refilled, round " << round;
  }
}

}  // namespace
}  // namespace Quorvex
