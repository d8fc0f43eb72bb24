// Loop simplification: Douglas-Peucker against boost::geometry::simplify on one noisy ring,
// and the growth of the distance and quadric-error simplifiers with the vertex count.
#include <benchmark/benchmark.h>

#include <boost/geometry.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/ring.hpp>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "quorvex/baseType/Path.h"
#include "quorvex/planeGeometry/QEMSimp.h"
#include "quorvex/planeGeometry/SimplifyDP.h"
#include "quorvex/planeGeometry/SimplifyDistance.h"

namespace bg = boost::geometry;
using Quorvex::Point2;

namespace {

// Vertices every `spacing` round a circle, each pushed off it radially by up to `noise`, so
// the work per vertex does not change with the count.
std::vector<Point2> noisy_ring(int n, float spacing, float noise) {
  std::mt19937 gen(12345);
  std::uniform_real_distribution<float> jitter(-noise, noise);
  const double radius = n * spacing / (2.0 * M_PI);
  std::vector<Point2> ring;
  ring.reserve(n);
  for (int i = 0; i < n; ++i) {
    const double a = 2.0 * M_PI * i / n;
    const double r = radius + jitter(gen);
    ring.emplace_back(static_cast<float>(r * std::cos(a)), static_cast<float>(r * std::sin(a)));
  }
  return ring;
}

std::shared_ptr<Quorvex::Path> coloured_path(const std::vector<Point2>& ring) {
  auto path = std::make_shared<Quorvex::Path>();
  path->set_points(std::make_shared<Quorvex::Point2Vector>(ring));
  auto colours = std::make_shared<Quorvex::ColorVector>();
  colours->reserve(ring.size());
  // A colour that drifts along the ring with a hard step every 500 vertices: the same pattern
  // per vertex at every count.
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const float t = static_cast<float>(i % 500) / 500.0f;
    colours->emplace_back(t, 1.0f - t, (i / 500) % 2 ? 1.0f : 0.0f);
  }
  path->set_colors(colours);
  return path;
}

// ---- Douglas-Peucker on a ring of 100 000 vertices, ours against Boost.Geometry.

using BgPoint = bg::model::d2::point_xy<float>;
using BgRing = bg::model::ring<BgPoint, false, false>;  // widdershins, no closing duplicate

constexpr int kDPVertices = 100000;
constexpr float kDPSpacing = 0.05f;
constexpr float kDPNoise = 0.5f;
constexpr float kDPRadius = 1.0f;

BgRing to_bg_ring(const std::vector<Point2>& ring) {
  BgRing out;
  for (const Point2& p : ring) out.push_back(BgPoint(p.x, p.y));
  return out;
}

// Both thin the same ring with the same rule and tolerance; they start the ring at different
// vertices, so the counts may differ a little but not by much.
bool dp_results_agree(std::size_t ours, std::size_t peer) {
  const double a = static_cast<double>(ours);
  const double b = static_cast<double>(peer);
  return ours >= 3 && std::fabs(a - b) <= 0.05 * std::max(a, b) + 2;
}

void BM_DP_Quorvex(benchmark::State& state) {
  const std::vector<Point2> ring = noisy_ring(kDPVertices, kDPSpacing, kDPNoise);
  std::size_t kept = 0;
  for (auto _ : state) {
    std::vector<Point2> loop = ring;
    Quorvex::get_simplified_loop_DP(loop, kDPRadius);
    kept = loop.size();
    benchmark::DoNotOptimize(loop.data());
  }
  BgRing peer_out;
  bg::simplify(to_bg_ring(ring), peer_out, kDPRadius);
  if (!dp_results_agree(kept, peer_out.size())) {
    state.SkipWithError("results differ from boost::geometry::simplify");
  }
  state.counters["kept"] = static_cast<double>(kept);
  state.SetItemsProcessed(state.iterations() * kDPVertices);
}
BENCHMARK(BM_DP_Quorvex)->Unit(benchmark::kMillisecond);

void BM_DP_BoostGeometry(benchmark::State& state) {
  const BgRing ring = to_bg_ring(noisy_ring(kDPVertices, kDPSpacing, kDPNoise));
  std::size_t kept = 0;
  for (auto _ : state) {
    BgRing out;
    bg::simplify(ring, out, kDPRadius);
    kept = out.size();
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["kept"] = static_cast<double>(kept);
  state.SetItemsProcessed(state.iterations() * kDPVertices);
}
BENCHMARK(BM_DP_BoostGeometry)->Unit(benchmark::kMillisecond);

// ---- Growth with the vertex count: time per vertex shows as items per second.

constexpr float kSpacing = 0.1f;
constexpr float kNoise = 0.2f;
constexpr float kTolerance = 0.5f;

template <class Simplify>
void run_loop_simplifier(benchmark::State& state, Simplify simplify) {
  const int n = static_cast<int>(state.range(0));
  const std::vector<Point2> ring = noisy_ring(n, kSpacing, kNoise);
  std::size_t kept = 0;
  for (auto _ : state) {
    std::vector<Point2> loop = ring;
    simplify(loop);
    kept = loop.size();
    benchmark::DoNotOptimize(loop.data());
  }
  if (kept < 3 || kept >= ring.size()) state.SkipWithError("the ring was not thinned");
  state.counters["kept"] = static_cast<double>(kept);
  state.SetItemsProcessed(state.iterations() * n);
}

template <class Simplify>
void run_path_simplifier(benchmark::State& state, Simplify simplify) {
  const int n = static_cast<int>(state.range(0));
  const std::vector<Point2> ring = noisy_ring(n, kSpacing, kNoise);
  const auto original = coloured_path(ring);
  std::size_t kept = 0;
  for (auto _ : state) {
    auto path = std::make_shared<Quorvex::Path>();
    path->set_points(std::make_shared<Quorvex::Point2Vector>(*original->get_points()));
    path->set_colors(std::make_shared<Quorvex::ColorVector>(*original->get_colors()));
    simplify(path);
    kept = path->get_vn();
    benchmark::DoNotOptimize(path->get_points()->data());
  }
  if (kept < 3 || kept >= ring.size()) state.SkipWithError("the path was not thinned");
  state.counters["kept"] = static_cast<double>(kept);
  state.SetItemsProcessed(state.iterations() * n);
}

void BM_Distance(benchmark::State& state) {
  run_loop_simplifier(state,
                      [](std::vector<Point2>& l) { Quorvex::get_simplified_loop(l, kTolerance); });
}
void BM_DistanceColour(benchmark::State& state) {
  run_path_simplifier(state, [](std::shared_ptr<Quorvex::Path>& p) {
    Quorvex::get_simplified_path_with_colour(p, kTolerance, 0.05f);
  });
}
void BM_QEM(benchmark::State& state) {
  run_loop_simplifier(
      state, [](std::vector<Point2>& l) { Quorvex::get_QEM_simplified_loop(l, kTolerance); });
}
void BM_QEMColour(benchmark::State& state) {
  run_path_simplifier(state, [](std::shared_ptr<Quorvex::Path>& p) {
    Quorvex::get_QEM_simplified_loop_with_colour(p, kTolerance, 0.05f);
  });
}

BENCHMARK(BM_Distance)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DistanceColour)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_QEM)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_QEMColour)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);

}  // namespace
