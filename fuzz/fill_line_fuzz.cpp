// get_fill_line_from_loops on fuzzed loops, and sort_discontinued_fill_line on what it
// yields without linking. Most inputs keep to the contract (finite coordinates within
// +-1000, a positive spacing); one in four feeds raw floats, which must be refused or
// give some bounded result.
#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "FuzzSupport.h"
#include "quorvex/fill/FillLine.h"
#include "quorvex/fill/FillLineOrder.h"

using Quorvex::Point2Vector;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QuorvexFuzz::quiet_process();
  FuzzedDataProvider in(data, size);
  const bool raw = in.ConsumeIntegralInRange<int>(0, 3) == 0;
  const bool connect = in.ConsumeBool();
  float spacing, angle, min_length;
  if (raw) {
    spacing = QuorvexFuzz::raw_float(in);
    angle = QuorvexFuzz::raw_float(in);
    min_length = QuorvexFuzz::raw_float(in);
  } else {
    spacing = in.ConsumeFloatingPointInRange<float>(0.1f, 100.0f);
    angle = in.ConsumeFloatingPointInRange<float>(-720.0f, 720.0f);
    min_length = in.ConsumeFloatingPointInRange<float>(0.0f, 50.0f);
  }
  std::vector<std::shared_ptr<const Point2Vector>> loops;
  if (raw) {
    const size_t n = in.ConsumeIntegralInRange<size_t>(0, 4);
    for (size_t i = 0; i < n; ++i) {
      auto loop = std::make_shared<Point2Vector>();
      const size_t m = in.ConsumeIntegralInRange<size_t>(0, 32);
      for (size_t k = 0; k < m && in.remaining_bytes() > 0; ++k) {
        const float x = QuorvexFuzz::raw_float(in);
        const float y = QuorvexFuzz::raw_float(in);
        loop->emplace_back(x, y);
      }
      loops.push_back(loop);
    }
  } else {
    loops = QuorvexFuzz::grid_loops(in, 8, 64, 1000.0f);
  }

  std::vector<std::shared_ptr<Point2Vector>> lines;
  const Quorvex::RetVal r =
      Quorvex::get_fill_line_from_loops(loops, lines, spacing, angle, min_length, connect);
  if (r != Quorvex::RETVAL_OK || connect || lines.empty()) return 0;

  std::vector<std::shared_ptr<const Point2Vector>> scan(lines.begin(), lines.end());
  std::vector<std::shared_ptr<Point2Vector>> sorted;
  Quorvex::sort_discontinued_fill_line(scan, sorted, spacing * 2.0f, spacing);
  return 0;
}
