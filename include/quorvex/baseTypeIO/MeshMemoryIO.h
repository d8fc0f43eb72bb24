#pragma once

#include <istream>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/base/BaseTriMesh.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

// Writes the mesh as a binary STL image of exactly 84 + 50 * get_fn() bytes, little-endian:
// an 80-byte header of spaces, the face count, then per face its unit normal (computed
// here, in float, from the corner order: a face of zero area stores 0/0), its three
// corners and a zero attribute. A corner whose index names no vertex of the mesh (negative,
// or not below get_vn()) is written as (0, 0, 0), and the face's normal is computed from the
// corners as written. Whatever `image` held is replaced. Always 0.
QX_EXPORT IORet write_TriMesh_to_memory(std::vector<unsigned char>& image, const BaseTriMesh& mesh);

// STL bytes in memory, ASCII or binary as is_ascii_stl decides; read in place by
// addFacesGivenAscii or addFacesGivenBinary, whose value it returns. 6 when `data` is empty.
QX_EXPORT IORet read_stl_in_memory(const std::vector<unsigned char>& data, BaseTriMesh& mesh);

// True for ASCII STL: the first line (at most 254 characters) holds "solid" and the next
// non-empty one "facet", in any case. A binary header that starts with "solid" stays
// binary. Reads from the current position of `in` and leaves it wherever it stopped.
QX_EXPORT bool is_ascii_stl(std::istream& in);

}  // namespace Quorvex
