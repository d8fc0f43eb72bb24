#include "quorvex/fill/ZoneArrangement.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace Quorvex {
namespace {

ZoneArrangement unit_zones(const std::vector<double>& coordinates) {
  ZoneArrangement z;
  z.set_zoneInterval(1.0);
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
      {{2.5, 3.0}, 3.0, 4.0},
      {{2.5, 3.0}, 2.4, 1.0},
      {{2.5, 3.0}, 3.6, 3.6},
      {{2.5, 3.0}, 2.5, 4.0},
      {{2.5, 3.0}, -7.25, -7.25},
      {{-2.5}, -2.5, -4.0},
      {{-2.5}, -2.4, -1.0},
      {{-2.5}, -2.0, -1.0},
      {{-2.5}, -3.0, -4.0},
      {{5.0}, 5.2, 4.0},
      {{3.0}, 3.0, 2.0},
      {{3.0}, 2.0, 2.0},
      {{3.0}, 4.0, 4.0},
      {{10.0, 11.0, 12.0, 13.0}, 11.0, 9.0},
      {{10.0, 11.0, 12.0, 13.0}, 12.4, 14.0},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(unit_zones(r.coordinates).getEmptyZ(r.z), r.expected)
        << r.z << " among " << r.coordinates.size();
  }
  ZoneArrangement fresh;  // 1e-6 and nothing taken
  EXPECT_EQ(fresh.get_zoneInterval(), 1e-6);
  EXPECT_EQ(fresh.getEmptyZ(-3.5), -3.5);
}

// Loading replaces the set; a changed interval scales the result but does not reindex.
TEST(ZoneArrangement, IntervalScalesAndReloadReplaces) {
  ZoneArrangement z;
  z.set_zoneInterval(0.25);
  z.set_zoneSet({1.0});  // cell 4
  EXPECT_EQ(z.getEmptyZ(1.0), 3.0 * 0.25);
  z.set_zoneInterval(2.0);
  EXPECT_EQ(z.getEmptyZ(8.0), 6.0);  // cell 4 still marked
  z = unit_zones({3.0});
  z.set_zoneSet({7.0});
  EXPECT_EQ(z.getEmptyZ(3.0), 3.0);
  EXPECT_EQ(z.getEmptyZ(7.0), 6.0);
  z.set_zoneSet({});
  EXPECT_EQ(z.getEmptyZ(7.0), 7.0);
}

TEST(ZoneArrangement, CopiesAreIndependentAndSelfAssignmentKeepsTheSet) {
  ZoneArrangement a = unit_zones({3.0});
  a.set_zoneInterval(0.5);
  ZoneArrangement b(a);
  ZoneArrangement c = unit_zones({100.0});
  c = a;
  ZoneArrangement& self = a;
  a = self;
  EXPECT_EQ(a.getEmptyZ(1.5), 1.0);  // cell 3 taken, cell 2 free
  a.set_zoneSet({});
  for (ZoneArrangement* z : {&b, &c}) {
    EXPECT_EQ(z->getEmptyZ(1.5), 1.0);
    EXPECT_EQ(z->getEmptyZ(50.0), 50.0);
  }
}

// Saturated cells are marked at the ends of the index range; probing from there only goes
// inward.
TEST(ZoneArrangement, ExtremeAndNonFiniteCoordinatesStayDefined) {
  ZoneArrangement z;
  z.set_zoneInterval(1e-7);
  const double inf = std::numeric_limits<double>::infinity();
  z.set_zoneSet({std::nan(""), inf, -inf, 1e300, -1e300, 0.0});
  const double top = z.getEmptyZ(1e300);
  EXPECT_LT(top, 1e300);
  EXPECT_GT(top, 9e11);
  const double bottom = z.getEmptyZ(-1e300);
  EXPECT_GT(bottom, -1e300);
  EXPECT_LT(bottom, -9e11);
  EXPECT_TRUE(std::isnan(z.getEmptyZ(std::nan(""))));
  EXPECT_EQ(z.getEmptyZ(0.0), -1e-7);
}

}  // namespace
}  // namespace Quorvex
