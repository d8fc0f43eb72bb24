#pragma once

#include <glog/logging.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include "quorvex/base/BaseTriMesh.h"

namespace Quorvex::test {

inline std::string temp_path(const std::string& name) {
  return ::testing::TempDir() + "quorvex_base_" + name;
}

inline void write_file(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  ASSERT_TRUE(out.good()) << path;
}

inline void put_le32(std::string& out, std::uint32_t v) {
  for (int k = 0; k < 4; ++k) out.push_back(static_cast<char>((v >> (8 * k)) & 0xff));
}
inline void put_f32(std::string& out, float f) {
  std::uint32_t bits;
  std::memcpy(&bits, &f, 4);
  put_le32(out, bits);
}

using Triangle = std::array<Vector3f, 3>;

// A binary STL image by hand, little-endian whatever the host; `header` fills the first of
// the 80 header bytes and `count` overrides the stored face count.
inline std::string binary_stl(const std::vector<Triangle>& tris, const std::string& header = "",
                              std::int64_t count = -1) {
  std::string out = header.substr(0, 80);
  out.resize(80, ' ');
  put_le32(out,
           count < 0 ? static_cast<std::uint32_t>(tris.size()) : static_cast<std::uint32_t>(count));
  for (const Triangle& t : tris) {
    for (int k = 0; k < 3; ++k) put_f32(out, 9.0f);  // a stored normal readers must ignore
    for (const Vector3f& v : t) {
      for (int k = 0; k < 3; ++k) put_f32(out, v[k]);
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

// Collects the error lines logged while it lives.
class ErrorLog : public google::LogSink {
 public:
  ErrorLog() { google::AddLogSink(this); }
  ~ErrorLog() override { google::RemoveLogSink(this); }
  void send(google::LogSeverity severity, const char*, const char*, int,
            const google::LogMessageTime&, const char* message, size_t length) override {
    if (severity < google::GLOG_ERROR) return;
    std::lock_guard<std::mutex> lock(mutex_);
    lines_.emplace_back(message, length);
  }
  std::vector<std::string> lines() {
    std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
  }
  bool has_line_with(const std::string& a, const std::string& b = "") {
    for (const std::string& l : lines()) {
      if (l.find(a) != std::string::npos && l.find(b) != std::string::npos) return true;
    }
    return false;
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
};

inline std::vector<Vector3f> vertices_of(const BaseTriMesh& mesh) {
  std::vector<Vector3f> out;
  for (std::size_t i = 0; i < mesh.get_vn(); ++i) out.push_back(mesh.get_vCoord(i));
  return out;
}

inline std::vector<std::array<int, 3>> faces_of(const BaseTriMesh& mesh) {
  std::vector<std::array<int, 3>> out;
  for (std::size_t i = 0; i < mesh.get_fn(); ++i) {
    const BaseTriFace& f = mesh.get_face(i);
    out.push_back({f[0], f[1], f[2]});
  }
  return out;
}

}  // namespace Quorvex::test
