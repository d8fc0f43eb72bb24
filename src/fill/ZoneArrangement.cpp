#include "quorvex/fill/ZoneArrangement.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Quorvex {

namespace {

constexpr int64_t kCellMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kCellMax = std::numeric_limits<int64_t>::max();

// An integral double to a cell index. Beyond the range of int64 the plain conversion is
// undefined, so the index saturates instead; 2^63 itself is the first value out of range.
int64_t integral_to_cell_saturated(double v) {
  if (v >= 9223372036854775808.0) return kCellMax;
  if (v < -9223372036854775808.0) return kCellMin;
  return static_cast<int64_t>(v);
}

}  // namespace

ZoneArrangement::ZoneArrangement() : zoneInterval(1e-6) {}

ZoneArrangement::ZoneArrangement(const ZoneArrangement& other)
    : zoneInterval(other.zoneInterval), zoneSet(other.zoneSet) {}

ZoneArrangement& ZoneArrangement::operator=(const ZoneArrangement& other) {
  zoneInterval = other.zoneInterval;
  if (this != &other) {
    zoneSet.clear();
    zoneSet = other.zoneSet;
  }
  return *this;
}

ZoneArrangement::~ZoneArrangement() = default;

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-qualifiers"
#endif
const double ZoneArrangement::get_zoneInterval() const { return zoneInterval; }
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

void ZoneArrangement::set_zoneInterval(double interval) { zoneInterval = interval; }

void ZoneArrangement::set_zoneSet(const std::vector<double>& coordinates) {
  zoneSet.clear();
  // Sorting first lets the set be built in linear time from a sorted range, which matters
  // for outlines of tens of thousands of vertices; the resulting set is the same.
  std::vector<int64_t> cells;
  cells.reserve(coordinates.size() * 2);
  for (double v : coordinates) {
    const double q = v / zoneInterval;
    if (std::isnan(q)) continue;
    cells.push_back(integral_to_cell_saturated(std::floor(q)));
    cells.push_back(integral_to_cell_saturated(std::ceil(q)));
  }
  std::sort(cells.begin(), cells.end());
  cells.erase(std::unique(cells.begin(), cells.end()), cells.end());
  zoneSet.insert(cells.begin(), cells.end());
}

double ZoneArrangement::getEmptyZ(double z) {
  const double q = z / zoneInterval;
  if (std::isnan(q)) return z;
  const int64_t n = integral_to_cell_saturated(q >= 0.0 ? std::floor(q + 0.5) : std::ceil(q - 0.5));
  if (zoneSet.find(n) == zoneSet.end()) return z;
  // Every probe that finds its cell occupied has used up one element of the set, so the
  // distance stays below size() + 2 and fits any index type; a side that would leave the
  // index range is passed over.
  for (int64_t d = 1;; ++d) {
    const bool has_lower = n >= kCellMin + d;
    const bool has_upper = n <= kCellMax - d;
    if (has_lower && zoneSet.find(n - d) == zoneSet.end()) {
      return static_cast<double>(n - d) * zoneInterval;
    }
    if (has_upper && zoneSet.find(n + d) == zoneSet.end()) {
      return static_cast<double>(n + d) * zoneInterval;
    }
    if (!has_lower && !has_upper) return z;
  }
}

}  // namespace Quorvex
