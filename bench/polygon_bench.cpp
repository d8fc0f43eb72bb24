// Polygon algebra against its peers, side by side in one run on the same inputs:
//  - Clipper (float loops in and out) against the raw engine with hand-written scaling of
//    the same arithmetic: the facade's overhead;
//  - the same booleans through Boost.Geometry on double polygons;
//  - offset against boost::geometry::buffer with a miter join.
// Each peer benchmark first checks once that both sides computed the same thing.

#include <benchmark/benchmark.h>

// GCC flags a member of Boost.Geometry's rescale policy as maybe-uninitialized once it is
// inlined into the callers below; the warning is about Boost's code, not ours.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <boost/geometry.hpp>
#include <boost/geometry/geometries/multi_polygon.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#include <cmath>
#include <cstdint>
#include <memory>
#include <polyclipping/clipper.hpp>
#include <vector>

#include "quorvex/polygon/Clipper.h"

namespace bg = boost::geometry;

namespace {

using Quorvex::Point2;
using Quorvex::Point2Vector;
using Loops = std::vector<std::shared_ptr<Point2Vector const>>;
using OutLoops = std::vector<std::shared_ptr<Point2Vector>>;

using BPoint = bg::model::d2::point_xy<double>;
using BPolygon = bg::model::polygon<BPoint, false, true>;  // counter-clockwise, closed
using BMulti = bg::model::multi_polygon<BPolygon>;

constexpr float kMultiple = 1e7f;
constexpr float kOffsetDelta = 0.5f;
// The sharpest corner of the stars below is about 40 degrees, whose mitre is 2.9 times the
// distance: a limit of 4 lets every corner mitre on both sides. (The two cut an over-long
// mitre differently, so a limit that bites would make the results differ by design.)
constexpr float kMiterLimit = 4.0f;

// Small deterministic generator, so that every run and machine sees the same stars.
class SplitMix {
 public:
  explicit SplitMix(uint64_t seed) : state_(seed) {}
  double uniform(double lo, double hi) {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    z ^= z >> 31;
    return lo + (hi - lo) * static_cast<double>(z >> 11) * (1.0 / 9007199254740992.0);
  }

