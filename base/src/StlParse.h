#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <vector>

#include "ProgressMeter.h"
#include "VertexWelder.h"
#include "quorvex/base/BaseTriMesh.h"

namespace Quorvex {

// The two STL parsers behind the public readers. Both replace the mesh's vertices and faces
// on success and leave it empty on failure; `what` names the source in log lines.

// Binary image of `size` bytes: 80-byte header, face count, 50 bytes per face.
int parse_stl_binary(const unsigned char* data, std::size_t size, BaseTriMesh& mesh,
                     ProgressMeter& meter, const std::string& what);

// Binary STL layout: 80-byte header, face count, then one record per face.
constexpr std::size_t kStlHeaderBytes = 84;
constexpr std::size_t kStlFaceBytes = 50;

// The face count stored in an 84-byte header.
std::uint32_t stl_binary_face_count(const unsigned char* header);

// Whether `size` bytes can hold `faces` records; logs the failure. Checked before anything
// is allocated, so an absurd count costs nothing.
bool stl_binary_size_fits(std::uint64_t faces, std::uint64_t size, const std::string& what);

// Welds binary face records, given in one piece or in consecutive chunks.
class StlBinaryFaces {
 public:
  explicit StlBinaryFaces(std::size_t face_count);
  // False (logged) when the mesh would need more vertices than it can index.
  bool add_records(const unsigned char* records, std::size_t count, const std::string& what);
  // Hands the vertices and faces over; the object is spent afterwards.
  void store(BaseTriMesh& mesh);

 private:
  VertexWelder welder_;
  std::vector<BaseTriFace> faces_;
  std::vector<Vector3f> normals_;  // computed from the records while they are welded
};

// ASCII text; `total_bytes` (0 when unknown) scales the progress.
int parse_stl_ascii(std::istream& in, std::uint64_t total_bytes, BaseTriMesh& mesh,
                    ProgressMeter& meter, const std::string& what);

// Bytes between the stream's position and its end, or 0 when the stream's buffer cannot
// seek; the stream's flags stay as they were unless the buffer lost its place.
std::uint64_t stream_remaining_bytes(std::istream& in);

}  // namespace Quorvex
