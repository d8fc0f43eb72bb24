// The full Douglas-Peucker form captures its input loop before it reads it, so a loop seen
// once can be replayed into another call; the short form and a disabled capture touch no file.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

#include "LoopFixtures.h"
#include "quorvex/base/DataArchiveConfig.h"
#include "quorvex/planeGeometry/SimplifyDP.h"
#include "support/CaptureConfigGuard.h"

namespace Quorvex {
namespace {

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
