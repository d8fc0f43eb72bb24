#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "quorvex/baseType/Layer.h"
#include "support/LogLines.h"
#include "support/ModelSamples.h"

namespace Quorvex {
namespace {

using qxtest::ids_of;
using qxtest::stroke;
using Ids = std::vector<int>;
using PathList = std::vector<std::shared_ptr<Path>>;
using Warnings = qxtest::LogLines;

std::shared_ptr<Path> outer(float x0, float y0, float x1, float y1) {
  return qxtest::outer_rect(x0, y0, x1, y1);
}
std::shared_ptr<Path> hole(float x0, float y0, float x1, float y1) {
  return qxtest::hole_rect(x0, y0, x1, y1);
}
std::shared_ptr<Path> triangle(Point2 a, Point2 b, Point2 c) {
  return qxtest::make_path({a, b, c}, PATH_TYPE_OUTER);
}
std::shared_ptr<Path> with_id(std::shared_ptr<Path> p, int id) {
  p->set_id(id);
  return p;
}

std::shared_ptr<Path> shell(int level, Point2 start) {
  auto path = stroke(start, PATH_TYPE_OUTER);
  auto component = std::make_shared<ExtraShellComponent>();
  component->set_extraShell_id(level);
  path->set_extra_shell_component(component);
  return path;
}

// ---- finding regions ----

TEST(RegionNumberingTest, TwoSquaresWithAHoleInTheSecond) {
  for (bool hole_first : {false, true}) {
    Layer layer;
    auto a = outer(0, 0, 10, 10);
    auto b = outer(20, 0, 30, 10);
    auto h = hole(22, 2, 28, 8);
    layer.get_boundary_paths() = hole_first ? PathList{h, a, b} : PathList{a, b, h};
    layer.get_fill_paths() = {stroke({5, 5}), stroke({21, 1})};
    EXPECT_TRUE(layer.number_region());
    EXPECT_EQ(ids_of({a, b, h}), (Ids{0, 1, 1})) << hole_first;
    EXPECT_EQ(ids_of(layer.get_fill_paths()), (Ids{0, 1})) << hole_first;
    EXPECT_TRUE(layer.is_region_numbered());
  }
}

// A small square stands in the hole of a larger one; both are outer loops. Strokes in the
// small square, in the ring, on the small loop, on the big loop and on the hole's edge,
// which is not asked; a shell in the small square and a small region in the ring.
TEST(RegionNumberingTest, InnermostOfNestedOuterLoopsWinsInEitherOrder) {
  for (bool small_first : {false, true}) {
    const int big = small_first ? 1 : 0, small = 1 - big;
    Layer layer;
    auto big_loop = outer(0, 0, 10, 10);
    auto small_loop = outer(4, 4, 6, 6);
    auto big_hole = hole(2, 2, 8, 8);
    layer.get_boundary_paths() = {small_first ? small_loop : big_loop,
                                  small_first ? big_loop : small_loop, big_hole};
    layer.get_fill_paths() = {stroke({5, 5}), stroke({1, 1}), stroke({6, 5}), stroke({0, 5}),
                              stroke({2, 5})};
    layer.add_extraShell_path(shell(0, {4.5f, 4.5f}));
    layer.add_small_region_path(stroke({9, 9}));
    layer.number_region();
    EXPECT_EQ(ids_of({big_loop, small_loop, big_hole}), (Ids{big, small, big}));
    EXPECT_EQ(ids_of(layer.get_fill_paths()), (Ids{small, big, small, big, big}));
    EXPECT_EQ(layer.get_extraShell_path(0)->get_id(), small);
    EXPECT_EQ(layer.get_small_region_path(0)->get_id(), big);
  }
}

TEST(RegionNumberingTest, SecondCallChangesNothingUntilTheFlagIsCleared) {
  Layer layer;
  auto a = outer(0, 0, 10, 10);
  layer.add_boundary_path(a);
  layer.number_region();
  auto late = with_id(stroke({5, 5}), 42);
  layer.add_fill_path(late);
  a->set_id(7);
  EXPECT_TRUE(layer.number_region());
  EXPECT_EQ(ids_of({a, late}), (Ids{7, 42}));
  layer.set_flags(0);
  layer.number_region();
  EXPECT_EQ(ids_of({a, late}), (Ids{0, 0}));
}

// ---- bad input: the stated ids and warning lines ----

TEST(RegionNumberingTest, InnerLoopOutsideEveryOuterOpensItsOwnRegion) {
  Warnings log(google::GLOG_WARNING);
  Layer layer;
  layer.set_id(7);
  layer.get_boundary_paths() = {hole(50, 50, 60, 60), outer(0, 0, 10, 10)};
  layer.add_fill_path(stroke({55, 55}));
  layer.number_region();
  EXPECT_EQ(ids_of(layer.get_boundary_paths()), (Ids{1, 0}));
  EXPECT_EQ(layer.get_fill_path(0)->get_id(), 1);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"layer 7: invalid inner loop found"});
}

