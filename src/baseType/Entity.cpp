#include "quorvex/baseType/Entity.h"

namespace Quorvex {

Entity::~Entity() = default;

void Entity::set_layer(const std::shared_ptr<Layer>& layer, int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= layers_.size()) throw_invalid_subscript();
  layers_[static_cast<std::size_t>(index)] = layer;
}

void Entity::clear_layers_every(int start, int every) {
  const long long size = static_cast<long long>(layers_.size());
  for (long long i = 0; i < start && i < size; ++i) layers_[i]->clear_all_paths();
  // A negative step is outside the contract; treat it like 0 rather than loop forever.
  if (every <= 0) return;
  if (start < 0 || start >= size) return;
  for (long long i = start; i < size; i += static_cast<long long>(every) + 1) {
    for (long long k = i + 1; k <= i + every && k < size; ++k) layers_[k]->clear_all_paths();
  }
}

}  // namespace Quorvex
