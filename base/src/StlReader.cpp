#include <glog/logging.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <vector>

#include "StlParse.h"
#include "quorvex/base/MeshReaders.h"
#include "quorvex/base/StlSniff.h"

namespace Quorvex {

namespace {

int read_stl_file(const std::string& path, BaseTriMesh& mesh, ProgressMeter& meter) {
  const std::string what = "STL file " + path;
  std::ifstream in(path, std::ios::binary);
  if (!in.is_open()) {
    LOG(ERROR) << "file " << path << " not exist!";
    mesh.clear();
    return 2;
  }
  const std::uint64_t size = stream_remaining_bytes(in);
  const bool ascii = stl_stream_is_ascii(in);
  in.clear();
  in.seekg(0);
  if (ascii) return parse_stl_ascii(in, size, mesh, meter, what);

  // Read the face count first, so that the buffer is sized by what the file can hold and not
  // by what its header claims.
  unsigned char header[kStlHeaderBytes];
  if (size < sizeof(header)) {
    LOG(ERROR) << what << ": binary STL of " << size << " bytes is shorter than its 84-byte header";
    mesh.clear();
    return kBaseReadCorrupt;
  }
  if (!in.read(reinterpret_cast<char*>(header), sizeof(header))) {
    LOG(ERROR) << what << ": could not read its header";
    mesh.clear();
    return kBaseReadCorrupt;
  }
  const std::uint64_t faces = stl_binary_face_count(header);
  if (!stl_binary_size_fits(faces, size, what)) {
    mesh.clear();
    return kBaseReadCorrupt;
  }
  // Read in chunks that stay in cache while they are welded, and never hold the whole file;
  // small files in a hundred chunks so that progress moves in whole percentages.
  constexpr std::size_t kMaxChunkFaces = 1 << 14;
  const std::size_t n = static_cast<std::size_t>(faces);
  const std::size_t chunk_faces = std::min(kMaxChunkFaces, n / 100 + 1);
  StlBinaryFaces welded(n);
  std::vector<unsigned char> chunk(std::min(n, chunk_faces) * kStlFaceBytes);
  for (std::size_t first = 0; first < n; first += chunk_faces) {
    const std::size_t count = std::min(chunk_faces, n - first);
    if (!in.read(reinterpret_cast<char*>(chunk.data()),
                 static_cast<std::streamsize>(count * kStlFaceBytes))) {
      LOG(ERROR) << what << ": could not read face " << first << " of " << n;
      mesh.clear();
      return kBaseReadCorrupt;
    }
    if (!welded.add_records(chunk.data(), count, what)) {
      mesh.clear();
      return kBaseReadCorrupt;
    }
    meter.report_fraction(first + count, n);
  }
  welded.store(mesh);
  return 0;
}

}  // namespace

int read_stl_mesh(const std::string& path, BaseTriMesh& mesh, Callback progress) {
  ProgressMeter meter(progress);
  meter.report(0);
  const int result = read_stl_file(path, mesh, meter);
  meter.finish();
  return result;
}

}  // namespace Quorvex
