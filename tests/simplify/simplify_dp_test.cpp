#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <vector>

#include "LoopFixtures.h"
#include "quorvex/planeGeometry/SimplifyDP.h"
#include "support/LogLines.h"

namespace Quorvex {
namespace {

using test::kSquare;
using test::Loop;

// A ring that passes (0,0) twice: the long edges 0-1 and 1-2 leave the arc (2, 0) with a zero
// chord, decided by squared distance from (0,0) against the unsquared radius.
const Loop kTwiceThroughOrigin = {{0, 0}, {10, 0}, {0, 0}, {1, 1}, {2, 3}, {1, 0.2f}};
const Loop kBump = {{0, 0}, {5, 0.01f}, {10, 0}, {10, 10}, {0, 10}};
// The rightmost vertex is an extreme, kept when seeding; with the edge rule the arc from
// (10,0) round to (0,0) is refined instead and it lies within radius of (10,0)-(10,1).
const Loop kNose = {{0, 0}, {10, 0}, {10.5f, 0.5f}, {10, 1}, {6, 1}, {2, 1}, {0, 1}};

TEST(SimplifyDP, WorkedCases) {
  const struct {
    const char* name;
    Loop input;
    float radius, length;
    Loop expected;
  } rows[] = {
      {"square keeps corners", kSquare, 0.1f, 0, kSquare},
      {"flat triangle emptied", {{0, 0}, {10, 0}, {5, 0.05f}}, 0.1f, 0, {}},
      {"collinear go at zero radius",
       {{0, 0}, {5, 0}, {10, 0}, {10, 5}, {10, 10}, {0, 10}},
       0,
       0,
       kSquare},
      {"negative radius keeps all", kBump, -1, 0, kBump},
      {"length above every edge", kBump, 0.1f, 100, kSquare},
      {"length at the shortest edge keeps all", kBump, 0.1f, 5, kBump},
      {"zero chord squared against radius",
       kTwiceThroughOrigin,
       5,
       5,
       {{0, 0}, {10, 0}, {0, 0}, {2, 3}}},
      {"zero chord strictly above radius", kTwiceThroughOrigin, 13, 5, {{0, 0}, {10, 0}, {0, 0}}},
      {"extremes seeded", kNose, 0.6f, 0, {{0, 0}, {10.5f, 0.5f}, {0, 1}}},
      {"a single long edge seeds instead", kNose, 0.6f, 5, {{0, 0}, {10, 0}, {10, 1}, {0, 1}}},
      {"empty", {}, 1, 0, {}},
      {"one vertex", {{1, 2}}, 1, 0, {}},
      {"two vertices", {{1, 2}, {3, 4}}, 0, 0, {}},
      {"all equal", {{1, 1}, {1, 1}, {1, 1}, {1, 1}}, -1, 0, {}},
      {"all equal with edge rule", {{1, 1}, {1, 1}, {1, 1}}, 0, 1, {}},
  };
  for (const auto& r : rows) {
    Loop loop = r.input;
    EXPECT_EQ(get_simplified_loop_DP(loop, r.radius, r.length), RETVAL_OK);
    EXPECT_EQ(loop, r.expected) << r.name;
    if (r.length <= 0) {  // the short form is the full form with length 0
      Loop short_form = r.input;
      EXPECT_EQ(get_simplified_loop_DP(short_form, r.radius), RETVAL_OK);
      EXPECT_EQ(short_form, loop) << r.name;
    }
  }
}

// Distance of q from the line through a and b, in double.
double line_distance(const Point2& a, const Point2& b, const Point2& q) {
  const double dx = double(b.x) - a.x, dy = double(b.y) - a.y;
  const double len = std::sqrt(dx * dx + dy * dy);
  if (len == 0) return std::hypot(double(q.x) - a.x, double(q.y) - a.y);
  return std::fabs((double(q.x) - a.x) * dy - (double(q.y) - a.y) * dx) / len;
}

class DPNoisyRing : public ::testing::TestWithParam<std::tuple<float, float>> {};

TEST_P(DPNoisyRing, KeepsOrderBoundsRemovedAndIsIdempotent) {
  const auto [radius, length] = GetParam();
  const Loop original = test::noisy_ring(2000, 100, 1.0f, 1);
  Loop loop = original;
  get_simplified_loop_DP(loop, radius, length);
  ASSERT_GE(loop.size(), 3u);
  ASSERT_LT(loop.size(), original.size());
  const std::vector<std::size_t> idx = test::subsequence_indices(loop, original);
  ASSERT_EQ(idx.size(), loop.size()) << "survivors are not the input in its order";
  // Every removed vertex lies within radius of the chord of the survivors around it.
  for (std::size_t k = 0; k < idx.size(); ++k) {
    const Point2& a = original[idx[k]];
    const Point2& b = original[idx[(k + 1) % idx.size()]];
    const std::size_t end = k + 1 < idx.size() ? idx[k + 1] : idx[0] + original.size();
    for (std::size_t i = idx[k] + 1; i < end; ++i) {
      EXPECT_LE(line_distance(a, b, original[i % original.size()]), radius * 1.0001 + 1e-4);
    }
  }
  // Without the edge rule the farthest vertex of every arc stays the farthest among the
  // survivors, so a second run changes nothing. (Thinning makes edges longer, so the edge rule
  // may flag more the second time.)
  if (length == 0) {
    Loop again = loop;
    get_simplified_loop_DP(again, radius, length);
    EXPECT_EQ(again, loop);
  }
}

INSTANTIATE_TEST_SUITE_P(Rings, DPNoisyRing,
                         ::testing::Combine(::testing::Values(0.5f, 2.0f),
                                            ::testing::Values(0.0f, 1.5f)));

TEST(SimplifyDP, ExtremeInputsFinishWithAValidLoop) {
  for (float scale : {1e-38f, 1e-20f, 1e20f, 3e38f}) {
    Loop original = test::noisy_ring(500, 1, 0.3f, 7);
    for (Point2& p : original) p = Point2(p.x * scale, p.y * scale);
    original.insert(original.end(), original.begin(), original.begin() + 50);  // runs over itself
    for (float radius : {-1.0f, 0.0f, 1e-3f * scale}) {
      Loop l = original;
      EXPECT_EQ(get_simplified_loop_DP(l, radius, scale), RETVAL_OK);
      EXPECT_TRUE(l.empty() || l.size() >= 3);
    }
  }
}

TEST(SimplifyDP, FullFormLogsOneInfoLineShortFormNone) {
  qxtest::LogLines sink(google::GLOG_INFO), warnings(google::GLOG_WARNING), errors;
  Loop loop = kSquare;
  get_simplified_loop_DP(loop, 0.25f, 2.5f);
  get_simplified_loop_DP(loop, 0.25f);
  EXPECT_EQ(sink.lines(),
            std::vector<std::string>{"get_simplified_loop_DP: radius 0.25, length 2.5"});
  EXPECT_TRUE(warnings.lines().empty());
  EXPECT_TRUE(errors.lines().empty());
}

}  // namespace
}  // namespace Quorvex
