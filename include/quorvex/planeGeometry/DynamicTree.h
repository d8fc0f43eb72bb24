#pragma once

#include <cstdint>

#include "quorvex/Export.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

// One node of the pool. Plain data, so that the pool can grow by one memcpy and nodes
// link by index rather than by pointer.
template <class T>
struct DT_Node {
  T aabb;
  void* userdata;
  union {
    int32_t parent;  // in use: index of the parent, -1 at the root
    int32_t next;    // free: the following entry of the free list, -1 at its end
  };
  int32_t child1;
  int32_t child2;
  int32_t height;  // 0 in a leaf, -1 in a free node

  // Zeroes the box and the user pointer only; the links are set by whoever takes the node.
  DT_Node() : aabb(), userdata(nullptr) {}
  DT_Node(const DT_Node&) = default;
  DT_Node& operator=(const DT_Node&) = default;

  bool is_leaf() const { return child1 == -1; }
};

// A self-balancing binary tree of boxes. Leaves are proxies (a box and the caller's
// pointer), inner nodes hold the union of their children. Ids are pool indices and stay
// valid while other proxies come and go. After an insertion or removal the tree balances and
// refits the nodes from the change towards the root; the walk ends early where the rest of
// the way could change nothing, and the pool then holds, byte for byte, what a walk over
// every node up to the root leaves. The few nodes that rule out stopping are listed in the
// pool's block after the last node. Nothing is checked: an id out of range or of a
// free node is the caller's fault. One thread at a time. A pool that cannot grow (no memory,
// or 2^30 nodes already) raises std::bad_alloc and leaves the tree as it was.
template <class T>
class DynamicTree {
 public:
  DynamicTree();
  ~DynamicTree();
  // Copies are deep: each tree owns its pool.
  DynamicTree(const DynamicTree& other);
  DynamicTree& operator=(const DynamicTree& other);
  // Moving hands the pool over; the source is left empty with no pool, and grows a new
  // one of 16 nodes on its next insertion.
  DynamicTree(DynamicTree&& other) noexcept;
  DynamicTree& operator=(DynamicTree&& other) noexcept;

  // Stores the box exactly as given and returns the id of the new leaf.
  int create_proxy(const T& aabb, void* userdata);
  void destroy_proxy(int id);

  // The reference is invalidated when the pool grows.
  const T& get_AABB(int id) const { return nodes[id].aabb; }
  void* get_userdata(int id) const { return nodes[id].userdata; }
  void update_userdata(int id, void* userdata) { nodes[id].userdata = userdata; }

  // Empties the tree; the pool keeps its size.
  void clear();

  // Read-only views for callers that inspect the shape.
  int get_root() const { return root; }
  const DT_Node<T>& get_node(int id) const { return nodes[id]; }
  int get_node_count() const { return node_count; }
  int get_node_capacity() const { return node_capacity; }
  int get_free_list() const { return free_list; }

 private:
  int _alloc_node();
  void _free_node(int node);
  void _insert_leaf(int leaf);
  void _remove_leaf(int leaf);
  int _balance(int node);
  // Heights and boxes from `index` up to the root, rotating on the way; it stops early only
  // where the rest of the way would change nothing. `start_is_new` for a node just made.
  void _refit_to_root(int index, bool start_is_new);
  // Links nodes [from, node_capacity) into a free list of zeroed nodes.
  void _link_free_nodes(int from);

  int32_t root;
  DT_Node<T>* nodes;
  int32_t node_count;
  int32_t node_capacity;
  int32_t free_list;
};

// The one instantiation the library builds and exports.
extern template class QX_EXPORT DynamicTree<AABB2D>;

}  // namespace Quorvex
