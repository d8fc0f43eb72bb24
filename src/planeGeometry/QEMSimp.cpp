#include "quorvex/planeGeometry/QEMSimp.h"

#include <Eigen/Core>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "LargePageArray.h"
#include "quorvex/baseType/Path.h"

namespace Quorvex {

namespace {

// ---- Plain quadric: the running mean of (x*x, x*y, x, y*y, y, 1) over the merged points.
// The mean of the constant 1 stays 1 and the cost does not read it, so it is not stored.

struct PlaneQuadric {
  double xx, xy, x, yy, y;

  explicit PlaneQuadric(const Point2& p) {
    const double px = p.x;
    const double py = p.y;
    xx = px * px;
    xy = px * py;
    x = px;
    yy = py * py;
    y = py;
  }

  // A mean, not a sum: the latest merge weighs as much as everything merged before.
  void merge_mean(const PlaneQuadric& o) {
    xx = (xx + o.xx) * 0.5;
    xy = (xy + o.xy) * 0.5;
    x = (x + o.x) * 0.5;
    yy = (yy + o.yy) * 0.5;
    y = (y + o.y) * 0.5;
  }

  // Mean squared distance of the merged points from the line through p and q.
  double cost(const Point2& p, const Point2& q) const {
    // The line coefficients are formed in float, as the points are, and only then widened.
    const double a = static_cast<float>(q.y - p.y);
    const double b = static_cast<float>(p.x - q.x);
    const double c = static_cast<float>(q.x * p.y - p.x * q.y);
    const double norm = std::sqrt(a * a + b * b);
    if (norm == 0.0) return 0.0;
    const double na = a / norm;
    const double nb = b / norm;
    const double nc = c / norm;
    // The constant term stands alone: the weight of the constant stays 1 under mean merging.
    return na * na * xx + 2 * na * nb * xy + 2 * na * nc * x + nb * nb * yy + 2 * nb * nc * y +
           nc * nc;
  }
};

// ---- Coloured quadric over v = (x, y, red, green, blue): c = mean v.v, b = mean v,
// A = mean v vT. The cost reads only the first two rows of A, and merging is linear, so
// only those rows are kept.

using Vec5 = Eigen::Matrix<double, 5, 1>;
using Vec2 = Eigen::Matrix<double, 2, 1>;
using Rows25 = Eigen::Matrix<double, 2, 5>;

// Position and colour of one vertex side by side, so that reading a neighbour costs one
// memory access rather than one in each sequence of the path.
struct ColourPoint {
  ColourPoint() = default;
  ColourPoint(const Point2& at, const Color3f& colour)
      : v{at.x, at.y, colour[0], colour[1], colour[2]} {}

  float v[5];

  Vec5 widened() const {
    Vec5 w;
    w << v[0], v[1], v[2], v[3], v[4];
    return w;
  }
};

struct ColourQuadric {
  double c;
  Vec5 b;
  Rows25 a_top;

  explicit ColourQuadric(const ColourPoint& p) {
    const Vec5 v = p.widened();
    c = v.dot(v);
    b = v;
    a_top = v.head<2>() * v.transpose();
  }

  void merge_mean(const ColourQuadric& o) {
    c = (c + o.c) * 0.5;
    b = (b + o.b) * 0.5;
    a_top = (a_top + o.a_top) * 0.5;
  }