 private:
  uint64_t state_;
};

// About a thousand star-shaped loops, one per cell of a 10-unit grid so that a set is a
// valid multi-polygon for Boost (its loops do not overlap one another); the second set is
// shifted by half a cell, so each of its stars overlaps up to four of the first. Radii vary
// between 0.6 and 1 of the star's size on 12 to 24 evenly spaced rays.
Loops make_star_set(uint64_t seed, float shift) {
  SplitMix rng(seed);
  Loops loops;
  const double kPi = std::acos(-1.0);
  for (int cell = 0; cell < 1000; ++cell) {
    const double size = rng.uniform(2.0, 4.4);
    const double slack = 4.9 - size;
    const double cx = (cell % 32) * 10.0 + 5.0 + shift + rng.uniform(-slack, slack);
    const double cy = (cell / 32) * 10.0 + 5.0 + shift + rng.uniform(-slack, slack);
    const int rays = 12 + static_cast<int>(rng.uniform(0.0, 13.0));
    auto loop = std::make_shared<Point2Vector>();
    for (int i = 0; i < rays; ++i) {
      const double angle = 2.0 * kPi * i / rays;
      const double r = size * rng.uniform(0.6, 1.0);
      loop->emplace_back(static_cast<float>(cx + r * std::cos(angle)),
                         static_cast<float>(cy + r * std::sin(angle)));
    }
    loops.push_back(loop);
  }
  return loops;
}

BMulti to_boost(const Loops& loops) {
  BMulti multi;
  for (const auto& loop : loops) {
    BPolygon poly;
    for (const Point2& p : *loop) bg::append(poly.outer(), BPoint(p.x, p.y));
    bg::append(poly.outer(), BPoint(loop->front().x, loop->front().y));
    multi.push_back(std::move(poly));
  }
  bg::correct(multi);
  return multi;
}

struct Inputs {
  Loops a = make_star_set(20261123, 0.0f);
  Loops b = make_star_set(77, 5.0f);
  BMulti boost_a = to_boost(a);
  BMulti boost_b = to_boost(b);
};

const Inputs& inputs() {
  static const Inputs in;
  return in;
}

// ---- the three ways of computing ----

OutLoops quorvex_boolean(Quorvex::ClipType type, const Loops& a, const Loops& b) {
  Quorvex::Clipper clipper;
  clipper.add_paths(a, Quorvex::ptSubject);
  clipper.add_paths(b, Quorvex::ptClip);
  clipper.execute(type, Quorvex::pftNonZero, Quorvex::pftNonZero, 0, true);
  OutLoops out;
  clipper.get_result(out, true);
  return out;
}

OutLoops quorvex_offset(const Loops& a) {
  Quorvex::Clipper clipper;
  clipper.add_paths(a, Quorvex::ptSubject);
  clipper.offset(kOffsetDelta, Quorvex::jtMiter, Quorvex::etClosedPolygon, kMiterLimit, 0.25f,
                 true);
  OutLoops out;
  clipper.get_result(out, true);
  return out;
}

// The raw engine with the scaling written out by hand: float product truncated toward
// zero, float division back.
ClipperLib::Paths raw_scale_in(const Loops& loops) {
  ClipperLib::Paths paths;
  paths.reserve(loops.size());
  for (const auto& loop : loops) {
    ClipperLib::Path path;
    path.reserve(loop->size());
    for (const Point2& p : *loop) {
      const float x = p.x * kMultiple;
      const float y = p.y * kMultiple;
      path.emplace_back(static_cast<ClipperLib::cInt>(x), static_cast<ClipperLib::cInt>(y));
    }
    paths.push_back(std::move(path));
  }
  return paths;
}

std::vector<std::vector<Point2>> raw_scale_out(const ClipperLib::Paths& paths) {
  std::vector<std::vector<Point2>> out;
  out.reserve(paths.size());
  for (const auto& path : paths) {
    std::vector<Point2> loop;
    loop.reserve(path.size());
    for (const auto& p : path) {
      loop.emplace_back(static_cast<float>(p.X) / kMultiple, static_cast<float>(p.Y) / kMultiple);
    }
    out.push_back(std::move(loop));
  }
  return out;
}

std::vector<std::vector<Point2>> raw_boolean(ClipperLib::ClipType type, const Loops& a,
                                             const Loops& b) {
  const ClipperLib::Paths pa = raw_scale_in(a);
  const ClipperLib::Paths pb = raw_scale_in(b);
  ClipperLib::Clipper engine;
  engine.AddPaths(pa, ClipperLib::ptSubject, true);
  engine.AddPaths(pb, ClipperLib::ptClip, true);
  ClipperLib::Paths solution;
  engine.Execute(type, solution, ClipperLib::pftNonZero, ClipperLib::pftNonZero);
  return raw_scale_out(solution);
}

template <class LoopVector>
double signed_area_sum(const LoopVector& loops) {
  double total = 0.0;
  for (const auto& loop : loops) {
    const std::vector<Point2>& l = *loop;
    for (std::size_t i = 0, n = l.size(); i < n; ++i) {
      const Point2& p = l[i];
      const Point2& q = l[(i + 1) % n];
      total += static_cast<double>(p.x) * q.y - static_cast<double>(q.x) * p.y;
    }
  }
  return total / 2.0;
}

// ---- checks, run once by each peer benchmark ----

bool same_as_raw(Quorvex::ClipType type) {
  const Inputs& in = inputs();
  const OutLoops ours = quorvex_boolean(type, in.a, in.b);
  const auto raw = raw_boolean(static_cast<ClipperLib::ClipType>(type), in.a, in.b);
  if (ours.size() != raw.size() || ours.empty()) return false;
  for (std::size_t i = 0; i < ours.size(); ++i) {
    if (ours[i]->size() != raw[i].size()) return false;
    for (std::size_t j = 0; j < raw[i].size(); ++j) {
      if ((*ours[i])[j].x != raw[i][j].x || (*ours[i])[j].y != raw[i][j].y) return false;
    }
  }
  return true;
}

bool areas_agree(double ours, double theirs) {
  return ours > 0.0 && std::fabs(ours - theirs) <= 1e-5 * std::fabs(theirs);
}

bool same_as_boost(Quorvex::ClipType type) {
  const Inputs& in = inputs();
  const double ours = signed_area_sum(quorvex_boolean(type, in.a, in.b));
  BMulti theirs;
  if (type == Quorvex::ctUnion) {
    bg::union_(in.boost_a, in.boost_b, theirs);
  } else {
    bg::intersection(in.boost_a, in.boost_b, theirs);
  }
  return areas_agree(ours, bg::area(theirs));
}

BMulti boost_buffer(const BMulti& in) {
  bg::strategy::buffer::distance_symmetric<double> distance(kOffsetDelta);
  bg::strategy::buffer::side_straight side;
  bg::strategy::buffer::join_miter join(kMiterLimit);
  bg::strategy::buffer::end_flat end;
  bg::strategy::buffer::point_circle circle(16);
  BMulti out;
  bg::buffer(in, out, distance, side, join, end, circle);
  return out;
}

// ---- benchmarks ----

void BM_Union_Quorvex(benchmark::State& state) {
  const Inputs& in = inputs();
  for (auto _ : state) benchmark::DoNotOptimize(quorvex_boolean(Quorvex::ctUnion, in.a, in.b));
}

void BM_Union_RawClipperLib(benchmark::State& state) {
  static const bool same = same_as_raw(Quorvex::ctUnion);
  if (!same) state.SkipWithError("union differs from the raw engine");
  const Inputs& in = inputs();
  for (auto _ : state) benchmark::DoNotOptimize(raw_boolean(ClipperLib::ctUnion, in.a, in.b));
}

void BM_Union_BoostGeometry(benchmark::State& state) {
  static const bool same = same_as_boost(Quorvex::ctUnion);
  if (!same) state.SkipWithError("union area differs from Boost");
  const Inputs& in = inputs();
  for (auto _ : state) {
    BMulti out;
    bg::union_(in.boost_a, in.boost_b, out);
    benchmark::DoNotOptimize(out);
  }
}

void BM_Intersection_Quorvex(benchmark::State& state) {
  const Inputs& in = inputs();
  for (auto _ : state) {
    benchmark::DoNotOptimize(quorvex_boolean(Quorvex::ctIntersection, in.a, in.b));
  }
}

void BM_Intersection_RawClipperLib(benchmark::State& state) {
  static const bool same = same_as_raw(Quorvex::ctIntersection);
  if (!same) {
    state.SkipWithError("intersection differs from the raw engine");
  }
  const Inputs& in = inputs();
  for (auto _ : state) {
    benchmark::DoNotOptimize(raw_boolean(ClipperLib::ctIntersection, in.a, in.b));
  }
}

void BM_Intersection_BoostGeometry(benchmark::State& state) {
  static const bool same = same_as_boost(Quorvex::ctIntersection);
  if (!same) {
    state.SkipWithError("intersection area differs from Boost");
  }
  const Inputs& in = inputs();
  for (auto _ : state) {
    BMulti out;
    bg::intersection(in.boost_a, in.boost_b, out);
    benchmark::DoNotOptimize(out);
  }
}

void BM_Offset_Quorvex(benchmark::State& state) {
  const Inputs& in = inputs();
  for (auto _ : state) benchmark::DoNotOptimize(quorvex_offset(in.a));
}

void BM_Offset_BoostBuffer(benchmark::State& state) {
  const Inputs& in = inputs();
  static const bool same =
      areas_agree(signed_area_sum(quorvex_offset(in.a)), bg::area(boost_buffer(in.boost_a)));
  if (!same) {
    state.SkipWithError("offset area differs from the Boost buffer");
  }
  for (auto _ : state) benchmark::DoNotOptimize(boost_buffer(in.boost_a));
}

}  // namespace

BENCHMARK(BM_Union_Quorvex)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Union_RawClipperLib)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Union_BoostGeometry)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Intersection_Quorvex)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Intersection_RawClipperLib)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Intersection_BoostGeometry)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Offset_Quorvex)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Offset_BoostBuffer)->Unit(benchmark::kMillisecond);
