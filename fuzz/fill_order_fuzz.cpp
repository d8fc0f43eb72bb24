// sort_discontinued_fill_line on fuzzed scan lines: any number of points per line, odd
// counts and null handles included, coordinates on a grid or (one in four) raw floats.
#include <cstdint>
#include <memory>
#include <vector>

#include "FuzzSupport.h"
#include "quorvex/fill/FillLineOrder.h"

using Quorvex::Point2Vector;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QuorvexFuzz::quiet_process();
  FuzzedDataProvider in(data, size);
  const bool raw = in.ConsumeIntegralInRange<int>(0, 3) == 0;
  const float link =
      raw ? QuorvexFuzz::raw_float(in) : in.ConsumeFloatingPointInRange<float>(0.0f, 100.0f);
  const float offset =
      raw ? QuorvexFuzz::raw_float(in) : in.ConsumeFloatingPointInRange<float>(0.0f, 100.0f);
  std::vector<std::shared_ptr<const Point2Vector>> lines;
  const size_t n = in.ConsumeIntegralInRange<size_t>(0, 128);
  for (size_t i = 0; i < n && in.remaining_bytes() > 0; ++i) {
    if (in.ConsumeIntegralInRange<int>(0, 15) == 0) {
      lines.push_back(nullptr);
      continue;
    }
    auto line = std::make_shared<Point2Vector>();
    const size_t m = in.ConsumeIntegralInRange<size_t>(0, 24);
    const float y = QuorvexFuzz::grid_coordinate(in, 500.0f);
    for (size_t k = 0; k < m && in.remaining_bytes() > 0; ++k) {
      if (raw) {
        const float px = QuorvexFuzz::raw_float(in);
        const float py = QuorvexFuzz::raw_float(in);
        line->emplace_back(px, py);
      } else {
        line->emplace_back(QuorvexFuzz::grid_coordinate(in, 500.0f), y);
      }
    }
    lines.push_back(line);
  }
  std::vector<std::shared_ptr<Point2Vector>> sorted;
  Quorvex::sort_discontinued_fill_line(lines, sorted, link, offset);
  return 0;
}
