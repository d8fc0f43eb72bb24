#include "quorvex/baseTypeIO/MeshMemoryIO.h"

#include <boost/interprocess/streams/bufferstream.hpp>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <locale>

#include "quorvex/base/MeshReaders.h"
#include "quorvex/base/StlSniff.h"

namespace Quorvex {

namespace {

constexpr std::size_t kStlHeader = 80;
constexpr std::size_t kStlPrefix = 84;
constexpr std::size_t kStlRecord = 50;

// Byte by byte, so the image is little-endian on any host; compilers make a plain store
// of it where the host is little-endian already.
inline unsigned char* store_le_u32(unsigned char* out, std::uint32_t v) {
  out[0] = static_cast<unsigned char>(v);
  out[1] = static_cast<unsigned char>(v >> 8);
  out[2] = static_cast<unsigned char>(v >> 16);
  out[3] = static_cast<unsigned char>(v >> 24);
  return out + 4;
}

#if !(defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__)
inline unsigned char* store_le_f32(unsigned char* out, float v) {
  std::uint32_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  return store_le_u32(out, bits);
}
#endif

// One face record: twelve floats and a zero attribute.
inline void store_le_record(unsigned char* out, const float (&values)[12]) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  std::memcpy(out, values, sizeof values);
#else
  unsigned char* p = out;
  for (const float v : values) p = store_le_f32(p, v);
#endif
  out[48] = 0;
  out[49] = 0;
}

}  // namespace

IORet write_TriMesh_to_memory(std::vector<unsigned char>& image, const BaseTriMesh& mesh) {
  const std::size_t n = mesh.get_fn();
  image.resize(kStlPrefix + kStlRecord * n);
  unsigned char* out = image.data();
  std::memset(out, ' ', kStlHeader);
  out = store_le_u32(out + kStlHeader, static_cast<std::uint32_t>(n));
  // Raw pointers taken once: stores through unsigned char may alias anything, and would
  // otherwise make the compiler reload the mesh's containers after every byte.
  const BaseTriFace* faces = mesh.get_faces().data();
  const Vector3f* vertices = mesh.get_vCoords().data();
  const std::size_t vertex_count = mesh.get_vn();
  // A mesh may hold faces whose corners name no vertex; such a corner is written as the
  // origin instead of being read from beyond the vertex list.
  const auto corner = [vertices, vertex_count](int index) -> Vector3f {
    return index >= 0 && static_cast<std::size_t>(index) < vertex_count ? vertices[index]
                                                                        : Vector3f::Zero();
  };
  for (std::size_t i = 0; i < n; ++i) {
    const BaseTriFace& face = faces[i];
    const Vector3f a = corner(face[0]);
    const Vector3f b = corner(face[1]);
    const Vector3f c = corner(face[2]);
    const float e1x = b.x() - a.x(), e1y = b.y() - a.y(), e1z = b.z() - a.z();
    const float e2x = c.x() - a.x(), e2y = c.y() - a.y(), e2z = c.z() - a.z();
    const float nx = e1y * e2z - e1z * e2y;
    const float ny = e1z * e2x - e1x * e2z;
    const float nz = e1x * e2y - e1y * e2x;
    const float len = std::sqrt(nx * nx + ny * ny + nz * nz);
    const float record[12] = {nx / len, ny / len, nz / len, a.x(), a.y(), a.z(),
                              b.x(),    b.y(),    b.z(),    c.x(), c.y(), c.z()};
    store_le_record(out, record);
    out += kStlRecord;
  }
  return IORET_OK;
}

// The sniff is the base library's, so files and memory buffers are told apart alike.
bool is_ascii_stl(std::istream& in) { return stl_stream_is_ascii(in); }

IORet read_stl_in_memory(const std::vector<unsigned char>& data, BaseTriMesh& mesh) {
  if (data.empty()) return IORET_EMPTY_DATA;
  boost::interprocess::basic_ibufferstream<char> in(reinterpret_cast<const char*>(data.data()),
                                                    data.size());
  static_cast<std::istream&>(in).imbue(std::locale::classic());
  const bool ascii = is_ascii_stl(in);
  // The sniff may have run into the end, which leaves the fail flag set.
  in.clear();
  in.seekg(0, std::ios_base::beg);
  if (ascii) return static_cast<IORet>(addFacesGivenAscii(in, mesh, 0, Callback()));
  return static_cast<IORet>(addFacesGivenBinary(data.data(), data.size(), mesh, Callback()));
}

}  // namespace Quorvex
