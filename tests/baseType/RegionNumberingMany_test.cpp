// Layers with many regions, where the numbering looks regions up through a grid of their
// boxes: the numbers must be those of a walk over every region in list order.
#include <glog/logging.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "quorvex/baseType/Layer.h"
#include "quorvex/planeGeometry/LoopPredicates.h"
#include "support/ModelSamples.h"

namespace Quorvex {
namespace {

std::shared_ptr<Path> loop(PathType type, float x0, float y0, float x1, float y1) {
  return type == PATH_TYPE_OUTER ? qxtest::outer_rect(x0, y0, x1, y1)
                                 : qxtest::hole_rect(x0, y0, x1, y1);
}

std::shared_ptr<Path> stroke(float x, float y) {
  return qxtest::make_path({{x, y}, {x + 0.01f, y}});
}

// The rule the numbering promises, walked over every outer loop in list order: the
// innermost loop that holds the point, nesting judged by the boxes.
int reference_region(const std::vector<std::shared_ptr<Path>>& outers, const Point2& q) {
  int best = -1;
  float bx0 = 0, by0 = 0, bx1 = 0, by1 = 0;
  for (int k = 0; k < static_cast<int>(outers.size()); ++k) {
    const Point2Vector& pts = *outers[static_cast<std::size_t>(k)]->get_points();
    const float x0 = pts[0].x, y0 = pts[0].y, x1 = pts[2].x, y1 = pts[2].y;
    if (best != -1 && !(x0 >= bx0 && y0 >= by0 && x1 <= bx1 && y1 <= by1)) continue;
    if (q.x >= x0 && q.x <= x1 && q.y >= y0 && q.y <= y1 && is_point_in_loop(q, pts)) {
      best = k;
      bx0 = x0, by0 = y0, bx1 = x1, by1 = y1;
    }
  }
  return best;
}

class ManyRegionsTest : public ::testing::TestWithParam<unsigned> {
 protected:
  void SetUp() override { FLAGS_minloglevel = google::GLOG_ERROR; }
  void TearDown() override { FLAGS_minloglevel = google::GLOG_INFO; }
};

// Random squares of every size, overlapping and nested, some far larger than the rest,
// with strokes anywhere: the numbers equal the walk over all regions.
TEST_P(ManyRegionsTest, RandomOverlappingSquaresMatchTheWalkOverAllRegions) {
  std::mt19937 rng(GetParam());
  std::uniform_real_distribution<float> pos(-100.0f, 100.0f);
  std::uniform_real_distribution<float> size(0.5f, 12.0f);
  std::bernoulli_distribution huge(0.05);
  Layer layer;
  std::vector<std::shared_ptr<Path>> outers;
  for (int k = 0; k < 400; ++k) {
    const float s = huge(rng) ? 150.0f : size(rng);
    const float x = pos(rng), y = pos(rng);
    outers.push_back(loop(PATH_TYPE_OUTER, x, y, x + s, y + s));
    layer.add_boundary_path(outers.back());
  }
  std::vector<std::shared_ptr<Path>> strokes;
  std::uniform_real_distribution<float> anywhere(-130.0f, 130.0f);
  for (int k = 0; k < 2000; ++k) {
    strokes.push_back(stroke(anywhere(rng), anywhere(rng)));
    layer.add_fill_path(strokes.back());
  }
  // Points on box edges and corners, where a cell boundary may fall.
  for (int k = 0; k < 400; k += 7) {
    const Point2Vector& pts = *outers[static_cast<std::size_t>(k)]->get_points();
    strokes.push_back(stroke(pts[0].x, pts[0].y));
    layer.add_fill_path(strokes.back());
    strokes.push_back(stroke(pts[2].x, pts[1].y + 0.5f * (pts[2].y - pts[1].y)));
    layer.add_fill_path(strokes.back());
  }
  ASSERT_TRUE(layer.number_region());
  int strays = 0;
  for (const auto& s : strokes) {
    const int expected = reference_region(outers, s->get_points()->front());
    if (expected == -1) {
      EXPECT_GE(s->get_id(), 400);
      ++strays;
    } else {
      EXPECT_EQ(s->get_id(), expected);
    }
  }
  EXPECT_GT(strays, 0);
  EXPECT_LT(strays, 2000);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ManyRegionsTest, ::testing::Values(1u, 2u, 3u, 4u));

// A grid of squares, each with a hole, some holes with an island, all inside one plate; a
// hole outside everything opens a region after the indexed ones, and strokes find it.
TEST(ManyRegionsLayoutTest, IslandsHolesAndLateRegions) {
  FLAGS_minloglevel = google::GLOG_ERROR;
  Layer layer;
  layer.add_boundary_path(loop(PATH_TYPE_OUTER, -5, -5, 205, 205));  // region 0
  constexpr int kSide = 20;
  std::vector<std::shared_ptr<Path>> holes, in_square, in_island;
  int island_region = 1 + kSide * kSide;
  std::vector<int> island_of(kSide * kSide, -1);
  for (int i = 0; i < kSide * kSide; ++i) {
    const float x = 10.0f * float(i % kSide), y = 10.0f * float(i / kSide);
    layer.add_boundary_path(loop(PATH_TYPE_OUTER, x, y, x + 8, y + 8));  // region 1 + i
  }
  for (int i = 0; i < kSide * kSide; ++i) {
    const float x = 10.0f * float(i % kSide), y = 10.0f * float(i / kSide);
    holes.push_back(loop(PATH_TYPE_INNER, x + 2, y + 2, x + 6, y + 6));
    layer.add_boundary_path(holes.back());
    in_square.push_back(stroke(x + 1, y + 1));
    layer.add_fill_path(in_square.back());
    if (i % 3 == 0) {
      layer.add_boundary_path(loop(PATH_TYPE_OUTER, x + 3, y + 3, x + 5, y + 5));
      island_of[static_cast<std::size_t>(i)] = island_region++;
      in_island.push_back(stroke(x + 4, y + 4));
      layer.add_fill_path(in_island.back());
    }
  }
  auto lost_hole = loop(PATH_TYPE_INNER, 500, 500, 510, 510);
  layer.add_boundary_path(lost_hole);
  auto in_lost = stroke(505, 505);
  layer.add_fill_path(in_lost);
  auto nowhere = stroke(-50, -50);
  layer.add_fill_path(nowhere);
  auto nan_point =
      stroke(std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::quiet_NaN());
  layer.add_fill_path(nan_point);

  ASSERT_TRUE(layer.number_region());
  FLAGS_minloglevel = google::GLOG_INFO;

  std::size_t island = 0;
  for (int i = 0; i < kSide * kSide; ++i) {
    const std::size_t u = static_cast<std::size_t>(i);
    EXPECT_EQ(holes[u]->get_id(), 1 + i);
    EXPECT_EQ(in_square[u]->get_id(), 1 + i);
    if (island_of[u] != -1) {
      EXPECT_EQ(in_island[island++]->get_id(), island_of[u]);
    }
  }
  const int regions = island_region + 1;  // the lost hole opened the last region
  EXPECT_EQ(lost_hole->get_id(), island_region);
  EXPECT_EQ(in_lost->get_id(), island_region);
  EXPECT_GE(nowhere->get_id(), regions);
  EXPECT_GE(nan_point->get_id(), regions);
  EXPECT_NE(nowhere->get_id(), nan_point->get_id());
}

}  // namespace
}  // namespace Quorvex
