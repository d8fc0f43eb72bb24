// Properties of fill lines and their ordering on random regions with holes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <tuple>

#include "../../src/fill/FillLineSearch.h"
#include "FillTestUtil.h"
#include "quorvex/fill/FillLine.h"
#include "quorvex/fill/FillLineOrder.h"

namespace Quorvex {
namespace {

using fill_test::Lines;
using fill_test::Loops;

struct Scenario {
  Loops loops;
  float spacing;
  float angle;
};

Scenario make_scenario(unsigned seed) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int> outer(6, 80);
  std::uniform_int_distribution<int> holes(0, 8);
  std::uniform_real_distribution<float> spacing(0.4f, 3.0f);
  // Every fourth angle is a round one, where vertices line up with the grid more often.
  std::uniform_real_distribution<float> angle(-180.0f, 360.0f);
  const float round_angles[] = {0.0f, 45.0f, 90.0f, -90.0f};
  Scenario s;
  s.loops = fill_test::random_region(rng, outer(rng), holes(rng));
  s.spacing = spacing(rng);
  s.angle = seed % 4 == 0 ? round_angles[(seed / 4) % 4] : angle(rng);
  return s;
}

using PointKey = std::tuple<float, float, float, float>;

PointKey segment_key(const Point2& a, const Point2& b) {
  if (std::make_pair(a.x, a.y) <= std::make_pair(b.x, b.y)) return {a.x, a.y, b.x, b.y};
  return {b.x, b.y, a.x, a.y};
}

constexpr unsigned kScenarios = 60;

class FillProperty : public ::testing::TestWithParam<unsigned> {};

TEST_P(FillProperty, PlainSegmentsRunAlongTheAngleInsideAndGapsOutside) {
  const Scenario s = make_scenario(GetParam());
  Lines lines;
  ASSERT_EQ(get_fill_line_from_loops(s.loops, lines, s.spacing, s.angle, 0.0f, false), RETVAL_OK);
  ASSERT_FALSE(lines.empty());
  const double a = s.angle * M_PI / 180.0;
  const double ux = std::cos(a), uy = std::sin(a);
  const double tolerance = 1e-3;
  double previous_offset = -1e9;
  for (const auto& l : lines) {
    ASSERT_EQ(l->size() % 2, 0u);
    ASSERT_GE(l->size(), 2u);
    // Each line lies across the fill direction at one offset; lines ascend in offset.
    const double offset = -(*l)[0].x * uy + (*l)[0].y * ux;
    EXPECT_GT(offset, previous_offset);
    previous_offset = offset;
    for (size_t j = 0; j < l->size(); ++j) {
      const Point2& p = (*l)[j];
      EXPECT_NEAR(-p.x * uy + p.y * ux, offset, tolerance);
      // Every end lies on the outline.
      EXPECT_LT(fill_test::distance_to_outline(s.loops, p.x, p.y), tolerance);
      if (j + 1 == l->size()) break;
      const Point2& q = (*l)[j + 1];
      // Along the line the ends ascend: segments of one line do not overlap.
      EXPECT_GE((q.x - p.x) * ux + (q.y - p.y) * uy, -tolerance);
      // Inside a segment (even j) the region, between two segments (odd j) the outside.
      const double mx = 0.5 * (p.x + q.x), my = 0.5 * (p.y + q.y);
      if (fill_test::distance_to_outline(s.loops, mx, my) < tolerance) continue;
      EXPECT_EQ(fill_test::inside_even_odd(s.loops, mx, my), j % 2 == 0)
          << "seed " << GetParam() << " point " << j;
    }
  }
}

TEST_P(FillProperty, BinarySearchOfFirstLineMatchesTheWalk) {
  const Scenario s = make_scenario(GetParam());
  for (bool connect : {false, true}) {
    Lines walked, searched;
    const RetVal rw = fill_internal::get_fill_line_from_loops_with_search(
        s.loops, walked, s.spacing, s.angle, 0.3f, connect,
        fill_internal::EdgeLineSearch::kWalkFromLowestLine);
    const RetVal rs = fill_internal::get_fill_line_from_loops_with_search(
        s.loops, searched, s.spacing, s.angle, 0.3f, connect,
        fill_internal::EdgeLineSearch::kBinarySearch);
    ASSERT_EQ(rw, rs);
    ASSERT_EQ(walked.size(), searched.size());
    for (size_t i = 0; i < walked.size(); ++i) {
      EXPECT_TRUE(fill_test::same_points(*walked[i], *searched[i])) << "line " << i;
    }
  }
}

TEST_P(FillProperty, LinkingUsesEverySurvivingSegmentOnce) {
  const Scenario s = make_scenario(GetParam());
  for (float min_length : {0.0f, 1.5f}) {
    Lines plain, linked;
    ASSERT_EQ(get_fill_line_from_loops(s.loops, plain, s.spacing, s.angle, min_length, false),
              RETVAL_OK);
    ASSERT_EQ(get_fill_line_from_loops(s.loops, linked, s.spacing, s.angle, min_length, true),
              RETVAL_OK);
    // Segments clearly above min_length must be linked once; those near it (where the
    // float extent in the scan frame decides) may or may not be.
    std::map<PointKey, int> must, may;
    for (const auto& l : plain) {
      for (size_t j = 0; j < l->size(); j += 2) {
        const Point2& a = (*l)[j];
        const Point2& b = (*l)[j + 1];
        const double len = std::hypot(b.x - a.x, b.y - a.y);
        if (len > min_length + 1e-3) {
          must[segment_key(a, b)] = 0;
        } else if (len > min_length - 1e-3) {
          may[segment_key(a, b)] = 0;
        }
      }
    }
    for (const auto& l : linked) {
      ASSERT_GE(l->size(), 2u);
      for (size_t j = 0; j + 1 < l->size(); ++j) {
        const PointKey k = segment_key((*l)[j], (*l)[j + 1]);
        auto it = must.find(k);
        if (it != must.end()) ++it->second;
        auto jt = may.find(k);
        if (jt != may.end()) ++jt->second;
      }
    }
    for (const auto& kv : must) {
      EXPECT_EQ(kv.second, 1) << "seed " << GetParam() << " min_length " << min_length;
    }
    for (const auto& kv : may) EXPECT_LE(kv.second, 1);
  }
}

TEST_P(FillProperty, OrderingUsesEverySegmentOnceAndChainsByDistance) {
  const Scenario s = make_scenario(GetParam());
  Lines plain;
  ASSERT_EQ(get_fill_line_from_loops(s.loops, plain, s.spacing, s.angle, 0.0f, false), RETVAL_OK);
  const Loops input = ptr_vector_to_const_ptr_vector(plain);
  Lines sorted;
  ASSERT_EQ(sort_discontinued_fill_line(input, sorted, 2.0f * s.spacing, 0.5f * s.spacing),
            RETVAL_OK);
  std::map<PointKey, int> segments;
  for (const auto& l : plain) {
    for (size_t j = 0; j < l->size(); j += 2) ++segments[segment_key((*l)[j], (*l)[j + 1])];
  }
  ASSERT_FALSE(sorted.empty());
  for (const auto& z : sorted) {
    ASSERT_EQ(z->size() % 2, 0u);
    for (size_t j = 0; j < z->size(); j += 2) --segments[segment_key((*z)[j], (*z)[j + 1])];
  }
  for (const auto& kv : segments) EXPECT_EQ(kv.second, 0);

  // Column 0 comes first; the others follow by the distance of their nearest end corner
  // from the end of column 0's zigzag.
  const Point2 exit = sorted[0]->back();
  float previous = 0.0f;
  for (size_t c = 1; c < sorted.size(); ++c) {
    const Point2Vector& z = *sorted[c];
    const size_t n = z.size();
    const float d = std::min(std::min((z[0] - exit).length(), (z[1] - exit).length()),
                             std::min((z[n - 2] - exit).length(), (z[n - 1] - exit).length()));
    EXPECT_GE(d, previous);
    previous = d;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, FillProperty, ::testing::Range(0u, kScenarios));

}  // namespace
}  // namespace Quorvex
