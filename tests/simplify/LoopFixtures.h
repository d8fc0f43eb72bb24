#pragma once

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "quorvex/baseType/Point2.h"

namespace Quorvex {
namespace test {

// A circle of `n` vertices, widdershins, each pushed off the circle radially by up to `noise`.
inline std::vector<Point2> noisy_ring(int n, float radius, float noise, uint32_t seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> jitter(-noise, noise);
  std::vector<Point2> ring;
  ring.reserve(n);
  for (int i = 0; i < n; ++i) {
    const double a = 2.0 * M_PI * i / n;
    const float r = radius + jitter(gen);
    ring.emplace_back(static_cast<float>(r * std::cos(a)), static_cast<float>(r * std::sin(a)));
  }
  return ring;
}

// Square of side `side` from the origin, widdershins, with `per_side` vertices per side
// (corner included), each off its side by up to `noise`.
inline std::vector<Point2> square_with_side_points(int per_side, float side, float noise,
                                                   uint32_t seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> jitter(-noise, noise);
  std::vector<Point2> loop;
  const Point2 corner[4] = {{0, 0}, {side, 0}, {side, side}, {0, side}};
  for (int s = 0; s < 4; ++s) {
    const Point2 a = corner[s];
    const Point2 b = corner[(s + 1) % 4];
    loop.push_back(a);
    for (int k = 1; k < per_side; ++k) {
      const float t = static_cast<float>(k) / per_side;
      const float off = jitter(gen);
      // Perpendicular offset: the sides are axis-aligned.
      loop.emplace_back(a.x + (b.x - a.x) * t + (a.y == b.y ? 0 : off),
                        a.y + (b.y - a.y) * t + (a.x == b.x ? 0 : off));
    }
  }
  return loop;
}

inline bool same_point(const Point2& a, const Point2& b) { return a.x == b.x && a.y == b.y; }

// Indices of `kept` in `original`, matched bitwise in strictly increasing order;
// empty when `kept` is not such a subsequence.
inline std::vector<std::size_t> subsequence_indices(const std::vector<Point2>& kept,
                                                    const std::vector<Point2>& original) {
  std::vector<std::size_t> idx;
  std::size_t j = 0;
  for (const Point2& p : kept) {
    while (j < original.size() && !same_point(original[j], p)) ++j;
    if (j == original.size()) return {};
    idx.push_back(j++);
  }
  return idx;
}

// Distance of q from the line through a and b, in double.
inline double line_distance(const Point2& a, const Point2& b, const Point2& q) {
  const double dx = double(b.x) - a.x, dy = double(b.y) - a.y;
  const double len = std::sqrt(dx * dx + dy * dy);
  if (len == 0) return std::hypot(double(q.x) - a.x, double(q.y) - a.y);
  return std::fabs((double(q.x) - a.x) * dy - (double(q.y) - a.y) * dx) / len;
}

}  // namespace test
}  // namespace Quorvex
