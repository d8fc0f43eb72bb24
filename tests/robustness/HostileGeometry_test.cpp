// Loops that collapse to one point a million times over, and coordinates at the edge of
// the polygon engine's range: each call ends with its stated result.

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <polyclipping/clipper.hpp>
#include <string>
#include <vector>

#include "quorvex/baseType/Path.h"
#include "quorvex/fill/FillLine.h"
#include "quorvex/fill/FillLineOrder.h"
#include "quorvex/planeGeometry/QEMSimp.h"
#include "quorvex/planeGeometry/SimplifyDP.h"
#include "quorvex/planeGeometry/SimplifyDistance.h"
#include "quorvex/polygon/Clipper.h"
#include "quorvex/polygon/RegionBoolean.h"

namespace Quorvex {
namespace {

constexpr std::size_t kMillion = 1000000;

std::vector<Point2> million_identical() { return std::vector<Point2>(kMillion, Point2(3, 4)); }

TEST(HostileMillionPoints, DouglasPeuckerEmptiesTheLoop) {
  std::vector<Point2> loop = million_identical();
  EXPECT_EQ(get_simplified_loop_DP(loop, 0.01f), RETVAL_OK);
  EXPECT_TRUE(loop.empty());
}

TEST(HostileMillionPoints, DistanceThinningLeavesAtMostTwoPoints) {
  std::vector<Point2> loop = million_identical();
  EXPECT_EQ(get_simplified_loop(loop, 0.01f), RETVAL_OK);
  EXPECT_LE(loop.size(), 2u);
  for (const Point2& p : loop) EXPECT_EQ(p.x, 3.0f);
}

TEST(HostileMillionPoints, QuadricCollapseKeepsTwoSurvivors) {
  std::vector<Point2> loop = million_identical();
  EXPECT_EQ(get_QEM_simplified_loop(loop, 0.01f), RETVAL_OK);
  EXPECT_EQ(loop.size(), 2u);
}

TEST(HostileMillionPoints, ColouredFormsEnd) {
  auto path = std::make_shared<Path>();
  path->set_points(std::make_shared<Point2Vector>(million_identical()));
  path->set_colors(std::make_shared<ColorVector>(kMillion, Color3f(1, 0, 0)));
  EXPECT_EQ(get_simplified_path_with_colour(path, 0.01f, 0.1f), RETVAL_OK);
  EXPECT_LE(path->get_points()->size(), 2u);
  EXPECT_EQ(path->get_colors()->size(), path->get_points()->size());

  auto qem = std::make_shared<Path>();
  qem->set_points(std::make_shared<Point2Vector>(million_identical()));
  qem->set_colors(std::make_shared<ColorVector>(kMillion, Color3f(1, 0, 0)));
  get_QEM_simplified_loop_with_colour(qem, 0.01f, 0.1f);
  EXPECT_EQ(qem->get_points()->size(), 2u);
}

TEST(HostileMillionPoints, FillHasNoExtentToFill) {
  const std::vector<std::shared_ptr<const Point2Vector>> loops = {
      std::make_shared<Point2Vector>(million_identical())};
  std::vector<std::shared_ptr<Point2Vector>> lines{std::make_shared<Point2Vector>()};
  EXPECT_EQ(get_fill_line_from_loops(loops, lines, 0.5f, 30.0f, 0.1f, true), RETVAL_FAILED);
  EXPECT_EQ(lines.size(), 1u);  // untouched
}

TEST(HostileMillionPoints, ClipperGivesAnEmptyRegion) {
  const std::vector<std::shared_ptr<const Point2Vector>> loops = {
      std::make_shared<Point2Vector>(million_identical())};
  Clipper c;
  c.set_paths(loops, ptSubject);
  EXPECT_EQ(c.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_OK);
  std::vector<std::shared_ptr<Point2Vector>> out;
  EXPECT_EQ(c.get_result(out, true), RETVAL_OK);
  EXPECT_TRUE(out.empty());
  std::vector<std::vector<std::shared_ptr<Point2Vector>>> regions;
  EXPECT_EQ(get_classified_region(loops, regions, pftNonZero), RETVAL_OK);
  EXPECT_TRUE(regions.empty());
}

TEST(HostileMillionPoints, OneScanLineOfAMillionCoincidentSegments) {
  auto line = std::make_shared<Point2Vector>(2 * kMillion / 4, Point2(1, 1));
  const std::vector<std::shared_ptr<const Point2Vector>> lines = {line, line};
  std::vector<std::shared_ptr<Point2Vector>> sorted;
  EXPECT_EQ(sort_discontinued_fill_line(lines, sorted, 1.0f, 1.0f), RETVAL_OK);
  std::size_t points = 0;
  for (const auto& s : sorted) points += s->size();
  EXPECT_EQ(points, 2 * line->size());
}

// ---- the engine's range: |scaled coordinate| below 0x4000000000000000

std::shared_ptr<const Point2Vector> square_at(float x0, float side) {
  return std::make_shared<Point2Vector>(
      std::vector<Point2>{{x0, 0}, {x0 + side, 0}, {x0 + side, side}, {x0, side}});
}

struct RangeCase {
  const char* label;
  float coordinate;
  bool refused;
};

class HostileRange : public ::testing::TestWithParam<RangeCase> {};

TEST_P(HostileRange, TheEngineRefusesBeyondItsRangeWithItsException) {
  const RangeCase& c = GetParam();
  const std::vector<std::shared_ptr<const Point2Vector>> loops = {square_at(0, 10),
                                                                  square_at(c.coordinate, 1)};
  Clipper clipper;
  clipper.set_paths(loops, ptSubject);
  bool thrown = false;
  try {
    EXPECT_EQ(clipper.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_OK);
  } catch (const ClipperLib::clipperException& e) {
    thrown = true;
    EXPECT_EQ(std::string(e.what()), "Coordinate outside allowed range");
  }
  EXPECT_EQ(thrown, c.refused) << c.label;
  if (!thrown) {
    std::vector<std::shared_ptr<Point2Vector>> out;
    clipper.get_result(out, true);
    EXPECT_FALSE(out.empty());
  }
  // The stateless helpers scale in double by the same 1e7 and share the limit.
  std::vector<std::shared_ptr<Point2Vector>> result;
  bool thrown_stateless = false;
  try {
    get_clipper_boolean_operation_result(loops, result, ctUnion, {}, pftNonZero, pftNonZero);
  } catch (const ClipperLib::clipperException&) {
    thrown_stateless = true;
  }
  EXPECT_EQ(thrown_stateless, c.refused) << c.label;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, HostileRange,
    ::testing::Values(RangeCase{"inside", 4.0e11f, false}, RangeCase{"beyond", 4.7e11f, true},
                      RangeCase{"negative_beyond", -4.7e11f, true},
                      RangeCase{"float_max", std::numeric_limits<float>::max(), true},
                      RangeCase{"infinity", std::numeric_limits<float>::infinity(), true},
                      RangeCase{"nan", std::numeric_limits<float>::quiet_NaN(), true}),
    [](const ::testing::TestParamInfo<RangeCase>& i) { return std::string(i.param.label); });

// Fill at coordinates the engine could not take: refused by the fill's own limits.
TEST(HostileRangeFill, FarCoordinatesAreRefusedNotLooped) {
  for (float far : {4.0e11f, 1.0e30f, std::numeric_limits<float>::max()}) {
    const std::vector<std::shared_ptr<const Point2Vector>> loops = {std::make_shared<Point2Vector>(
        std::vector<Point2>{{-far, -far}, {far, -far}, {far, far}, {-far, far}})};
    std::vector<std::shared_ptr<Point2Vector>> lines;
    EXPECT_EQ(get_fill_line_from_loops(loops, lines, 1.0f, 0.0f, 0.1f, false), RETVAL_BAD_INPUT)
        << far;
    EXPECT_TRUE(lines.empty());
  }
}

}  // namespace
}  // namespace Quorvex
