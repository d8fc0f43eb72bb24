#include "VertexWelder.h"

#include <algorithm>

namespace Quorvex {

namespace {

std::size_t table_size_for(std::size_t distinct) {
  // Load stays at or below one half.
  std::size_t size = 16;
  while (size < 2 * distinct) size *= 2;
  return size;
}

}  // namespace

VertexWelder::VertexWelder(std::size_t expected_distinct) {
  const std::size_t expected = std::min(expected_distinct, kMaxVertices);
  slots_.assign(table_size_for(expected), Slot{{0, 0, 0}, -1});
  mask_ = slots_.size() - 1;
  vertices_.reserve(expected);
}

int VertexWelder::weld(const Key& key, std::uint64_t hash) {
  std::size_t i = hash & mask_;
  for (;;) {
    Slot& s = slots_[i];
    if (s.index < 0) break;
    if (s.bits[0] == key.bits[0] && s.bits[1] == key.bits[1] && s.bits[2] == key.bits[2]) {
      return s.index;
    }
    i = (i + 1) & mask_;
  }
  if (vertices_.size() >= kMaxVertices) return -1;
  const auto index = static_cast<std::int32_t>(vertices_.size());
  Vector3f p;
  std::memcpy(p.data(), key.bits, sizeof(key.bits));
  vertices_.push_back(p);
  slots_[i] = Slot{{key.bits[0], key.bits[1], key.bits[2]}, index};
  if (2 * vertices_.size() > slots_.size()) grow();
  return index;
}

void VertexWelder::grow() {
  std::vector<Slot> old(slots_.size() * 2, Slot{{0, 0, 0}, -1});
  old.swap(slots_);
  mask_ = slots_.size() - 1;
  for (const Slot& s : old) {
    if (s.index < 0) continue;
    Key k{{s.bits[0], s.bits[1], s.bits[2]}};
    std::size_t i = hash_of(k) & mask_;
    while (slots_[i].index >= 0) i = (i + 1) & mask_;
    slots_[i] = s;
  }
}

}  // namespace Quorvex

namespace Quorvex {

void store_welded_mesh(BaseTriMesh& mesh, const std::vector<Vector3f>& vertices,
                       const std::vector<BaseTriFace>& faces) {
  mesh.clear();
  mesh.set_vCoords(vertices);
  mesh.set_faces(faces);
}

}  // namespace Quorvex
