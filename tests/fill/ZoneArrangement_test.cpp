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

TEST(ZoneArrangement, DefaultsToMicroIntervalAndEmptySet) {
  ZoneArrangement z;
  EXPECT_EQ(z.get_zoneInterval(), 1e-6);
  for (double v : {0.0, -3.5, 1e-6, 12345.678}) EXPECT_EQ(z.getEmptyZ(v), v);
}

struct EmptyZCase {
  std::vector<double> coordinates;
  double z;
  double expected;
};

class ZoneArrangementEmptyZ : public ::testing::TestWithParam<EmptyZCase> {};

TEST_P(ZoneArrangementEmptyZ, FindsNearestFreeCell) {
  ZoneArrangement z = unit_zones(GetParam().coordinates);
  EXPECT_EQ(z.getEmptyZ(GetParam().z), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ZoneArrangementEmptyZ,
    ::testing::Values(
        // 2.5 and 3.0 occupy 2 and 3: 3 is taken, 2 is taken, 4 is free.
        EmptyZCase{{2.5, 3.0}, 3.0, 4.0},
        // 2.4 rounds to 2; the lower neighbour 1 is free.
        EmptyZCase{{2.5, 3.0}, 2.4, 1.0},
        // 3.6 rounds to 4, which is free: the value itself comes back, not snapped.
        EmptyZCase{{2.5, 3.0}, 3.6, 3.6},
        // Exactly half way rounds away from zero: 2.5 -> 3 (taken), then 2 (taken), 4.
        EmptyZCase{{2.5, 3.0}, 2.5, 4.0},
        // Negative half way rounds away from zero: -2.5 -> -3, occupied by -2.5 itself
        // together with -2; -4 is free on the lower side first.
        EmptyZCase{{-2.5}, -2.5, -4.0},
        // -2.4 rounds to -2 (taken); -3 is taken; -1 is free.
        EmptyZCase{{-2.5}, -2.4, -1.0},
        // With both neighbours free the lower one wins.
        EmptyZCase{{5.0}, 5.2, 4.0},
        // A long run of occupied cells is crossed to its lower end first when that is
        // nearer, else to the upper end.
        EmptyZCase{{10.0, 11.0, 12.0, 13.0}, 11.0, 9.0},
        EmptyZCase{{10.0, 11.0, 12.0, 13.0}, 12.4, 14.0},
        // Nothing occupied near z.
        EmptyZCase{{2.5, 3.0}, -7.25, -7.25}));

TEST(ZoneArrangement, GridPointOccupiesOneCellOtherValuesTwo) {
  ZoneArrangement z = unit_zones({3.0});
  // Cell 3 is taken, 2 and 4 are free.
  EXPECT_EQ(z.getEmptyZ(3.0), 2.0);
  EXPECT_EQ(z.getEmptyZ(2.0), 2.0);
  EXPECT_EQ(z.getEmptyZ(4.0), 4.0);
  ZoneArrangement w = unit_zones({-2.5});
  // -2.5 occupies -3 and -2.
  EXPECT_EQ(w.getEmptyZ(-2.0), -1.0);
  EXPECT_EQ(w.getEmptyZ(-3.0), -4.0);
}

TEST(ZoneArrangement, ResultScalesWithInterval) {
  ZoneArrangement z;
  z.set_zoneInterval(0.25);
  z.set_zoneSet({1.0});  // cell 4
  EXPECT_EQ(z.getEmptyZ(1.0), 3.0 * 0.25);
  EXPECT_EQ(z.get_zoneInterval(), 0.25);
}

TEST(ZoneArrangement, SecondLoadReplacesFirstAndEmptyLoadClears) {
  ZoneArrangement z = unit_zones({3.0});
  z.set_zoneSet({7.0});
  EXPECT_EQ(z.getEmptyZ(3.0), 3.0);
  EXPECT_EQ(z.getEmptyZ(7.0), 6.0);
  z.set_zoneSet({});
  EXPECT_EQ(z.getEmptyZ(7.0), 7.0);
}

TEST(ZoneArrangement, IntervalChangeDoesNotReindex) {
  ZoneArrangement z = unit_zones({3.0});  // cell 3
  z.set_zoneInterval(2.0);
  // 6.0 / 2 = cell 3, still marked.
  EXPECT_EQ(z.getEmptyZ(6.0), 4.0);
  EXPECT_EQ(z.getEmptyZ(3.0), 3.0);
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
    EXPECT_EQ(z->get_zoneInterval(), 0.5);
    EXPECT_EQ(z->getEmptyZ(1.5), 1.0);
    EXPECT_EQ(z->getEmptyZ(50.0), 50.0);
  }
}

TEST(ZoneArrangement, ExtremeAndNonFiniteCoordinatesStayDefined) {
  ZoneArrangement z;
  z.set_zoneInterval(1e-7);
  const double inf = std::numeric_limits<double>::infinity();
  z.set_zoneSet({std::nan(""), inf, -inf, 1e300, -1e300, 0.0});
  // Saturated cells are marked at the ends of the index range; probing from there only
  // goes inward.
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
