#pragma once

#include <string>
#include <vector>

#include "quorvex/base/BaseTriMesh.h"

namespace Quorvex {

// Step models are recognised but not read: logs ".stp not supported", leaves `vertices`
// as it is and returns false.
bool read_stp_vertices(const std::string& file_name, std::vector<Vector3f>& vertices,
                       float step_parameter);

}  // namespace Quorvex
