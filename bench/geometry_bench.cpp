// Loop predicates and the dynamic box tree against Boost.Geometry, in one run.
//
//   point-in-loop  is_point_in_loop        vs boost::geometry::within(point, ring)
//   area           get_area_loop           vs boost::geometry::area(ring), and vs a serial
//                                             loop of the same double sum (team gain)
//   box tree       DynamicTree<AABB2D>     vs boost::geometry::index::rtree, quadratic<16>
//                  create + destroy           and rstar<16>, insert + remove
//
// Each pair checks once, before timing, that both sides computed the same thing.

// The R*-tree's reinsertion sorts a fixed-capacity array that GCC cannot prove filled; the
// warning is about Boost's code, not ours, and must not fail a -Werror build.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#include <benchmark/benchmark.h>
#include <omp.h>

#include <algorithm>
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/ring.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <cmath>
#include <cstddef>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "quorvex/planeGeometry/DynamicTree.h"
#include "quorvex/planeGeometry/LoopPredicates.h"

namespace bg = boost::geometry;
namespace bgi = boost::geometry::index;

namespace {

using Quorvex::AABB2D;
using Quorvex::Point2;

using BPoint = bg::model::d2::point_xy<float>;
// Widdershins and closed: the orientation our loops have, closed as Boost rings usually are.
using BRing = bg::model::ring<BPoint, false, true>;
using BBox = bg::model::box<BPoint>;
using BValue = std::pair<BBox, int>;

// A star-shaped simple loop with a wobbling radius, widdershins.
std::vector<Point2> make_loop(int n) {
  std::mt19937 rng(static_cast<unsigned>(n));
  std::uniform_real_distribution<double> wobble(0.8, 1.0);
  std::vector<Point2> loop;
  loop.reserve(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    const double a = 2.0 * M_PI * i / n;
    const double r = 1000.0 * wobble(rng);
    loop.emplace_back(static_cast<float>(r * std::cos(a)), static_cast<float>(r * std::sin(a)));
  }
  return loop;
}

BRing to_ring(const std::vector<Point2>& loop) {
  BRing ring;
  ring.reserve(loop.size() + 1);
  for (const Point2& p : loop) ring.emplace_back(p.x, p.y);
  ring.emplace_back(loop.front().x, loop.front().y);
  return ring;
}

std::vector<Point2> make_queries() {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> pos(-1100.0f, 1100.0f);
  std::vector<Point2> q(64);
  for (Point2& p : q) p = Point2(pos(rng), pos(rng));
  return q;
}

struct LoopData {
  std::vector<Point2> loop;
  BRing ring;
};

const LoopData& loop_data(int n) {
  static std::map<int, LoopData> cache;
  auto it = cache.find(n);
  if (it == cache.end()) {
    LoopData d;
    d.loop = make_loop(n);
    d.ring = to_ring(d.loop);
    it = cache.emplace(n, std::move(d)).first;
  }
  return it->second;
}

// ---- point in loop ----

void BM_PointInLoop_Quorvex(benchmark::State& state) {
  const LoopData& d = loop_data(static_cast<int>(state.range(0)));
  const std::vector<Point2> queries = make_queries();
  for (const Point2& q : queries) {
    if (Quorvex::is_point_in_loop(q, d.loop) != bg::within(BPoint(q.x, q.y), d.ring)) {
      state.SkipWithError("is_point_in_loop and boost::geometry::within disagree");
      return;
    }
  }
  std::size_t k = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(Quorvex::is_point_in_loop(queries[k], d.loop));
    k = (k + 1) % queries.size();
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_PointInLoop_BoostWithin(benchmark::State& state) {
  const LoopData& d = loop_data(static_cast<int>(state.range(0)));
  std::vector<BPoint> queries;
  for (const Point2& q : make_queries()) queries.emplace_back(q.x, q.y);
  std::size_t k = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(bg::within(queries[k], d.ring));
    k = (k + 1) % queries.size();
  }
  state.SetItemsProcessed(state.iterations());
}

// ---- area ----

// The same double shoelace sum on the calling thread alone, in its fastest form (no wrap
// test in the loop): what the team must beat.
float serial_area(const std::vector<Point2>& loop) {
  const int n = static_cast<int>(loop.size());
  const Point2* p = loop.data();
  double sum = 0.0;
  for (int i = 0; i + 1 < n; ++i) {
    sum += static_cast<double>(p[i].x) * p[i + 1].y - static_cast<double>(p[i].y) * p[i + 1].x;
  }
  sum += static_cast<double>(p[n - 1].x) * p[0].y - static_cast<double>(p[n - 1].y) * p[0].x;
  return static_cast<float>(sum * 0.5);
}

// The library's team sum at every length: where it starts to pay sets the threshold
// below which the library stays on the calling thread.
float team_area(const std::vector<Point2>& loop) {
  const int n = static_cast<int>(loop.size());
  const Point2* p = loop.data();
  double sum = 0.0;
#pragma omp parallel reduction(+ : sum)
  {
    const int threads = omp_get_num_threads();
    const int t = omp_get_thread_num();
    const int q = n / threads;
    const int r = n % threads;
    const int begin = t * q + (t < r ? t : r);
    const int end = begin + q + (t < r ? 1 : 0);
    const int open_end = end < n ? end : n - 1;
    double s = 0.0;
    for (int i = begin; i < open_end; ++i) {
      s += static_cast<double>(p[i].x) * p[i + 1].y - static_cast<double>(p[i].y) * p[i + 1].x;
    }
    if (end == n && begin < end) {
      s += static_cast<double>(p[n - 1].x) * p[0].y - static_cast<double>(p[n - 1].y) * p[0].x;
    }
    sum += s;
  }
  return static_cast<float>(sum * 0.5);
}

bool areas_agree(double a, double b) { return std::fabs(a - b) <= 1e-6 * std::fabs(b); }

void BM_Area_Quorvex(benchmark::State& state) {
  const LoopData& d = loop_data(static_cast<int>(state.range(0)));
  if (!areas_agree(Quorvex::get_area_loop(d.loop), bg::area(d.ring))) {
    state.SkipWithError("get_area_loop and boost::geometry::area disagree");
    return;
  }
  for (auto _ : state) benchmark::DoNotOptimize(Quorvex::get_area_loop(d.loop));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_Area_BoostArea(benchmark::State& state) {
  const LoopData& d = loop_data(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(bg::area(d.ring));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_Area_SerialLoop(benchmark::State& state) {
  const LoopData& d = loop_data(static_cast<int>(state.range(0)));
  if (!areas_agree(serial_area(d.loop), Quorvex::get_area_loop(d.loop))) {
    state.SkipWithError("serial sum and get_area_loop disagree");
    return;
  }
  for (auto _ : state) benchmark::DoNotOptimize(serial_area(d.loop));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_Area_AlwaysTeam(benchmark::State& state) {
  const LoopData& d = loop_data(static_cast<int>(state.range(0)));
  if (!areas_agree(team_area(d.loop), Quorvex::get_area_loop(d.loop))) {
    state.SkipWithError("team sum and get_area_loop disagree");
    return;
  }
  for (auto _ : state) benchmark::DoNotOptimize(team_area(d.loop));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// ---- box tree ----

std::vector<AABB2D> make_boxes(int n) {
  std::mt19937 rng(static_cast<unsigned>(n) * 31u + 1u);
  std::uniform_real_distribution<float> pos(0.0f, 10000.0f);
  std::uniform_real_distribution<float> size(0.0f, 10.0f);
  std::vector<AABB2D> boxes(static_cast<std::size_t>(n));
  for (AABB2D& b : boxes) {
    const float x = pos(rng), y = pos(rng);
    b = AABB2D(x, y, x + size(rng), y + size(rng));
  }
  return boxes;
}

const std::vector<AABB2D>& boxes_of(int n) {
  static std::map<int, std::vector<AABB2D>> cache;
  auto it = cache.find(n);
  if (it == cache.end()) it = cache.emplace(n, make_boxes(n)).first;
  return it->second;
}

// Removal order: shuffled, so neither side removes in its own insertion order.
std::vector<int> removal_order(int n) {
  std::vector<int> order(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) order[static_cast<std::size_t>(i)] = i;
  std::shuffle(order.begin(), order.end(), std::mt19937(99));
  return order;
}

BBox to_bbox(const AABB2D& b) { return BBox(BPoint(b.min_x, b.min_y), BPoint(b.max_x, b.max_y)); }

template <class Params>
bool trees_agree(const std::vector<AABB2D>& boxes) {
  Quorvex::DynamicTree<AABB2D> ours;
  bgi::rtree<BValue, Params> peer;
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    ours.create_proxy(boxes[i], nullptr);
    peer.insert(BValue(to_bbox(boxes[i]), static_cast<int>(i)));
  }
  const AABB2D& root = ours.get_AABB(ours.get_root());
  const auto bounds = peer.bounds();
  const int n = static_cast<int>(boxes.size());
  return ours.get_node_count() == 2 * n - 1 && peer.size() == boxes.size() &&
         root.min_x == bg::get<bg::min_corner, 0>(bounds) &&
         root.min_y == bg::get<bg::min_corner, 1>(bounds) &&
         root.max_x == bg::get<bg::max_corner, 0>(bounds) &&
         root.max_y == bg::get<bg::max_corner, 1>(bounds);
}

void BM_Tree_Quorvex(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const std::vector<AABB2D>& boxes = boxes_of(n);
  const std::vector<int> order = removal_order(n);
  if (!trees_agree<bgi::quadratic<16>>(boxes_of(1000))) {
    state.SkipWithError("DynamicTree and rtree disagree on the bounds");
    return;
  }
  std::vector<int> ids(static_cast<std::size_t>(n));
  for (auto _ : state) {
    Quorvex::DynamicTree<AABB2D> tree;
    for (int i = 0; i < n; ++i)
      ids[static_cast<std::size_t>(i)] = tree.create_proxy(boxes[i], nullptr);
    for (int i : order) tree.destroy_proxy(ids[static_cast<std::size_t>(i)]);
    if (tree.get_node_count() != 0) state.SkipWithError("tree not empty after destroying all");
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * 2 * n);
}

template <class Params>
void BM_Tree_BoostRtree(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const std::vector<AABB2D>& boxes = boxes_of(n);
  const std::vector<int> order = removal_order(n);
  std::vector<BValue> values;
  values.reserve(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) values.emplace_back(to_bbox(boxes[static_cast<std::size_t>(i)]), i);
  for (auto _ : state) {
    bgi::rtree<BValue, Params> tree;
    for (const BValue& v : values) tree.insert(v);
    for (int i : order) tree.remove(values[static_cast<std::size_t>(i)]);
    if (!tree.empty()) state.SkipWithError("rtree not empty after removing all");
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * 2 * n);
}

}  // namespace

BENCHMARK(BM_PointInLoop_Quorvex)->Arg(16)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_PointInLoop_BoostWithin)->Arg(16)->Arg(1000)->Arg(1000000);

BENCHMARK(BM_Area_Quorvex)->Arg(16)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_Area_BoostArea)->Arg(16)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_Area_SerialLoop)->Arg(16)->Arg(1000)->Arg(1000000);
// Threshold sweep: the serial loop against an unconditional team, and the library between.
BENCHMARK(BM_Area_SerialLoop)->RangeMultiplier(2)->Range(2048, 131072);
BENCHMARK(BM_Area_AlwaysTeam)->RangeMultiplier(2)->Range(2048, 131072);
BENCHMARK(BM_Area_Quorvex)->RangeMultiplier(2)->Range(2048, 131072);

BENCHMARK(BM_Tree_Quorvex)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Tree_BoostRtree, bgi::quadratic<16>)
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Tree_BoostRtree, bgi::rstar<16>)
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);
