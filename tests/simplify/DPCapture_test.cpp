// The full Douglas-Peucker form captures its input loop before it reads it, so a loop
// seen once can be replayed into another call.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <random>
#include <vector>

#include "quorvex/base/DataArchiveConfig.h"
#include "quorvex/planeGeometry/SimplifyDP.h"
#include "support/CaptureConfigGuard.h"

namespace Quorvex {
namespace {

std::vector<Point2> noisy_ring(unsigned seed, int n) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<float> noise(-0.05f, 0.05f);
  std::vector<Point2> loop;
  for (int i = 0; i < n; ++i) {
    const double t = 2 * M_PI * i / n;
    loop.emplace_back(static_cast<float>(10 * std::cos(t)) + noise(rng),
                      static_cast<float>(6 * std::sin(t)) + noise(rng));
  }
  return loop;
}

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

  const std::vector<Point2> original = noisy_ring(1, 400);
  std::vector<Point2> first = original;
  ASSERT_EQ(get_simplified_loop_DP(first, 0.1f, 0.0f), RETVAL_OK);
  ASSERT_TRUE(std::filesystem::exists(store + "/get_simplified_loop_DP.tb"));
  ASSERT_GE(first.size(), 3u);
  ASSERT_LT(first.size(), original.size());

  // Replay: a different loop goes in, the captured one is simplified instead.
  gDAConfig.write_mode = false;
  gDAConfig.replay_ok = false;
  std::vector<Point2> other = noisy_ring(2, 50);
  testing::internal::CaptureStdout();
  ASSERT_EQ(get_simplified_loop_DP(other, 0.1f, 0.0f), RETVAL_OK);
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_TRUE(gDAConfig.replay_ok);
  EXPECT_NE(printed.find("Opened testbug file: "), std::string::npos);
  ASSERT_EQ(other.size(), first.size());
  for (std::size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(other[i].x, first[i].x);
    EXPECT_EQ(other[i].y, first[i].y);
  }
}

TEST(DPCapture, ShortFormAndDisabledCaptureTouchNoFile) {
  qxtest::CaptureConfigGuard guard;
  const std::string store = fresh_store("qx_dp_nocapture");
  gDAConfig.set_store_path(store);
  gDAConfig.write_mode = true;

  std::vector<Point2> loop = noisy_ring(3, 100);
  gDAConfig.enabled = false;
  get_simplified_loop_DP(loop, 0.1f, 0.0f);
  gDAConfig.enabled = true;
  std::vector<Point2> again = noisy_ring(3, 100);
  get_simplified_loop_DP(again, 0.1f);  // the short form never captures
  EXPECT_TRUE(std::filesystem::is_empty(store));
  EXPECT_EQ(loop.size(), again.size());
}

}  // namespace
}  // namespace Quorvex
