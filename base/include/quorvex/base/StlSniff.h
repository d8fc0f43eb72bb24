#pragma once

#include <istream>

#include "quorvex/base/BaseExport.h"

namespace Quorvex {

// Tells ASCII STL from binary STL by the first lines of `in`: the first line (read with a
// limit of 255 characters, so at most 254 of text) must hold "SOLID" in any case, and the
// next line that is not empty must hold "FACET" in any case. Anything else, a first line
// that overflows the limit included, is binary: many binary files begin their 80-byte
// header with the word solid, and only the facet line tells them apart.
//
// The stream is left wherever the sniff stopped, possibly with its fail flag set; callers
// clear it and seek back to the start before they parse. The stream's exception mask is
// set aside during the sniff and put back after it without raising, as addFacesGivenAscii
// does (MeshReaders.h).
QXB_EXPORT bool stl_stream_is_ascii(std::istream& in);

}  // namespace Quorvex
