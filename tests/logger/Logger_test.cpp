// The logger starts once per process: each first call runs in a child (a threadsafe death test).

#include "quorvex/Logger.h"

#include <glog/logging.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>

#include "support/Files.h"
#include "support/LogLines.h"

namespace Quorvex {
namespace {

struct FirstCall {
  const char* name;
  int min_level;
  bool use_dir, to_stderr, also;
  bool pre_log, pre_also;    // the stderr flags before the call, to see them left alone
  bool want_log, want_also;  // ... and after it
  bool line_on_stderr, line_in_file;
};

// Exits with one bit per failed check, so the parent can say which.
[[noreturn]] void first_call_child(const FirstCall& c, const std::string& dir) {
  const std::string err_path = dir + "/stderr.txt";
  if (std::freopen(err_path.c_str(), "w", stderr) == nullptr) std::_Exit(127);
  FLAGS_logtostderr = c.pre_log;
  FLAGS_alsologtostderr = c.pre_also;
  const std::string log_dir = c.use_dir ? dir : std::string();
  qx_init_logger(c.min_level, log_dir.c_str(), c.to_stderr, c.also);
  std::fflush(stderr);
  const auto has_line = [](const std::string& p) {
    return qxtest::read_file(p).find("qx logger init") != std::string::npos;
  };
  int failed = 0;
  if (FLAGS_log_dir != log_dir || FLAGS_minloglevel != c.min_level) failed |= 1;
  if (FLAGS_logbuflevel != -1 || !google::IsGoogleLoggingInitialized()) failed |= 2;
  if (FLAGS_logtostderr != c.want_log || FLAGS_alsologtostderr != c.want_also) failed |= 4;
  if (has_line(err_path) != c.line_on_stderr) failed |= 8;
  bool in_file = false;  // nothing is buffered, so the line is in the file now
  for (const auto& e : std::filesystem::directory_iterator(dir))
    in_file |= e.path().filename().string().rfind("LOG.", 0) == 0 && has_line(e.path());
  if (c.use_dir && in_file != c.line_in_file) failed |= 16;
  std::exit(failed);  // runs the static guard's shutdown, as a real process end does
}

class LoggerFirstCallTest : public ::testing::TestWithParam<FirstCall> {};

TEST_P(LoggerFirstCallTest, SetsFlagsAndWritesTheLine) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::string dir = qxtest::fresh_dir(std::string("logger_") + GetParam().name);
  EXPECT_EXIT(first_call_child(GetParam(), dir), ::testing::ExitedWithCode(0), "")
      << "bits: 1 dir/level, 2 buffering/start, 4 stderr flags, 8 stderr text, 16 log file";
}

// Without to_stderr the second switch has no effect; flags not switched on stay as found.
INSTANTIATE_TEST_SUITE_P(
    Arguments, LoggerFirstCallTest,
    ::testing::Values(
        // name, min, dir, to, also, pre log, pre also, want log, want also, stderr, file
        FirstCall{"file_only", 0, true, false, false, false, false, false, false, false, true},
        FirstCall{"also", 0, true, true, true, false, false, false, true, true, true},
        FirstCall{"only_no_dir", 0, false, true, false, false, true, true, true, true, false},
        FirstCall{"also_alone", 0, true, false, true, true, false, true, false, true, false},
        FirstCall{"warnings_up", 1, true, true, true, false, false, false, true, false, false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(LoggerTest, LaterCallsKeepFirstSettingsAndLogAgain) {
  qxtest::LogLines sink(google::GLOG_INFO);
  qx_init_logger(0, qxtest::fresh_dir("logger_later").c_str(), false, false);
  const auto first =
      std::make_tuple(FLAGS_log_dir, FLAGS_minloglevel, FLAGS_logtostderr, FLAGS_alsologtostderr);
  qx_init_logger(2, "/nonexistent/qx", true, false);
  qx_init_logger(1, "", true, true);
  EXPECT_EQ(
      std::make_tuple(FLAGS_log_dir, FLAGS_minloglevel, FLAGS_logtostderr, FLAGS_alsologtostderr),
      first);
  const auto lines = sink.lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "qx logger init"), 3);
}

}  // namespace
}  // namespace Quorvex
