#include "quorvex/capture/TestBug.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include "quorvex/base/BuildInfo.h"
#include "quorvex/base/DataArchiveConfig.h"
#include "quorvex/capture/ArchiveRecord.h"
#include "support/ByteImage.h"
#include "support/CaptureConfigGuard.h"
#include "support/Files.h"

namespace Quorvex {
namespace {

namespace fs = std::filesystem;
using qxtest::ByteImage;

const char kCall[] = "get_simplified_loop_DP";

std::vector<std::string> files_in(const std::string& dir) {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

class TestBugTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = qxtest::fresh_dir(std::string("testbug_") +
                             ::testing::UnitTest::GetInstance()->current_test_info()->name());
    gDAConfig.set_store_path(dir_ + "/");
    gDAConfig.enabled = gDAConfig.write_mode = true;
    gDAConfig.name_with_time = gDAConfig.name_with_thread = gDAConfig.encode_names = false;
    gDAConfig.selected_only = gDAConfig.single_stream = gDebugDS.inner_call = false;
    gCommonVersionStr = "0.1.0";
    gGitCommitSHA1 = "0123456789abcdef0123456789abcdef01234567";
  }
  void TearDown() override { fs::remove_all(dir_); }

  // Runs the hook with stdout captured.
  std::string hook(std::vector<Point2>& loop, const char* call = kCall,
                   const char* param = "loop") {
    ::testing::internal::CaptureStdout();
    capture_parameter(call, loop, param);
    return ::testing::internal::GetCapturedStdout();
  }

  std::string replay(std::vector<Point2>& loop, const char* call = kCall,
                     const char* param = "loop") {
    gDAConfig.write_mode = false;
    const std::string out = hook(loop, call, param);
    gDAConfig.write_mode = true;
    return out;
  }

