#pragma once

// Fresh folders and whole files for the tests that write and read them.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace qxtest {

// An empty folder of the test's own under the temporary folder; per process, because ctest
// runs the cases of one suite side by side.
inline std::string fresh_dir(const std::string& name) {
  const std::filesystem::path dir = std::filesystem::path(::testing::TempDir()) /
                                    ("qx_" + name + "_" + std::to_string(::getpid()));
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir.string();
}

inline std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace qxtest
