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

const std::string kCall = "get_simplified_loop_DP";

class TestBugTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = qxtest::fresh_dir(std::string("testbug_") +
                             ::testing::UnitTest::GetInstance()->current_test_info()->name());
    gDAConfig.set_store_path(dir_ + "/");
    gDAConfig.enabled = gDAConfig.write_mode = true;
    gDAConfig.name_with_time = gDAConfig.name_with_thread = gDAConfig.encode_names = false;
    gDAConfig.selected_only = gDAConfig.single_stream = gDebugDS.inner_call = false;
    gDAConfig.clear_selected();
    gCommonVersionStr = "0.1.0";
    tags_ = ByteImage().str("TESTBUG VERSION: 0.1.0").str("LAST COMMIT: " + gGitCommitSHA1).bytes();
  }
  void TearDown() override { fs::remove_all(dir_); }
  // Runs the hook in write or replay mode with stdout captured.
  static std::string hook(std::vector<Point2>& loop, bool write = true,
                          const std::string& call = kCall, const char* param = "loop") {
    gDAConfig.write_mode = write;
    ::testing::internal::CaptureStdout();
    capture_parameter(call.c_str(), loop, param);
    gDAConfig.write_mode = true;
    return ::testing::internal::GetCapturedStdout();
  }
  std::string opened(const std::string& name) const {
    return "Opened testbug file: " + dir_ + "/" + name + "\n";
  }
  qxtest::CaptureConfigGuard guard_;
  std::string dir_, tags_;
};

TEST_F(TestBugTest, CaptureWritesTheFileByteForByteAndReplayRestoresIt) {
  std::vector<Point2> loop{{1, 2}, {3, 4}};
  EXPECT_EQ(hook(loop), "");
  const std::string f = qxtest::read_file(dir_ + "/" + kCall + ".tb");
  std::string type = std::string("std::vector<") + typeid(Point2).name() + ">";
  const std::size_t head = tags_.size() + 8 + 4 + 4 + 16;
  scramble_tail_string(type);
  ByteImage expected;
  expected.raw(tags_).u64(1).raw("\x93\x90\x90\x8f").points({{1, 2}, {3, 4}});
  expected.i32(1).str(type).i32(1).str("loop").u64(head).u64(head + 36 + type.size());
  EXPECT_EQ(f, expected.bytes());
  std::vector<Point2> target(10, Point2(9, 9));
  EXPECT_EQ(hook(target, false), opened(kCall + ".tb"));
  EXPECT_TRUE(gDAConfig.replay_ok);
  ASSERT_EQ(target.size(), 2u);
  EXPECT_TRUE(target[1].x == 3.0f && target[1].y == 4.0f);
  std::vector<Point2> other{{5, 6}};  // a second capture replaces the file
  hook(other);
  EXPECT_EQ(qxtest::read_file(dir_ + "/" + kCall + ".tb").size(), f.size() - 8);
  fs::rename(dir_ + "/" + kCall + ".tb", dir_ + "/" + kCall);  // a bare name is preferred
  hook(loop);
  EXPECT_EQ(hook(target, false), opened(kCall));
  EXPECT_EQ(target.size(), 1u);
  // A record of other names is refused and leaves the argument. The reader's own lines are
  // pinned by the record tests.
  hook(loop, true, "other", "lopp");
  const std::string out = hook(target, false, "other");
  EXPECT_EQ(out.rfind(opened("other.tb") + "Error! Parameter Unmatch!", 0), 0u) << out;
  EXPECT_FALSE(gDAConfig.replay_ok);
  EXPECT_EQ(target[0].x, 5.0f);
}

// A folder named like the call is no testbug file: the replay passes over it to the ".tb"
// file, and with no such file it finds nothing, prints nothing and leaves the argument.
TEST_F(TestBugTest, ReplayPassesOverAFolderOfTheCallsName) {
  fs::create_directory(dir_ + "/" + kCall);
  std::vector<Point2> target{{7, 7}};
  gDAConfig.replay_ok = true;
  EXPECT_EQ(hook(target, false), "");
  EXPECT_FALSE(gDAConfig.replay_ok);
  EXPECT_EQ(target.size(), 1u);
  std::vector<Point2> loop{{1, 2}, {3, 4}};
  hook(loop);
  EXPECT_EQ(hook(target, false), opened(kCall + ".tb"));
  EXPECT_TRUE(gDAConfig.replay_ok);
  ASSERT_EQ(target.size(), 2u);
  EXPECT_TRUE(target[1].x == 3.0f && target[1].y == 4.0f);
}