  // Mean squared five-dimensional distance of each merged point v from p + t e, where t is
  // the projection of v's position onto the chord in the plane: the colour is interpolated
  // along the chord by arc length in the plane.
  double cost(const ColourPoint& from, const ColourPoint& to) const {
    const Vec5 p = from.widened();
    const Vec5 w = to.widened() - p;
    const double len = std::sqrt(w[0] * w[0] + w[1] * w[1]);
    if (len < 1e-5) return 0.0;
    const Vec5 e = w / len;
    const Vec2 u = e.head<2>();
    const Vec2 p2 = p.head<2>();
    const Vec2 b2 = b.head<2>();
    const Eigen::Matrix2d m =
        a_top.leftCols<2>() - p2 * b2.transpose() - b2 * p2.transpose() + p2 * p2.transpose();
    const Rows25 t = a_top - p2 * b.transpose() - b2 * p.transpose() + p2 * p.transpose();
    return c - 2 * b.dot(p) + p.dot(p) + e.dot(e) * u.dot(m * u) - 2 * u.dot(t * e);
  }
};

// ---- Collapse engine shared by both forms.

// Vertices are numbered by signed 32-bit indices; a longer ring would be cut short.
constexpr std::size_t kMaxRingVertices = static_cast<std::size_t>(INT32_MAX);

struct QEMCandidate {
  int32_t vertex;
  int32_t version;
  double error;
};

// Binary min-heap on `error` with fixed tie rules, so that equal errors come out in one
// defined order: a new entry rises past strictly greater parents only; on removal the hole
// runs down to a leaf along the smaller child (the right one on equal children), and the
// last entry is then raised from there. The capacity is fixed when it is made.
class CandidateHeap {
 public:
  // Entries are 16 bytes; with the first one 16 bytes into a cache line, two siblings always
  // share a line, and the eight descendants of an entry three levels down fill two.
  explicit CandidateHeap(std::size_t capacity) : h_(capacity, kLead) {}
  bool empty() const { return len_ == 0; }
  const QEMCandidate& top() const { return h_[0]; }

  // Starts fetching the records of the vertices of the root's children.
  template <class Record>
  void fetch_next_vertices(const Record* records) const {
    if (len_ > 1) __builtin_prefetch(records + h_[1].vertex);
    if (len_ > 2) __builtin_prefetch(records + h_[2].vertex);
  }

  void push(const QEMCandidate& value) {
    ++len_;
    raise_into(len_ - 1, value);
  }

  QEMCandidate pop() {
    const QEMCandidate top = h_[0];
    const QEMCandidate last = h_[--len_];
    const std::size_t len = len_;
    if (len == 0) return top;
    std::size_t hole = 0;
    std::size_t child = 0;
    while (child < (len - 1) / 2) {
      child = 2 * (child + 1);
      if (h_[child].error > h_[child - 1].error) --child;
      // The hole goes down a path that depends on every comparison, so on a heap larger
      // than the cache each level would wait for memory; fetching the eight descendants
      // three levels down (two lines) overlaps the next levels' misses with this one.
      const std::size_t ahead = 8 * child + 7;
      if (ahead < len) {
        __builtin_prefetch(h_.data() + ahead);
        __builtin_prefetch(h_.data() + ahead + 4);
      }
      h_[hole] = h_[child];
      hole = child;
    }
    if ((len & 1) == 0 && child == (len - 2) / 2) {
      child = 2 * (child + 1);
      h_[hole] = h_[child - 1];
      hole = child - 1;
    }
    raise_into(hole, last);
    return top;
  }

 private:
  static constexpr std::size_t kLead = 16;
  static_assert(sizeof(QEMCandidate) == 16, "the lead assumes 16-byte entries");

  void raise_into(std::size_t hole, const QEMCandidate& value) {
    while (hole > 0) {
      const std::size_t parent = (hole - 1) / 2;
      if (!(h_[parent].error > value.error)) break;
      h_[hole] = h_[parent];
      hole = parent;
    }
    h_[hole] = value;
  }

