// How cost grows with size: fill generation, region numbering and G-code emission, each at
// sizes growing by a factor of 10. No peer: these rows are read as time per item against
// size (items_per_second), and each size checks once that its result has the size asked for.
//
//   fill      a disc crossed by N scan lines, its outline of 4 N vertices
//   regions   a layer of N square regions, each an outer loop with one hole and a fill path
//   gcode     an entity of N paths of 50 points, 100 paths a layer

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/Layer.h"
#include "quorvex/baseTypeIO/GCode.h"
#include "quorvex/fill/FillLine.h"

namespace {

using namespace Quorvex;

constexpr float kSpacing = 0.4f;

std::shared_ptr<const Point2Vector> disc(int lines) {
  const double radius = 0.5 * kSpacing * lines;
  const int n = 4 * lines;
  auto loop = std::make_shared<Point2Vector>();
  loop->reserve(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    const double a = 2.0 * M_PI * i / n;
    loop->emplace_back(static_cast<float>(radius * std::cos(a)),
                       static_cast<float>(radius * std::sin(a)));
  }
  return loop;
}

void BM_ScaleFill(benchmark::State& state) {
  const int lines = static_cast<int>(state.range(0));
  const std::vector<std::shared_ptr<const Point2Vector>> loops = {disc(lines)};
  std::size_t made = 0;
  for (auto _ : state) {
    std::vector<std::shared_ptr<Point2Vector>> out;
    get_fill_line_from_loops(loops, out, kSpacing, 37.0f, 0.0f, false);
    made = out.size();
    benchmark::DoNotOptimize(out.data());
  }
  // Every scan line across the disc but perhaps the outermost two yields a segment.
  if (made + 2 < static_cast<std::size_t>(lines)) state.SkipWithError("too few fill lines");
  state.SetItemsProcessed(state.iterations() * lines);
}
BENCHMARK(BM_ScaleFill)->RangeMultiplier(10)->Range(10, 10000)->Unit(benchmark::kMicrosecond);

std::shared_ptr<Path> square(float x, float y, float side, PathType type) {
  auto p = std::make_shared<Path>();
  p->set_type(type);
  auto pts = std::make_shared<Point2Vector>();
  // Outer loops widdershins, holes clockwise.
  if (type == PATH_TYPE_OUTER) {
    *pts = {{x, y}, {x + side, y}, {x + side, y + side}, {x, y + side}};
  } else {
    *pts = {{x, y}, {x, y + side}, {x + side, y + side}, {x + side, y}};
  }
  p->set_points(pts);
  return p;
}

std::shared_ptr<Layer> layer_of_regions(int regions) {
  auto layer = std::make_shared<Layer>();
  const int row = static_cast<int>(std::ceil(std::sqrt(regions)));
  for (int k = 0; k < regions; ++k) {
    const float x = 10.0f * static_cast<float>(k % row);
    const float y = 10.0f * static_cast<float>(k / row);
    layer->add_boundary_path(square(x, y, 8.0f, PATH_TYPE_OUTER));
    layer->add_boundary_path(square(x + 2.0f, y + 2.0f, 4.0f, PATH_TYPE_INNER));
    auto fill = square(x + 1.0f, y + 1.0f, 0.5f, PATH_TYPE_FILL_OTHER);
    layer->add_fill_path(fill);
  }
  return layer;
}

void BM_ScaleRegionNumbering(benchmark::State& state) {
  const int regions = static_cast<int>(state.range(0));
  const std::shared_ptr<Layer> original = layer_of_regions(regions);
  int last_id = -1;
  for (auto _ : state) {
    state.PauseTiming();
    auto layer = std::make_shared<Layer>(*original);
    state.ResumeTiming();
    layer->number_region();
    last_id = layer->get_boundary_paths().back()->get_id();
    benchmark::DoNotOptimize(last_id);
  }
  // The hole of the last square belongs to the last region.
  if (last_id != regions - 1) state.SkipWithError("regions numbered otherwise");
  state.SetItemsProcessed(state.iterations() * regions);
}
BENCHMARK(BM_ScaleRegionNumbering)
    ->RangeMultiplier(10)
    ->Range(10, 10000)
    ->Unit(benchmark::kMicrosecond);

Entity entity_of_paths(int paths) {
  Entity e;
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> coord(0.0f, 200.0f);
  constexpr int kPathsPerLayer = 100;
  for (int first = 0; first < paths; first += kPathsPerLayer) {
    auto layer = std::make_shared<Layer>();
    const float z = 0.2f * static_cast<float>(first / kPathsPerLayer + 1);
    layer->set_z(z);
    for (int p = first; p < paths && p < first + kPathsPerLayer; ++p) {
      auto path = std::make_shared<Path>();
      path->set_z(z);
      path->set_type(p % 2 ? PATH_TYPE_INNER : PATH_TYPE_OUTER);
      path->resize_vn(50);
      for (auto& pt : *path->get_points()) pt = Point2(coord(rng), coord(rng));
      layer->add_boundary_path(path);
    }
    e.add_layer(layer);
  }
  return e;
}

void BM_ScaleGCode(benchmark::State& state) {
  const int paths = static_cast<int>(state.range(0));
  const Entity e = entity_of_paths(paths);
  GCode gcode(4, {STRUCTURE_BOUNDARY});
  std::size_t bytes = 0;
  for (auto _ : state) {
    gcode.get_gcode_from_entity(e);
    bytes = 0;
    for (const auto& t : gcode.get_outputs()) bytes += t.size();
    benchmark::DoNotOptimize(bytes);
  }
  // At least the 50 moves of every path.
  if (bytes < static_cast<std::size_t>(paths) * 50 * 10) state.SkipWithError("text too short");
  state.SetItemsProcessed(state.iterations() * paths);
}
BENCHMARK(BM_ScaleGCode)->RangeMultiplier(10)->Range(100, 100000)->Unit(benchmark::kMicrosecond);

}  // namespace
