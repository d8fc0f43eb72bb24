#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <tuple>
#include <vector>

#include "LoopFixtures.h"
#include "quorvex/base/DataArchiveConfig.h"
#include "quorvex/planeGeometry/SimplifyDP.h"
#include "support/CaptureConfigGuard.h"
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
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
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
      // A NaN radius is beaten by no vertex and used to empty every loop; a radius that is
      // not finite leaves the loop as it came. (So does a loop beyond INT32_MAX vertices.)
      {"NaN radius leaves the loop", kBump, nan, 0, kBump},
      {"NaN radius with edge rule", kNose, nan, 5, kNose},
      {"infinite radius leaves the loop", kBump, inf, 0, kBump},
      {"negative infinite radius leaves the loop", kBump, -inf, 0, kBump},
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

// The full form captures its input loop before it reads it, so a loop seen once can be
// replayed into another call; the short form and a disabled capture touch no file.
TEST(DPCapture, CapturedLoopReplaysIntoAnotherCallAndOnlyTheEnabledFullFormWrites) {
  qxtest::CaptureConfigGuard guard;
  const std::string store = ::testing::TempDir() + "/qx_dp_capture_" + std::to_string(getpid());
  std::filesystem::remove_all(store);
  std::filesystem::create_directories(store);
  gDAConfig.set_store_path(store);
  gDAConfig.write_mode = true;
  const std::vector<Point2> original = test::noisy_ring(400, 10, 0.05f, 1);
  std::vector<Point2> disabled = original, short_form = original, first = original;
  gDAConfig.enabled = false;
  get_simplified_loop_DP(disabled, 0.1f, 0.0f);
  gDAConfig.enabled = true;
  get_simplified_loop_DP(short_form, 0.1f);
  EXPECT_TRUE(std::filesystem::is_empty(store));
  EXPECT_EQ(short_form, disabled);

  ASSERT_EQ(get_simplified_loop_DP(first, 0.1f, 0.0f), RETVAL_OK);
  ASSERT_TRUE(std::filesystem::exists(store + "/get_simplified_loop_DP.tb"));
  ASSERT_EQ(first, disabled);
  ASSERT_LT(first.size(), original.size());
  gDAConfig.write_mode = false;
  gDAConfig.replay_ok = false;
  std::vector<Point2> other = test::noisy_ring(50, 10, 0.05f, 2);
  testing::internal::CaptureStdout();
  ASSERT_EQ(get_simplified_loop_DP(other, 0.1f, 0.0f), RETVAL_OK);
  EXPECT_NE(testing::internal::GetCapturedStdout().find("Opened testbug file: "),
            std::string::npos);
  EXPECT_TRUE(gDAConfig.replay_ok);
  EXPECT_EQ(other, first);
  std::filesystem::remove_all(store);
}

}  // namespace
}  // namespace Quorvex
