#pragma once

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "quorvex/polygon/Clipper.h"

namespace Quorvex {
namespace testing_support {

using Loop = std::shared_ptr<Point2Vector const>;
using Loops = std::vector<Loop>;
using OutLoops = std::vector<std::shared_ptr<Point2Vector>>;

// Opens the protected members of Clipper to the tests, as a derived class may.
class ProbeClipper : public Clipper {
 public:
  using Clipper::clean_polygon;
  using Clipper::clip_paths;
  using Clipper::Clipper;
  using Clipper::convert_from_clipper;
  using Clipper::execute_using_polytree;
  using Clipper::fixed_clip;
  using Clipper::fixed_result;
  using Clipper::fixed_subject;
  using Clipper::multiple;
  using Clipper::orientation;
  using Clipper::simplify_polygons;
  using Clipper::strictly_simple;
  using Clipper::subject_paths;
  using Clipper::tree;
};

// Axis-aligned square, counter-clockwise with y up (or clockwise when asked).
inline Loop square(float x0, float y0, float side, bool widdershins = true) {
  auto p = std::make_shared<Point2Vector>(
      Point2Vector{{x0, y0}, {x0 + side, y0}, {x0 + side, y0 + side}, {x0, y0 + side}});
  if (!widdershins) std::reverse(p->begin(), p->end());
  return p;
}

inline std::shared_ptr<Point2Vector> writable(const Loop& loop) {
  return std::make_shared<Point2Vector>(*loop);
}

// Shoelace area in double, positive for counter-clockwise loops.
inline double signed_area(const std::vector<Point2>& loop) {
  double a = 0.0;
  for (std::size_t i = 0, n = loop.size(); i < n; ++i) {
    const Point2 &p = loop[i], &q = loop[(i + 1) % n];
    a += static_cast<double>(p.x) * q.y - static_cast<double>(q.x) * p.y;
  }
  return a / 2.0;
}

template <class LoopVector>
inline double total_abs_area(const LoopVector& loops) {
  double a = 0.0;
  for (const auto& l : loops) a += std::fabs(signed_area(*l));
  return a;
}

// Point2 has no equality of its own: compare bit for bit as floats compare.
inline bool same_points(const std::vector<Point2>& a, const std::vector<Point2>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const Point2& p, const Point2& q) { return p.x == q.x && p.y == q.y; });
}

}  // namespace testing_support
}  // namespace Quorvex