TEST(RegionNumberingTest, StraysNumberAboveAllRegions) {
  Warnings log(google::GLOG_WARNING);
  Layer layer;
  layer.set_id(3);
  layer.get_boundary_paths() = {outer(0, 0, 10, 10), outer(20, 0, 30, 10)};
  layer.get_fill_paths() = {stroke({100, 100}, PATH_TYPE_FILL_POLYLINE_0), stroke({5, 5}),
                            stroke({-100, 0}, PATH_TYPE_FILL_SEGMENTS_0)};
  layer.add_extraShell_path(stroke({15, 5}, PATH_TYPE_OUTER));  // between the squares
  layer.number_region();
  // The extraShell list is walked before the fill list.
  EXPECT_EQ(layer.get_extraShell_path(0)->get_id(), 2);
  EXPECT_EQ(ids_of(layer.get_fill_paths()), (Ids{3, 0, 4}));
  EXPECT_EQ(log.lines(), (std::vector<std::string>{"layer 3 invalid path found: 1",
                                                   "layer 3 invalid path found: 8",
                                                   "layer 3 invalid path found: 3"}));
}

TEST(RegionNumberingTest, EmptyPathsKeepTheirIdsWithAWarning) {
  Warnings log(google::GLOG_WARNING);
  Layer layer;
  layer.add_boundary_path(outer(0, 0, 10, 10));
  layer.add_fill_path(with_id(std::make_shared<Path>(), 11));  // no point sequence at all
  layer.add_small_region_path(qxtest::make_path({}, PATH_TYPE_NONE, -1, 12));
  layer.add_thinWalledFill_path(qxtest::make_path({}, PATH_TYPE_NONE, -1, 13));
  layer.number_region();
  EXPECT_EQ(layer.get_fill_path(0)->get_id(), 11);
  EXPECT_EQ(layer.get_small_region_path(0)->get_id(), 12);
  EXPECT_EQ(layer.get_thinWalledFill_path(0)->get_id(), 13);
  EXPECT_EQ(log.lines(), std::vector<std::string>(3, "empty path found"));
}

TEST(RegionNumberingTest, LayerWithoutBoundaries) {
  Layer layer;
  layer.add_fill_path(stroke({1, 1}));
  layer.add_small_region_path(stroke({2, 2}));
  layer.add_thinWalledFill_path(with_id(stroke({3, 3}), 5));
  layer.add_sharpAngle_paths(stroke({4, 4}));
  EXPECT_TRUE(layer.number_region());
  EXPECT_EQ(layer.get_fill_path(0)->get_id(), 0);
  EXPECT_EQ(layer.get_small_region_path(0)->get_id(), 1);
  EXPECT_EQ(layer.get_thinWalledFill_path(0)->get_id(), -1);
  EXPECT_EQ(layer.get_sharpAngle_paths()[0]->get_id(), -1);
}

TEST(RegionNumberingTest, OtherListsAndTypesAreLeftAlone) {
  Layer layer;
  auto plain = with_id(qxtest::make_path({{1, 1}, {2, 1}, {2, 2}, {1, 2}}), 99);
  layer.get_boundary_paths() = {outer(0, 0, 10, 10), plain};
  layer.add_support_path(with_id(stroke({5, 5}), 50));
  layer.add_raft_path(with_id(stroke({5, 5}), 51));
  layer.number_region();
  EXPECT_EQ(plain->get_id(), 99);
  EXPECT_EQ(layer.get_support_path(0)->get_id(), 50);
  EXPECT_EQ(layer.get_raft_path(0)->get_id(), 51);
}

TEST(RegionNumberingTest, BoundaryWithoutPointsIsSurvived) {
  Warnings log(google::GLOG_WARNING);
  Layer layer;
  layer.set_id(2);
  auto empty_outer = std::make_shared<Path>();
  empty_outer->set_type(PATH_TYPE_OUTER);
  auto empty_inner = std::make_shared<Path>();
  empty_inner->set_type(PATH_TYPE_INNER);
  layer.get_boundary_paths() = {empty_outer, outer(0, 0, 10, 10), empty_inner};
  layer.add_fill_path(stroke({5, 5}));
  layer.add_thinWalledFill_path(stroke({50, 5}));  // the empty boxes lie infinitely far
  EXPECT_TRUE(layer.number_region());
  EXPECT_EQ(ids_of(layer.get_boundary_paths()), (Ids{0, 1, 2}));
  EXPECT_EQ(layer.get_fill_path(0)->get_id(), 1);
  EXPECT_EQ(layer.get_thinWalledFill_path(0)->get_id(), 1);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"layer 2: invalid inner loop found"});
}

// ---- the walk by proximity ----

TEST(RegionNumberingTest, PointOnALoopWinsOverAnEarlierWidenedBox) {
  Layer layer;
  // Region 1 is a triangle whose box holds the point, which lies on no edge of it.
  layer.get_boundary_paths() = {outer(100, 100, 110, 110), triangle({0, 0}, {20, 0}, {0, 20}),
                                outer(12, 12, 18, 18)};
  layer.add_sharpAngle_paths(stroke({12, 15}));
  layer.number_region();
  EXPECT_EQ(layer.get_sharpAngle_paths()[0]->get_id(), 2);
}

