#pragma once

// Helpers of the mesh input and output tests: a log sink that keeps the lines it sees,
// and writers of small sample files into the test's temporary folder.

#include <glog/logging.h>

#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include "quorvex/base/BaseTriMesh.h"

namespace Quorvex {
namespace mesh_test {

// Keeps every log line of error severity sent while it lives.
class ErrorLines : public google::LogSink {
 public:
  ErrorLines() { google::AddLogSink(this); }
  ~ErrorLines() override { google::RemoveLogSink(this); }
  ErrorLines(const ErrorLines&) = delete;
  ErrorLines& operator=(const ErrorLines&) = delete;

  void send(google::LogSeverity severity, const char*, const char*, int,
            const google::LogMessageTime&, const char* message, size_t length) override {
    if (severity != google::GLOG_ERROR) return;
    std::lock_guard<std::mutex> lock(mutex_);
    lines_.emplace_back(message, length);
  }

  std::vector<std::string> lines() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

inline std::string temp_path(const std::string& name) {
  std::string dir = ::testing::TempDir();
  if (!dir.empty() && dir.back() != '/') dir += '/';
  return dir + "qx_mesh_" + name;
}

inline std::string write_file(const std::string& name, const std::string& bytes) {
  const std::string path = temp_path(name);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return path;
}

inline std::vector<unsigned char> bytes_of(const std::string& text) {
  return std::vector<unsigned char>(text.begin(), text.end());
}

inline std::vector<BaseTriFace> faces_of(const BaseTriMesh& mesh) {
  return std::vector<BaseTriFace>(mesh.get_faces().begin(), mesh.get_faces().end());
}

}  // namespace mesh_test
}  // namespace Quorvex
