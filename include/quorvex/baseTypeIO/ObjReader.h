#pragma once

#include <istream>
#include <string>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/base/BaseTriMesh.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

// Wavefront OBJ: vertices ("v") and faces ("f") are read; texture coordinates, normals
// and every other line are dropped. A polygon becomes a fan of triangles around its first
// corner; only the first number of a slash group counts, and negative numbers count back
// from the vertices read so far. Faces with a corner that names no vertex of the finished
// text are dropped, with one error log line. The mesh's vertices and faces are replaced.
// Words are cut after 127 characters, numbers of a face line after 9, lines after 4094.
// The file and memory readers read numbers in the "C" locale whatever the program's global
// locale: the format's decimal point is '.' everywhere.

// The file `file_name`; 2 (and an error log line) when it does not open, else 0.
QX_EXPORT IORet read_obj_file(const std::string& file_name, BaseTriMesh& mesh);
// The bytes of `data`, read in place: they are not copied. 6 when `data` is empty.
QX_EXPORT IORet read_obj_in_memory(const std::vector<unsigned char>& data, BaseTriMesh& mesh);

// Parses the rest of `in` until an extraction fails; always 0. A stream over memory
// (boost::interprocess::basic_bufferbuf) in the "C" locale is scanned in place, with the
// same results and the same final stream position and state as reading it word by word.
// The stream's exception mask is set aside while it is read and put back before the
// return, and no exception of the stream leaves the parser; the state flags stay as the
// parse left them (failbit at least), so a mask that holds them raises at the stream's
// next checked operation.
QX_EXPORT IORet parse_obj(std::istream& in, BaseTriMesh& mesh);
// The same, always through the stream's own extraction operators: the reference that the
// in-place scan is held to.
QX_EXPORT IORet parse_obj_by_extraction(std::istream& in, BaseTriMesh& mesh);

}  // namespace Quorvex
