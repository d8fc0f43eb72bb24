#include "quorvex/planeGeometry/LoopPredicates.h"

#include <omp.h>

#include <algorithm>
#include <cmath>

namespace Quorvex {

namespace {

// Tolerance of the side-area tests; a double, so float values are widened to compare.
constexpr double kSideAreaTolerance = 1e-5;
// A query point this close to a vertex, in each coordinate, is on the loop. The float
// differences are compared with the double 1e-14; kVertexToleranceF32 is the smallest
// float not below it, so `f < kVertexToleranceF32` gives the same answer for every float
// f without widening it.
constexpr double kVertexTolerance = 1e-14;
constexpr float kVertexToleranceF32 = 0x1.6849bap-47f;
static_assert(static_cast<double>(kVertexToleranceF32) >= kVertexTolerance,
              "the float bound must not lie below the double tolerance");

int loop_size_i32(const std::vector<Point2>& loop) { return static_cast<int>(loop.size()); }

// The shoelace term of one edge, every coordinate widened before the products.
inline double shoelace_term_f64(const Point2& p, const Point2& q) {
  return static_cast<double>(p.x) * static_cast<double>(q.y) -
         static_cast<double>(p.y) * static_cast<double>(q.x);
}

// The doubled area contributed by the edges that start at indices [begin, end), added in
// index order. Edge i ends at i + 1, and the last edge closes the loop at 0.
double shoelace_block_f64(const Point2* p, int n, int begin, int end) {
  double sum = 0.0;
  const int open_end = end < n ? end : n - 1;
  for (int i = begin; i < open_end; ++i) sum += shoelace_term_f64(p[i], p[i + 1]);
  if (end == n && begin < end) sum += shoelace_term_f64(p[n - 1], p[0]);
  return sum;
}

// The block of [0, n) that OpenMP's static schedule without a chunk size gives thread
// `t` of `threads`: sizes differ by at most one, the larger blocks first.
void static_schedule_block(int n, int threads, int t, int& begin, int& end) {
  const int q = n / threads;
  const int r = n % threads;
  begin = t * q + (t < r ? t : r);
  end = begin + q + (t < r ? 1 : 0);
}

// The segment a-b laid along the x axis: the turn, the segment's ends in the turned frame.
struct TurnedSegment {
  float c = 0.0f;
  float s = 0.0f;
  float y = 0.0f;
  float x_lo = 0.0f;
  float x_hi = 0.0f;
};

inline Point2 turn_f32(const Point2& p, float c, float s) {
  return Point2(p.x * c - p.y * s, p.y * c + p.x * s);
}

// False for a segment of no length (or NaN length), which meets nothing.
bool make_turned_segment(const Point2& a, const Point2& b, TurnedSegment& seg) {
  const Point2 d = b - a;
  const float len = std::sqrt(d.x * d.x + d.y * d.y);
  if (!(len > 0.0f)) return false;
  seg.c = d.x / len;
  seg.s = -d.y / len;
  const Point2 a2 = turn_f32(a, seg.c, seg.s);
  const Point2 b2 = turn_f32(b, seg.c, seg.s);
  seg.y = a2.y;
  seg.x_lo = std::min(a2.x, b2.x);
  seg.x_hi = std::max(a2.x, b2.x);
  return true;
}

bool turned_segment_meets_loop(const TurnedSegment& seg, const std::vector<Point2>& loop) {
  const int n = loop_size_i32(loop);
  if (n < 1) return false;
  const float Y = seg.y;
  Point2 p = turn_f32(loop[0], seg.c, seg.s);
  for (int i = 0; i < n; ++i) {
    const Point2 q = turn_f32(loop[i + 1 < n ? i + 1 : 0], seg.c, seg.s);
    if ((Y > p.y) != (Y > q.y) || Y == p.y || Y == q.y) {
      // An edge on the line gives 0 / 0: NaN fails both bounds and is no crossing.
      const float X = (Y - p.y) / (q.y - p.y) * (q.x - p.x) + p.x;
      if (!std::isnan(X) && X >= seg.x_lo && X <= seg.x_hi) return true;
    }
    p = q;
  }
  return false;
}

// Both side values beyond the tolerance on the same side: the line does not separate.
inline bool same_strict_side(float s1, float s2) {
  return (s1 < -kSideAreaTolerance && s2 < -kSideAreaTolerance) ||
         (s1 > kSideAreaTolerance && s2 > kSideAreaTolerance);
}

inline bool within_side_tolerance(float s) {
  return s >= -kSideAreaTolerance && s <= kSideAreaTolerance;
}

// The two ends of the stretch of the loop on one side of its box.
struct ExtremePair {
  int first = 0;
  int second = 0;
};

// `along` is the coordinate that sets the extreme, `across` orders a tie on it.
// `beyond(v, w)` says v is more extreme than w; `tie_first` and `tie_second` say which
// end of the stretch a tied point replaces.
template <class Beyond, class TieFirst, class TieSecond>
inline void update_extreme(ExtremePair& e, int i, float along, float along_first, float across,
                           float across_first, float across_second, Beyond beyond,
                           TieFirst tie_first, TieSecond tie_second) {
  if (beyond(along, along_first)) {
    e.first = i;
    e.second = i;
  } else if (along == along_first) {
    if (tie_first(across, across_first)) {
      e.first = i;
    } else if (tie_second(across, across_second)) {
      e.second = i;
    }
  }
}

}  // namespace

float get_area_loop(const std::vector<Point2>& loop) {
  const int n = loop_size_i32(loop);
  if (n <= 0) return 0.0f;
  const Point2* p = loop.data();
  if (n < kAreaLoopParallelThreshold) {
    // One thread, in index order, as a team of one would sum, without the cost of opening
    // a region: for a short loop that cost is several times the sum itself.
    return static_cast<float>(shoelace_block_f64(p, n, 0, n) * 0.5);
  }
  // The one parallel region of the library. Each thread takes the contiguous block the
  // static schedule without a chunk size gives it, sums it in order in its own double, and
  // the reduction adds the blocks up. The split is written out rather than left to an
  // `omp for`, so that a block's body is a plain run over consecutive points without the
  // wrap test: only the block that holds the last index adds the closing edge, at its end.
  double sum = 0.0;
#pragma omp parallel reduction(+ : sum)
  {
    int begin = 0;
    int end = 0;
    static_schedule_block(n, omp_get_num_threads(), omp_get_thread_num(), begin, end);
    sum += shoelace_block_f64(p, n, begin, end);
  }
  return static_cast<float>(sum * 0.5);
}

bool is_widdershins(const std::vector<Point2>& loop) { return get_area_loop(loop) > 0.0f; }

int get_number_of_intersections_to_left(const std::vector<Point2>& loop, const Point2& point) {
  const int n = loop_size_i32(loop);
  if (n < 1) return 0;
  const float px = point.x;
  const float py = point.y;
  // Every early answer is 1, whichever test finds the point on the loop first, so the
  // tests may run in any order. Each vertex is tested once, as the start of its edge
  // (the end of an edge is the start of the next). An edge whose ends both lie strictly
  // above or both strictly below the ray's height can neither take part nor hold the
  // point, and most edges end there: the float differences to the ray's height carry that
  // test from one edge to the next. A product that underflows or a NaN only sends the edge
  // on to the exact tests below.
  const Point2* p = loop.data();
  int count = 0;
  Point2 a = p[0];
  float dya = py - a.y;
  for (int i = 0; i < n; ++i) {
    const Point2 b = p[i + 1 < n ? i + 1 : 0];
    const float dyb = py - b.y;
    if (std::fabs(dya) < kVertexToleranceF32 && std::fabs(px - a.x) < kVertexToleranceF32) {
      return 1;
    }
    if (!(dya * dyb > 0.0f)) {
      const bool on_a = py == a.y;
      const bool on_b = py == b.y;
      bool takes_part = false;
      if (on_a && on_b) {
        // A horizontal edge at the point's height holds it or is passed over.
        if ((px > a.x) != (px > b.x)) return 1;
      } else if (on_a) {
        // A vertex on the ray belongs to the edge that rises from it.
        takes_part = b.y > a.y;
      } else if (on_b) {
        takes_part = a.y > b.y;
      } else {
        takes_part = (py > a.y) != (py > b.y);
      }
      if (takes_part) {
        const float X = (py - a.y) / (b.y - a.y) * (b.x - a.x) + a.x;
        if (X == px) return 1;
        if (px > X) ++count;
      }
    }
    a = b;
    dya = dyb;
  }
  return count;
}

bool is_point_in_loop(const Point2& point, const std::vector<Point2>& loop) {
  return (get_number_of_intersections_to_left(loop, point) & 1) != 0;
}

bool is_line_intersecting_loop(const Point2& a, const Point2& b, const std::vector<Point2>& loop) {
  TurnedSegment seg;
  if (!make_turned_segment(a, b, seg)) return false;
  return turned_segment_meets_loop(seg, loop);
}

bool is_loop_intersecting_other_loop(const std::vector<Point2>& first,
                                     const std::vector<Point2>& second) {
  const int n = loop_size_i32(first);
  if (n < 1 || second.empty()) return false;
  for (int i = 0; i < n; ++i) {
    TurnedSegment seg;
    if (!make_turned_segment(first[i], first[i + 1 < n ? i + 1 : 0], seg)) continue;
    if (turned_segment_meets_loop(seg, second)) return true;
  }
  return false;
}

bool is_widdershins_simple(const std::vector<Point2>& loop) {
  const int size = loop_size_i32(loop);
  // No vertex, no vote and no area: the tie's fallback would say false, so say it here
  // without reading a point that is not there.
  if (size < 1) return false;
  const Point2* p = loop.data();
  ExtremePair left, right, low, high;
  const auto below = [](float v, float w) { return v < w; };
  const auto above = [](float v, float w) { return v > w; };
  for (int i = 1; i < size; ++i) {
    const Point2& P = p[i];
    update_extreme(left, i, P.x, p[left.first].x, P.y, p[left.first].y, p[left.second].y, below,
                   above, below);
    update_extreme(right, i, P.x, p[right.first].x, P.y, p[right.first].y, p[right.second].y, above,
                   above, below);
    update_extreme(low, i, P.y, p[low.first].y, P.x, p[low.first].x, p[low.second].x, below, below,
                   above);
    update_extreme(high, i, P.y, p[high.first].y, P.x, p[high.first].x, p[high.second].x, above,
                   below, above);
  }
  int idx[8] = {left.first, left.second, right.first, right.second,
                low.first,  low.second,  high.first,  high.second};
  std::sort(idx, idx + 8);
  int left_turns = 0;
  int right_turns = 0;
  for (int k = 0; k < 8; ++k) {
    if (k > 0 && idx[k] == idx[k - 1]) continue;
    const int index = idx[k];
    const int prev = index == 0 ? size - 1 : index - 1;
    const int next = index + 1 == size ? 0 : index + 1;
    const Point2 e1 = p[index] - p[prev];
    const Point2 e2 = p[next] - p[index];
    const double cross = static_cast<double>(e1.x) * static_cast<double>(e2.y) -
                         static_cast<double>(e1.y) * static_cast<double>(e2.x);
    if (cross > kSideAreaTolerance) {
      ++left_turns;
    } else if (cross < -kSideAreaTolerance) {
      ++right_turns;
    }
  }
  if (left_turns != right_turns) return left_turns > right_turns;
  return get_area_loop(loop) > 0.0f;
}

bool cross_point(const Point2& a, const Point2& b, const Point2& c, const Point2& d, Point2& out) {
  if (std::min(a.x, b.x) > std::max(c.x, d.x) || std::min(c.x, d.x) > std::max(a.x, b.x)) {
    return false;
  }
  if (std::min(a.y, b.y) > std::max(c.y, d.y) || std::min(c.y, d.y) > std::max(a.y, b.y)) {
    return false;
  }
  const float s1 = (a.y - d.y) * (c.x - d.x) - (a.x - d.x) * (c.y - d.y);
  const float s2 = (b.y - d.y) * (c.x - d.x) - (b.x - d.x) * (c.y - d.y);
  if (same_strict_side(s1, s2)) return false;
  const Point2 e = b - a;
  const float s3 = (c.y - a.y) * e.x - (c.x - a.x) * e.y;
  const float s4 = (d.y - a.y) * e.x - (d.x - a.x) * e.y;
  if (same_strict_side(s3, s4)) return false;
  if (within_side_tolerance(s1)) {
    out = a;
    return true;
  }
  if (within_side_tolerance(s2)) {
    out = b;
    return true;
  }
  const float t = std::fabs(s1 / s2);
  const float u = t / (t + 1.0f);
  out = Point2(a.x + e.x * u, a.y + e.y * u);
  return true;
}

}  // namespace Quorvex
