#include "quorvex/planeGeometry/SimplifyDP.h"

#include <glog/logging.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "quorvex/capture/TestBug.h"

namespace Quorvex {

namespace {

// An arc runs forward on the ring from `first` to `second`; both ends are kept, the vertices
// strictly between them are not decided yet.
using Arc = std::pair<int32_t, int32_t>;

// Number of ring steps from `from` forward to `to`.
int64_t ring_steps(int64_t from, int64_t to, int64_t n) { return (to - from + n) % n; }

// Keeps both ends of every edge whose squared length reaches length * length, closing edge
// first.
void flag_long_edges(const std::vector<Point2>& p, float length, std::vector<bool>& keep) {
  const float limit = length * length;
  const std::size_t n = p.size();
  auto flag_edge = [&](std::size_t i, std::size_t j) {
    const float dx = p[j].x - p[i].x;
    const float dy = p[j].y - p[i].y;
    if (dx * dx + dy * dy >= limit) {
      keep[i] = true;
      keep[j] = true;
    }
  };
  flag_edge(n - 1, 0);
  for (std::size_t i = 1; i < n; ++i) flag_edge(i - 1, i);
}

// Turns the runs of unflagged vertices between flagged ones into arcs.
void push_arcs_between_flags(const std::vector<bool>& keep, std::vector<Arc>& stack) {
  const int32_t n = static_cast<int32_t>(keep.size());
  int32_t open = -1;
  for (int32_t i = 0; i < n; ++i) {
    const bool next_flagged = keep[(i + 1) % n];
    if (open < 0) {
      if (keep[i] && !next_flagged) open = i;
    } else if (keep[i]) {
      stack.emplace_back(open, i);
      open = next_flagged ? -1 : i;
    }
  }
  if (open >= 0) {
    // The last arc runs past the end of the vector to the first flagged vertex.
    int32_t first_flagged = 0;
    while (!keep[first_flagged]) ++first_flagged;
    stack.emplace_back(open, first_flagged);
  }
}

// Keeps the leftmost and the rightmost vertex and pushes the two arcs between them.
// Returns false, with the loop emptied, when the loop cannot span an arc.
bool seed_extremes(std::vector<Point2>& p, std::vector<bool>& keep, std::vector<Arc>& stack) {
  const int32_t n = static_cast<int32_t>(p.size());
  if (n <= 1) {
    p.clear();
    return false;
  }
  int32_t left = 0;
  int32_t right = 0;
  for (int32_t i = 1; i < n; ++i) {
    const Point2& q = p[i];
    if (q.x < p[left].x || (q.x == p[left].x && q.y < p[left].y)) left = i;
    if (q.x > p[right].x || (q.x == p[right].x && q.y > p[right].y)) right = i;
  }
  if (left == right) {
    p.clear();
    return false;
  }
  keep[left] = true;
  keep[right] = true;
  const int64_t forward = ring_steps(left, right, n);
  const int64_t backward = n - forward;
  if (forward >= 2) stack.emplace_back(left, right);
  if (backward >= 2) stack.emplace_back(right, left);
  return true;
}

// Finds the inner vertex of arc (a, b) that lies farthest from its chord, or, when the chord
// has no length, farthest from its end. Returns -1 when no value beats the start value (only
// NaN values can do that).
int32_t farthest_on_arc(const std::vector<Point2>& p, int32_t a, int32_t b, float& best) {
  const int32_t n = static_cast<int32_t>(p.size());
  const Point2 pa = p[a];
  const float dx = p[b].x - pa.x;
  const float dy = p[b].y - pa.y;
  const float chord = std::sqrt(dx * dx + dy * dy);
  best = -std::numeric_limits<float>::max();
  int32_t best_index = -1;

  // The arc may wrap past the end of the vector: visit it as at most two plain ranges so the
  // inner loops carry no modulo.
  auto visit = [&](auto value_of) {
    auto run = [&](int32_t from, int32_t to) {
      for (int32_t i = from; i < to; ++i) {
        const float v = value_of(p[i]);
        if (v > best) {
          best = v;
          best_index = i;
        }
      }
    };
    const int32_t start = a + 1 == n ? 0 : a + 1;
    if (start <= b) {
      run(start, b);
    } else {
      run(start, n);
      run(0, b);
    }
  };

  if (chord != 0.0f) {
    const float ux = dx / chord;
    const float uy = dy / chord;
    visit([&](const Point2& q) { return std::fabs((q.x - pa.x) * uy - (q.y - pa.y) * ux); });
  } else {
    // Ends coincide: rank by squared distance from that point. The test against `radius`
    // stays unsquared all the same; callers tune their radius to that.
    visit([&](const Point2& q) {
      const float ex = q.x - pa.x;
      const float ey = q.y - pa.y;
      return ex * ex + ey * ey;
    });
  }
  return best_index;
}

void refine_arcs(const std::vector<Point2>& p, float radius, std::vector<bool>& keep,
                 std::vector<Arc>& stack) {
  const int64_t n = static_cast<int64_t>(p.size());
  while (!stack.empty()) {
    const Arc arc = stack.back();
    stack.pop_back();
    const int32_t a = arc.first;
    const int32_t b = arc.second;
    float best = 0.0f;
    const int32_t c = farthest_on_arc(p, a, b, best);
    if (c < 0 || !(best > radius)) continue;
    keep[c] = true;
    const int64_t whole = ring_steps(a, b, n);
    const int64_t left = ring_steps(a, c, n);
    if (left > 1) stack.emplace_back(a, c);
    if (whole - left > 1) stack.emplace_back(c, b);
  }
}

void compress_to_flags(std::vector<Point2>& p, const std::vector<bool>& keep) {
  std::size_t out = 0;
  for (std::size_t i = 0; i < p.size(); ++i) {
    if (keep[i]) p[out++] = p[i];
  }
  p.resize(out < 3 ? 0 : out);
}

// Vertices are numbered by signed 32-bit indices; a longer ring would be cut short.
constexpr std::size_t kMaxRingVertices = static_cast<std::size_t>(INT32_MAX);

void simplify_ring_dp(std::vector<Point2>& loop, float radius, float length) {
  // A NaN radius is beaten by no vertex and would strip every loop down to nothing, an
  // infinite one is no tolerance at all: neither is asked of a simplification, and as the
  // result code is always success, the loop is left as it came.
  if (!std::isfinite(radius) || loop.size() > kMaxRingVertices) return;
  if (loop.empty()) return;
  std::vector<bool> keep(loop.size(), false);
  std::vector<Arc> stack;
  if (length > 0.0f) {
    flag_long_edges(loop, length, keep);
    push_arcs_between_flags(keep, stack);
  }
  if (!(length > 0.0f) || stack.empty()) {
    if (!seed_extremes(loop, keep, stack)) return;
  }
  refine_arcs(loop, radius, keep, stack);
  compress_to_flags(loop, keep);
}

}  // namespace

RetVal get_simplified_loop_DP(std::vector<Point2>& loop, float radius, float length) {
  LOG(INFO) << "get_simplified_loop_DP: radius " << radius << ", length " << length;
  // A replay may swap the loop here, so nothing reads it before this call.
  capture_parameter("get_simplified_loop_DP", loop, "loop");
  simplify_ring_dp(loop, radius, length);
  return RETVAL_OK;
}

RetVal get_simplified_loop_DP(std::vector<Point2>& loop, float radius) {
  simplify_ring_dp(loop, radius, 0.0f);
  return RETVAL_OK;
}

}  // namespace Quorvex
