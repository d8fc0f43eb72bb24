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

std::string fresh_store(const char* name) {
  const auto dir = std::filesystem::path(::testing::TempDir()) /
                   (std::string(name) + "_" + std::to_string(::getpid()));
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir.string();
}

TEST(DPCapture, CapturedLoopReplaysIntoAnotherCall) {
  qxtest::CaptureConfigGuard guard;
  const std::string store = fresh_store("qx_dp_capture");
  gDAConfig.set_store_path(store);
  gDAConfig.enabled = true;
  gDAConfig.write_mode = true;
  const std::vector<Point2> original = test::noisy_ring(400, 10, 0.05f, 1);
  std::vector<Point2> first = original;
  ASSERT_EQ(get_simplified_loop_DP(first, 0.1f, 0.0f), RETVAL_OK);
  ASSERT_TRUE(std::filesystem::exists(store + "/get_simplified_loop_DP.tb"));
  ASSERT_GE(first.size(), 3u);
  ASSERT_LT(first.size(), original.size());

  gDAConfig.write_mode = false;
  gDAConfig.replay_ok = false;
  std::vector<Point2> other = test::noisy_ring(50, 10, 0.05f, 2);
  testing::internal::CaptureStdout();
  ASSERT_EQ(get_simplified_loop_DP(other, 0.1f, 0.0f), RETVAL_OK);
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_TRUE(gDAConfig.replay_ok);
  EXPECT_NE(printed.find("Opened testbug file: "), std::string::npos);
  ASSERT_EQ(other.size(), first.size());
  for (std::size_t i = 0; i < first.size(); ++i) EXPECT_TRUE(test::same_point(other[i], first[i]));
}

TEST(DPCapture, ShortFormAndDisabledCaptureTouchNoFile) {
  qxtest::CaptureConfigGuard guard;
  const std::string store = fresh_store("qx_dp_nocapture");
  gDAConfig.set_store_path(store);
  gDAConfig.write_mode = true;
  std::vector<Point2> loop = test::noisy_ring(100, 10, 0.05f, 3);
  gDAConfig.enabled = false;
  get_simplified_loop_DP(loop, 0.1f, 0.0f);
  gDAConfig.enabled = true;
  std::vector<Point2> again = test::noisy_ring(100, 10, 0.05f, 3);
  get_simplified_loop_DP(again, 0.1f);
  EXPECT_TRUE(std::filesystem::is_empty(store));
  EXPECT_EQ(loop.size(), again.size());
}

}  // namespace
}  // namespace Quorvex
