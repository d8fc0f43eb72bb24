#pragma once

// Inputs shared by the concurrency tests: a small model of squares with holes and fill
// strokes, loops on a grid, and a runner that starts every worker at once.

#include <atomic>
#include <cmath>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/Layer.h"
#include "quorvex/baseType/Path.h"

namespace qxconc {

using namespace Quorvex;

// Enough workers to overlap on two cores, few enough for ThreadSanitizer.
constexpr int kThreads = 4;

// Runs body(i) for i in [0, kThreads) on its own thread; the bodies start together.
inline void run_together(const std::function<void(int)>& body) {
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      ready.fetch_add(1);
      while (ready.load() < kThreads) std::this_thread::yield();
      body(i);
    });
  }
  for (std::thread& t : threads) t.join();
}

inline std::shared_ptr<Point2Vector> square(float x0, float y0, float side, bool widdershins) {
  auto p = std::make_shared<Point2Vector>();
  p->emplace_back(x0, y0);
  if (widdershins) {
    p->emplace_back(x0 + side, y0);
    p->emplace_back(x0 + side, y0 + side);
    p->emplace_back(x0, y0 + side);
  } else {
    p->emplace_back(x0, y0 + side);
    p->emplace_back(x0 + side, y0 + side);
    p->emplace_back(x0 + side, y0);
  }
  return p;
}

inline std::shared_ptr<Path> path_of(PathType type, std::shared_ptr<Point2Vector> points, float z) {
  auto p = std::make_shared<Path>();
  p->set_type(type);
  p->set_z(z);
  p->set_width(0.4f);
  p->set_points(std::move(points));
  return p;
}

// `regions` squares in a row, each with a hole, a fill stroke and a thin-wall stroke.
inline std::shared_ptr<Layer> make_layer(int id, float z, int regions) {
  auto layer = std::make_shared<Layer>();
  layer->set_id(id);
  layer->set_z(z);
  layer->set_thickness(0.2f);
  for (int r = 0; r < regions; ++r) {
    const float x0 = 30.0f * static_cast<float>(r);
    layer->add_boundary_path(path_of(PATH_TYPE_OUTER, square(x0, 0, 20, true), z));
    layer->add_boundary_path(path_of(PATH_TYPE_INNER, square(x0 + 8, 8, 4, false), z));
    auto stroke = std::make_shared<Point2Vector>();
    stroke->emplace_back(x0 + 1, 1);
    stroke->emplace_back(x0 + 7, 1);
    layer->add_fill_path(path_of(PATH_TYPE_FILL_SEGMENTS_0, stroke, z));
    auto thin = std::make_shared<Point2Vector>();
    thin->emplace_back(x0 + 20, 5);
    thin->emplace_back(x0 + 25, 5);
    layer->add_thinWalledFill_path(path_of(PATH_TYPE_FILL_OTHER, thin, z));
  }
  return layer;
}

inline std::shared_ptr<Entity> make_entity(int layers, int regions, float z0) {
  auto e = std::make_shared<Entity>();
  for (int i = 0; i < layers; ++i) {
    e->add_layer(make_layer(i, z0 + 0.2f * static_cast<float>(i), regions));
  }
  return e;
}

// A star-like loop of `n` vertices around (cx, cy): plenty of work for the simplifiers.
inline std::shared_ptr<Point2Vector> wavy_loop(int n, float cx, float cy, float r) {
  auto p = std::make_shared<Point2Vector>();
  for (int i = 0; i < n; ++i) {
    const float a = 6.2831853f * static_cast<float>(i) / static_cast<float>(n);
    const float rr = r * (1.0f + 0.1f * std::sin(7.0f * a)) + 0.01f * static_cast<float>(i % 3);
    p->emplace_back(cx + rr * std::cos(a), cy + rr * std::sin(a));
  }
  return p;
}

inline bool same_points(const std::vector<Point2>& a, const std::vector<Point2>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i].x != b[i].x || a[i].y != b[i].y) return false;
  }
  return true;
}

inline bool same_loops(const std::vector<std::shared_ptr<Point2Vector>>& a,
                       const std::vector<std::shared_ptr<Point2Vector>>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!same_points(*a[i], *b[i])) return false;
  }
  return true;
}

}  // namespace qxconc
