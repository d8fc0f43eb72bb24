#include "quorvex/fill/ZoneArrangement.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace Quorvex {
namespace {

ZoneArrangement zones(const std::vector<double>& coordinates, double interval = 1.0) {
  ZoneArrangement z;
  z.set_zoneInterval(interval);
  z.set_zoneSet(coordinates);
  return z;
}

// A grid value occupies its own cell, any other value the two around it. A free cell gives
// the value itself back, not snapped; half way rounds away from zero; of two free
// neighbours the lower wins, and a run of taken cells is crossed to its nearer end.
TEST(ZoneArrangement, FindsTheNearestFreeCell) {
  const struct {
    std::vector<double> coordinates;
    double z, expected;
  } rows[] = {
      {{2.5, 3.0}, 3.0, 4.0}, {{2.5, 3.0}, 2.4, 1.0},        {{2.5, 3.0}, 3.6, 3.6},
      {{2.5, 3.0}, 2.5, 4.0}, {{-2.5}, -2.5, -4.0},          {{-2.5}, -2.4, -1.0},
      {{5.0}, 5.2, 4.0},      {{10, 11, 12, 13}, 11.0, 9.0}, {{10, 11, 12, 13}, 12.4, 14.0},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(zones(r.coordinates).getEmptyZ(r.z), r.expected) << r.z;
  }
  ZoneArrangement fresh;  // 1e-6 and nothing taken
  EXPECT_EQ(fresh.get_zoneInterval(), 1e-6);
  EXPECT_EQ(fresh.getEmptyZ(-3.5), -3.5);
}

// Loading replaces the set; a changed interval scales the result but does not reindex.
// Copies are independent, and self-assignment keeps the set.
TEST(ZoneArrangement, IntervalReloadAndCopies) {
  ZoneArrangement z = zones({1.0}, 0.25);  // cell 4
  EXPECT_EQ(z.getEmptyZ(1.0), 0.75);
  z.set_zoneInterval(2.0);
  EXPECT_EQ(z.getEmptyZ(8.0), 6.0);  // cell 4 still marked
  z = zones({3.0});
  z.set_zoneSet({7.0});
  EXPECT_EQ(z.getEmptyZ(3.0), 3.0);
  EXPECT_EQ(z.getEmptyZ(7.0), 6.0);

  ZoneArrangement a = zones({3.0});
  a.set_zoneInterval(0.5);
  ZoneArrangement b(a), c = zones({100.0});
  c = a;
  ZoneArrangement& self = a;
  a = self;
  EXPECT_EQ(a.getEmptyZ(1.5), 1.0);  // cell 3 taken, cell 2 free
  a.set_zoneSet({});
  EXPECT_EQ(a.getEmptyZ(1.5), 1.5);
  for (ZoneArrangement* copy : {&b, &c}) {
    EXPECT_EQ(copy->getEmptyZ(1.5), 1.0);
    EXPECT_EQ(copy->getEmptyZ(50.0), 50.0);
  }
}

// Saturated cells are marked at the ends of the index range; probing from there only goes
// inward.
TEST(ZoneArrangement, ExtremeAndNonFiniteCoordinatesStayDefined) {
  const double inf = std::numeric_limits<double>::infinity();
  ZoneArrangement z = zones({std::nan(""), inf, -inf, 1e300, -1e300, 0.0}, 1e-7);
  const double top = z.getEmptyZ(1e300), bottom = z.getEmptyZ(-1e300);
  EXPECT_TRUE(top < 1e300 && top > 9e11) << top;
  EXPECT_TRUE(bottom > -1e300 && bottom < -9e11) << bottom;
  EXPECT_TRUE(std::isnan(z.getEmptyZ(std::nan(""))));
  EXPECT_EQ(z.getEmptyZ(0.0), -1e-7);
}

}  // namespace
}  // namespace Quorvex
