#pragma once

#include <cstddef>
#include <polyclipping/clipper.hpp>

namespace Quorvex {

// Number of nodes below the engine's root, counted by walking them. The engine's own Total()
// drops one whenever the first node it built is not its first top-level node (meant for the
// hidden outer loop of an offset), which a loop split into an outer loop and a hole also
// produces. The node lists link their entries by raw pointers into one vector, so they are
// sized from the real count: one node too many would move them all.
inline std::size_t count_engine_nodes(const ClipperLib::PolyTree& tree) {
  std::size_t count = 0;
  for (const ClipperLib::PolyNode* n = tree.GetFirst(); n != nullptr; n = n->GetNext()) ++count;
  return count;
}

}  // namespace Quorvex
