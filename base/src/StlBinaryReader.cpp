#include <glog/logging.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "StlParse.h"
#include "TriangleNormals.h"
#include "VertexWelder.h"
#include "quorvex/base/MeshReaders.h"

namespace Quorvex {

namespace {

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

std::uint32_t stl_binary_face_count(const unsigned char* header) { return load_le32(header + 80); }

bool stl_binary_size_fits(std::uint64_t faces, std::uint64_t size, const std::string& what) {
  // In 64 bits: 84 + 50 * (2^32 - 1) does not overflow.
  const std::uint64_t needed = kStlHeaderBytes + kStlFaceBytes * faces;
  if (size >= needed) return true;
  LOG(ERROR) << what << ": binary STL declares " << faces << " faces, which need " << needed
             << " bytes, but holds only " << size;
  return false;
}

// A closed surface has about half as many vertices as faces; the welder grows beyond.
StlBinaryFaces::StlBinaryFaces(std::size_t face_count) : welder_(face_count / 2 + 1) {
  faces_.reserve(face_count);
  normals_.reserve(face_count);
}

void StlBinaryFaces::store(BaseTriMesh& mesh) {
  store_welded_mesh(mesh, welder_.vertices(), faces_, &normals_);
}

namespace {

// Keys of one batch of faces, loaded (and their table slots prefetched) one batch ahead of
// the welding, so that the fetches overlap the work on the batch before.
// The face normals are computed from the records' own corners here too: the welded vertices
// carry the same bits, so these are the normals the mesh would compute, without a second
// pass that gathers every corner again.
struct KeyBatch {
  VertexWelder::Key keys[3 * kBatchFaces];
  std::uint64_t hashes[3 * kBatchFaces];
  Vector3f corners[3 * kBatchFaces];
  Vector3f normals[kBatchFaces];
  std::size_t faces = 0;

  void load(const unsigned char* records, std::size_t count, const VertexWelder& welder) {
    faces = count;
    for (std::size_t k = 0; k < 3 * count; ++k) {
      // Corner c of a face starts 12 bytes after its stored normal.
      keys[k] = load_vertex_key(records + (k / 3) * kStlFaceBytes + 12 + (k % 3) * 12);
      hashes[k] = VertexWelder::hash_of(keys[k]);
      if (!welder.is_recent(keys[k], hashes[k])) welder.prefetch(hashes[k]);
      std::memcpy(corners[k].data(), keys[k].bits, sizeof(keys[k].bits));
    }
    triangle_unit_normals(corners, count, normals);
  }
};

}  // namespace

bool StlBinaryFaces::add_records(const unsigned char* records, std::size_t count,
                                 const std::string& what) {
  KeyBatch batches[2];
  int current = 0;
  batches[0].load(records, std::min(kBatchFaces, count), welder_);
  for (std::size_t first = 0; first < count; first += kBatchFaces, current ^= 1) {
    const std::size_t next = first + kBatchFaces;
    if (next < count) {
      batches[current ^ 1].load(records + next * kStlFaceBytes, std::min(kBatchFaces, count - next),
                                welder_);
    }
    const KeyBatch& b = batches[current];
    for (std::size_t f = 0; f < b.faces; ++f) {
      int corner[3];
      for (int c = 0; c < 3; ++c) {
        corner[c] = welder_.weld(b.keys[3 * f + c], b.hashes[3 * f + c]);
        if (corner[c] < 0) {
          LOG(ERROR) << what << ": binary STL has more distinct vertices than a mesh can index";
          return false;
        }
      }
      faces_.emplace_back(corner[0], corner[1], corner[2]);
      normals_.push_back(b.normals[f]);
    }
  }
  return true;
}

int parse_stl_binary(const unsigned char* data, std::size_t size, BaseTriMesh& mesh,
                     ProgressMeter& meter, const std::string& what) {
  if (data == nullptr || size < kStlHeaderBytes) {
    LOG(ERROR) << what << ": binary STL of " << size << " bytes is shorter than its "
               << kStlHeaderBytes << "-byte header";
    mesh.clear();
    return kBaseReadCorrupt;
  }
  const std::size_t n = stl_binary_face_count(data);
  if (!stl_binary_size_fits(n, size, what)) {
    mesh.clear();
    return kBaseReadCorrupt;
  }
  StlBinaryFaces faces(n);
  // Chunks only to report progress as it goes.
  const std::size_t chunk = n / 100 + 1;
  for (std::size_t first = 0; first < n; first += chunk) {
    const std::size_t count = std::min(chunk, n - first);
    if (!faces.add_records(data + kStlHeaderBytes + first * kStlFaceBytes, count, what)) {
      mesh.clear();
      return kBaseReadCorrupt;
    }
    meter.report_fraction(first + count, n);
  }
  faces.store(mesh);
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
