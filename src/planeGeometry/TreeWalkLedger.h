// Inner nodes of a DynamicTree that the walk to the root would change even if nothing below
// them changed, kept so that a walk may stop early with the tree exactly as the full walk
// leaves it.
//
// The walk from a change to the root balances and refits every node it passes. Above the
// first node that it leaves as it was (no rotation, the same height, the same box bits), the
// full walk can change a node only if that node is out of balance (it would be rotated
// there), or if its box differs in its bits from the union of its children taken in child
// order (it would be rewritten: a rotation that lifts the first child stores the union the
// other way round, which differs for -0 against +0 and for NaN). Every other node above sees
// children as they were and is given back what it holds. Such nodes are rare (a handful among
// a million proxies, none once proxies are only removed), so the ledger lists them; a walk
// stops at an unchanged node unless one of them lies above it. When more are needed than the
// ledger holds, walks go to the root until the tree is empty again.
//
// The ledger lives in the pool's block, after the nodes: it is copied, moved and grown with
// the pool and needs nothing of the tree's own fields.
#pragma once

#include <cstdint>
#include <cstring>

#include "quorvex/planeGeometry/DynamicTree.h"

namespace Quorvex {

struct TreeWalkLedger {
  static constexpr int32_t kSlots = 62;

  int32_t count;
  int32_t overflow;  // 1 once more nodes had to be listed than there are slots
  int32_t ids[kSlots];

  void reset() {
    count = 0;
    overflow = 0;
  }

  // Lists `id` when `must_visit`, drops it otherwise.
  void note(int32_t id, bool must_visit) {
    if (overflow != 0 || (!must_visit && count == 0)) return;
    for (int32_t i = 0; i < count; ++i) {
      if (ids[i] != id) continue;
      if (!must_visit) ids[i] = ids[--count];
      return;
    }
    if (!must_visit) return;
    if (count == kSlots) {
      overflow = 1;
      return;
    }
    ids[count++] = id;
  }

  bool lists(int32_t id) const {
    for (int32_t i = 0; i < count; ++i) {
      if (ids[i] == id) return true;
    }
    return false;
  }

  // Whether a listed node is an ancestor of `id`. Heights grow strictly towards the root, so
  // the walk up ends at the greatest height among the listed nodes higher than `id`.
  template <class T>
  bool lists_above(const DT_Node<T>* pool, int32_t id) const {
    if (overflow != 0) return true;
    const int32_t from = pool[id].height;
    int32_t highest = -1;
    for (int32_t i = 0; i < count; ++i) {
      const int32_t h = pool[ids[i]].height;
      if (h > from && h > highest) highest = h;
    }
    for (int32_t at = pool[id].parent; at != -1 && pool[at].height <= highest;
         at = pool[at].parent) {
      if (lists(at)) return true;
    }
    return false;
  }
};

template <class T>
inline TreeWalkLedger& ledger_of(DT_Node<T>* pool, int32_t capacity) {
  return *reinterpret_cast<TreeWalkLedger*>(pool + capacity);
}

// Equal bits, so that -0 and +0 differ and a NaN equals itself.
inline bool same_bits(const AABB2D& a, const AABB2D& b) {
  static_assert(sizeof(AABB2D) == 2 * sizeof(std::uint64_t), "a box is four floats");
  std::uint64_t x[2];
  std::uint64_t y[2];
  std::memcpy(x, &a, sizeof x);
  std::memcpy(y, &b, sizeof y);
  return ((x[0] ^ y[0]) | (x[1] ^ y[1])) == 0;
}

// The condition on which the balancing step rotates an inner node.
inline bool rotates(int32_t height, int32_t child1_height, int32_t child2_height) {
  const int32_t balance = child2_height - child1_height;
  return height >= 2 && (balance >= 2 || balance < -1);
}

}  // namespace Quorvex
