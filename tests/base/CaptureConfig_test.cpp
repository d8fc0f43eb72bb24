#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

#include "quorvex/base/BuildInfo.h"
#include "quorvex/base/DataArchiveConfig.h"
#include "support/CaptureConfigGuard.h"

namespace Quorvex {
namespace {

TEST(CaptureConfig, BuildStampsAreSet) {
  EXPECT_TRUE(std::regex_match(gCommonVersionStr, std::regex("[0-9]+\\.[0-9]+\\.[0-9]+.*")))
      << gCommonVersionStr;
  EXPECT_FALSE(gGitCommitSHA1.empty());
}

TEST(CaptureConfig, StorePathHasNoTrailingSlash) {
  qxtest::CaptureConfigGuard guard;
  const std::pair<const char*, const char*> cases[] = {{"/tmp/tb/", "/tmp/tb"},
                                                       {"/tmp/tb", "/tmp/tb"},
                                                       {"rel//", "rel"},
                                                       {"", "."},
                                                       {"/", "/"},
                                                       {"a\\", "a"}};
  for (const auto& c : cases) {
    gDAConfig.set_store_path(c.first);
    EXPECT_EQ(gDAConfig.get_store_path(), c.second) << c.first;
  }
}

TEST(CaptureConfig, SelectedNames) {
  DataArchiveConfig c;
  c.add_selected("get_simplified_loop_DP");
  c.add_selected("other");
  EXPECT_TRUE(c.is_selected("get_simplified_loop_DP"));
  EXPECT_FALSE(c.is_selected("get_simplified_loop"));
  c.clear_selected();
  EXPECT_FALSE(c.is_selected("other"));
}

TEST(CaptureConfig, EncodedNamesAreSafeDistinctAndReversible) {
  const std::string names[] = {"a",   "b",  "ab",       "get_simplified_loop_DP",
                               "a/b", "..", "x y\tz",   std::string("\0", 1),
                               "A",   "é",  "\xff\x00", "__inner_f.20260101-000000-000"};
  std::set<std::string> seen;
  for (const std::string& n : names) {
    std::string enc;
    DataArchiveConfig::encode_file_name(n, enc);
    EXPECT_FALSE(enc.empty());
    EXPECT_TRUE(std::regex_match(enc, std::regex("[0-9a-f]+"))) << enc;
    EXPECT_TRUE(seen.insert(enc).second) << n;
    std::string dec;
    ASSERT_TRUE(DataArchiveConfig::decode_file_name(enc, dec));
    EXPECT_EQ(dec, n);
  }
  std::string enc;
  DataArchiveConfig::encode_file_name("loop", enc);
  EXPECT_EQ(enc, "6c6f6f70");
  std::string dec = "x";
  EXPECT_FALSE(DataArchiveConfig::decode_file_name("6c6", dec));
  EXPECT_FALSE(DataArchiveConfig::decode_file_name("zz", dec));
  EXPECT_FALSE(DataArchiveConfig::decode_file_name("6C", dec));  // not a text encode gives
  EXPECT_TRUE(dec.empty());
}

TEST(CaptureConfig, TimeStampFormat) {
  const std::string ts = DataArchiveConfig::get_current_ts_string();
  std::smatch m;
  ASSERT_TRUE(std::regex_match(
      ts, m, std::regex("(\\d{4})(\\d{2})(\\d{2})-(\\d{2})(\\d{2})(\\d{2})-(\\d{3})")))
      << ts;
  EXPECT_GE(std::stoi(m[1]), 2020);
  EXPECT_GE(std::stoi(m[2]), 1);
  EXPECT_LE(std::stoi(m[2]), 12);
  EXPECT_LE(std::stoi(m[4]), 23);
  EXPECT_LE(std::stoi(m[6]), 60);
}

// A fresh configuration has every flag off, no selection, the current folder, no stream.
TEST(CaptureConfig, FreshConfigurationAndItsFlagMap) {
  DataArchiveConfig c;
  EXPECT_FALSE(c.stream.is_open());
  EXPECT_EQ(c.get_store_path(), ".");
  EXPECT_FALSE(c.is_selected("anything"));
  EXPECT_FALSE(gDAConfig.enabled);
  EXPECT_FALSE(gDebugDS.inner_call);
  auto m = c.gen_flag_map();
  ASSERT_EQ(m.size(), 8u);
  for (const auto& kv : m) EXPECT_EQ(kv.second, "0") << kv.first;
  bool DataArchiveConfig::*fields[] = {
      &DataArchiveConfig::enabled,        &DataArchiveConfig::write_mode,
      &DataArchiveConfig::name_with_time, &DataArchiveConfig::name_with_thread,
      &DataArchiveConfig::encode_names,   &DataArchiveConfig::selected_only,
      &DataArchiveConfig::single_stream,  &DataArchiveConfig::replay_ok};
  const char* keys[] = {"enabled",      "write_mode",    "name_with_time", "name_with_thread",
                        "encode_names", "selected_only", "single_stream",  "replay_ok"};
  for (int i = 0; i < 8; ++i) {
    c.*fields[i] = true;
    m = c.gen_flag_map();
    EXPECT_EQ(m.at(keys[i]), "1");
    int ones = 0;
    for (const auto& kv : m) ones += kv.second == "1";
    EXPECT_EQ(ones, 1) << keys[i];
    c.*fields[i] = false;
  }
}

}  // namespace
}  // namespace Quorvex
