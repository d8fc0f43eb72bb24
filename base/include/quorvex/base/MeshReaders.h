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

// Every reader below replaces the mesh's vertices and faces through its virtual operations
// (clear, set_vCoords, set_faces) and leaves the mesh empty when it fails. Each failure is
// logged at error severity with a line naming the file or the kind of data.
//
// The STL readers merge vertices whose coordinates have identical bits into one mesh vertex,
// numbered in order of first appearance, so that faces share their corners as the surface
// does. Face normals are derived from the corners; normals stored in the file are ignored.
//
// A progress callback, when set, receives whole percentages rising from 0 to 100, each at
// most once, and always 100 last, whatever the result.

// STL file, ASCII or binary as stl_stream_is_ascii (StlSniff.h) decides. 2 when the file
// does not open, 3 when its content is corrupt or shorter than its face count claims.
QXB_EXPORT int read_stl_mesh(const std::string& path, BaseTriMesh& mesh, Callback progress);

// 3MF file: every mesh object placed by the build, in build order and, inside a components
// object, in component order, appended into one mesh. With `apply_transforms`, build-item
// and component transforms place each instance; with `to_millimetres`, positions are scaled
// from the model's unit to millimetres (translations included, since the scale applies to
// the placed positions). 2 when the file does not open, 3 when lib3mf cannot read it or it
// is inconsistent or too large to expand, 4 when the build places no triangle.
QXB_EXPORT int read_3mf_mesh(const std::string& path, BaseTriMesh& mesh, bool apply_transforms,
                             bool to_millimetres);

// ASCII STL from the stream's current position to its end. Keywords in any case; a text
// with no facet gives an empty mesh and 0; anything that is not STL syntax, or a text that
// ends inside a facet, gives 3, and so does a stream that fails or whose buffer raises while
// it is read. `mode` is reserved: only 0 is defined.
// The stream's exception mask is set aside while it is read and put back before the
// return, and no exception of the stream leaves the reader: the value tells the result.
// The state flags stay as the reading left them (eofbit and failbit once the end is
// reached), so a stream whose mask holds one of them raises at its next checked operation.
QXB_EXPORT int addFacesGivenAscii(std::istream& in, BaseTriMesh& mesh, const int& mode,
                                  Callback progress);
// Binary STL image of `size` bytes. 3 when it is shorter than 84 + 50 n bytes for its face
// count n; bytes after the last face are ignored. Nothing is allocated before that check.
QXB_EXPORT int addFacesGivenBinary(const unsigned char* data, std::size_t size, BaseTriMesh& mesh,
                                   Callback progress);
// A triangle soup: every three consecutive vertices make one face; one or two left-over
// vertices are ignored. Returns 0.
QXB_EXPORT int addFacesGivenVertexes(const std::vector<Vector3f>& vertices, BaseTriMesh& mesh);

// Splits "dir/name.ext" into base "dir/name" and extension "ext" (without the dot), taking
// the last dot of the last path component ('/' or '\\' separate components). 0 on success;
// 1, with both outputs emptied, when that component has no dot or ends with it.
QXB_EXPORT int split_fileName(const std::string& path, std::string& base, std::string& ext);

}  // namespace Quorvex
