#include "quorvex/capture/ArchiveRecord.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "quorvex/base/BuildInfo.h"
#include "quorvex/base/DataArchiveConfig.h"
#include "support/ByteImage.h"
#include "support/CaptureConfigGuard.h"

namespace Quorvex {
namespace {

using qxtest::ByteImage;
using Values = std::vector<std::vector<Point2>>;
using Names = std::vector<std::string>;

class ArchiveRecordTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gCommonVersionStr = "1.2.3";
    gGitCommitSHA1 = "0123456789abcdef0123456789abcdef01234567";
    gDAConfig.single_stream = false;
  }
  // The record of `values` under `names`, written whole or header and values apart.
  static std::string write_record(Values& values, const Names& names, bool whole = true) {
    std::ostringstream os;
    ArchiveWriter writer{WriteAble(os)};
    for (std::size_t i = 0; i < names.size(); ++i) writer.add_parameter(values[i], names[i]);
    EXPECT_TRUE(whole ? writer.write_all() : writer.write_header() && writer.write_values());
    return os.str();
  }
  // Reads `bytes` with the given names registered; the console text goes to `out`.
  static bool read_record(const std::string& bytes, Values& values, const Names& names,
                          std::string& out) {
    std::istringstream is(bytes);
    ArchiveReader reader{ReadAble(is)};
    for (std::size_t i = 0; i < names.size(); ++i) reader.add_parameter(values[i], names[i]);
    ::testing::internal::CaptureStdout();
    const bool ok = reader.read_header() && reader.read_values();
    out = ::testing::internal::GetCapturedStdout();
    return ok;
  }
  qxtest::CaptureConfigGuard guard_;
};

// Written again, what was read gives the same bytes.
TEST_F(ArchiveRecordTest, RoundTripRestoresEveryVector) {
  for (bool compact : {false, true}) {
    gDAConfig.single_stream = compact;
    const Names names = {"loop", "holes", "a", "b"};
    Values values, back(names.size(), std::vector<Point2>(7));
    for (std::size_t n : {0, 2, 1000, 3}) {
      values.emplace_back();
      for (std::size_t i = 0; i < n; ++i) values.back().emplace_back(i * 0.37f - 90, n * 1e3f - i);
    }
    const std::string bytes = write_record(values, names, !compact);
    std::string out;
    ASSERT_TRUE(read_record(bytes, back, names, out)) << out;
    EXPECT_EQ(out, "");
    EXPECT_EQ(write_record(back, names, !compact), bytes) << compact;
  }
}

// A refused table prints the current check's complaint, then the old format's, and leaves
// the targets alone. Names are compared one by one, stopping at the first that differs; the
// old check reads the high half of the 64-bit count as the first name.
TEST_F(ArchiveRecordTest, MismatchedTablesAreRefusedWithTheirLines) {
  const struct {
    Names written, expected;
    std::string console;
  } cases[] = {
      {{"ab", "cx", "ef"},
       {"ab", "cd", "ef"},
       "Error! Parameter Unmatch! \nExpect parameters: \nabcdef\nRead File parameters: \nabcx\n"
       "Error! Parameter Unmatch! \nExpect parameters: \nabcdef\nRead File parameters: \n\n"},
      {{"loop", "holes"},
       {"loop"},
       "Error! Parameter Unmatch!\nExpect parameters number: 1\nRead File parameters number: 2\n"
       "Try oldVersion: Error! Parameter Unmatch!\n"
       "Try oldVersion: Expect parameters number: 1\n"
       "Try oldVersion: Read File parameters number: 2\n"}};
  for (const auto& c : cases) {
    Values values(c.written.size(), std::vector<Point2>{{5, 6}});
    Values back(c.expected.size(), std::vector<Point2>{{1, 1}, {2, 2}});
    std::string out;
    EXPECT_FALSE(read_record(write_record(values, c.written), back, c.expected, out));
    EXPECT_EQ(out, c.console);
    for (const auto& v : back) EXPECT_EQ(v.size(), 2u);
  }
}

TEST_F(ArchiveRecordTest, OldRecordsAreReadAfterTheCurrentCheckFails) {
  // The earlier format: no tags, a 4-byte count and plain names.
  const std::string old = ByteImage().i32(1).raw("loop").points({{1, 2}, {3, 4}, {5, 6}}).bytes();
  Values back(1);
  std::string out;
  ASSERT_TRUE(read_record(old, back, {"loop"}, out));
  EXPECT_EQ(out.rfind("Error! Parameter Unmatch!\nExpect parameters number: 1\n", 0), 0u) << out;
  ASSERT_EQ(back[0].size(), 3u);
  EXPECT_EQ(back[0][2].y, 6.0f);
}

// The stored version is never compared, but a tag must be longer than its text and at most
// 60 bytes to be recognised: version tags of 60 and 61 bytes, and one of its text alone.
TEST_F(ArchiveRecordTest, TagsAreAcceptedByTheirForm) {
  for (const std::string& version : {std::string(43, 'v'), std::string(44, 'v'), std::string()}) {
    const bool accepted = version.size() == 43;
    gCommonVersionStr = version;
    gGitCommitSHA1 = "abc";
    Values values = {{{1, 2}}};
    const std::string bytes = write_record(values, {"loop"});
    gCommonVersionStr = "9.9.9";
    gGitCommitSHA1 = "feedface";
    Values back(1);
    std::string out;
    EXPECT_EQ(read_record(bytes, back, {"loop"}, out), accepted) << version << out;
    EXPECT_EQ(back[0].size(), accepted ? 1u : 0u);
  }
}

TEST(TailScramble, KnownAnswersOfOverlappingWindows) {
  const std::string w0 = ByteImage().u64(tail_key_table[0]).bytes();
  // Overlapping windows: byte 8 gets only the top byte of word 1.
  std::string nine(9, '\0');
  scramble_tail_string(nine);
  const std::string w1 = ByteImage().u64(tail_key_table[1]).bytes();
  EXPECT_EQ(nine[0], w0[0]);
  for (int i = 1; i < 8; ++i) EXPECT_EQ(nine[i], static_cast<char>(w0[i] ^ w1[i - 1])) << i;
  EXPECT_EQ(nine[8], w1[7]);
}

}  // namespace
}  // namespace Quorvex
