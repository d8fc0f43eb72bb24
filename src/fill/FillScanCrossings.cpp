// Edge pass and pairing of fill-line generation: every outline edge is crossed with the
// scan lines, crossings are toggled into the set of their line, and the sets are read out
// in pairs.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "FillScanContext.h"
#include "quorvex/fill/FillLine.h"

namespace Quorvex {
namespace fill_internal {

int32_t LineCrossingSets::find(size_t line, const Point2& p) {
  ScanCrossing* first = line_begin(line);
  ScanCrossing* last = line_end(line);
  ScanCrossing* it = std::lower_bound(
      first, last, p, [](const ScanCrossing& c, const Point2& q) { return point_less(c.p, q); });
  if (it == last || !point_equal(it->p, p)) return -1;
  return static_cast<int32_t>(it - first);
}

void LineCrossingSets::erase(size_t line, int32_t at, int32_t n) {
  ScanCrossing* first = line_begin(line);
  std::copy(first + at + n, first + count[line], first + at);
  count[line] -= n;
}

namespace {

// The scan lines an edge with heights lo..hi may meet: [first, last) of the ascending
// heights. Only sizes the buffers; the pass itself decides line by line.
struct LineRange {
  size_t first;
  size_t last;
};

LineRange lines_within(const std::vector<double>& heights, double lo, double hi) {
  const size_t first =
      static_cast<size_t>(std::lower_bound(heights.begin(), heights.end(), lo) - heights.begin());
  const size_t last =
      static_cast<size_t>(std::upper_bound(heights.begin(), heights.end(), hi) - heights.begin());
  return {first, last < first ? first : last};
}

// Step 17: does the line through the start vertex A of edge (A, B) record A? P is the node
// before A on the ring.
bool start_vertex_toggles(const Point2& p, const Point2& a, const Point2& b) {
  if (b.y - a.y > 0.0f) {
    if (p.y == a.y) return !(p.x > a.x);
    return p.y < a.y;
  }
  if (p.y == a.y) return !(a.x > p.x);
  return p.y > a.y;
}

// Step 18: does the line through the end vertex B of edge (A, B) record B? Q is the node
// two places after B on the ring.
bool end_vertex_toggles(const Point2& q, const Point2& a, const Point2& b) {
  if (q.y != b.y) return false;
  if (b.y - a.y > 0.0f) return !(q.x > b.x);
  return !(b.x > q.x);
}

// Step 16: x of the crossing at height z; the coordinate differences are float, the
// interpolation double, the result narrowed.
float crossing_x(double z, const Point2& a, const Point2& b) {
  const float dy = b.y - a.y;
  const float dx = b.x - a.x;
  return static_cast<float>((z - static_cast<double>(a.y)) / static_cast<double>(dy) *
                                static_cast<double>(dx) +
                            static_cast<double>(a.x));
}

// Step 19 over a whole line at once. Toggling a point into an ordered set that is unique by
// point leaves it present exactly when it was toggled an odd number of times, carried by the
// crossing toggled last. The events of a line are kept in toggling order, so a stable sort
// by point followed by this reduction gives the set the toggles would have left.
int32_t reduce_toggles(ScanCrossing* first, int32_t n) {
  std::stable_sort(first, first + n, [](const ScanCrossing& a, const ScanCrossing& b) {
    return point_less(a.p, b.p);
  });
  int32_t out = 0;
  int32_t i = 0;
  while (i < n) {
    int32_t j = i + 1;
    while (j < n && point_equal(first[j].p, first[i].p)) ++j;
    if ((j - i) % 2 == 1) first[out++] = first[j - 1];
    i = j;
  }
  return out;
}

}  // namespace

RetVal collect_crossings(FillScanContext& ctx, EdgeLineSearch search) {
  RingTable& rings = ctx.rings;
  const std::vector<double>& heights = ctx.line_heights;
  const size_t line_count = heights.size();

  // Every edge meets at most the lines within its height range; counting them first bounds
  // the work and sizes each line's run of the crossing pool exactly once.
  std::vector<int64_t> bound(line_count + 1, 0);
  int64_t total = 0;
  for (size_t r = 0; r < rings.size.size(); ++r) {
    const int32_t n = rings.size[r];
    if (n < 3) continue;
    const int32_t base = rings.first[r];
    for (int32_t i = 0; i < n; ++i) {
      const Point2& a = rings.point(base + i);
      const Point2& b = rings.point(base + (i + 1 == n ? 0 : i + 1));
      if (a.y == b.y) continue;
      const LineRange range = lines_within(heights, static_cast<double>(std::min(a.y, b.y)),
                                           static_cast<double>(std::max(a.y, b.y)));
      bound[range.first] += 1;
      bound[range.last] -= 1;
      total += static_cast<int64_t>(range.last - range.first);
      if (total > kFillMaxCrossings) return RETVAL_BAD_INPUT;
    }
  }

  // Step 13: one empty set per line.
  LineCrossingSets& sets = ctx.line_crossings;
  sets.items.assign(static_cast<size_t>(total), ScanCrossing());
  sets.begin.assign(line_count, 0);
  sets.count.assign(line_count, 0);
  int64_t running = 0;
  int64_t offset = 0;
  for (size_t k = 0; k < line_count; ++k) {
    running += bound[k];
    sets.begin[k] = offset;
    offset += running;
  }
  rings.nodes.reserve(rings.nodes.size() + static_cast<size_t>(total));

  auto toggle = [&sets](size_t line, const Point2& p, int32_t loop, int32_t node) {
    ScanCrossing& c = sets.items[static_cast<size_t>(sets.begin[line] + sets.count[line])];
    ++sets.count[line];
    c.p = p;
    c.loop = loop;
    c.node = node;
    c.forward = false;
  };

  // Steps 14 to 19, ring by ring, edge by edge, each edge's lines in ascending order.
  for (size_t r = 0; r < rings.size.size(); ++r) {
    const int32_t n = rings.size[r];
    if (n < 3) continue;
    const int32_t loop = static_cast<int32_t>(r);
    const int32_t base = rings.first[r];
    for (int32_t i = 0; i < n; ++i) {
      // Vertices keep their pool places; the end of this edge is the next input vertex,
      // whatever gets inserted in between.
      const int32_t node_a = base + i;
      const int32_t node_b = base + (i + 1 == n ? 0 : i + 1);
      const Point2 a = rings.point(node_a);
      const Point2 b = rings.point(node_b);
      if (a.y == b.y) continue;
      const double lo = static_cast<double>(std::min(a.y, b.y));
      const double hi = static_cast<double>(std::max(a.y, b.y));
      const bool falling = a.y > b.y;
      int32_t anchor = node_b;
      size_t k = search == EdgeLineSearch::kBinarySearch ? lines_within(heights, lo, hi).first : 0;
      for (; k < line_count; ++k) {
        const double z = heights[k];
        if (z < lo) continue;
        if (z > hi) break;
        if (lo < z && z < hi) {
          const Point2 p(crossing_x(z, a, b), static_cast<float>(z));
          const int32_t id = rings.insert_before(loop, anchor, p);
          toggle(k, p, loop, id);
          if (falling) anchor = id;
        } else if (z == static_cast<double>(a.y)) {
          if (start_vertex_toggles(rings.point(rings.prev(node_a)), a, b)) {
            toggle(k, a, loop, node_a);
          }
        } else if (end_vertex_toggles(rings.point(rings.next(rings.next(node_b))), a, b)) {
          toggle(k, b, loop, node_b);
        }
      }
    }
  }

  for (size_t k = 0; k < line_count; ++k) {
    sets.count[k] = reduce_toggles(sets.line_begin(k), sets.count[k]);
  }
  return RETVAL_OK;
}

void pair_crossings(FillScanContext& ctx) {
  LineCrossingSets& sets = ctx.line_crossings;
  const float min_length = ctx.min_length;
  for (size_t k = 0; k < sets.count.size(); ++k) {
    const int32_t n = sets.count[k];
    // Step 20: odd parity means the line met the outline where no pairing is sound.
    if (n % 2 != 0) {
      sets.count[k] = 0;
      continue;
    }
    // Step 22: an empty set gives no line at all.
    if (n == 0) continue;
    // Step 21: every pair reaches this output; only the linking skips the short ones.
    auto line = std::make_shared<Point2Vector>();
    line->reserve(static_cast<size_t>(n));
    ScanCrossing* c = sets.line_begin(k);
    int32_t kept = 0;
    for (int32_t j = 0; j < n; j += 2) {
      line->push_back(c[j].p);
      line->push_back(c[j + 1].p);
      if (min_length > std::fabs(c[j].p.x - c[j + 1].p.x)) continue;
      c[kept++] = c[j];
      c[kept++] = c[j + 1];
    }
    sets.count[k] = kept;
    ctx.results.push_back(std::move(line));
  }
}

}  // namespace fill_internal
}  // namespace Quorvex
