#pragma once

// Working state of one fill-line generation. Private to src/fill: nothing here crosses
// the library boundary.

#include <cstdint>
#include <memory>
#include <vector>

#include "FillLineSearch.h"
#include "quorvex/baseType/Point2.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {
namespace fill_internal {

// One node of an outline ring: a vertex of the input loop or a crossing inserted on one of
// its edges. Nodes are never removed and never move, so an index names a place on the
// outline for the whole call.
struct RingNode {
  Point2 p;
  int32_t prev = -1;
  int32_t next = -1;
};

// All rings share one node pool; each ring is a circular list threaded through it, which
// is the ring's closing from its last node back to its first.
struct RingTable {
  std::vector<RingNode> nodes;
  std::vector<int32_t> first;  // first vertex node of each ring, -1 for an empty ring
  std::vector<int32_t> size;   // nodes of each ring, inserted crossings included

  int32_t next(int32_t node) const { return nodes[node].next; }
  int32_t prev(int32_t node) const { return nodes[node].prev; }
  const Point2& point(int32_t node) const { return nodes[node].p; }

  // Links a new node carrying p in just before `anchor` on ring `ring`.
  int32_t insert_before(int32_t ring, int32_t anchor, Point2 p) {
    const int32_t id = static_cast<int32_t>(nodes.size());
    const int32_t before = nodes[anchor].prev;
    RingNode n;
    n.p = p;
    n.prev = before;
    n.next = anchor;
    nodes.push_back(n);
    nodes[before].next = id;
    nodes[anchor].prev = id;
    ++size[ring];
    return id;
  }
};

// A crossing of a ring with a scan line. The point is the node's point, kept beside the
// index so that ordering and lookups need no trip through the pool.
struct ScanCrossing {
  Point2 p;
  int32_t loop = 0;
  int32_t node = 0;
  bool forward = false;
};

// The ordering of every crossing set: x, then y, as floats compared exactly.
inline bool point_less(const Point2& a, const Point2& b) {
  return a.x < b.x || (!(b.x < a.x) && a.y < b.y);
}
inline bool point_equal(const Point2& a, const Point2& b) { return a.x == b.x && a.y == b.y; }

// The crossing set of every scan line, each an ordered run in one pool: line i owns
// items[begin[i], begin[i] + count[i]), sorted by point_less, unique by point.
struct LineCrossingSets {
  std::vector<ScanCrossing> items;
  std::vector<int64_t> begin;
  std::vector<int32_t> count;

  ScanCrossing* line_begin(size_t line) { return items.data() + begin[line]; }
  ScanCrossing* line_end(size_t line) { return items.data() + begin[line] + count[line]; }

  // Position of the crossing with point p on the line, or -1.
  int32_t find(size_t line, const Point2& p);
  // Removes `n` consecutive crossings from position `at` of the line, keeping the order.
  void erase(size_t line, int32_t at, int32_t n);
};

struct FillScanContext {
  RingTable rings;
  float line_spacing = 0.0f;
  float angle_degrees = 0.0f;
  float min_length = 0.0f;
  std::vector<std::shared_ptr<Point2Vector>> results;
  // Points of every crossing that survived pairing, sorted by point_less, unique.
  std::vector<Point2> open_crossings;
  LineCrossingSets line_crossings;
  std::vector<double> line_heights;
};

// Frame, heights, zones and scan lines: rotates the loops into the scan frame, fills the
// rings and lays the scan lines. RETVAL_OK, or the refusal of the call.
RetVal build_scan_frame(const std::vector<std::shared_ptr<const Point2Vector>>& loops,
                        FillScanContext& ctx);

// Crosses every edge with the scan lines and toggles the crossings into the line sets.
// RETVAL_BAD_INPUT beyond the crossing limit, else RETVAL_OK.
RetVal collect_crossings(FillScanContext& ctx, EdgeLineSearch search);

// Drops lines of odd parity, writes one point-pair line per even line into results and
// takes segments shorter than min_length out of the sets.
void pair_crossings(FillScanContext& ctx);

// Replaces results by the linked polylines.
void link_crossings(FillScanContext& ctx);

// Rotates every result point from the scan frame back into the frame of the loops.
void rotate_results_back(FillScanContext& ctx);

}  // namespace fill_internal
}  // namespace Quorvex
