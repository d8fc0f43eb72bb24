#pragma once

#include <cstddef>
#include <functional>
#include <istream>
#include <string>
#include <vector>

#include "quorvex/base/BaseExport.h"
#include "quorvex/base/BaseTriMesh.h"

namespace Quorvex {

// Receives whole percentages of the work done.
using Callback = std::function<void(const int&)>;

// Values of the readers beyond the shared ones (0 ok, 1 bad format, 2 file not found,
// 6 empty data).
constexpr int kBaseReadCorrupt = 3;  // corrupt or truncated content
constexpr int kBaseReadNoMesh = 4;   // the file opened but holds no mesh

// STL file, ASCII or binary. Bit-identical vertices are merged, in order of first
// appearance. `progress` (when set) receives 0 to 100.
QXB_EXPORT int read_stl_mesh(const std::string& path, BaseTriMesh& mesh, Callback progress);
// 3MF file: every mesh object of the build, transforms applied, in millimetres.
QXB_EXPORT int read_3mf_mesh(const std::string& path, BaseTriMesh& mesh, bool flag0, bool flag1);
QXB_EXPORT int addFacesGivenAscii(std::istream& in, BaseTriMesh& mesh, const int& mode,
                                  Callback progress);
QXB_EXPORT int addFacesGivenBinary(const unsigned char* data, std::size_t size, BaseTriMesh& mesh,
                                   Callback progress);
// A triangle soup: every three consecutive vertices make one face. Returns 0.
QXB_EXPORT int addFacesGivenVertexes(const std::vector<Vector3f>& vertices, BaseTriMesh& mesh);

// Splits "dir/name.ext" into base and extension (without the dot). 0 on success.
QXB_EXPORT int split_fileName(const std::string& path, std::string& base, std::string& ext);

}  // namespace Quorvex
