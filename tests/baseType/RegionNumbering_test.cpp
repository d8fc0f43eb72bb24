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

using qxtest::stroke;
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
    if (hole_first) layer.add_boundary_path(h);
    layer.add_boundary_path(a);
    layer.add_boundary_path(b);
    if (!hole_first) layer.add_boundary_path(h);
    auto fill_a = stroke({5, 5});
    auto fill_b = stroke({21, 1});
    layer.add_fill_path(fill_a);
    layer.add_fill_path(fill_b);
    EXPECT_TRUE(layer.number_region());
    EXPECT_EQ(a->get_id(), 0) << hole_first;
    EXPECT_EQ(b->get_id(), 1) << hole_first;
    EXPECT_EQ(h->get_id(), 1) << hole_first;
    EXPECT_EQ(fill_a->get_id(), 0) << hole_first;
    EXPECT_EQ(fill_b->get_id(), 1) << hole_first;
    EXPECT_TRUE(layer.is_region_numbered());
  }
}

// A small square stands in the hole of a larger one; both are outer loops.
struct NestedCase {
  std::string name;
  bool small_first;
  int big_id;
  int small_id;
};

void PrintTo(const NestedCase& c, std::ostream* os) { *os << c.name; }

class NestedOuterLoopsTest : public ::testing::TestWithParam<NestedCase> {};

TEST_P(NestedOuterLoopsTest, InnermostRegionWinsInEitherOrder) {
  const NestedCase& c = GetParam();
  Layer layer;
  auto big = outer(0, 0, 10, 10);
  auto small = outer(4, 4, 6, 6);
  auto big_hole = hole(2, 2, 8, 8);
  if (c.small_first) layer.add_boundary_path(small);
  layer.add_boundary_path(big);
  if (!c.small_first) layer.add_boundary_path(small);
  layer.add_boundary_path(big_hole);

  auto in_small = stroke({5, 5});
  auto in_ring = stroke({1, 1});
  auto on_small_edge = stroke({6, 5});  // on the small loop: inside it
  auto on_big_edge = stroke({0, 5});
  auto on_hole_edge = stroke({2, 5});  // the hole's own edge is not asked: big region
  for (const auto& p : {in_small, in_ring, on_small_edge, on_big_edge, on_hole_edge}) {
    layer.add_fill_path(p);
  }
  auto shell_in_small = shell(0, {4.5f, 4.5f});
  layer.add_extraShell_path(shell_in_small);
  auto small_region_in_ring = stroke({9, 9});
  layer.add_small_region_path(small_region_in_ring);

  layer.number_region();
  EXPECT_EQ(big->get_id(), c.big_id);
  EXPECT_EQ(small->get_id(), c.small_id);
  EXPECT_EQ(big_hole->get_id(), c.big_id);
  EXPECT_EQ(in_small->get_id(), c.small_id);
  EXPECT_EQ(in_ring->get_id(), c.big_id);
  EXPECT_EQ(on_small_edge->get_id(), c.small_id);
  EXPECT_EQ(on_big_edge->get_id(), c.big_id);
  EXPECT_EQ(on_hole_edge->get_id(), c.big_id);
  EXPECT_EQ(shell_in_small->get_id(), c.small_id);
  EXPECT_EQ(small_region_in_ring->get_id(), c.big_id);
}

INSTANTIATE_TEST_SUITE_P(Orders, NestedOuterLoopsTest,
                         ::testing::Values(NestedCase{"big_first", false, 0, 1},
                                           NestedCase{"small_first", true, 1, 0}),
                         [](const auto& info) { return info.param.name; });

