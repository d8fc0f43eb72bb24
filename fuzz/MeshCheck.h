#pragma once

#include <cstddef>

#include "quorvex/base/BaseTriMesh.h"

namespace QuorvexFuzz {

// A mesh a reader hands back must only name vertices it holds.
inline void check_mesh(const Quorvex::BaseTriMesh& mesh) {
  const std::size_t vn = mesh.get_vn();
  for (const Quorvex::BaseTriFace& f : mesh.get_faces()) {
    for (int k = 0; k < 3; ++k) {
      if (f[k] < 0 || static_cast<std::size_t>(f[k]) >= vn) __builtin_trap();
    }
  }
}

}  // namespace QuorvexFuzz
