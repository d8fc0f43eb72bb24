#include "quorvex/planeGeometry/SimplifyDistance.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "quorvex/baseType/Path.h"

namespace Quorvex {

namespace {

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
constexpr float kFirstStepFraction = 0.00390625f;  // one 256th of the final tolerance

// Float-to-int truncation toward zero; values past the 32-bit range stop at its ends
// instead of leaving the result to the hardware.
int32_t truncate_to_i32(double v) {
  if (v >= 2147483647.0) return std::numeric_limits<int32_t>::max();
  if (v <= -2147483648.0) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(v);
}

float colour_distance_f32(const Color3f& a, const Color3f& b) {
  const float dr = a[0] - b[0];
  const float dg = a[1] - b[1];
  const float db = a[2] - b[2];
  return std::sqrt(dr * dr + dg * dg + db * db);
}

float squared_distance_f32(const Point2& a, const Point2& b) {
  const float dx = a.x - b.x;
  const float dy = a.y - b.y;
  return dx * dx + dy * dy;
}

// The sweep threshold: a hundredth of the step, formed in double.
float sweep_eps_f32(float step) { return static_cast<float>(static_cast<double>(step) * 0.01); }

// True when vertex i lies within eps of a neighbour, or its bend 1 + cos(angle) weighted by
// either edge length is below eps (so nearly straight runs go first).
bool is_removable_vertex(float eps, std::size_t i, const std::vector<Point2>& p) {
  const std::size_t n = p.size();
  const Point2 c = p[i];
  const Point2 a = p[(i + n - 1) % n] - c;
  const float la = a.length();
  if (eps > la) return true;
  const Point2 b = p[(i + 1) % n] - c;
  const float lb = b.length();
  if (eps > lb) return true;
  const float uax = a.x / la;
  const float uay = a.y / la;
  const float ubx = b.x / lb;
  const float uby = b.y / lb;
  // The products stay float; the sum with 1.0 is taken in double and narrowed once.
  const float f = static_cast<float>(uax * ubx + 1.0 + uay * uby);
  return eps > f * la || eps > f * lb;
}

// Vertex i is a candidate unless its index has the parity of `phase` or it is the protected
// end; protecting 0 in phase 0 and n-1 in phase 1 keeps the pair (n-1, 0) from both being
// candidates on an odd ring.
bool is_sweep_candidate(std::size_t i, std::size_t n, int phase) {
  const std::size_t protected_index = phase == 0 ? 0 : n - 1;
  return static_cast<int>(i % 2) != phase && i != protected_index;
}

// Every test reads the sequence as it was before the sweep, so the result is built aside.
void sweep_loop(std::vector<Point2>& p, float step, int phase) {
  const std::size_t n = p.size();
  if (n < 2) return;
  const float eps = sweep_eps_f32(step);
  std::vector<Point2> out;
  out.reserve(n);
  for (std::size_t i = 0; i < n; ++i) {
    if (!is_sweep_candidate(i, n, phase) || !is_removable_vertex(eps, i, p)) out.push_back(p[i]);
  }
  p.swap(out);
}

void sweep_coloured(Point2Vector& p, ColorVector& colours, float step, float colour_tolerance,
                    int phase) {
  const std::size_t n = p.size();
  if (n < 2) return;
  const float eps = sweep_eps_f32(step);
  Point2Vector out;
  ColorVector out_colours;
  out.reserve(n);
  out_colours.reserve(n);
  for (std::size_t i = 0; i < n; ++i) {
    bool stays = !is_sweep_candidate(i, n, phase);
    if (!stays) {
      const Color3f& own = colours[i];
      stays = colour_distance_f32(own, colours[(i + n - 1) % n]) > colour_tolerance ||
              colour_distance_f32(own, colours[(i + 1) % n]) > colour_tolerance ||
              !is_removable_vertex(eps, i, p);
    }
    if (stays) {
      out.push_back(p[i]);
      out_colours.push_back(colours[i]);
    }
  }
  p.swap(out);
  colours.swap(out_colours);
}

// Removes ring successors closer than the tolerance, pass after pass, over a singly linked
// list of indices so that a removal costs constant time. Each node is compared once per pass.
void thin_ring_neighbours(std::vector<Point2>& p, float tolerance) {
  const std::size_t n = p.size();
  if (n == 0) return;
  const float limit = tolerance * tolerance;
  std::vector<std::size_t> next(n);
  for (std::size_t i = 0; i + 1 < n; ++i) next[i] = i + 1;
  next[n - 1] = kNone;
  std::size_t head = 0;
  bool changed = true;
  while (changed) {
    changed = false;
    for (std::size_t node = head; node != kNone; node = next[node]) {
      const std::size_t successor = next[node] != kNone ? next[node] : head;
      if (successor == node) break;
      if (limit > squared_distance_f32(p[node], p[successor])) {
        if (successor == head) {
          head = next[head];  // node is the last one: the ring loses its first node
        } else {
          next[node] = next[successor];
        }
        changed = true;
      }
    }
  }
  std::vector<Point2> out;
  for (std::size_t node = head; node != kNone; node = next[node]) out.push_back(p[node]);
  p.swap(out);
}

// Along the path, not round it: the last and first points are never compared, so the first
// point always survives.
void thin_path_neighbours(Point2Vector& p, ColorVector& colours, float tolerance,
                          float colour_tolerance) {
  const std::size_t n = p.size();
  if (n != colours.size() || n == 0) return;
  const float limit = tolerance * tolerance;
  // next[i] is the next flagged index above the flagged index i.
  std::vector<std::size_t> next(n);
  for (std::size_t i = 0; i + 1 < n; ++i) next[i] = i + 1;
  next[n - 1] = kNone;
  bool changed = true;
  while (changed) {
    changed = false;
    for (std::size_t i = 0; i != kNone && i + 1 < n; i = next[i]) {
      const std::size_t k = next[i];
      if (k == kNone) break;
      if (limit > squared_distance_f32(p[i], p[k]) &&
          colour_tolerance > colour_distance_f32(colours[i], colours[k])) {
        next[i] = next[k];
        changed = true;
      }
    }
  }
  Point2Vector out;
  ColorVector out_colours;
  for (std::size_t i = 0; i != kNone; i = next[i]) {
    out.push_back(p[i]);
    out_colours.push_back(colours[i]);
  }
  p.swap(out);
  colours.swap(out_colours);
}

}  // namespace

RetVal get_simplified_loop(std::vector<Point2>& loop, float tolerance) {
  const std::size_t n = loop.size();
  if (n < 2) return RETVAL_BAD_INPUT;
  float step = tolerance * kFirstStepFraction;
  const int32_t limit = truncate_to_i32(static_cast<float>(n) * 256.0f);
  if (limit > 1) {
    // The counter doubles, so the rounds are bounded by log2(limit) whatever the tolerance.
    for (int64_t counter = 1; counter < limit; counter *= 2) {
      const std::size_t before = loop.size();
      sweep_loop(loop, step, 0);
      sweep_loop(loop, step, 1);
      float next = step + step;
      if (loop.size() == before) {
        if (next > tolerance) break;
        next = static_cast<float>(static_cast<double>(next) * 1.5);
      }
      step = next > tolerance ? tolerance : next;
    }
  }
  thin_ring_neighbours(loop, tolerance);
  return RETVAL_OK;
}

RetVal get_simplified_path_with_colour(std::shared_ptr<Path>& path, float tolerance,
                                       float colour_tolerance) {
  if (!path) return RETVAL_BAD_INPUT;
  const std::shared_ptr<Point2Vector> points = path->get_points();
  const std::shared_ptr<ColorVector> colours = path->get_colors();
  if (!points || points->size() < 2) return RETVAL_BAD_INPUT;
  // The sweeps read a colour for every point index, and the closing pass would pass over a
  // path whose colours outnumber its points, leaving colours that belong to no point.
  if (!colours || colours->size() != points->size()) return RETVAL_BAD_INPUT;

  const std::size_t n = points->size();
  double step = static_cast<double>(tolerance) * kFirstStepFraction;
  const int32_t limit = truncate_to_i32(static_cast<double>(n) * 256.0);
  if (limit > 1) {
    for (int64_t counter = 1; counter < limit; counter *= 2) {
      const std::size_t before = points->size();
      sweep_coloured(*points, *colours, static_cast<float>(step), colour_tolerance, 0);
      sweep_coloured(*points, *colours, static_cast<float>(step), colour_tolerance, 1);
      double next = step + step;
      if (points->size() == before) {
        if (next > tolerance) break;
        next = next * 1.5;
      }
      step = next > tolerance ? tolerance : next;
    }
  }
  thin_path_neighbours(*points, *colours, tolerance, colour_tolerance);
  return RETVAL_OK;
}

}  // namespace Quorvex