TEST(RegionNumberingTest, EveryLoopOfARegionIsAskedByProximity) {
  Layer layer;
  // Region 0 is a triangle whose box holds everything below, though its loop touches none
  // of it: were only opening loops asked, its box at distance 0 would win.
  layer.get_boundary_paths() = {triangle({0, 0}, {40, 0}, {0, 40}), outer(10, 0, 20, 10),
                                hole(12, 2, 18, 8)};
  layer.add_thinWalledFill_path(stroke({15, 2}));  // on the hole
  layer.number_region();
  EXPECT_EQ(ids_of(layer.get_boundary_paths()), (Ids{0, 1, 1}));
  EXPECT_EQ(layer.get_thinWalledFill_path(0)->get_id(), 1);
}

struct NearestCase {
  std::string name;
  Point2 q;
  int id;
};

void PrintTo(const NearestCase& c, std::ostream* os) { *os << c.name; }

class NearestBoxTest : public ::testing::TestWithParam<NearestCase> {};

TEST_P(NearestBoxTest, NearestWidenedBox) {
  Layer layer;
  // A triangle: its box reaches (40, 10) and (50, 0) but its loop does not.
  layer.get_boundary_paths() = {outer(0, 0, 10, 10), outer(20, 0, 30, 10),
                                triangle({40, 0}, {50, 10}, {40, 10})};
  layer.add_thinWalledFill_path(stroke(GetParam().q));
  layer.number_region();
  EXPECT_EQ(layer.get_thinWalledFill_path(0)->get_id(), GetParam().id);
}

INSTANTIATE_TEST_SUITE_P(Points, NearestBoxTest,
                         ::testing::Values(NearestCase{"inside_first", {5, 5}, 0},
                                           NearestCase{"inside_box_off_loop", {48, 2}, 2},
                                           NearestCase{"nearer_first", {12, 5}, 0},
                                           NearestCase{"nearer_second", {18, 5}, 1},
                                           NearestCase{"tie_goes_to_lower", {15, 5}, 0},
                                           NearestCase{"far_below_second", {25, -100}, 1},
                                           NearestCase{"diagonal_nearer_third", {52, 12}, 2},
                                           NearestCase{
                                               "just_outside_margin_of_first", {10.0001f, 5}, 0}),
                         [](const auto& info) { return info.param.name; });

// ---- last points ----

using LastPoints = std::vector<std::vector<std::shared_ptr<Point2Vector>>>;

TEST(LastPointsTest, HighestShellLevelPerRegion) {
  Layer layer;
  auto b = outer(20, 0, 30, 10);
  auto b_hole = hole(22, 2, 28, 8);
  layer.get_boundary_paths() = {outer(0, 0, 10, 10), b, b_hole, hole(2, 2, 8, 8)};
  auto s1a = shell(1, {1.5f, 1.5f});
  auto s1b = shell(1, {9, 9});
  // Region 0: levels 0, 1, -1, 1, 0; region 1 has only a negative level.
  layer.get_extraShell_paths() = {shell(0, {1, 1}),  s1a, shell(-1, {1, 9}), s1b, shell(0, {9, 1}),
                                  shell(-2, {21, 1})};
  layer.number_region();

  LastPoints last;
  ASSERT_TRUE(layer.get_last_points(last));
  // Region 0: the two loops of level 1, in list order. Region 1 has no shell of level 0
  // or more: its outer loop and its hole, in boundary order, shared.
  EXPECT_EQ(last, (LastPoints{{s1a->get_points(), s1b->get_points()},
                              {b->get_points(), b_hole->get_points()}}));
}

TEST(LastPointsTest, UnnumberedBoundaryGivesFalse) {
  Layer layer;
  layer.get_boundary_paths() = {with_id(outer(0, 0, 10, 10), 0), outer(20, 0, 30, 10)};
  LastPoints last;
  EXPECT_FALSE(layer.get_last_points(last));
  // What had come before the refusal stays.
  ASSERT_EQ(last.size(), 1u);
  EXPECT_EQ(last[0].size(), 1u);
}

TEST(LastPointsTest, GapsInRegionNumbersGiveEmptyEntries) {
  Layer layer;
  layer.add_boundary_path(with_id(outer(0, 0, 10, 10), 2));
  layer.add_extraShell_path(with_id(shell(3, {1, 1}), 9));  // beyond every region: ignored
  LastPoints last;
  ASSERT_TRUE(layer.get_last_points(last));
  ASSERT_EQ(last.size(), 3u);
  EXPECT_TRUE(last[0].empty());
  EXPECT_TRUE(last[1].empty());
  EXPECT_EQ(last[2].size(), 1u);
}

}  // namespace
}  // namespace Quorvex
