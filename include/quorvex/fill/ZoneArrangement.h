#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include "quorvex/Export.h"

namespace Quorvex {

// Marks the cells of a uniform grid on one axis that a list of coordinates occupies, and
// finds, near a wanted coordinate, one that lies in no occupied cell. Zone n stands for the
// coordinate n * zoneInterval. Fill planning uses it to keep scan lines off vertex heights.
//
// The interval must be positive and must be set before set_zoneSet: the set is not
// re-indexed when the interval changes afterwards.
//
// Cell indices that do not fit a signed 64-bit integer saturate at its limits, and a NaN
// coordinate occupies no cell; getEmptyZ never probes past the limits of the index range.
class QX_EXPORT ZoneArrangement {
 public:
  ZoneArrangement();
  ZoneArrangement(const ZoneArrangement& other);
  ZoneArrangement& operator=(const ZoneArrangement& other);
  ~ZoneArrangement();

// The interface hands out the interval as `const double`; the qualifier is harmless on a
// scalar return but -Wextra flags it.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-qualifiers"
#endif
  const double get_zoneInterval() const;
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

  // Stores the interval; the occupied cells stay as they are.
  void set_zoneInterval(double interval);

  // Replaces the occupied cells by floor and ceil of coordinate / interval for each
  // coordinate: a coordinate on a grid point occupies one cell, any other the two around it.
  void set_zoneSet(const std::vector<double>& coordinates);

  // Returns z itself when its nearest cell (half away from zero) is free; otherwise the
  // grid coordinate of the nearest free cell, the lower one on a tie.
  double getEmptyZ(double z);

 private:
  double zoneInterval;
  std::set<int64_t> zoneSet;
};

}  // namespace Quorvex