  qxtest::CaptureConfigGuard guard_;
  std::string dir_;
};

TEST_F(TestBugTest, CaptureWritesTheFileByteForByte) {
  std::vector<Point2> loop{{1, 2}, {3, 4}};
  EXPECT_EQ(hook(loop), "");
  ASSERT_EQ(files_in(dir_), std::vector<std::string>{std::string(kCall) + ".tb"});
  const std::string f = qxtest::read_file(dir_ + "/" + kCall + ".tb");
  const std::string type = std::string("std::vector<") + typeid(Point2).name() + ">";
  const std::size_t a = gCommonVersionStr.size(), b = gGitCommitSHA1.size(), t = type.size();
  ASSERT_EQ(f.size(), 106 + a + b + t);
  std::string scrambled_type = type;
  scramble_tail_string(scrambled_type);
  ByteImage expected;
  expected.str("TESTBUG VERSION: " + gCommonVersionStr).str("LAST COMMIT: " + gGitCommitSHA1);
  expected.u64(1).raw("\x93\x90\x90\x8f").points({{1, 2}, {3, 4}});
  expected.i32(1).str(scrambled_type).i32(1).str("loop").u64(70 + a + b).u64(f.size());
  EXPECT_EQ(f, expected.bytes());

  // A second capture replaces the file.
  std::vector<Point2> shorter{{5, 6}};
  hook(shorter);
  EXPECT_EQ(qxtest::read_file(dir_ + "/" + kCall + ".tb").size(), f.size() - 8);
}

TEST_F(TestBugTest, ReplayRestoresTheCapturedLoopOrLeavesTheArgument) {
  gDAConfig.replay_ok = true;
  std::vector<Point2> target{{4, 4}};
  EXPECT_EQ(replay(target), "");  // no file yet
  EXPECT_FALSE(gDAConfig.replay_ok);
  EXPECT_EQ(target.size(), 1u);

  std::vector<Point2> loop{{1, 2}, {3, 4}, {5, 6}};
  hook(loop);
  target.assign(10, Point2(9, 9));
  EXPECT_EQ(replay(target), "Opened testbug file: " + dir_ + "/" + kCall + ".tb\n");
  EXPECT_TRUE(gDAConfig.replay_ok);
  ASSERT_EQ(target.size(), 3u);
  EXPECT_EQ(target[2].x, 5.0f);
  EXPECT_EQ(target[2].y, 6.0f);
}

TEST_F(TestBugTest, ReplayPrefersTheBareName) {
  std::vector<Point2> with_ext{{1, 1}};
  hook(with_ext);
  std::vector<Point2> bare{{2, 2}, {3, 3}};
  hook(bare);
  fs::rename(dir_ + "/" + kCall + ".tb", dir_ + "/" + kCall);
  hook(with_ext);
  std::vector<Point2> target;
  EXPECT_EQ(replay(target), "Opened testbug file: " + dir_ + "/" + kCall + "\n");
  EXPECT_EQ(target.size(), 2u);
}

TEST_F(TestBugTest, ReplayOfOtherNamesIsRefused) {
  std::vector<Point2> loop{{1, 2}, {3, 4}};
  hook(loop, kCall, "lopp");
  std::vector<Point2> target{{7, 7}};
  gDAConfig.replay_ok = true;
  const std::string out = replay(target);
  // The reader's own lines are pinned by the record tests.
  EXPECT_EQ(
      out.rfind("Opened testbug file: " + dir_ + "/" + kCall + ".tb\nError! Parameter Unmatch!", 0),
      0u)
      << out;
  EXPECT_FALSE(gDAConfig.replay_ok);
  ASSERT_EQ(target.size(), 1u);
  EXPECT_EQ(target[0].x, 7.0f);
}

TEST_F(TestBugTest, TimeStampedNamesAreFoundByPrefix) {
  gDAConfig.name_with_time = true;
  std::vector<Point2> target{{1, 1}};
  gDAConfig.replay_ok = true;
  EXPECT_EQ(replay(target), "");  // nothing to find: nothing opened, nothing printed
  EXPECT_FALSE(gDAConfig.replay_ok);

  std::vector<Point2> loop{{1, 2}, {3, 4}};
  hook(loop);
  const auto names = files_in(dir_);
  ASSERT_EQ(names.size(), 1u);
  EXPECT_TRUE(std::regex_match(
      names[0], std::regex(std::string(kCall) + "\\.[0-9]{8}-[0-9]{6}-[0-9]{3}\\.tb")))
      << names[0];
  EXPECT_EQ(replay(target), "Opened testbug file: " + dir_ + "/" + names[0] + "\n");
  EXPECT_TRUE(gDAConfig.replay_ok);
  EXPECT_EQ(target.size(), 2u);
}

TEST_F(TestBugTest, ThreadNamesCarryTheThreadId) {
  gDAConfig.name_with_thread = true;
  std::vector<Point2> loop{{1, 2}};
  hook(loop);
  std::ostringstream id;
  id << std::this_thread::get_id();
  EXPECT_EQ(files_in(dir_), std::vector<std::string>{std::string(kCall) + "." + id.str() + ".tb"});
  std::vector<Point2> target;
  replay(target);
  EXPECT_TRUE(gDAConfig.replay_ok);
  EXPECT_EQ(target.size(), 1u);
}

TEST_F(TestBugTest, InnerAndEncodedNamesAreNotReplayedByTheirCallName) {
  struct Case {
    bool inner, encode;
    std::string file;
  };
  std::string hex;
  DataArchiveConfig::encode_file_name(kCall, hex);
  std::string inner_hex;
  DataArchiveConfig::encode_file_name(std::string("__inner_") + kCall, inner_hex);
  for (const Case& c : {Case{true, false, std::string("__inner_") + kCall + ".tb"},
                        Case{false, true, hex + ".tb"}, Case{true, true, inner_hex + ".tb"}}) {
    fs::remove_all(dir_);
    fs::create_directories(dir_);
    gDebugDS.inner_call = c.inner;
    gDAConfig.encode_names = c.encode;
    std::vector<Point2> loop{{1, 2}};
    hook(loop);
    EXPECT_EQ(files_in(dir_), std::vector<std::string>{c.file});
    std::vector<Point2> target{{3, 3}, {4, 4}};
    EXPECT_EQ(replay(target), "");
    EXPECT_FALSE(gDAConfig.replay_ok);
    EXPECT_EQ(target.size(), 2u);
  }
}

// Configurations in which the hook neither writes, prints nor changes the argument; when
// disabled or with its stream closed, replay leaves replay_ok alone too.
TEST_F(TestBugTest, InertConfigurationsTouchNothing) {
  const std::function<void()> configs[] = {
      [] { gDAConfig.enabled = false; }, [] { gDAConfig.single_stream = true; },
      [this] { gDAConfig.set_store_path(dir_ + "/missing/deeper"); },
      [] { gDAConfig.selected_only = true; }};
  for (int i = 0; i < 4; ++i) {
    SetUp();
    configs[i]();
    std::vector<Point2> loop{{1, 2}};
    EXPECT_EQ(hook(loop), "") << i;
    gDAConfig.replay_ok = true;
    if (i < 2) {
      EXPECT_EQ(replay(loop), "") << i;
      EXPECT_TRUE(gDAConfig.replay_ok) << i;
    }
    EXPECT_EQ(loop.size(), 1u) << i;
    EXPECT_TRUE(files_in(dir_).empty()) << i;
  }
}

TEST_F(TestBugTest, SelectedOnlyCapturesSelectedCalls) {
  gDAConfig.selected_only = true;
  gDAConfig.add_selected(kCall);
  std::vector<Point2> loop{{1, 2}};
  hook(loop);
  EXPECT_EQ(files_in(dir_).size(), 1u);
}

// Parses the shared stream back into (call name, record bytes) pairs.
std::vector<std::pair<std::string, std::string>> split_records(const std::string& s) {
  std::vector<std::pair<std::string, std::string>> records;
  std::size_t at = 0;
  while (at + 20 <= s.size()) {
    const std::uint64_t size = qxtest::u64_at(s, at);
    const std::uint64_t name_len = qxtest::u64_at(s, at + 8);
    if (size < 20 || at + size > s.size()) break;
    EXPECT_EQ(static_cast<std::uint64_t>(qxtest::i32_at(s, at + 16)), name_len);
    records.emplace_back(s.substr(at + 20, name_len), s.substr(at, size));
    at += size;
  }
  EXPECT_EQ(at, s.size());
  return records;
}

TEST_F(TestBugTest, SharedStreamRecordsChainByTheirSize) {
  const std::string path = dir_ + "/shared.bin";
  gDAConfig.single_stream = true;
  gDAConfig.write_mode = false;  // ignored, as is selected_only
  gDAConfig.selected_only = true;
  gDAConfig.stream.open(path, std::ios::binary);
  ASSERT_TRUE(gDAConfig.stream.is_open());
  std::vector<Point2> first{{1, 2}, {3, 4}};
  std::vector<Point2> second(1001, Point2(5, 5));
  EXPECT_EQ(hook(first, "callA"), "");
  EXPECT_EQ(hook(second, "callB", "pts"), "");
  gDAConfig.stream.close();

  const std::string s = qxtest::read_file(path);
  const std::string tags = ByteImage()
                               .str("TESTBUG VERSION: " + gCommonVersionStr)
                               .str("LAST COMMIT: " + gGitCommitSHA1)
                               .bytes();
  // Record size, name length, name, tags, then the record; past 1000 points the count alone.
  ByteImage rec_a, rec_b;
  rec_a.u64(8 + 8 + 4 + 5 + tags.size() + 8 + 4 + 20).u64(5).str("callA").raw(tags).u64(1);
  rec_a.raw("\x93\x90\x90\x8f").points({{1, 2}, {3, 4}});
  rec_b.u64(8 + 8 + 4 + 5 + tags.size() + 8 + 3 + 4).u64(5).str("callB").raw(tags).u64(1);
  rec_b.raw("\x8f\x8b\x8c").i32(1001);
  EXPECT_EQ(s, rec_a.bytes() + rec_b.bytes());
  EXPECT_EQ(split_records(s).size(), 2u);
  EXPECT_EQ(second.size(), 1001u);
}

TEST_F(TestBugTest, ConcurrentRecordsNeverInterleave) {
  const std::string path = dir_ + "/shared.bin";
  gDAConfig.single_stream = true;
  gDAConfig.stream.open(path, std::ios::binary);
  ASSERT_TRUE(gDAConfig.stream.is_open());
  constexpr int kThreads = 4;
  constexpr int kPerThread = 50;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      const std::string call = "call" + std::to_string(t);
      for (int i = 0; i < kPerThread; ++i) {
        std::vector<Point2> pts(static_cast<std::size_t>(i % 7), Point2(float(t), float(i)));
        capture_parameter(call.c_str(), pts, "pts");
      }
    });
  }
  for (auto& th : threads) th.join();
  gDAConfig.stream.close();
  const auto records = split_records(qxtest::read_file(path));
  ASSERT_EQ(records.size(), static_cast<std::size_t>(kThreads * kPerThread));
  std::vector<int> per_call(kThreads, 0);
  for (const auto& r : records) {
    ASSERT_EQ(r.first.substr(0, 4), "call");
    ++per_call[std::stoi(r.first.substr(4))];
  }
  for (int n : per_call) EXPECT_EQ(n, kPerThread);
}

}  // namespace
}  // namespace Quorvex
