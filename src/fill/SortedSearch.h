#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Quorvex {
namespace fill_internal {

// First index of the ascending heights at or above v, searched outward from a hint: the
// vertices of an outline come in order, so the answer usually lies a step or two from the
// previous vertex's and the search costs a few comparisons instead of a full bisection.
inline size_t lower_bound_from(const std::vector<double>& h, double v, size_t hint) {
  const size_t n = h.size();
  if (hint > n) hint = n;
  size_t lo;
  size_t hi;
  if (hint < n && h[hint] < v) {
    // Upward: everything below lo lies below v.
    lo = hint + 1;
    hi = lo;
    size_t step = 1;
    while (hi < n && h[hi] < v) {
      lo = hi + 1;
      hi = lo + step;
      step <<= 1;
    }
    if (hi > n) hi = n;
  } else {
    // Downward: h[hi] is at or above v, or hi is the end.
    hi = hint;
    lo = 0;
    size_t step = 1;
    while (hi > 0) {
      const size_t probe = hi > step ? hi - step : 0;
      if (h[probe] < v) {
        lo = probe + 1;
        break;
      }
      hi = probe;
      step <<= 1;
    }
  }
  return static_cast<size_t>(std::lower_bound(h.begin() + static_cast<std::ptrdiff_t>(lo),
                                              h.begin() + static_cast<std::ptrdiff_t>(hi), v) -
                             h.begin());
}

}  // namespace fill_internal
}  // namespace Quorvex
