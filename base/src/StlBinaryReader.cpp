#include <glog/logging.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "StlParse.h"
#include "VertexWelder.h"
#include "quorvex/base/MeshReaders.h"

namespace Quorvex {

namespace {

constexpr std::size_t kHeaderBytes = 84;
constexpr std::size_t kFaceBytes = 50;
// Faces looked up together, so that the table slots of one batch are fetched side by side.
constexpr std::size_t kBatchFaces = 32;

// Binary STL is little-endian whatever the host.
std::uint32_t load_le32(const unsigned char* p) {
  return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
         (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

VertexWelder::Key load_vertex_key(const unsigned char* p) {
  return VertexWelder::Key{{load_le32(p), load_le32(p + 4), load_le32(p + 8)}};
}

}  // namespace

int parse_stl_binary(const unsigned char* data, std::size_t size, BaseTriMesh& mesh,
                     ProgressMeter& meter, const std::string& what) {
  if (data == nullptr || size < kHeaderBytes) {
    LOG(ERROR) << what << ": binary STL of " << size << " bytes is shorter than its "
               << kHeaderBytes << "-byte header";
    mesh.clear();
    return kBaseReadCorrupt;
  }
  const std::size_t n = load_le32(data + 80);
  // Compared in 64 bits: an absurd count must fail here, before anything is allocated.
  const std::uint64_t needed = kHeaderBytes + static_cast<std::uint64_t>(kFaceBytes) * n;
  if (static_cast<std::uint64_t>(size) < needed) {
    LOG(ERROR) << what << ": binary STL declares " << n << " faces, which need " << needed
               << " bytes, but holds only " << size;
    mesh.clear();
    return kBaseReadCorrupt;
  }

  VertexWelder welder(n);
  std::vector<BaseTriFace> faces;
  faces.reserve(n);
  VertexWelder::Key keys[3 * kBatchFaces];
  std::uint64_t hashes[3 * kBatchFaces];
  for (std::size_t first = 0; first < n; first += kBatchFaces) {
    const std::size_t count = std::min(kBatchFaces, n - first);
    const unsigned char* rec = data + kHeaderBytes + first * kFaceBytes;
    for (std::size_t k = 0; k < 3 * count; ++k) {
      // Corner c of face f starts 12 bytes after the stored normal.
      keys[k] = load_vertex_key(rec + (k / 3) * kFaceBytes + 12 + (k % 3) * 12);
      hashes[k] = VertexWelder::hash_of(keys[k]);
      welder.prefetch(hashes[k]);
    }
    for (std::size_t f = 0; f < count; ++f) {
      int corner[3];
      for (int c = 0; c < 3; ++c) {
        corner[c] = welder.weld(keys[3 * f + c], hashes[3 * f + c]);
        if (corner[c] < 0) {
          LOG(ERROR) << what << ": binary STL has more distinct vertices than a mesh can index";
          mesh.clear();
          return kBaseReadCorrupt;
        }
      }
      faces.emplace_back(corner[0], corner[1], corner[2]);
    }
    meter.report_fraction(first + count, n);
  }
  store_welded_mesh(mesh, welder.vertices(), faces);
  return 0;
}

int addFacesGivenBinary(const unsigned char* data, std::size_t size, BaseTriMesh& mesh,
                        Callback progress) {
  ProgressMeter meter(progress);
  meter.report(0);
  const int result = parse_stl_binary(data, size, mesh, meter, "binary STL data");
  meter.finish();
  return result;
}

int addFacesGivenVertexes(const std::vector<Vector3f>& vertices, BaseTriMesh& mesh) {
  // A vertex list longer than any mesh can index is cut at the last whole face that fits.
  const std::size_t n = vertices.size() / 3;
  VertexWelder welder(n);
  std::vector<BaseTriFace> faces;
  faces.reserve(n);
  for (std::size_t f = 0; f < n; ++f) {
    int corner[3];
    for (int c = 0; c < 3; ++c) corner[c] = welder.weld(vertices[3 * f + c].data());
    if (corner[0] < 0 || corner[1] < 0 || corner[2] < 0) {
      LOG(ERROR) << "vertex list: more distinct vertices than a mesh can index; kept " << f
                 << " of " << n << " faces";
      break;
    }
    faces.emplace_back(corner[0], corner[1], corner[2]);
  }
  store_welded_mesh(mesh, welder.vertices(), faces);
  return 0;
}

}  // namespace Quorvex
