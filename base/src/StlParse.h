#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>

#include "ProgressMeter.h"
#include "quorvex/base/BaseTriMesh.h"

namespace Quorvex {

// The two STL parsers behind the public readers. Both replace the mesh's vertices and faces
// on success and leave it empty on failure; `what` names the source in log lines.

// Binary image of `size` bytes: 80-byte header, face count, 50 bytes per face.
int parse_stl_binary(const unsigned char* data, std::size_t size, BaseTriMesh& mesh,
                     ProgressMeter& meter, const std::string& what);

// ASCII text; `total_bytes` (0 when unknown) scales the progress.
int parse_stl_ascii(std::istream& in, std::uint64_t total_bytes, BaseTriMesh& mesh,
                    ProgressMeter& meter, const std::string& what);

// Bytes between the stream's position and its end, or 0 when the stream cannot seek.
std::uint64_t stream_remaining_bytes(std::istream& in);

}  // namespace Quorvex
