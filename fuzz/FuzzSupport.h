#pragma once

// Shared set-up of the fuzz targets: quiet logging, a silenced std::cout (the capture
// classes print their mismatch reports there), a private temporary folder, and the ways
// of turning fuzz bytes into loops that the geometric targets share.

#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <streambuf>
#include <string>
#include <vector>

#include "quorvex/Logger.h"
#include "quorvex/baseType/Point2.h"

namespace QuorvexFuzz {

// Swallows everything written to it.
class NullBuffer : public std::streambuf {
 protected:
  int overflow(int c) override { return c; }
  std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

// Once per process: only fatal messages would be logged, and std::cout goes nowhere.
inline void quiet_process() {
  static const bool done = [] {
    Quorvex::qx_init_logger(3, "/tmp", true, false);
    static NullBuffer sink;
    std::cout.rdbuf(&sink);
    return true;
  }();
  (void)done;
}

// A folder of this process for the targets that need real files.
inline const std::string& scratch_dir() {
  static const std::string dir = [] {
    std::string d = "/tmp/qxfuzz-" + std::to_string(static_cast<long>(getpid()));
    std::string cmd = "mkdir -p " + d;
    if (std::system(cmd.c_str()) != 0) return std::string("/tmp");
    std::atexit([] {
      const std::string rm = "rm -rf /tmp/qxfuzz-" + std::to_string(static_cast<long>(getpid()));
      if (std::system(rm.c_str()) != 0) std::fputs("could not remove the scratch folder\n", stderr);
    });
    return d;
  }();
  return dir;
}

inline bool write_file(const std::string& path, const uint8_t* data, size_t size) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (!out) return false;
  out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  return static_cast<bool>(out);
}

// A coordinate within +-range, on a grid of 1/1024 units, so that coincident points,
// collinear runs and exact touches come up often.
inline float grid_coordinate(FuzzedDataProvider& in, float range) {
  const int32_t steps = static_cast<int32_t>(range * 1024.0f);
  return static_cast<float>(in.ConsumeIntegralInRange<int32_t>(-steps, steps)) / 1024.0f;
}

// Any float the bytes spell, NaN and infinities included.
inline float raw_float(FuzzedDataProvider& in) {
  const uint32_t bits = in.ConsumeIntegral<uint32_t>();
  float f;
  static_assert(sizeof(f) == sizeof(bits), "float is 32 bits");
  std::memcpy(&f, &bits, sizeof(f));
  return f;
}

// Up to `max_loops` loops of up to `max_points` points within +-range.
inline std::vector<std::shared_ptr<const Quorvex::Point2Vector>> grid_loops(FuzzedDataProvider& in,
                                                                            size_t max_loops,
                                                                            size_t max_points,
                                                                            float range) {
  std::vector<std::shared_ptr<const Quorvex::Point2Vector>> loops;
  const size_t n = in.ConsumeIntegralInRange<size_t>(0, max_loops);
  for (size_t i = 0; i < n && in.remaining_bytes() > 0; ++i) {
    auto loop = std::make_shared<Quorvex::Point2Vector>();
    const size_t m = in.ConsumeIntegralInRange<size_t>(0, max_points);
    for (size_t k = 0; k < m && in.remaining_bytes() > 0; ++k) {
      const float x = grid_coordinate(in, range);
      const float y = grid_coordinate(in, range);
      loop->emplace_back(x, y);
    }
    loops.push_back(loop);
  }
  return loops;
}

}  // namespace QuorvexFuzz