TEST(RegionNumberingTest, SecondCallChangesNothingUntilTheFlagIsCleared) {
  Layer layer;
  auto a = outer(0, 0, 10, 10);
  layer.add_boundary_path(a);
  layer.number_region();
  auto late = stroke({5, 5});
  late->set_id(42);
  layer.add_fill_path(late);
  a->set_id(7);
  EXPECT_TRUE(layer.number_region());
  EXPECT_EQ(late->get_id(), 42);
  EXPECT_EQ(a->get_id(), 7);
  layer.set_flags(0);
  layer.number_region();
  EXPECT_EQ(a->get_id(), 0);
  EXPECT_EQ(late->get_id(), 0);
}

// ---- bad input: the stated ids and warning lines ----

TEST(RegionNumberingTest, InnerLoopOutsideEveryOuterOpensItsOwnRegion) {
  Warnings log(google::GLOG_WARNING);
  Layer layer;
  layer.set_id(7);
  auto a = outer(0, 0, 10, 10);
  auto lost = hole(50, 50, 60, 60);
  layer.add_boundary_path(lost);
  layer.add_boundary_path(a);
  auto in_lost = stroke({55, 55});
  layer.add_fill_path(in_lost);
  layer.number_region();
  EXPECT_EQ(a->get_id(), 0);
  EXPECT_EQ(lost->get_id(), 1);
  EXPECT_EQ(in_lost->get_id(), 1);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"layer 7: invalid inner loop found"});
}

TEST(RegionNumberingTest, StraysNumberAboveAllRegions) {
  Warnings log(google::GLOG_WARNING);
  Layer layer;
  layer.set_id(3);
  layer.add_boundary_path(outer(0, 0, 10, 10));
  layer.add_boundary_path(outer(20, 0, 30, 10));
  auto stray1 = stroke({100, 100}, PATH_TYPE_FILL_POLYLINE_0);
  auto inside = stroke({5, 5});
  auto stray2 = stroke({-100, 0}, PATH_TYPE_FILL_SEGMENTS_0);
  auto stray3 = stroke({15, 5}, PATH_TYPE_OUTER);  // between the squares: an extra shell
  layer.add_fill_path(stray1);
  layer.add_fill_path(inside);
  layer.add_fill_path(stray2);
  layer.add_extraShell_path(stray3);
  layer.number_region();
  EXPECT_EQ(inside->get_id(), 0);
  // The extraShell list is walked before the fill list.
  EXPECT_EQ(stray3->get_id(), 2);
  EXPECT_EQ(stray1->get_id(), 3);
  EXPECT_EQ(stray2->get_id(), 4);
  EXPECT_EQ(log.lines(), (std::vector<std::string>{"layer 3 invalid path found: 1",
                                                   "layer 3 invalid path found: 8",
                                                   "layer 3 invalid path found: 3"}));
}

TEST(RegionNumberingTest, EmptyPathsKeepTheirIdsWithAWarning) {
  Warnings log(google::GLOG_WARNING);
  Layer layer;
  layer.add_boundary_path(outer(0, 0, 10, 10));
  auto no_handle = std::make_shared<Path>();
  no_handle->set_id(11);
  auto no_points = std::make_shared<Path>();
  no_points->init_points();
  no_points->set_id(12);
  auto thin_empty = std::make_shared<Path>();
  thin_empty->init_points();
  thin_empty->set_id(13);
  layer.add_fill_path(no_handle);
  layer.add_small_region_path(no_points);
  layer.add_thinWalledFill_path(thin_empty);
  layer.number_region();
  EXPECT_EQ(no_handle->get_id(), 11);
  EXPECT_EQ(no_points->get_id(), 12);
  EXPECT_EQ(thin_empty->get_id(), 13);
  EXPECT_EQ(log.lines(), std::vector<std::string>(3, "empty path found"));
}

