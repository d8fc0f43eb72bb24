// A uniform grid over the boxes of a layer's regions, so that finding the boxes that hold a
// point costs the boxes near it rather than all of them. Used by region numbering only.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Quorvex {
namespace detail {

struct GridBox {
  float min_x;
  float min_y;
  float max_x;
  float max_y;
};

// Lists, for every cell, the indices of the boxes that overlap it, in ascending order. A
// box that covers many cells, or has a coordinate that is not finite, goes to one list that
// every query sees instead; a box that holds no point (a minimum above its maximum, or NaN)
// is left out. Lookups are conservative: every box that can hold a point is among the
// candidates of that point's cell, because the cell of a coordinate never decreases as the
// coordinate grows; the caller still tests each candidate exactly.
class RegionBoxGrid {
 public:
  void build(const std::vector<GridBox>& boxes) {
    count_ = static_cast<int>(boxes.size());
    bool any = false;
    for (const GridBox& b : boxes) {
      if (!finite_box(b)) continue;
      if (!any) {
        x0_ = b.min_x;
        y0_ = b.min_y;
        x1_ = b.max_x;
        y1_ = b.max_y;
        any = true;
      }
      x0_ = std::fmin(x0_, double(b.min_x));
      y0_ = std::fmin(y0_, double(b.min_y));
      x1_ = std::fmax(x1_, double(b.max_x));
      y1_ = std::fmax(y1_, double(b.max_y));
    }
    // About one cell per box, at most 1024 a side.
    side_ = 1;
    while (side_ < 1024 && std::size_t(side_) * std::size_t(side_) < boxes.size()) side_ *= 2;
    sx_ = any && x1_ > x0_ ? side_ / (x1_ - x0_) : 0.0;
    sy_ = any && y1_ > y0_ ? side_ / (y1_ - y0_) : 0.0;

    const std::size_t cells = std::size_t(side_) * std::size_t(side_);
    std::vector<std::uint32_t> fill(cells + 1, 0);
    // Two passes over the same spans: sizes first, then the indices in ascending order.
    for (int pass = 0; pass < 2; ++pass) {
      for (int k = 0; k < count_; ++k) {
        const GridBox& b = boxes[std::size_t(k)];
        if (!(b.min_x <= b.max_x && b.min_y <= b.max_y)) continue;  // holds no point
        if (!finite_box(b)) {
          if (pass == 0) everywhere_.push_back(k);
          continue;
        }
        const int cx0 = cell_x(b.min_x), cx1 = cell_x(b.max_x);
        const int cy0 = cell_y(b.min_y), cy1 = cell_y(b.max_y);
        if ((cx1 - cx0 + 1) * (cy1 - cy0 + 1) > kMaxCellsPerBox) {
          if (pass == 0) everywhere_.push_back(k);
          continue;
        }
        for (int cy = cy0; cy <= cy1; ++cy) {
          for (int cx = cx0; cx <= cx1; ++cx) {
            const std::size_t c = std::size_t(cy) * std::size_t(side_) + std::size_t(cx);
            if (pass == 0) {
              ++fill[c + 1];
            } else {
              entries_[fill[c]++] = k;
            }
          }
        }
      }
      if (pass == 0) {
        for (std::size_t c = 0; c < cells; ++c) fill[c + 1] += fill[c];
        start_.assign(fill.begin(), fill.end());
        entries_.resize(fill[cells]);
      }
    }
  }

  // Number of boxes the grid was built over.
  int size() const { return count_; }

  // Calls visit(k) for every candidate box index k that may hold (x, y), in ascending order
  // of k, until visit returns false.
  template <class Visit>
  void for_each_candidate(float x, float y, Visit visit) const {
    const std::size_t c = std::size_t(cell_y(y)) * std::size_t(side_) + std::size_t(cell_x(x));
    const int* a = entries_.data() + start_[c];
    const int* a_end = entries_.data() + start_[c + 1];
    const int* b = everywhere_.data();
    const int* b_end = b + everywhere_.size();
    while (a != a_end || b != b_end) {
      const int k = (b == b_end || (a != a_end && *a < *b)) ? *a++ : *b++;
      if (!visit(k)) return;
    }
  }

 private:
  static constexpr int kMaxCellsPerBox = 64;

  static bool finite_box(const GridBox& b) {
    return std::isfinite(b.min_x) && std::isfinite(b.min_y) && std::isfinite(b.max_x) &&
           std::isfinite(b.max_y);
  }
  // Monotone in v: a NaN or anything below the grid goes to the first cell, anything above
  // it to the last.
  int cell_of(double v, double origin, double scale) const {
    const double t = (v - origin) * scale;
    if (!(t >= 1.0)) return 0;
    if (t >= double(side_)) return side_ - 1;
    return static_cast<int>(t);
  }
  int cell_x(float x) const { return cell_of(x, x0_, sx_); }
  int cell_y(float y) const { return cell_of(y, y0_, sy_); }

  int count_ = 0;
  int side_ = 1;
  double x0_ = 0, y0_ = 0, x1_ = 0, y1_ = 0, sx_ = 0, sy_ = 0;
  std::vector<std::uint32_t> start_{0, 0};
  std::vector<int> entries_;
  std::vector<int> everywhere_;
};

}  // namespace detail
}  // namespace Quorvex
