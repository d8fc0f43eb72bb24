#include "VertexWelder.h"

#include <sys/mman.h>

#include <algorithm>
#include <new>
#include <typeinfo>
#include <utility>

namespace Quorvex {

namespace {

std::size_t table_size_for(std::size_t distinct) {
  // Load stays at or below one half.
  std::size_t size = 16;
  while (size < 2 * distinct) size *= 2;
  return size;
}

// Tables of at least one large page are aligned to it and offered to the system for large
// pages; smaller ones come from the ordinary heap.
constexpr std::size_t kLargePage = std::size_t{2} << 20;

}  // namespace

void VertexWelder::FreeSlots::operator()(Slot* p) const {
  ::operator delete(p, std::align_val_t(alignment));
}

void VertexWelder::allocate_slots(std::size_t count) {
  const std::size_t bytes = count * sizeof(Slot);
  const std::size_t alignment = bytes >= kLargePage ? kLargePage : alignof(Slot);
  // Fails as a std::vector of this size would.
  void* p = ::operator new(bytes, std::align_val_t(alignment));
#ifdef MADV_HUGEPAGE
  if (alignment == kLargePage) madvise(p, bytes / kLargePage * kLargePage, MADV_HUGEPAGE);
#endif
  Slot* slots = static_cast<Slot*>(p);
  std::fill(slots, slots + count, Slot{0, -1});
  slots_ = std::unique_ptr<Slot[], FreeSlots>(slots, FreeSlots{alignment});
  slot_count_ = count;
  mask_ = count - 1;
}

VertexWelder::VertexWelder(std::size_t expected_distinct) {
  const std::size_t expected = std::min(expected_distinct, kMaxVertices);
  allocate_slots(table_size_for(expected));
  recent_.assign(kRecentSlots, Slot{0, -1});
  // Open surfaces have a few more vertices than half their faces: room for them saves
  // moving all vertices once near the end.
  vertices_.reserve(std::min(kMaxVertices, expected + expected / 16));
}

int VertexWelder::weld(const Key& key, std::uint64_t hash) {
  const std::uint32_t tag = tag_of(hash);
  Slot& recent = recent_[recent_slot(hash)];
  if (recent.tag == tag && recent.index >= 0 && holds(recent.index, key)) return recent.index;
  std::size_t i = hash & mask_;
  for (;;) {
    const Slot& s = slots_[i];
    if (s.index < 0) break;
    if (s.tag == tag && holds(s.index, key)) {
      recent = s;
      return s.index;
    }
    i = (i + 1) & mask_;
  }
  if (vertices_.size() >= kMaxVertices) return -1;
  const auto index = static_cast<std::int32_t>(vertices_.size());
  Vector3f p;
  std::memcpy(p.data(), key.bits, sizeof(key.bits));
  vertices_.push_back(p);
  slots_[i] = Slot{tag, index};
  recent = slots_[i];
  if (2 * vertices_.size() > slot_count_) grow();
  return index;
}

void VertexWelder::grow() {
  std::unique_ptr<Slot[], FreeSlots> old = std::move(slots_);
  const std::size_t old_count = slot_count_;
  allocate_slots(2 * old_count);
  for (std::size_t k = 0; k < old_count; ++k) {
    const Slot& s = old[k];
    if (s.index < 0) continue;
    const std::uint64_t hash = hash_of(key_of(vertices_[static_cast<std::size_t>(s.index)].data()));
    std::size_t i = hash & mask_;
    while (slots_[i].index >= 0) i = (i + 1) & mask_;
    slots_[i] = s;
  }
}

}  // namespace Quorvex

namespace Quorvex {

void store_welded_mesh(BaseTriMesh& mesh, std::vector<Vector3f>& vertices,
                       std::vector<BaseTriFace>& faces, std::vector<Vector3f>* normals) {
  if (typeid(mesh) == typeid(BaseTriMesh)) {
    if (normals != nullptr) {
      mesh.take_content(std::move(vertices), std::move(faces), std::move(*normals));
    } else {
      mesh.take_content(std::move(vertices), std::move(faces));
    }
    return;
  }
  mesh.clear();
  mesh.set_vCoords(vertices);
  mesh.set_faces(faces);
}

}  // namespace Quorvex
