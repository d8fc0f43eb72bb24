#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "quorvex/baseType/Point2.h"
#include "support/PointEquality.h"

namespace Quorvex {

namespace fill_test {

using Loops = std::vector<std::shared_ptr<const Point2Vector>>;
using Lines = std::vector<std::shared_ptr<Point2Vector>>;
using Pts = std::vector<Point2>;

inline std::shared_ptr<const Point2Vector> loop(std::initializer_list<Point2> pts) {
  return std::make_shared<const Point2Vector>(pts);
}

// Widdershins, or clockwise as a hole.
inline std::shared_ptr<const Point2Vector> rect(float x0, float y0, float x1, float y1,
                                                bool hole = false) {
  return hole ? loop({{x0, y0}, {x0, y1}, {x1, y1}, {x1, y0}})
              : loop({{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}});
}

// The point sequences of `lines`, to compare with EXPECT_EQ.
template <class L>
std::vector<Pts> flat(const std::vector<L>& lines) {
  std::vector<Pts> out;
  for (const auto& l : lines) out.emplace_back(l->begin(), l->end());
  return out;
}

// Even-odd parity of a horizontal ray from p, in double.
inline bool inside_even_odd(const Loops& loops, double px, double py) {
  bool in = false;
  for (const auto& l : loops) {
    for (size_t i = 0, j = l->size() - 1; i < l->size(); j = i++) {
      const double xi = (*l)[i].x, yi = (*l)[i].y, xj = (*l)[j].x, yj = (*l)[j].y;
      if ((yi > py) != (yj > py) && px < (xj - xi) * (py - yi) / (yj - yi) + xi) in = !in;
    }
  }
  return in;
}

inline double distance_to_outline(const Loops& loops, double px, double py) {
  double best = 1e300;
  for (const auto& l : loops) {
    for (size_t i = 0, j = l->size() - 1; i < l->size(); j = i++) {
      const Point2 &a = (*l)[j], &b = (*l)[i];
      const double dx = b.x - a.x, dy = b.y - a.y, l2 = dx * dx + dy * dy;
      const double t = l2 > 0 ? std::clamp(((px - a.x) * dx + (py - a.y) * dy) / l2, 0.0, 1.0) : 0;
      best = std::min(best, std::hypot(a.x + t * dx - px, a.y + t * dy - py));
    }
  }
  return best;
}

// A star-shaped loop around (cx, cy) with radii drawn from [r0, r1]; widdershins unless
// `clockwise`.
inline std::shared_ptr<const Point2Vector> star_loop(std::mt19937& rng, double cx, double cy,
                                                     double r0, double r1, int n, bool clockwise) {
  std::uniform_real_distribution<double> radius(r0, r1);
  auto pts = std::make_shared<Point2Vector>();
  for (int i = 0; i < n; ++i) {
    const double t = (clockwise ? -1.0 : 1.0) * 2.0 * M_PI * i / n;
    const double r = radius(rng);
    pts->emplace_back(static_cast<float>(cx + r * std::cos(t)),
                      static_cast<float>(cy + r * std::sin(t)));
  }
  return pts;
}

// An outer star around the origin with up to `holes` star-shaped holes that keep clear of
// each other and of the outer loop.
inline Loops random_region(std::mt19937& rng, int outer_vertices, int holes) {
  Loops loops = {star_loop(rng, 0.0, 0.0, 30.0, 50.0, outer_vertices, false)};
  std::uniform_real_distribution<double> pos(-15.0, 15.0);
  std::uniform_int_distribution<int> count(3, 12);
  std::vector<std::array<double, 2>> placed;
  for (int h = 0; h < holes; ++h) {
    const double cx = pos(rng), cy = pos(rng);
    bool clear = true;
    for (const auto& c : placed) clear = clear && std::hypot(c[0] - cx, c[1] - cy) >= 8.5;
    if (!clear) continue;
    placed.push_back({cx, cy});
    loops.push_back(star_loop(rng, cx, cy, 1.0, 4.0, count(rng), (h % 2) == 0));
  }
  return loops;
}

}  // namespace fill_test
}  // namespace Quorvex
