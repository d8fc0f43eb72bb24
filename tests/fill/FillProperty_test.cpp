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
  float spacing, angle;
};

// Every fourth angle is a round one, where vertices line up with the grid more often.
Scenario make_scenario(unsigned seed) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int> outer(6, 80), holes(0, 8);
  std::uniform_real_distribution<float> spacing(0.4f, 3.0f), angle(-180.0f, 360.0f);
  const float round_angles[] = {0.0f, 45.0f, 90.0f, -90.0f};
  Scenario s;
  s.loops = fill_test::random_region(rng, outer(rng), holes(rng));
  s.spacing = spacing(rng);
  s.angle = seed % 4 == 0 ? round_angles[(seed / 4) % 4] : angle(rng);
  return s;
}

// The segments from point j to j + 1 of the lines, for j in steps of `step`, each counted.
std::map<std::pair<std::pair<float, float>, std::pair<float, float>>, int> segments(
    const Lines& lines, size_t step) {
  std::map<std::pair<std::pair<float, float>, std::pair<float, float>>, int> out;
  for (const auto& l : lines) {
    for (size_t j = 0; j + 1 < l->size(); j += step) {
      ++out[std::minmax(
          {std::make_pair((*l)[j].x, (*l)[j].y), std::make_pair((*l)[j + 1].x, (*l)[j + 1].y)})];
    }
  }
  return out;
}

class FillProperty : public ::testing::TestWithParam<unsigned> {};

// Each line lies across the fill direction at one offset, the lines ascending; along a line
// the ends ascend and lie on the outline, with the region inside a segment (even j) and the
// outside between two (odd j).
TEST_P(FillProperty, PlainSegmentsRunAlongTheAngleInsideAndGapsOutside) {
  const Scenario s = make_scenario(GetParam());
  Lines lines;
  ASSERT_EQ(get_fill_line_from_loops(s.loops, lines, s.spacing, s.angle, 0.0f, false), RETVAL_OK);
  ASSERT_FALSE(lines.empty());
  const double a = s.angle * M_PI / 180.0, ux = std::cos(a), uy = std::sin(a), tolerance = 1e-3;
  double previous_offset = -1e9;
  for (const auto& l : lines) {
    ASSERT_TRUE(l->size() % 2 == 0 && l->size() >= 2);
    const double offset = -(*l)[0].x * uy + (*l)[0].y * ux;
    EXPECT_GT(offset, previous_offset);
    previous_offset = offset;
    for (size_t j = 0; j < l->size(); ++j) {
      const Point2& p = (*l)[j];
      EXPECT_NEAR(-p.x * uy + p.y * ux, offset, tolerance);
      EXPECT_LT(fill_test::distance_to_outline(s.loops, p.x, p.y), tolerance);
      if (j + 1 == l->size()) break;
      const Point2& q = (*l)[j + 1];
      EXPECT_GE((q.x - p.x) * ux + (q.y - p.y) * uy, -tolerance);
      const double mx = 0.5 * (p.x + q.x), my = 0.5 * (p.y + q.y);
      if (fill_test::distance_to_outline(s.loops, mx, my) < tolerance) continue;
      EXPECT_EQ(fill_test::inside_even_odd(s.loops, mx, my), j % 2 == 0) << "point " << j;
    }
  }
}

TEST_P(FillProperty, BinarySearchOfFirstLineMatchesTheWalk) {
  const Scenario s = make_scenario(GetParam());
  for (bool connect : {false, true}) {
    Lines walked, searched;
    ASSERT_EQ(fill_internal::get_fill_line_from_loops_with_search(
                  s.loops, walked, s.spacing, s.angle, 0.3f, connect,
                  fill_internal::EdgeLineSearch::kWalkFromLowestLine),
              fill_internal::get_fill_line_from_loops_with_search(
                  s.loops, searched, s.spacing, s.angle, 0.3f, connect,
                  fill_internal::EdgeLineSearch::kBinarySearch));
    EXPECT_EQ(fill_test::flat(walked), fill_test::flat(searched));
  }
}

// Segments clearly above min_length are linked once; those near it (where the float extent
// in the scan frame decides) at most once.
TEST_P(FillProperty, LinkingUsesEverySurvivingSegmentOnce) {
  const Scenario s = make_scenario(GetParam());
  for (float min_length : {0.0f, 1.5f}) {
    Lines plain, linked;
    ASSERT_EQ(get_fill_line_from_loops(s.loops, plain, s.spacing, s.angle, min_length, false),
              RETVAL_OK);
    ASSERT_EQ(get_fill_line_from_loops(s.loops, linked, s.spacing, s.angle, min_length, true),
              RETVAL_OK);
    for (const auto& l : linked) ASSERT_GE(l->size(), 2u);
    const auto used = segments(linked, 1);  // every edge of the linked paths
    for (const auto& kv : segments(plain, 2)) {
      const auto& [a, b] = kv.first;
      const double len = std::hypot(b.first - a.first, b.second - a.second);
      const auto it = used.find(kv.first);
      const int times = it == used.end() ? 0 : it->second;
      EXPECT_TRUE(len <= min_length + 1e-3 || times == 1) << "min_length " << min_length;
      EXPECT_TRUE(len <= min_length - 1e-3 || times <= 1) << "min_length " << min_length;
    }
  }
}

// The ordering uses every segment once; column 0 comes first, and the others follow by the
// distance of their nearest end corner from the end of column 0's zigzag.
TEST_P(FillProperty, OrderingUsesEverySegmentOnceAndChainsByDistance) {
  const Scenario s = make_scenario(GetParam());
  Lines plain, sorted;
  ASSERT_EQ(get_fill_line_from_loops(s.loops, plain, s.spacing, s.angle, 0.0f, false), RETVAL_OK);
  ASSERT_EQ(sort_discontinued_fill_line(ptr_vector_to_const_ptr_vector(plain), sorted,
                                        2.0f * s.spacing, 0.5f * s.spacing),
            RETVAL_OK);
  ASSERT_FALSE(sorted.empty());
  for (const auto& z : sorted) ASSERT_EQ(z->size() % 2, 0u);
  EXPECT_EQ(segments(sorted, 2), segments(plain, 2));
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

INSTANTIATE_TEST_SUITE_P(Seeds, FillProperty, ::testing::Range(0u, 60u));

}  // namespace
}  // namespace Quorvex
