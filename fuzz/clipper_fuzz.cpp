// The Clipper facade on fuzzed subject and clip loops: booleans into paths and into a
// tree, open subjects, offsets, self-intersection removal and chains of them through the
// fixed-point slots. The engine's clipperException is the stated outcome for coordinates
// beyond its range and is caught here; everything else must come back as a return code.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <polyclipping/clipper.hpp>
#include <vector>

#include "FuzzSupport.h"
#include "quorvex/polygon/Clipper.h"
#include "quorvex/polygon/PolyTree.h"

using namespace Quorvex;

namespace {

// With QX_FUZZ_DUMP set, a run of one input writes its loops and steps to stderr.
const bool kDump = std::getenv("QX_FUZZ_DUMP") != nullptr;

void dump(const char* side, const std::vector<std::shared_ptr<const Point2Vector>>& loops) {
  if (!kDump) return;
  for (const auto& l : loops) {
    std::fprintf(stderr, "%s loop:", side);
    for (const Point2& p : *l) std::fprintf(stderr, " (%.9g, %.9g)", p.x, p.y);
    std::fprintf(stderr, "\n");
  }
}

std::vector<std::shared_ptr<const Point2Vector>> loops_of(FuzzedDataProvider& in, bool raw) {
  if (!raw) return QuorvexFuzz::grid_loops(in, 4, 32, 1000.0f);
  std::vector<std::shared_ptr<const Point2Vector>> loops;
  const size_t n = in.ConsumeIntegralInRange<size_t>(0, 3);
  for (size_t i = 0; i < n; ++i) {
    auto loop = std::make_shared<Point2Vector>();
    const size_t m = in.ConsumeIntegralInRange<size_t>(0, 16);
    for (size_t k = 0; k < m && in.remaining_bytes() > 0; ++k) {
      const float x = QuorvexFuzz::raw_float(in);
      const float y = QuorvexFuzz::raw_float(in);
      loop->emplace_back(x, y);
    }
    loops.push_back(loop);
  }
  return loops;
}

void run(FuzzedDataProvider& in, Clipper& c) {
  const int steps = in.ConsumeIntegralInRange<int>(1, 4);
  for (int s = 0; s < steps; ++s) {
    const auto ct = static_cast<ClipType>(in.ConsumeIntegralInRange<int>(0, 3));
    const auto sf = static_cast<PolyFillType>(in.ConsumeIntegralInRange<int>(0, 3));
    const auto cf = static_cast<PolyFillType>(in.ConsumeIntegralInRange<int>(0, 3));
    const int init = in.ConsumeIntegralInRange<int>(0, 7);
    std::vector<std::shared_ptr<Point2Vector>> out;
    const int op = in.ConsumeIntegralInRange<int>(0, 5);
    if (kDump) {
      std::fprintf(stderr, "step %d: op %d clip %d fills %d %d init %d\n", s, op, ct, sf, cf, init);
    }
    switch (op) {
      case 0:
        c.execute(ct, sf, cf, init, true);
        c.get_result(out, true);
        break;
      case 1:
        c.execute(ct, sf, cf, init, false);
        c.get_result(out, false);
        break;
      case 2: {
        PolyTreeEx tree;
        c.execute(ct, tree, sf, cf, init);
        break;
      }
      case 3: {
        // Arc tolerance as a share of the offset in fixed point, so that a round join
        // has a bounded number of steps (the engine's cost grows as the share shrinks).
        const float delta = in.ConsumeFloatingPointInRange<float>(-50.0f, 50.0f);
        const float share = in.ConsumeFloatingPointInRange<float>(1e-3f, 1.0f);
        const auto jt = static_cast<JoinType>(in.ConsumeIntegralInRange<int>(0, 2));
        const auto et = static_cast<EndType>(in.ConsumeIntegralInRange<int>(0, 4));
        const float miter = in.ConsumeFloatingPointInRange<float>(0.0f, 10.0f);
        c.offset(delta, jt, et, miter, std::fabs(delta) * 1e7f * share, in.ConsumeBool());
        c.get_result(out, true);
        break;
      }
      case 4:
        c.get_clipper_simplified_intersection_loops(in.ConsumeBool(), sf);
        c.get_result(out, true);
        break;
      default:
        if (in.ConsumeBool()) {
          c.set_result_as_subject();
        } else {
          c.set_result_as_clip();
        }
        break;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QuorvexFuzz::quiet_process();
  FuzzedDataProvider in(data, size);
  const bool raw = in.ConsumeIntegralInRange<int>(0, 3) == 0;
  Clipper c(in.ConsumeBool());
  if (in.ConsumeIntegralInRange<int>(0, 7) == 0) {
    c.set_multiple(in.ConsumeFloatingPointInRange<float>(1.0f, 1e9f));
  }
  const auto subject = loops_of(in, raw);
  const auto clip = loops_of(in, raw);
  dump("subject", subject);
  dump("clip", clip);
  c.set_paths(subject, ptSubject);
  c.set_paths(clip, ptClip);
  try {
    run(in, c);
  } catch (const ClipperLib::clipperException&) {
    // Coordinates beyond the engine's range: the stated outcome.
  }
  return 0;
}
