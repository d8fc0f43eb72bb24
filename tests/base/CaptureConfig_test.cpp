#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "quorvex/base/BuildInfo.h"
#include "quorvex/base/DataArchiveConfig.h"
#include "support/CaptureConfigGuard.h"

namespace Quorvex {
namespace {

TEST(CaptureConfig, StorePathHasNoTrailingSlashAndSelectionIsByWholeName) {
  qxtest::CaptureConfigGuard guard;
  const std::pair<const char*, const char*> cases[] = {
      {"/tmp/tb/", "/tmp/tb"}, {"rel//", "rel"}, {"", "."}, {"/", "/"}, {"a\\", "a"}};
  for (const auto& [in, out] : cases) {
    gDAConfig.set_store_path(in);
    EXPECT_EQ(gDAConfig.get_store_path(), out) << in;
  }
  DataArchiveConfig c;
  c.add_selected("get_simplified_loop_DP");
  EXPECT_TRUE(c.is_selected("get_simplified_loop_DP"));
  EXPECT_FALSE(c.is_selected("get_simplified_loop"));
  c.clear_selected();
  EXPECT_FALSE(c.is_selected("get_simplified_loop_DP"));
}

TEST(CaptureConfig, EncodedNamesAreLowerHexAndReversible) {
  std::string enc, dec = "x";
  DataArchiveConfig::encode_file_name("loop", enc);
  EXPECT_EQ(enc, "6c6f6f70");
  for (const std::string& n : {std::string("a/b\t"), std::string("\0\xff", 2), std::string("é")}) {
    DataArchiveConfig::encode_file_name(n, enc);
    ASSERT_TRUE(DataArchiveConfig::decode_file_name(enc, dec));
    EXPECT_EQ(dec, n);
  }
  EXPECT_FALSE(DataArchiveConfig::decode_file_name("6c6", dec));
  EXPECT_FALSE(DataArchiveConfig::decode_file_name("6C", dec));  // not what encoding gives
  EXPECT_TRUE(dec.empty());

  // The same string as input and output, both ways, and a failure in place empties it.
  std::string s = "a/b";
  DataArchiveConfig::encode_file_name(s, s);
  EXPECT_EQ(s, "612f62");
  EXPECT_TRUE(DataArchiveConfig::decode_file_name(s, s));
  EXPECT_EQ(s, "a/b");
  s = "6c6fzz";
  EXPECT_FALSE(DataArchiveConfig::decode_file_name(s, s));
  EXPECT_TRUE(s.empty());
}

TEST(CaptureConfig, BuildAndTimeStamps) {
  EXPECT_TRUE(std::regex_match(gCommonVersionStr, std::regex("[0-9]+\\.[0-9]+\\.[0-9]+.*")));
  EXPECT_FALSE(gGitCommitSHA1.empty());
  const std::string ts = DataArchiveConfig::get_current_ts_string();
  EXPECT_TRUE(std::regex_match(
      ts,
      std::regex("20\\d\\d(0[1-9]|1[0-2])[0-3]\\d-([01]\\d|2[0-3])[0-5]\\d([0-5]\\d|60)-\\d{3}")))
      << ts;
}

// Each flag has its own key, "1" when on and "0" when off.
TEST(CaptureConfig, FlagMapNamesEveryFlag) {
  DataArchiveConfig c;
  bool DataArchiveConfig::*fields[] = {
      &DataArchiveConfig::enabled,        &DataArchiveConfig::write_mode,
      &DataArchiveConfig::name_with_time, &DataArchiveConfig::name_with_thread,
      &DataArchiveConfig::encode_names,   &DataArchiveConfig::selected_only,
      &DataArchiveConfig::single_stream,  &DataArchiveConfig::replay_ok};
  const char* keys[] = {"enabled",      "write_mode",    "name_with_time", "name_with_thread",
                        "encode_names", "selected_only", "single_stream",  "replay_ok"};
  for (int i = 0; i < 8; ++i) {
    c.*fields[i] = true;
    const auto m = c.gen_flag_map();
    ASSERT_EQ(m.size(), 8u);
    for (int k = 0; k < 8; ++k) EXPECT_EQ(m.at(keys[k]), k == i ? "1" : "0") << keys[i];
    c.*fields[i] = false;
  }
}

}  // namespace
}  // namespace Quorvex