  LargePageArray<QEMCandidate> h_;
  std::size_t len_ = 0;
};

// The ring links of one input vertex, with its version and a copy of its point: a collapse
// walks from the vertex to its neighbours and on to theirs, and reads the points at the ends,
// all in records that lie close together in the input order. The quadrics, read only for the
// collapsed vertex and its two neighbours, stand apart in a parallel array. A collapsed
// vertex has version -1, which no heap entry carries. 32 bytes with a coloured point.
template <class Point>
struct RingVertex {
  int32_t prev;
  int32_t next;
  int32_t version;
  Point point;
};

// `point(i)` gives what the quadric of input vertex i is built from and measured against;
// the input itself is never moved, only relinked. Returns the alive flags in input order.
template <class Quadric, class Point, class PointOf>
std::vector<bool> collapse_ring(int32_t n, const PointOf& point, double limit) {
  const std::size_t count = static_cast<std::size_t>(n);
  LargePageArray<RingVertex<Point>> v(count);
  LargePageArray<Quadric> quadric(count);
  // Every collapse pushes two entries and removes a vertex, so the heap never holds more
  // than n + 2 (n - 2) entries.
  CandidateHeap heap(3 * count);
  for (int32_t i = 0; i < n; ++i) {
    const int32_t prev = i == 0 ? n - 1 : i - 1;
    const int32_t next = i == n - 1 ? 0 : i + 1;
    new (&v[i]) RingVertex<Point>{prev, next, 0, point(i)};
  }
  // The quadric of a vertex that nothing was merged into yet (version 0) is that of its point
  // alone. It is built where it is needed rather than stored for every vertex up front: the
  // array is only written once a merge changes it, and early collapses, which mostly meet
  // such vertices, read nothing from it.
  for (int32_t i = 0; i < n; ++i) {
    heap.push({i, 0, Quadric(v[i].point).cost(v[v[i].prev].point, v[v[i].next].point)});
  }

  auto ring_too_small = [&v](int32_t k) {
    const RingVertex<Point>& x = v[k];
    return x.next == k || x.next == x.prev || x.prev == k;
  };

  auto fetch_quadric = [&quadric](int32_t k) {
    const char* q = reinterpret_cast<const char*>(&quadric[k]);
    for (std::size_t line = 0; line < sizeof(Quadric); line += 64) __builtin_prefetch(q + line, 1);
  };

  while (!heap.empty()) {
    const QEMCandidate top = heap.top();
    // The entry is looked at before it is taken out, which walks the heap down to a leaf:
    // meanwhile everything its collapse reads is fetched. Its own record was fetched one
    // entry earlier, with those of the root's children, as one of them usually comes next.
    heap.fetch_next_vertices(v.data());
    const RingVertex<Point>& coming = v[top.vertex];
    if (coming.version == top.version) {
      if (top.version != 0) fetch_quadric(top.vertex);
      fetch_quadric(coming.prev);
      fetch_quadric(coming.next);
      __builtin_prefetch(&v[coming.prev]);
      __builtin_prefetch(&v[coming.next]);
    }
    heap.pop();
    RingVertex<Point>& gone = v[top.vertex];
    if (top.version != gone.version) continue;  // stale: the vertex changed since
    if (top.error > limit) break;               // nothing cheaper is left
    const int32_t p = gone.prev;
    const int32_t nx = gone.next;
    const Quadric merged = top.version == 0 ? Quadric(gone.point) : quadric[top.vertex];
    gone.version = -1;
    if (v[p].version == 0) new (&quadric[p]) Quadric(v[p].point);
    ++v[p].version;
    v[p].next = nx;
    quadric[p].merge_mean(merged);
    if (v[nx].version == 0) new (&quadric[nx]) Quadric(v[nx].point);
    ++v[nx].version;
    v[nx].prev = p;
    quadric[nx].merge_mean(merged);
    if (ring_too_small(p) || ring_too_small(nx)) break;
    for (const int32_t k : {p, nx}) {
      const RingVertex<Point>& x = v[k];
      heap.push({k, x.version, quadric[k].cost(v[x.prev].point, v[x.next].point)});
    }
  }

  std::vector<bool> alive(count);
  for (int32_t i = 0; i < n; ++i) alive[i] = v[i].version >= 0;
  return alive;
}

}  // namespace

RetVal get_QEM_simplified_loop(std::vector<Point2>& loop, float tolerance) {
  // NaN passes a plain `<= 0` and would never stop a collapse, collapsing every loop to two
  // points; an infinite tolerance gives no limit at all.
  if (!(tolerance > 0.0f) || !std::isfinite(tolerance)) return RETVAL_BAD_INPUT;
  if (loop.size() < 4 || loop.size() > kMaxRingVertices) return RETVAL_BAD_INPUT;
  const int32_t n = static_cast<int32_t>(loop.size());
  const double limit = tolerance * tolerance;
  const std::vector<bool> alive = collapse_ring<PlaneQuadric, Point2>(
      n, [&loop](int32_t i) { return loop[i]; }, limit);
  std::size_t out = 0;
  for (int32_t i = 0; i < n; ++i) {
    if (alive[i]) loop[out++] = loop[i];
  }
  loop.resize(out);
  return RETVAL_OK;
}

void get_QEM_simplified_loop_with_colour(std::shared_ptr<Path>& path, float position_tolerance,
                                         float colour_tolerance) {
  if (!(position_tolerance > 0.0f) || !std::isfinite(position_tolerance)) return;
  if (!(colour_tolerance > 0.0f) || !std::isfinite(colour_tolerance) || !path) return;
  const std::shared_ptr<Point2Vector> points = path->get_points();
  const std::shared_ptr<ColorVector> colours = path->get_colors();
  if (!points || !colours || points->size() != colours->size() || points->size() < 4) return;
  if (points->size() > kMaxRingVertices) return;

  // After scaling, a position distance of position_tolerance equals a colour distance of
  // colour_tolerance, so one limit serves both. The ratio of two finite tolerances can still
  // round to 0 or overflow, and a point can leave the float range once scaled; each of these
  // would leave NaN points, so such a call changes nothing. (Scaling back cannot overflow:
  // the scale is a float, and a float product rounds up too little for that.)
  const double scale = colour_tolerance / position_tolerance;
  if (!std::isfinite(scale) || scale == 0.0) return;
  auto scaled = [scale](const Point2& p) {
    return Point2(static_cast<float>(p.x * scale), static_cast<float>(p.y * scale));
  };
  auto unscaled = [scale](const Point2& p) {
    return Point2(static_cast<float>(p.x / scale), static_cast<float>(p.y / scale));
  };
  const Point2Vector& pts = *points;
  const ColorVector& cols = *colours;
  for (const Point2& p : pts) {
    const Point2 s = scaled(p);
    if (!std::isfinite(s.x) || !std::isfinite(s.y)) return;
  }

  // The collapse reads the scaled points as they are formed; the caller's sequence is only
  // scaled once everything that can fail has been allocated, so a failed allocation leaves
  // the path as it was.
  const int32_t n = static_cast<int32_t>(pts.size());
  const double limit = colour_tolerance * colour_tolerance;
  const std::vector<bool> alive = collapse_ring<ColourQuadric, ColourPoint>(
      n, [&](int32_t i) { return ColourPoint(scaled(pts[i]), cols[i]); }, limit);

  std::size_t kept = 0;
  for (int32_t i = 0; i < n; ++i) kept += alive[i] ? 1 : 0;
  auto kept_points = std::make_shared<Point2Vector>();
  auto kept_colours = std::make_shared<ColorVector>();
  kept_points->reserve(kept);
  kept_colours->reserve(kept);
  for (int32_t i = 0; i < n; ++i) {
    if (!alive[i]) continue;
    kept_points->push_back(unscaled(scaled(pts[i])));
    kept_colours->push_back(cols[i]);
  }
  // The former point sequence stays scaled: anyone sharing it sees the scaled values.
  for (Point2& p : *points) p = scaled(p);
  path->set_points(kept_points);
  path->set_colors(kept_colours);
}

}  // namespace Quorvex