TEST(RegionNumberingTest, LayerWithoutBoundaries) {
  Layer layer;
  auto f1 = stroke({1, 1});
  auto f2 = stroke({2, 2});
  auto thin = stroke({3, 3});
  auto sharp = stroke({4, 4});
  layer.add_fill_path(f1);
  layer.add_small_region_path(f2);
  layer.add_thinWalledFill_path(thin);
  layer.add_sharpAngle_paths(sharp);
  thin->set_id(5);
  EXPECT_TRUE(layer.number_region());
  EXPECT_EQ(f1->get_id(), 0);
  EXPECT_EQ(f2->get_id(), 1);
  EXPECT_EQ(thin->get_id(), -1);
  EXPECT_EQ(sharp->get_id(), -1);
}

TEST(RegionNumberingTest, OtherListsAndTypesAreLeftAlone) {
  Layer layer;
  auto a = outer(0, 0, 10, 10);
  auto plain = qxtest::make_path({{1, 1}, {2, 1}, {2, 2}, {1, 2}});
  plain->set_id(99);
  layer.add_boundary_path(a);
  layer.add_boundary_path(plain);
  auto support = stroke({5, 5});
  support->set_id(50);
  auto raft = stroke({5, 5});
  raft->set_id(51);
  layer.add_support_path(support);
  layer.add_raft_path(raft);
  layer.number_region();
  EXPECT_EQ(plain->get_id(), 99);
  EXPECT_EQ(support->get_id(), 50);
  EXPECT_EQ(raft->get_id(), 51);
}

TEST(RegionNumberingTest, BoundaryWithoutPointsIsSurvived) {
  Warnings log(google::GLOG_WARNING);
  Layer layer;
  layer.set_id(2);
  auto empty_outer = std::make_shared<Path>();
  empty_outer->set_type(PATH_TYPE_OUTER);
  auto empty_inner = std::make_shared<Path>();
  empty_inner->set_type(PATH_TYPE_INNER);
  auto a = outer(0, 0, 10, 10);
  layer.add_boundary_path(empty_outer);
  layer.add_boundary_path(a);
  layer.add_boundary_path(empty_inner);
  auto fill = stroke({5, 5});
  auto thin = stroke({50, 5});
  layer.add_fill_path(fill);
  layer.add_thinWalledFill_path(thin);
  EXPECT_TRUE(layer.number_region());
  EXPECT_EQ(empty_outer->get_id(), 0);
  EXPECT_EQ(a->get_id(), 1);
  EXPECT_EQ(empty_inner->get_id(), 2);
  EXPECT_EQ(fill->get_id(), 1);
  EXPECT_EQ(thin->get_id(), 1);  // the empty boxes lie infinitely far
  EXPECT_EQ(log.lines(), std::vector<std::string>{"layer 2: invalid inner loop found"});
}

// ---- the walk by proximity ----

TEST(RegionNumberingTest, PointOnALoopWinsOverAnEarlierWidenedBox) {
  Layer layer;
  layer.add_boundary_path(outer(100, 100, 110, 110));
  // Region 1 is a triangle whose box holds the point, which lies on no edge of it.
  layer.add_boundary_path(triangle({0, 0}, {20, 0}, {0, 20}));
  layer.add_boundary_path(outer(12, 12, 18, 18));
  auto sharp = stroke({12, 15});
  layer.add_sharpAngle_paths(sharp);
  layer.number_region();
  EXPECT_EQ(sharp->get_id(), 2);
}

