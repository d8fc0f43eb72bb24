#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "quorvex/base/BaseTriMesh.h"

namespace Quorvex {

// Merges vertices whose three coordinates have identical bit patterns, numbering the
// distinct ones in order of first appearance. So -0.0 and 0.0 stay apart and a NaN merges
// only with the same NaN bits: a reader must not invent connectivity the file does not
// state.
//
// Open addressing over small slots (a tag of the hash and the vertex index, 8 bytes), so a
// probe touches one cache line; callers that know their next keys prefetch the slots. In
// front of the table sits a direct-mapped cache of recently welded vertices that fits the
// first-level cache: neighbouring faces share corners, so most repeats are found there
// without a trip to main memory.
class VertexWelder {
 public:
  // Largest number of distinct vertices: face corners are 32-bit signed indices.
  static constexpr std::size_t kMaxVertices = 0x7fffffff;

  struct Key {
    std::uint32_t bits[3];
  };

  // `expected_distinct` sizes the table; it grows when needed.
  explicit VertexWelder(std::size_t expected_distinct);

  static Key key_of(const float xyz[3]) {
    Key k;
    std::memcpy(k.bits, xyz, sizeof(k.bits));
    return k;
  }
  static std::uint64_t hash_of(const Key& k) {
    std::uint64_t h = (static_cast<std::uint64_t>(k.bits[1]) << 32) | k.bits[0];
    h *= 0x9E3779B97F4A7C15ull;
    h ^= (static_cast<std::uint64_t>(k.bits[2]) + 0x632BE59BD9B4E019ull) * 0xC2B2AE3D27D4EB4Full;
    h ^= h >> 31;
    h *= 0xBF58476D1CE4E5B9ull;
    h ^= h >> 29;
    return h;
  }
  void prefetch(std::uint64_t hash) const { __builtin_prefetch(&slots_[hash & mask_]); }
  // True when the key sits in the cache of recent vertices (then no prefetch is needed).
  bool is_recent(const Key& key, std::uint64_t hash) const {
    const Slot& r = recent_[recent_slot(hash)];
    return r.tag == tag_of(hash) && r.index >= 0 && holds(r.index, key);
  }

  // Index of the vertex with these bits, added if new; -1 when the mesh would exceed
  // kMaxVertices.
  int weld(const Key& key, std::uint64_t hash);
  int weld(const float xyz[3]) {
    const Key k = key_of(xyz);
    return weld(k, hash_of(k));
  }

  std::size_t size() const { return vertices_.size(); }
  std::vector<Vector3f>& vertices() { return vertices_; }

 private:
  struct Slot {
    std::uint32_t tag;   // high half of the hash
    std::int32_t index;  // -1 marks an empty slot
  };
  static constexpr std::size_t kRecentSlots = std::size_t{1} << 13;
  static std::uint32_t tag_of(std::uint64_t hash) { return static_cast<std::uint32_t>(hash >> 32); }
  // Cache slot from bits the table index does not use, so the two do not collide alike.
  static std::size_t recent_slot(std::uint64_t hash) {
    return static_cast<std::size_t>(hash >> 51) & (kRecentSlots - 1);
  }
  bool holds(std::int32_t index, const Key& k) const {
    return std::memcmp(vertices_[static_cast<std::size_t>(index)].data(), k.bits, sizeof(k.bits)) ==
           0;
  }
  void grow();
  void allocate_slots(std::size_t count);

  struct FreeSlots {
    std::size_t alignment;  // as allocated
    void operator()(Slot* p) const;
  };
  // Tagged too: a stale entry must be told apart without reading its far-away vertex.
  std::vector<Slot> recent_;
  // Probed at random over megabytes: kept on large pages where the system offers them, so
  // that a probe does not also miss the address translation cache.
  std::unique_ptr<Slot[], FreeSlots> slots_;
  std::size_t slot_count_ = 0;
  std::size_t mask_ = 0;
  std::vector<Vector3f> vertices_;
};

}  // namespace Quorvex

namespace Quorvex {

// Replaces the mesh's content with welded vertices and their faces, which are consumed.
// A class derived from BaseTriMesh sees it through its own virtual operations (clear,
// set_vCoords, set_faces); a plain BaseTriMesh takes both sequences over without a copy,
// and the face normals too when the caller has computed them (one per face, as the mesh
// would), instead of computing them again.
void store_welded_mesh(BaseTriMesh& mesh, std::vector<Vector3f>& vertices,
                       std::vector<BaseTriFace>& faces, std::vector<Vector3f>* normals = nullptr);

}  // namespace Quorvex