// How the configuration names the file (a pattern; empty: nothing written), and whether a
// replay by the call name finds it, by prefix when the name carries a time or thread. When
// disabled or with its stream closed, replay leaves replay_ok alone.
TEST_F(TestBugTest, FileNamesAndTheirReplay) {
  std::ostringstream thread;
  thread << std::this_thread::get_id();
  std::string hex;
  DataArchiveConfig::encode_file_name(kCall, hex);
  const std::pair<std::function<void()>, std::string> cases[] = {
      {[] { gDAConfig.name_with_time = true; }, kCall + "\\.[0-9]{8}-[0-9]{6}-[0-9]{3}\\.tb"},
      {[] { gDAConfig.name_with_thread = true; }, kCall + "\\." + thread.str() + "\\.tb"},
      {[] { gDAConfig.selected_only = true, gDAConfig.add_selected(kCall); }, kCall + "\\.tb"},
      {[] { gDebugDS.inner_call = true; }, "__inner_" + kCall + "\\.tb"},
      {[] { gDAConfig.encode_names = true; }, hex + "\\.tb"},
      {[] { gDAConfig.selected_only = true; }, ""},
      {[this] { gDAConfig.set_store_path(dir_ + "/missing/deeper"); }, ""},
      {[] { gDAConfig.enabled = false; }, ""},
      {[] { gDAConfig.single_stream = true; }, ""}};
  for (const auto& [configure, name] : cases) {
    const bool replayed = name.rfind(kCall, 0) == 0;
    SetUp();
    configure();
    std::vector<Point2> target{{3, 3}, {4, 4}};
    gDAConfig.replay_ok = true;
    EXPECT_EQ(hook(target, false), "") << name;  // nothing yet: nothing opened
    EXPECT_EQ(gDAConfig.replay_ok, !gDAConfig.enabled || gDAConfig.single_stream);
    EXPECT_EQ(target.size(), 2u);
    std::vector<Point2> loop{{1, 2}};
    EXPECT_EQ(hook(loop), "");
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(dir_)) names.push_back(e.path().filename());
    ASSERT_EQ(names.size(), name.empty() ? 0u : 1u) << name;
    if (name.empty()) continue;
    EXPECT_TRUE(std::regex_match(names[0], std::regex(name))) << names[0];
    EXPECT_EQ(hook(target, false), replayed ? opened(names[0]) : "") << name;
    EXPECT_EQ(gDAConfig.replay_ok, replayed);
    EXPECT_EQ(target.size(), replayed ? 1u : 2u);
    gDebugDS.inner_call = false;
  }
}

// Each record: its size, the name's length, the name, then the record with the values
// written compact; past 1000 points the count alone. Write mode and selection are ignored.
TEST_F(TestBugTest, SharedStreamRecordsChainByTheirSize) {
  const std::string path = dir_ + "/shared.bin";
  gDAConfig.single_stream = gDAConfig.selected_only = true;
  gDAConfig.stream.open(path, std::ios::binary);
  ASSERT_TRUE(gDAConfig.stream.is_open());
  std::vector<Point2> first{{1, 2}, {3, 4}};
  std::vector<Point2> second(1001, Point2(5, 5));
  EXPECT_EQ(hook(first, false, "callA"), "");
  EXPECT_EQ(hook(second, true, "callB", "pts"), "");
  gDAConfig.stream.close();
  ByteImage rec_a, rec_b;
  rec_a.u64(8 + 8 + 4 + 5 + tags_.size() + 8 + 4 + 20).u64(5).str("callA").raw(tags_).u64(1);
  rec_a.raw("\x93\x90\x90\x8f").points({{1, 2}, {3, 4}});
  rec_b.u64(8 + 8 + 4 + 5 + tags_.size() + 8 + 3 + 4).u64(5).str("callB").raw(tags_).u64(1);
  rec_b.raw("\x8f\x8b\x8c").i32(1001);
  EXPECT_EQ(qxtest::read_file(path), rec_a.bytes() + rec_b.bytes());
}

}  // namespace
}  // namespace Quorvex
