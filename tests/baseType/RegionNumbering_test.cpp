#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
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

const auto outer = &qxtest::outer_rect;
const auto hole = &qxtest::hole_rect;
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

// Empty paths keep their ids with a warning; so do boundaries of other types, support and
// raft paths, without one.
TEST(RegionNumberingTest, EmptyPathsAndOtherListsKeepTheirIds) {
  Warnings log(google::GLOG_WARNING);
  Layer layer;
  auto plain = with_id(qxtest::make_path({{1, 1}, {2, 1}, {2, 2}, {1, 2}}), 99);
  layer.get_boundary_paths() = {outer(0, 0, 10, 10), plain};
  layer.add_support_path(with_id(stroke({5, 5}), 50));
  layer.add_raft_path(with_id(stroke({5, 5}), 51));
  layer.add_fill_path(with_id(std::make_shared<Path>(), 11));  // no point sequence at all
  layer.add_small_region_path(qxtest::make_path({}, PATH_TYPE_NONE, -1, 12));
  layer.add_thinWalledFill_path(qxtest::make_path({}, PATH_TYPE_NONE, -1, 13));
  layer.number_region();
  EXPECT_EQ(layer.get_fill_path(0)->get_id(), 11);
  EXPECT_EQ(layer.get_small_region_path(0)->get_id(), 12);
  EXPECT_EQ(layer.get_thinWalledFill_path(0)->get_id(), 13);
  EXPECT_EQ(ids_of({plain, layer.get_support_path(0), layer.get_raft_path(0)}), (Ids{99, 50, 51}));
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

// Layout 0: a triangle whose box reaches (40, 10) and (50, 0) but whose loop does not. Layout
// 1: a triangle whose box holds a point on no edge of it, which lies on a later loop. Layout
// 2: a triangle whose box holds everything, though its loop touches none of it: every loop of
// a region is asked, the hole too. Ties go to the lower id.
TEST(RegionNumberingTest, NearestWidenedBoxOrLoop) {
  const std::vector<std::shared_ptr<Path>> layouts[] = {
      {outer(0, 0, 10, 10), outer(20, 0, 30, 10), triangle({40, 0}, {50, 10}, {40, 10})},
      {outer(100, 100, 110, 110), triangle({0, 0}, {20, 0}, {0, 20}), outer(12, 12, 18, 18)},
      {triangle({0, 0}, {40, 0}, {0, 40}), outer(10, 0, 20, 10), hole(12, 2, 18, 8)}};
  const std::tuple<int, Point2, int> cases[] = {
      {0, {5, 5}, 0},   {0, {48, 2}, 2},    {0, {12, 5}, 0},  {0, {18, 5}, 1},
      {0, {15, 5}, 0},  {0, {25, -100}, 1}, {0, {52, 12}, 2}, {0, {10.0001f, 5}, 0},
      {1, {12, 15}, 2}, {2, {15, 2}, 1}};
  for (const auto& [layout, q, id] : cases) {
    Layer layer;
    for (const auto& loop : layouts[layout]) layer.add_boundary_path(std::make_shared<Path>(*loop));
    layer.add_thinWalledFill_path(stroke(q));
    layer.number_region();
    EXPECT_EQ(layer.get_thinWalledFill_path(0)->get_id(), id) << q.x << "," << q.y;
  }
}

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

}  // namespace
}  // namespace Quorvex
