#pragma once

#include <functional>
#include <string>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/base/BaseTriMesh.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

// Reads a model file into `mesh`, choosing the reader by the extension alone (without
// the dot, any case): STL and 3MF through quorvexBase, OBJ here, STP/STEP recognised but
// not read. Any other extension logs an error and gives 1. `step_parameter` goes to the
// step reader only, `progress` to the STL reader only.
QX_EXPORT IORet read_TriMesh(const std::string& file_name, BaseTriMesh& mesh,
                             const std::string& extension, float step_parameter,
                             std::function<void(const int&)> progress);
// The extension is taken from the file name; 1 when the name has none.
QX_EXPORT IORet read_TriMesh(const std::string& file_name, BaseTriMesh& mesh, float step_parameter);
QX_EXPORT IORet read_TriMesh(const std::string& file_name, BaseTriMesh& mesh,
                             std::function<void(const int&)> progress);

// STL (ASCII or binary) or OBJ bytes in memory, read in place; 6 for empty data with
// either extension, 1 for any other extension.
QX_EXPORT IORet read_TriMesh_in_memory(const std::vector<unsigned char>& data,
                                       const std::string& extension, BaseTriMesh& mesh);

}  // namespace Quorvex
