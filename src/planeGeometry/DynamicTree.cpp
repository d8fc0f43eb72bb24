#include "quorvex/planeGeometry/DynamicTree.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

#include "LargePageArray.h"
#include "TreeWalkLedger.h"

namespace Quorvex {

namespace {

constexpr int32_t kInitialCapacity = 16;

inline int32_t max_i32(int32_t a, int32_t b) { return a > b ? a : b; }

// Trees of many proxies outgrow the caches, and every level of a walk is a dependent load
// from a random place in the pool. Asking for the next node while this one is worked on
// overlaps those waits. A node may straddle two cache lines, hence both ends.
template <class T>
inline void prefetch_node(const DT_Node<T>* pool, int32_t id) {
  if (id < 0) return;
  const char* p = reinterpret_cast<const char*>(pool + id);
  __builtin_prefetch(p);
  __builtin_prefetch(p + sizeof(DT_Node<T>) - 1);
}

// The pool is raw malloc memory grown by memcpy, which the node type must allow.
static_assert(std::is_trivially_copyable<DT_Node<AABB2D>>::value, "pool nodes are copied as bytes");

static_assert(sizeof(DT_Node<AABB2D>) % alignof(TreeWalkLedger) == 0,
              "the walk ledger follows the nodes in the pool's block");

// A pool that cannot be had raises std::bad_alloc, as a container would, before the tree
// changes: writing through a null pool would corrupt memory instead. The block holds the
// walk ledger after the nodes; the caller sets it.
template <class T>
DT_Node<T>* allocate_pool(int32_t capacity) {
  const size_t bytes = sizeof(DT_Node<T>) * static_cast<size_t>(capacity) + sizeof(TreeWalkLedger);
  void* block = std::malloc(bytes);
  if (block == nullptr) throw std::bad_alloc();
  // The pool is written right after it is allocated, so the advice comes first.
  advise_large_pages(block, bytes);
  return static_cast<DT_Node<T>*>(block);
}

}  // namespace

template <class T>
DynamicTree<T>::DynamicTree()
    : root(-1),
      nodes(allocate_pool<T>(kInitialCapacity)),
      node_count(0),
      node_capacity(kInitialCapacity),
      free_list(0) {
  _link_free_nodes(0);
  ledger_of(nodes, node_capacity).reset();
}

template <class T>
DynamicTree<T>::~DynamicTree() {
  std::free(nodes);
}

template <class T>
DynamicTree<T>::DynamicTree(const DynamicTree& other)
    : root(other.root),
      nodes(nullptr),
      node_count(other.node_count),
      node_capacity(other.node_capacity),
      free_list(other.free_list) {
  if (node_capacity > 0) {
    nodes = allocate_pool<T>(node_capacity);
    std::memcpy(static_cast<void*>(nodes), other.nodes,
                sizeof(DT_Node<T>) * static_cast<size_t>(node_capacity) + sizeof(TreeWalkLedger));
  }
}

template <class T>
DynamicTree<T>& DynamicTree<T>::operator=(const DynamicTree& other) {
  if (this != &other) {
    DynamicTree copy(other);
    *this = std::move(copy);
  }
  return *this;
}

template <class T>
DynamicTree<T>::DynamicTree(DynamicTree&& other) noexcept
    : root(other.root),
      nodes(other.nodes),
      node_count(other.node_count),
      node_capacity(other.node_capacity),
      free_list(other.free_list) {
  other.root = -1;
  other.nodes = nullptr;
  other.node_count = 0;
  other.node_capacity = 0;
  other.free_list = -1;
}

template <class T>
DynamicTree<T>& DynamicTree<T>::operator=(DynamicTree&& other) noexcept {
  if (this != &other) {
    std::free(nodes);
    root = other.root;
    nodes = other.nodes;
    node_count = other.node_count;
    node_capacity = other.node_capacity;
    free_list = other.free_list;
    other.root = -1;
    other.nodes = nullptr;
    other.node_count = 0;
    other.node_capacity = 0;
    other.free_list = -1;
  }
  return *this;
}

template <class T>
void DynamicTree<T>::_link_free_nodes(int from) {
  for (int32_t i = from; i < node_capacity; ++i) {
    DT_Node<T>& n = nodes[i];
    n.aabb = T();
    n.userdata = nullptr;
    n.next = i + 1 < node_capacity ? i + 1 : -1;
    n.child1 = 0;
    n.child2 = 0;
    n.height = -1;
  }
}

template <class T>
void DynamicTree<T>::clear() {
  node_count = 0;
  root = -1;
  _link_free_nodes(0);
  // A tree whose pool was moved away has no node to hand out yet.
  free_list = node_capacity > 0 ? 0 : -1;
  if (nodes != nullptr) ledger_of(nodes, node_capacity).reset();
}

template <class T>
int DynamicTree<T>::_alloc_node() {
  if (free_list == -1) {
    // Only a moved-from tree has no pool; it starts again at the usual size. Ids are
    // 32-bit: a pool of 2^30 nodes cannot double.
    if (node_capacity > INT32_MAX / 2) throw std::bad_alloc();
    const int32_t new_capacity = node_capacity > 0 ? node_capacity * 2 : kInitialCapacity;
    DT_Node<T>* grown = allocate_pool<T>(new_capacity);
    if (node_count > 0) {
      std::memcpy(static_cast<void*>(grown), nodes,
                  sizeof(DT_Node<T>) * static_cast<size_t>(node_count));
    }
    TreeWalkLedger& ledger = ledger_of(grown, new_capacity);
    if (nodes != nullptr) {
      ledger = ledger_of(nodes, node_capacity);
    } else {
      ledger.reset();
    }
    std::free(nodes);
    nodes = grown;
    node_capacity = new_capacity;
    _link_free_nodes(node_count);
    free_list = node_count;
  }
  const int32_t id = free_list;
  DT_Node<T>& n = nodes[id];
  free_list = n.next;
  n.parent = -1;
  n.child1 = -1;
  n.child2 = -1;
  n.height = 0;
  n.userdata = nullptr;
  ++node_count;
  return id;
}

template <class T>
void DynamicTree<T>::_free_node(int node) {
  nodes[node].next = free_list;
  nodes[node].height = -1;
  free_list = node;
  --node_count;
}

template <class T>
int DynamicTree<T>::create_proxy(const T& aabb, void* userdata) {
  const int id = _alloc_node();
  nodes[id].aabb = aabb;
  nodes[id].userdata = userdata;
  nodes[id].height = 0;
  _insert_leaf(id);
  return id;
}

template <class T>
void DynamicTree<T>::destroy_proxy(int id) {
  _remove_leaf(id);
  _free_node(id);
  // An empty tree has no node out of balance: a ledger that overflowed starts again.
  if (node_count == 0) ledger_of(nodes, node_capacity).reset();
}

template <class T>
void DynamicTree<T>::_refit_to_root(int index, bool start_is_new) {
  TreeWalkLedger& ledger = ledger_of(nodes, node_capacity);
  // A new node holds its final values already, so finding it unchanged proves nothing.
  bool may_stop = !start_is_new;
  while (index != -1) {
    // The node that ends up on top keeps this node's parent, so it can be fetched now.
    prefetch_node(nodes, nodes[index].parent);
    const int32_t old_height = nodes[index].height;
    const T old_box = nodes[index].aabb;
    const int top = _balance(index);
    DT_Node<T>& n = nodes[top];
    const DT_Node<T>& c1 = nodes[n.child1];
    const DT_Node<T>& c2 = nodes[n.child2];
    n.height = 1 + max_i32(c1.height, c2.height);
    n.aabb = aabb_union(c1.aabb, c2.aabb);
    if (top != index) {
      // The rotated node went down with new children and a box it computed itself.
      const DT_Node<T>& down = nodes[index];
      const DT_Node<T>& d1 = nodes[down.child1];
      const DT_Node<T>& d2 = nodes[down.child2];
      ledger.note(index, rotates(down.height, d1.height, d2.height) ||
                             !same_bits(down.aabb, aabb_union(d1.aabb, d2.aabb)));
    }
    ledger.note(top, rotates(n.height, c1.height, c2.height));
    // Above a node left as it was, the full walk would change nothing but a listed node.
    if (may_stop && top == index && n.height == old_height && same_bits(n.aabb, old_box) &&
        !ledger.lists_above(nodes, index)) {
      return;
    }
    may_stop = true;
    index = n.parent;
  }
}

template <class T>
void DynamicTree<T>::_insert_leaf(int leaf) {
  if (root == -1) {
    root = leaf;
    nodes[leaf].parent = -1;
    return;
  }

  // Walk down to the sibling by the perimeter cost of each choice. All costs are float.
  const T leaf_box = nodes[leaf].aabb;
  int index = root;
  while (nodes[index].child1 != -1) {
    const DT_Node<T>& n = nodes[index];
    const float area = n.aabb.get_perimeter();
    const float combined = aabb_union(n.aabb, leaf_box).get_perimeter();
    // Making a new parent for this node and the leaf.
    const float cost = 2.0f * combined;
    // What every level below pays for having grown this node.
    const float inheritance = 2.0f * (combined - area);

    const DT_Node<T>& n1 = nodes[n.child1];
    const DT_Node<T>& n2 = nodes[n.child2];
    // Whichever child the walk takes, its children are read next.
    if (n1.child1 != -1) {
      prefetch_node(nodes, n1.child1);
      prefetch_node(nodes, n1.child2);
    }
    if (n2.child1 != -1) {
      prefetch_node(nodes, n2.child1);
      prefetch_node(nodes, n2.child2);
    }
    const float enlarged1 = aabb_union(leaf_box, n1.aabb).get_perimeter();
    const float cost1 =
        n1.is_leaf() ? enlarged1 + inheritance : enlarged1 - n1.aabb.get_perimeter() + inheritance;
    const float enlarged2 = aabb_union(leaf_box, n2.aabb).get_perimeter();
    const float cost2 =
        n2.is_leaf() ? enlarged2 + inheritance : enlarged2 - n2.aabb.get_perimeter() + inheritance;

    if (cost1 > cost && cost2 > cost) break;
    index = cost2 > cost1 ? n.child1 : n.child2;
  }

  const int sibling = index;
  const int old_parent = nodes[sibling].parent;
  const int new_parent = _alloc_node();  // may move the pool: no references held across it
  DT_Node<T>& np = nodes[new_parent];
  np.parent = old_parent;
  np.userdata = nullptr;
  np.aabb = aabb_union(leaf_box, nodes[sibling].aabb);
  np.height = nodes[sibling].height + 1;

  if (old_parent != -1) {
    if (nodes[old_parent].child1 == sibling) {
      nodes[old_parent].child1 = new_parent;
    } else {
      nodes[old_parent].child2 = new_parent;
    }
  } else {
    root = new_parent;
  }
  np.child1 = sibling;
  np.child2 = leaf;
  nodes[sibling].parent = new_parent;
  nodes[leaf].parent = new_parent;

  _refit_to_root(nodes[leaf].parent, true);
}

template <class T>
void DynamicTree<T>::_remove_leaf(int leaf) {
  if (leaf == root) {
    root = -1;
    return;
  }
  const int parent = nodes[leaf].parent;
  const int grand = nodes[parent].parent;
  const int sibling = nodes[parent].child1 == leaf ? nodes[parent].child2 : nodes[parent].child1;

  if (grand != -1) {
    if (nodes[grand].child1 == parent) {
      nodes[grand].child1 = sibling;
    } else {
      nodes[grand].child2 = sibling;
    }
    nodes[sibling].parent = grand;
    ledger_of(nodes, node_capacity).note(parent, false);
    _free_node(parent);
    _refit_to_root(grand, false);
  } else {
    root = sibling;
    nodes[sibling].parent = -1;
    ledger_of(nodes, node_capacity).note(parent, false);
    _free_node(parent);
  }
}

template <class T>
int DynamicTree<T>::_balance(int iN) {
  DT_Node<T>* N = &nodes[iN];
  if (N->is_leaf() || N->height < 2) return iN;

  const int iL = N->child1;
  const int iR = N->child2;
  DT_Node<T>* L = &nodes[iL];
  DT_Node<T>* R = &nodes[iR];
  const int32_t balance = R->height - L->height;

  // Takes `iN`'s place under its old parent, or at the root.
  auto replace_in_parent = [this](int old_child, int new_child, int parent) {
    if (parent != -1) {
      if (nodes[parent].child1 == old_child) {
        nodes[parent].child1 = new_child;
      } else {
        nodes[parent].child2 = new_child;
      }
    } else {
      root = new_child;
    }
  };

  if (balance >= 2) {  // R rises
    const int iR1 = R->child1;
    const int iR2 = R->child2;
    DT_Node<T>* R1 = &nodes[iR1];
    DT_Node<T>* R2 = &nodes[iR2];

    R->child1 = iN;
    R->parent = N->parent;
    N->parent = iR;
    replace_in_parent(iN, iR, R->parent);

    if (R1->height > R2->height) {
      R->child2 = iR1;
      N->child2 = iR2;
      R2->parent = iN;
      N->aabb = aabb_union(L->aabb, R2->aabb);
      R->aabb = aabb_union(N->aabb, R1->aabb);
      N->height = 1 + max_i32(L->height, R2->height);
      R->height = 1 + max_i32(N->height, R1->height);
    } else {
      R->child2 = iR2;
      N->child2 = iR1;
      R1->parent = iN;
      N->aabb = aabb_union(L->aabb, R1->aabb);
      R->aabb = aabb_union(N->aabb, R2->aabb);
      N->height = 1 + max_i32(L->height, R1->height);
      R->height = 1 + max_i32(N->height, R2->height);
    }
    return iR;
  }

  if (balance < -1) {  // L rises
    const int iL1 = L->child1;
    const int iL2 = L->child2;
    DT_Node<T>* L1 = &nodes[iL1];
    DT_Node<T>* L2 = &nodes[iL2];

    L->child1 = iN;
    L->parent = N->parent;
    N->parent = iL;
    replace_in_parent(iN, iL, L->parent);

    if (L1->height > L2->height) {
      L->child2 = iL1;
      N->child1 = iL2;
      L2->parent = iN;
      N->aabb = aabb_union(R->aabb, L2->aabb);
      L->aabb = aabb_union(N->aabb, L1->aabb);
      N->height = 1 + max_i32(R->height, L2->height);
      L->height = 1 + max_i32(N->height, L1->height);
    } else {
      L->child2 = iL2;
      N->child1 = iL1;
      L1->parent = iN;
      N->aabb = aabb_union(R->aabb, L1->aabb);
      L->aabb = aabb_union(N->aabb, L2->aabb);
      N->height = 1 + max_i32(R->height, L1->height);
      L->height = 1 + max_i32(N->height, L2->height);
    }
    return iL;
  }

  return iN;
}

template class DynamicTree<AABB2D>;

}  // namespace Quorvex