TEST(RegionNumberingTest, EveryLoopOfARegionIsAskedByProximity) {
  Layer layer;
  // Region 0 is a triangle whose box holds everything below, though its loop touches none
  // of it: were only opening loops asked, its box at distance 0 would win.
  layer.add_boundary_path(triangle({0, 0}, {40, 0}, {0, 40}));
  auto square = outer(10, 0, 20, 10);
  auto h = hole(12, 2, 18, 8);
  layer.add_boundary_path(square);
  layer.add_boundary_path(h);
  auto thin_on_hole = stroke({15, 2});
  layer.add_thinWalledFill_path(thin_on_hole);
  layer.number_region();
  EXPECT_EQ(square->get_id(), 1);
  EXPECT_EQ(h->get_id(), 1);
  EXPECT_EQ(thin_on_hole->get_id(), 1);
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
  layer.add_boundary_path(outer(0, 0, 10, 10));
  layer.add_boundary_path(outer(20, 0, 30, 10));
  // A triangle: its box reaches (40, 10) and (50, 0) but its loop does not.
  layer.add_boundary_path(triangle({40, 0}, {50, 10}, {40, 10}));
  auto thin = stroke(GetParam().q);
  layer.add_thinWalledFill_path(thin);
  layer.number_region();
  EXPECT_EQ(thin->get_id(), GetParam().id);
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

TEST(LastPointsTest, HighestShellLevelPerRegion) {
  Layer layer;
  auto a = outer(0, 0, 10, 10);
  auto a_hole = hole(2, 2, 8, 8);
  auto b = outer(20, 0, 30, 10);
  auto b_hole = hole(22, 2, 28, 8);
  layer.add_boundary_path(a);
  layer.add_boundary_path(b);
  layer.add_boundary_path(b_hole);
  layer.add_boundary_path(a_hole);
  auto s0 = shell(0, {1, 1});
  auto s1a = shell(1, {1.5f, 1.5f});
  auto s1b = shell(1, {9, 9});
  auto s_neg = shell(-1, {1, 9});
  auto s_low = shell(0, {9, 1});
  layer.add_extraShell_path(s0);
  layer.add_extraShell_path(s1a);
  layer.add_extraShell_path(s_neg);
  layer.add_extraShell_path(s1b);
  layer.add_extraShell_path(s_low);
  layer.add_extraShell_path(shell(-2, {21, 1}));  // region 1 has only a negative level
  layer.number_region();

  std::vector<std::vector<std::shared_ptr<Point2Vector>>> last;
  ASSERT_TRUE(layer.get_last_points(last));
  ASSERT_EQ(last.size(), 2u);
  // Region 0: the two loops of level 1, in list order; levels 0 and -1 drop out.
  ASSERT_EQ(last[0].size(), 2u);
  EXPECT_EQ(last[0][0], s1a->get_points());
  EXPECT_EQ(last[0][1], s1b->get_points());
  // Region 1 has no shell of level 0 or more: its outer loop and its hole, in boundary
  // order, shared.
  ASSERT_EQ(last[1].size(), 2u);
  EXPECT_EQ(last[1][0], b->get_points());
  EXPECT_EQ(last[1][1], b_hole->get_points());
}

TEST(LastPointsTest, UnnumberedBoundaryGivesFalse) {
  Layer layer;
  auto a = outer(0, 0, 10, 10);
  a->set_id(0);
  auto b = outer(20, 0, 30, 10);  // id -1
  layer.add_boundary_path(a);
  layer.add_boundary_path(b);
  std::vector<std::vector<std::shared_ptr<Point2Vector>>> last;
  EXPECT_FALSE(layer.get_last_points(last));
  // What had come before the refusal stays.
  ASSERT_EQ(last.size(), 1u);
  EXPECT_EQ(last[0].size(), 1u);
}

TEST(LastPointsTest, GapsInRegionNumbersGiveEmptyEntries) {
  Layer layer;
  auto a = outer(0, 0, 10, 10);
  a->set_id(2);
  layer.add_boundary_path(a);
  auto lost_shell = shell(3, {1, 1});
  lost_shell->set_id(9);  // beyond every region: ignored
  layer.add_extraShell_path(lost_shell);
  std::vector<std::vector<std::shared_ptr<Point2Vector>>> last;
  ASSERT_TRUE(layer.get_last_points(last));
  ASSERT_EQ(last.size(), 3u);
  EXPECT_TRUE(last[0].empty());
  EXPECT_TRUE(last[1].empty());
  EXPECT_EQ(last[2].size(), 1u);
}

}  // namespace
}  // namespace Quorvex
