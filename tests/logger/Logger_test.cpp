// The logger starts once per process, so every test that needs a first call runs it in a
// fresh child process (threadsafe death-test style re-executes this binary), and only one
// test calls it in the test process itself. The tests therefore pass in any order.

#include "quorvex/Logger.h"

#include <glog/logging.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "support/LogLines.h"

namespace Quorvex {
namespace {

namespace fs = std::filesystem;

std::string fresh_dir(const std::string& name) {
  const fs::path dir =
      fs::path(::testing::TempDir()) / ("qx_logger_" + name + "_" + std::to_string(::getpid()));
  fs::remove_all(dir);
  fs::create_directories(dir);
  return dir.string();
}

std::string read_file(const fs::path& p) {
  std::ifstream in(p);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct FirstCallCase {
  std::string name;
  int min_level;
  bool use_dir;  // false: an empty folder name
  bool to_stderr;
  bool also_to_stderr;
  // Values the stderr flags hold before the call, to see that they are left alone.
  bool pre_logtostderr;
  bool pre_alsologtostderr;
  bool want_logtostderr;
  bool want_alsologtostderr;
  bool want_line_on_stderr;
  bool want_line_in_file;
};

void PrintTo(const FirstCallCase& c, std::ostream* os) { *os << c.name; }

// Runs one first call with stderr sent to a file, checks every effect, and exits with
// the bits of the failed checks.
[[noreturn]] void first_call_child(const FirstCallCase& c, const std::string& dir) {
  const std::string err_path = dir + "/stderr.txt";
  std::FILE* err = std::freopen(err_path.c_str(), "w", stderr);
  if (err == nullptr) std::_Exit(127);
  FLAGS_logtostderr = c.pre_logtostderr;
  FLAGS_alsologtostderr = c.pre_alsologtostderr;
  const std::string log_dir = c.use_dir ? dir : std::string();

  qx_init_logger(c.min_level, log_dir.c_str(), c.to_stderr, c.also_to_stderr);
  std::fflush(stderr);

  // Every failed check sets one bit of the exit code, so the parent can say which.
  int failed = 0;
  if (FLAGS_log_dir != log_dir) failed |= 1;
  if (FLAGS_minloglevel != c.min_level) failed |= 2;
  if (FLAGS_logbuflevel != -1) failed |= 4;
  if (FLAGS_logtostderr != c.want_logtostderr || FLAGS_alsologtostderr != c.want_alsologtostderr) {
    failed |= 8;
  }
  if (!google::IsGoogleLoggingInitialized()) failed |= 16;
  const bool on_stderr = read_file(err_path).find("qx logger init") != std::string::npos;
  if (on_stderr != c.want_line_on_stderr) failed |= 32;
  if (c.use_dir) {
    // The file carries the program name; nothing is buffered, so the line is there now.
    bool in_file = false;
    for (const auto& entry : fs::directory_iterator(dir)) {
      const std::string name = entry.path().filename().string();
      if (name.rfind("LOG.", 0) == 0 &&
          read_file(entry.path()).find("qx logger init") != std::string::npos) {
        in_file = true;
      }
    }
    if (in_file != c.want_line_in_file) failed |= 64;
  }
  std::exit(failed);  // runs the static guard's shutdown, as a real process end does
}

class LoggerFirstCallTest : public ::testing::TestWithParam<FirstCallCase> {};

TEST_P(LoggerFirstCallTest, SetsFlagsAndWritesTheLine) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const FirstCallCase& c = GetParam();
  const std::string dir = fresh_dir(c.name);
  EXPECT_EXIT(first_call_child(c, dir), ::testing::ExitedWithCode(0), "")
      << "exit code bits: 1 log_dir, 2 minloglevel, 4 logbuflevel, 8 stderr flags, "
         "16 not started, 32 stderr text, 64 log file";
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, LoggerFirstCallTest,
    ::testing::Values(
        // name, min, dir, to_stderr, also, pre log, pre also, want log, want also, stderr, file
        FirstCallCase{"file_only", 0, true, false, false, false, false, false, false, false, true},
        FirstCallCase{"also_to_stderr", 0, true, true, true, false, false, false, true, true, true},
        FirstCallCase{"only_to_stderr", 0, true, true, false, false, false, true, false, true,
                      false},
        // Without to_stderr the second switch has no effect and neither flag is touched.
        FirstCallCase{"also_without_to_stderr", 0, true, false, true, false, false, false, false,
                      false, true},
        FirstCallCase{"flags_left_as_found", 0, true, false, true, false, true, false, true, true,
                      true},
        FirstCallCase{"only_keeps_preset_also", 0, true, true, false, false, true, true, true, true,
                      false},
        // Warnings and up only: the info line is filtered everywhere.
        FirstCallCase{"min_level_warning", 1, true, true, true, false, false, false, true, false,
                      false},
        FirstCallCase{"empty_dir_to_stderr", 0, false, true, false, false, false, true, false, true,
                      false}),
    [](const auto& info) { return info.param.name; });

// The one first call in the test process: later calls keep the first settings and still
// write the line each time.
TEST(LoggerTest, LaterCallsKeepFirstSettingsAndLogAgain) {
  const std::string dir = fresh_dir("later_calls");
  qxtest::LogLines sink(google::GLOG_INFO);
  qx_init_logger(0, dir.c_str(), false, false);
  const std::string first_dir = FLAGS_log_dir;
  const int first_level = FLAGS_minloglevel;
  const bool first_log = FLAGS_logtostderr;
  const bool first_also = FLAGS_alsologtostderr;

  qx_init_logger(2, "/nonexistent/qx", true, false);
  qx_init_logger(1, "", true, true);

  EXPECT_EQ(
      std::make_tuple(FLAGS_log_dir, FLAGS_minloglevel, FLAGS_logtostderr, FLAGS_alsologtostderr),
      std::make_tuple(first_dir, first_level, first_log, first_also));
  EXPECT_EQ(FLAGS_logbuflevel, -1);
  EXPECT_TRUE(google::IsGoogleLoggingInitialized());

  // With the process's first call made here or by an earlier test, three calls: three lines.
  const auto lines = sink.lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "qx logger init"), 3);
}

}  // namespace
}  // namespace Quorvex
