// The three simplifiers, plain and coloured, on fuzzed loops. The first byte picks the
// simplifier; tolerances are arbitrary floats, so the refusals are exercised as well.
#include <cstdint>
#include <memory>
#include <vector>

#include "FuzzSupport.h"
#include "quorvex/baseType/Path.h"
#include "quorvex/planeGeometry/QEMSimp.h"
#include "quorvex/planeGeometry/SimplifyDP.h"
#include "quorvex/planeGeometry/SimplifyDistance.h"

using namespace Quorvex;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QuorvexFuzz::quiet_process();
  FuzzedDataProvider in(data, size);
  const int which = in.ConsumeIntegralInRange<int>(0, 5);
  const bool raw = in.ConsumeIntegralInRange<int>(0, 3) == 0;
  const float t1 =
      raw ? QuorvexFuzz::raw_float(in) : in.ConsumeFloatingPointInRange<float>(0.0f, 100.0f);
  const float t2 =
      raw ? QuorvexFuzz::raw_float(in) : in.ConsumeFloatingPointInRange<float>(0.0f, 100.0f);
  std::vector<Point2> loop;
  ColorVector colours;
  const size_t n = in.ConsumeIntegralInRange<size_t>(0, 512);
  for (size_t i = 0; i < n && in.remaining_bytes() > 0; ++i) {
    float x, y;
    if (raw) {
      x = QuorvexFuzz::raw_float(in);
      y = QuorvexFuzz::raw_float(in);
    } else {
      x = QuorvexFuzz::grid_coordinate(in, 1000.0f);
      y = QuorvexFuzz::grid_coordinate(in, 1000.0f);
    }
    loop.emplace_back(x, y);
    const float r = static_cast<float>(in.ConsumeIntegralInRange<int>(0, 4)) / 4.0f;
    colours.push_back(Color3f(r, 1.0f - r, 0.5f));
  }
  const size_t before = loop.size();
  auto path = std::make_shared<Path>();
  path->set_points(std::make_shared<Point2Vector>(loop));
  if (in.ConsumeIntegralInRange<int>(0, 7) == 0 && !colours.empty()) colours.pop_back();
  path->set_colors(std::make_shared<ColorVector>(colours));

  switch (which) {
    case 0:
      get_simplified_loop_DP(loop, t1, t2);
      break;
    case 1:
      get_simplified_loop_DP(loop, t1);
      break;
    case 2:
      get_simplified_loop(loop, t1);
      break;
    case 3:
      get_simplified_path_with_colour(path, t1, t2);
      break;
    case 4:
      get_QEM_simplified_loop(loop, t1);
      break;
    default:
      get_QEM_simplified_loop_with_colour(path, t1, t2);
      break;
  }
  // A simplifier only ever removes vertices.
  if (loop.size() > before) __builtin_trap();
  if (path->get_points() && path->get_points()->size() > before) __builtin_trap();
  return 0;
}
