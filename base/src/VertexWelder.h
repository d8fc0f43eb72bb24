#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "quorvex/base/BaseTriMesh.h"

namespace Quorvex {

// Merges vertices whose three coordinates have identical bit patterns, numbering the
// distinct ones in order of first appearance. So -0.0 and 0.0 stay apart and a NaN merges
// only with the same NaN bits: a reader must not invent connectivity the file does not
// state.
//
// Open addressing with the key stored in the slot, so a lookup touches one cache line;
// callers that know their next keys prefetch the slots (see prefetch()).
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
    std::uint32_t bits[3];
    std::int32_t index;  // -1 marks an empty slot
  };
  void grow();

  std::vector<Slot> slots_;
  std::size_t mask_ = 0;
  std::vector<Vector3f> vertices_;
};

}  // namespace Quorvex

namespace Quorvex {

// Replaces the mesh's content with welded vertices and their faces, through the mesh's own
// virtual operations.
void store_welded_mesh(BaseTriMesh& mesh, const std::vector<Vector3f>& vertices,
                       const std::vector<BaseTriFace>& faces);

}  // namespace Quorvex
