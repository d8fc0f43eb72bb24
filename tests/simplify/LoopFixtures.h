#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "quorvex/baseType/Path.h"
#include "quorvex/baseType/Point2.h"
#include "quorvex/baseType/Types.h"
#include "support/PointEquality.h"

namespace Quorvex {

namespace test {

using Loop = std::vector<Point2>;

const Loop kSquare = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};

// A worked example: the loop, the tolerance, and the exact loop that must come out.
struct WorkedCase {
  const char* name;
  Loop input;
  float tolerance;
  Loop expected;
};

template <class Simplify>
void expect_worked_cases(const std::vector<WorkedCase>& rows, Simplify simplify) {
  for (const WorkedCase& r : rows) {
    Loop loop = r.input;
    EXPECT_EQ(simplify(loop, r.tolerance), RETVAL_OK) << r.name;
    EXPECT_EQ(loop, r.expected) << r.name;
  }
}

// A circle of `n` vertices, widdershins, each pushed off the circle radially by up to `noise`.
inline Loop noisy_ring(int n, float radius, float noise, uint32_t seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> jitter(-noise, noise);
  Loop ring;
  for (int i = 0; i < n; ++i) {
    const double a = 2.0 * M_PI * i / n;
    const float r = radius + jitter(gen);
    ring.emplace_back(static_cast<float>(r * std::cos(a)), static_cast<float>(r * std::sin(a)));
  }
  return ring;
}

// The square of side 10 from the origin, widdershins, with `per_side` evenly spaced vertices
// per side, the corner included.
inline Loop dense_square(int per_side) {
  Loop loop;
  for (int s = 0; s < 4; ++s) {
    for (int k = 0; k < per_side; ++k) {
      const float t = 10.0f * k / per_side;
      const Point2 p[4] = {{t, 0}, {10, t}, {10 - t, 10}, {0, 10 - t}};
      loop.push_back(p[s]);
    }
  }
  return loop;
}

// Indices of `kept` in `original`, matched bitwise in strictly increasing order;
// empty when `kept` is not such a subsequence.
inline std::vector<std::size_t> subsequence_indices(const Loop& kept, const Loop& original) {
  std::vector<std::size_t> idx;
  std::size_t j = 0;
  for (const Point2& p : kept) {
    while (j < original.size() && !(original[j] == p)) ++j;
    if (j == original.size()) return {};
    idx.push_back(j++);
  }
  return idx;
}

inline std::shared_ptr<Path> coloured_path(const Loop& points, const ColorVector& colours) {
  auto path = std::make_shared<Path>();
  path->set_points(std::make_shared<Point2Vector>(points));
  path->set_colors(std::make_shared<ColorVector>(colours));
  return path;
}

}  // namespace test
}  // namespace Quorvex
