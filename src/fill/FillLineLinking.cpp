// Linking of fill segments into polylines: starting from the lowest segment left, the path
// follows the outline from the end of the current segment to a segment of the same or a
// neighbouring scan line, takes it, and goes on until no neighbour is reachable.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "FillScanContext.h"

namespace Quorvex {
namespace fill_internal {

namespace {

// Counting of a crossing's place in its set stops here; past it every place counts as odd.
constexpr int32_t kPositionCountLimit = 9999;

struct WalkResult {
  bool found = false;
  int32_t node = -1;
  size_t line = 0;
};

// The lines a step may continue on, L-1, L and L+1 as far as they exist, with their
// heights narrowed to float.
struct Candidates {
  size_t line[3];
  float height[3];
  int n = 0;
};

class Linker {
 public:
  explicit Linker(FillScanContext& ctx) : ctx_(ctx), rings_(ctx.rings), sets_(ctx.line_crossings) {
    const size_t line_count = ctx.line_heights.size();
    heights_f32_.resize(line_count);
    for (size_t k = 0; k < line_count; ++k) {
      heights_f32_[k] = static_cast<float>(ctx.line_heights[k]);
    }
  }

  void run() {
    // Step 23.
    ctx_.results.clear();
    std::vector<Point2>& open = ctx_.open_crossings;
    open.clear();
    for (size_t k = 0; k < sets_.count.size(); ++k) {
      for (const ScanCrossing* c = sets_.line_begin(k); c != sets_.line_end(k); ++c) {
        open.push_back(c->p);
      }
    }
    std::sort(open.begin(), open.end(), point_less);
    open.erase(std::unique(open.begin(), open.end(), point_equal), open.end());

    // Steps 24 and 25. Sets only ever shrink, so the lowest non-empty line only rises.
    size_t lowest = 0;
    const size_t line_count = sets_.count.size();
    for (;;) {
      while (lowest < line_count && sets_.count[lowest] == 0) ++lowest;
      if (lowest == line_count) break;
      sequence_.clear();
      const ScanCrossing* first = sets_.line_begin(lowest);
      sequence_.push_back(first[0]);
      sequence_.push_back(first[1]);
      sets_.erase(lowest, 0, 2);
      extend(lowest);
      emit_polyline();
    }
  }

 private:
  bool is_open(const Point2& p) const {
    return std::binary_search(ctx_.open_crossings.begin(), ctx_.open_crossings.end(), p,
                              point_less);
  }

  Candidates candidates_around(size_t line) const {
    Candidates c;
    if (line > 0) c.line[c.n++] = line - 1;
    c.line[c.n++] = line;
    if (line + 1 < heights_f32_.size()) c.line[c.n++] = line + 1;
    for (int i = 0; i < c.n; ++i) c.height[i] = heights_f32_[c.line[i]];
    return c;
  }

  // Steps 28 and 29: the first open crossing on a candidate line met along the outline,
  // unless the walk leaves the band of the candidates first or meets a crossing of a
  // candidate line that is already taken.
  WalkResult walk(const ScanCrossing& from, const Candidates& cand, bool forward) const {
    const float lowest_h = cand.height[0];
    const float highest_h = cand.height[cand.n - 1];
    const bool bounded_above = cand.line[cand.n - 1] + 1 != heights_f32_.size();
    const bool bounded_below = cand.line[0] != 0;
    const int32_t steps = rings_.size[static_cast<size_t>(from.loop)] - 1;
    int32_t v = from.node;
    for (int32_t s = 0; s < steps; ++s) {
      v = forward ? rings_.next(v) : rings_.prev(v);
      const Point2& p = rings_.point(v);
      if (p.y > highest_h && bounded_above) return WalkResult();
      if (p.y < lowest_h && bounded_below) return WalkResult();
      for (int i = 0; i < cand.n; ++i) {
        if (p.y != cand.height[i] || !is_open(p)) continue;
        if (sets_.find(cand.line[i], p) < 0) return WalkResult();
        WalkResult hit;
        hit.found = true;
        hit.node = v;
        hit.line = cand.line[i];
        return hit;
      }
    }
    return WalkResult();
  }

  // Steps 26 to 31.
  void extend(size_t line) {
    for (;;) {
      const Candidates cand = candidates_around(line);
      const WalkResult fwd = walk(sequence_.back(), cand, true);
      const WalkResult bwd = walk(sequence_.back(), cand, false);
      if (!fwd.found && !bwd.found) return;
      bool take_forward = fwd.found;
      if (fwd.found && bwd.found) {
        if (fwd.line != bwd.line) {
          take_forward = fwd.line < bwd.line;
        } else {
          // Turn back against the direction of travel along the last segment.
          const Point2& t = sequence_[sequence_.size() - 1].p;
          const Point2& s = sequence_[sequence_.size() - 2].p;
          const Point2& f = rings_.point(fwd.node);
          const Point2& g = rings_.point(bwd.node);
          take_forward = (t.x - s.x) * (g.x - f.x) > 0.0f;
        }
      }
      const WalkResult& hit = take_forward ? fwd : bwd;
      const int32_t at = sets_.find(hit.line, rings_.point(hit.node));
      // The walk has just seen the crossing in the set; pairs stay aligned because sets only
      // ever lose whole pairs, so a partner always exists. Checked all the same, since a
      // set of more than kPositionCountLimit crossings can lose that alignment.
      if (at < 0) return;
      const int32_t position = std::min(at, kPositionCountLimit);
      const int32_t partner = position % 2 == 0 ? at + 1 : at - 1;
      if (partner < 0 || partner >= sets_.count[hit.line]) return;
      sequence_.back().forward = take_forward;
      const ScanCrossing* c = sets_.line_begin(hit.line);
      const ScanCrossing taken = c[at];
      const ScanCrossing other = c[partner];
      sequence_.push_back(taken);
      sequence_.push_back(other);
      sets_.erase(hit.line, std::min(at, partner), 2);
      line = hit.line;
    }
  }

  // Steps 32 to 34: the pairs with the outline between them.
  void emit_polyline() {
    auto polyline = std::make_shared<Point2Vector>();
    const float min_length = ctx_.min_length;
    for (size_t i = 0; i < sequence_.size(); i += 2) {
      const ScanCrossing& p = sequence_[i];
      const ScanCrossing& q = sequence_[i + 1];
      polyline->push_back(p.p);
      polyline->push_back(q.p);
      if (i + 2 >= sequence_.size()) break;
      const int32_t target = sequence_[i + 2].node;
      const int32_t steps = rings_.size[static_cast<size_t>(q.loop)];
      Point2 last = q.p;
      int32_t v = q.node;
      for (int32_t s = 0; s < steps; ++s) {
        v = q.forward ? rings_.next(v) : rings_.prev(v);
        if (v == target) break;
        const Point2& vp = rings_.point(v);
        const float dx = vp.x - last.x;
        const float dy = vp.y - last.y;
        if (std::sqrt(dx * dx + dy * dy) >= min_length) {
          polyline->push_back(vp);
          last = vp;
        }
      }
    }
    ctx_.results.push_back(std::move(polyline));
  }

  FillScanContext& ctx_;
  const RingTable& rings_;
  LineCrossingSets& sets_;
  std::vector<float> heights_f32_;
  std::vector<ScanCrossing> sequence_;
};

}  // namespace

void link_crossings(FillScanContext& ctx) { Linker(ctx).run(); }

}  // namespace fill_internal
}  // namespace Quorvex
