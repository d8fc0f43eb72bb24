#pragma once

// Sample mesh files of the readers' tests: STL images built by hand, temporary files, and
// the content of a mesh as plain sequences.

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "quorvex/base/BaseTriMesh.h"

namespace qxtest {

using Quorvex::BaseTriFace;
using Quorvex::BaseTriMesh;
using Quorvex::Vector3f;

inline std::string temp_path(const std::string& name) {
  std::string dir = ::testing::TempDir();
  if (!dir.empty() && dir.back() != '/') dir += '/';
  // Per process: ctest runs the cases of one suite side by side, and other builds may too.
  return dir + "qx_mesh_" + std::to_string(::getpid()) + "_" + name;
}

// Writes `bytes` to the temporary file `name` and gives its path.
inline std::string write_temp(const std::string& name, const std::string& bytes) {
  const std::string path = temp_path(name);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  EXPECT_TRUE(out.good()) << path;
  return path;
}

inline std::vector<unsigned char> bytes_of(const std::string& text) {
  return std::vector<unsigned char>(text.begin(), text.end());
}

using Triangle = std::array<Vector3f, 3>;

// A binary STL image, little-endian whatever the host; `header` fills the first of the 80
// header bytes and `count` overrides the stored face count.
inline std::string binary_stl(const std::vector<Triangle>& tris, const std::string& header = "",
                              std::int64_t count = -1) {
  std::string out = header.substr(0, 80);
  out.resize(80, ' ');
  auto put_u32 = [&out](std::uint32_t v) {
    for (int k = 0; k < 4; ++k) out.push_back(static_cast<char>((v >> (8 * k)) & 0xff));
  };
  auto put_f32 = [&put_u32](float f) {
    std::uint32_t bits;
    std::memcpy(&bits, &f, 4);
    put_u32(bits);
  };
  put_u32(count < 0 ? static_cast<std::uint32_t>(tris.size()) : static_cast<std::uint32_t>(count));
  for (const Triangle& t : tris) {
    for (int k = 0; k < 3; ++k) put_f32(9.0f);  // a stored normal readers must ignore
    for (const Vector3f& v : t) {
      for (int k = 0; k < 3; ++k) put_f32(v[k]);
    }
    out.append(2, '\0');
  }
  return out;
}

inline std::string ascii_stl(const std::vector<Triangle>& tris, const std::string& eol = "\n") {
  std::string out = "solid sample" + eol;
  for (const Triangle& t : tris) {
    out += "  facet normal 0 0 0" + eol + "    outer loop" + eol;
    for (const Vector3f& v : t) {
      char line[128];
      std::snprintf(line, sizeof(line), "      vertex %.9g %.9g %.9g", v[0], v[1], v[2]);
      out += line + eol;
    }
    out += "    endloop" + eol + "  endfacet" + eol;
  }
  out += "endsolid sample" + eol;
  return out;
}

inline std::vector<Vector3f> vertices_of(const BaseTriMesh& mesh) {
  std::vector<Vector3f> out;
  for (std::size_t i = 0; i < mesh.get_vn(); ++i) out.push_back(mesh.get_vCoord(i));
  return out;
}

inline std::vector<BaseTriFace> faces_of(const BaseTriMesh& mesh) {
  std::vector<BaseTriFace> out;
  for (std::size_t i = 0; i < mesh.get_fn(); ++i) out.push_back(mesh.get_face(i));
  return out;
}

}  // namespace qxtest
