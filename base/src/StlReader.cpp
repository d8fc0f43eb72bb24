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
  unsigned char header[84];
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
  const std::uint64_t faces = static_cast<std::uint64_t>(header[80]) |
                              (static_cast<std::uint64_t>(header[81]) << 8) |
                              (static_cast<std::uint64_t>(header[82]) << 16) |
                              (static_cast<std::uint64_t>(header[83]) << 24);
  const std::uint64_t needed = sizeof(header) + 50 * faces;
  if (size < needed) {
    LOG(ERROR) << what << ": binary STL declares " << faces << " faces, which need " << needed
               << " bytes, but holds only " << size;
    mesh.clear();
    return kBaseReadCorrupt;
  }
  std::vector<unsigned char> data(static_cast<std::size_t>(needed));
  std::copy(header, header + sizeof(header), data.begin());
  if (!in.read(reinterpret_cast<char*>(data.data() + sizeof(header)),
               static_cast<std::streamsize>(needed - sizeof(header)))) {
    LOG(ERROR) << what << ": could not read its " << needed << " bytes";
    mesh.clear();
    return kBaseReadCorrupt;
  }
  return parse_stl_binary(data.data(), data.size(), mesh, meter, what);
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
