#pragma once

#include <cstddef>

#include "quorvex/base/BaseTriMesh.h"

namespace Quorvex {

// triangle_unit_normal of `faces` faces at once, corner i of face f at corners[3 * f + i]:
// the same bits, faster over many faces.
void triangle_unit_normals(const Vector3f* corners, std::size_t faces, Vector3f* normals);

}  // namespace Quorvex
