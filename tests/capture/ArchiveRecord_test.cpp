#include "quorvex/capture/ArchiveRecord.h"

#include <gtest/gtest.h>

#include <random>
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

std::string inverted(std::string s) {
  for (char& c : s) c = static_cast<char>(~static_cast<unsigned char>(c));
  return s;
}

bool same_points(const std::vector<Point2>& a, const std::vector<Point2>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i].x != b[i].x || a[i].y != b[i].y) return false;
  }
  return true;
}

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

  static std::string tags() {
    return ByteImage()
        .str("TESTBUG VERSION: " + gCommonVersionStr)
        .str("LAST COMMIT: " + gGitCommitSHA1)
        .bytes();
  }

  qxtest::CaptureConfigGuard guard_;
};

TEST_F(ArchiveRecordTest, ExactImagesWithTheNamesInverted) {
  Values none;
  const std::string empty = write_record(none, {}, false);
  EXPECT_EQ(empty, tags() + ByteImage().u64(0).bytes());
  std::string out;
  EXPECT_TRUE(read_record(empty, none, {}, out));
  EXPECT_EQ(out, "");

  Values values = {{{1, 2}, {3, 4}}, {}};
  EXPECT_EQ(write_record(values, {"loop", "xy"}, false), tags() + ByteImage()
                                                                      .u64(2)
                                                                      .raw("\x93\x90\x90\x8f")
                                                                      .raw(inverted("xy"))
                                                                      .points({{1, 2}, {3, 4}})
                                                                      .i32(0)
                                                                      .bytes());
}

TEST_F(ArchiveRecordTest, RoundTripRestoresEveryVector) {
  for (bool compact : {false, true}) {
    gDAConfig.single_stream = compact;
    std::mt19937 rng(compact ? 7 : 11);
    std::uniform_real_distribution<float> d(-1e4f, 1e4f);
    const Names names = {"loop", "holes", "a", "b", "c", "d"};
    Values values;
    for (std::size_t n : {0, 1, 2, 999, 1000, 3}) {
      values.emplace_back();
      for (std::size_t i = 0; i < n; ++i) values.back().emplace_back(d(rng), d(rng));
    }
    Values back(names.size(), std::vector<Point2>(7));
    std::string out;
    ASSERT_TRUE(read_record(write_record(values, names, !compact), back, names, out)) << out;
    EXPECT_EQ(out, "");
    for (std::size_t i = 0; i < names.size(); ++i) {
      EXPECT_TRUE(same_points(back[i], values[i])) << "compact " << compact << " entry " << i;
    }
  }
}

struct MismatchCase {
  Names written;
  Names expected;
  std::string console;
};

class ArchiveRecordMismatch : public ArchiveRecordTest,
                              public ::testing::WithParamInterface<MismatchCase> {};

TEST_P(ArchiveRecordMismatch, RefusesAndPrintsTheLines) {
  const MismatchCase& c = GetParam();
  Values values(c.written.size(), std::vector<Point2>{{5, 6}});
  Values back(c.expected.size(), std::vector<Point2>{{1, 1}, {2, 2}});
  std::string out;
  EXPECT_FALSE(read_record(write_record(values, c.written), back, c.expected, out));
  EXPECT_EQ(out, c.console);
  for (const auto& v : back) EXPECT_EQ(v.size(), 2u);  // untouched
}

INSTANTIATE_TEST_SUITE_P(Cases, ArchiveRecordMismatch,
                         ::testing::Values(
                             // Same length, other name: the old check takes the high half of the
                             // 64-bit count for a name.
                             MismatchCase{
                                 {"loop", "lopp"},
                                 {"loop", "loop"},
                                 "Error! Parameter Unmatch! \nExpect parameters: \nlooploop\n"
                                 "Read File parameters: \nlooplopp\n"
                                 "Error! Parameter Unmatch! \nExpect parameters: \nlooploop\n"
                                 "Read File parameters: \n\n"},
                             MismatchCase{{"ab", "cd"},
                                          {"cd", "ab"},
                                          "Error! Parameter Unmatch! \nExpect parameters: \ncdab\n"
                                          "Read File parameters: \nab\n"
                                          "Error! Parameter Unmatch! \nExpect parameters: \ncdab\n"
                                          "Read File parameters: \n\n"},
                             MismatchCase{{"loop", "holes"},
                                          {"loop"},
                                          "Error! Parameter Unmatch!\nExpect parameters number: 1\n"
                                          "Read File parameters number: 2\n"
                                          "Try oldVersion: Error! Parameter Unmatch!\n"
                                          "Try oldVersion: Expect parameters number: 1\n"
                                          "Try oldVersion: Read File parameters number: 2\n"}));

TEST_F(ArchiveRecordTest, OldRecordsAreReadAfterTheCurrentCheckFails) {
  // The earlier format: no tags, a 4-byte count and plain names.
  const std::string old = ByteImage().i32(1).raw("loop").points({{1, 2}, {3, 4}, {5, 6}}).bytes();
  Values back(1);
  std::string out;
  ASSERT_TRUE(read_record(old, back, {"loop"}, out));
  EXPECT_EQ(out.rfind("Error! Parameter Unmatch!\nExpect parameters number: 1\n", 0), 0u) << out;
  EXPECT_EQ(out.find("Try oldVersion"), std::string::npos);
  ASSERT_EQ(back[0].size(), 3u);
  EXPECT_EQ(back[0][2].y, 6.0f);
}

TEST_F(ArchiveRecordTest, WrongCountLeavesTheStreamBehindTheOldCount) {
  std::istringstream is(tags() + ByteImage().u64(5).raw(inverted("loop")).bytes());
  ReadAble in(is);
  ArchiveReader reader(in);
  std::vector<Point2> v;
  reader.add_parameter(v, "loop");
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(reader.read_header());
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("Read File parameters number: 5\n"), std::string::npos);
  EXPECT_NE(out.find("Try oldVersion: Read File parameters number: 5\n"), std::string::npos);
  EXPECT_EQ(in.tell(), static_cast<std::int64_t>(tags().size() + 4));
}

TEST_F(ArchiveRecordTest, StreamEndingInsideTheNamesFails) {
  const std::string bytes = tags() + ByteImage().u64(1).raw(inverted("lo")).bytes();
  Values back(1, std::vector<Point2>{{1, 1}});
  std::string out;
  EXPECT_FALSE(read_record(bytes, back, {"loop"}, out));
  EXPECT_NE(out.find("Read File parameters: \nlo\n"), std::string::npos) << out;
  EXPECT_EQ(back[0].size(), 1u);
}

// Tags are written with the row's stamps and read back by a library with other ones: the
// stored version is never compared, but a tag must be longer than its text and at most 60
// bytes to be recognised.
TEST_F(ArchiveRecordTest, TagsAreAcceptedByTheirForm) {
  const struct {
    std::string version, commit;
    bool accepted;
  } cases[] = {{"0.0.1-other", "abc", true},
               {std::string(43, 'v'), "abc", true},  // a version tag of 60 bytes
               {std::string(44, 'v'), "abc", false},
               {"", "abc", false},
               {"1.0", "", false}};
  for (const auto& c : cases) {
    gCommonVersionStr = c.version;
    gGitCommitSHA1 = c.commit;
    Values values = {{{1, 2}}};
    const std::string bytes = write_record(values, {"loop"});
    gCommonVersionStr = "9.9.9";
    gGitCommitSHA1 = "feedface";
    Values back(1);
    std::string out;
    EXPECT_EQ(read_record(bytes, back, {"loop"}, out), c.accepted) << c.version << out;
    EXPECT_EQ(back[0].size(), c.accepted ? 1u : 0u);
  }
}

TEST(TailScramble, KnownAnswersAndInverse) {
  std::string eight(8, '\0');
  scramble_tail_string(eight);
  const std::string w0 = ByteImage().u64(tail_key_table[0]).bytes();
  EXPECT_EQ(eight, w0);

  // Overlapping windows: byte 8 gets only the top byte of word 1.
  std::string nine(9, '\0');
  scramble_tail_string(nine);
  const std::string w1 = ByteImage().u64(tail_key_table[1]).bytes();
  EXPECT_EQ(nine[0], w0[0]);
  for (int i = 1; i < 8; ++i) EXPECT_EQ(nine[i], static_cast<char>(w0[i] ^ w1[i - 1])) << i;
  EXPECT_EQ(nine[8], w1[7]);

  std::string seven = "abcdefg";
  scramble_tail_string(seven);
  EXPECT_EQ(seven, "abcdefg");

  std::mt19937 rng(5);
  for (std::size_t len : {8u, 9u, 100u, 107u, 108u, 300u}) {
    std::string s(len, '\0');
    for (char& c : s) c = static_cast<char>(rng());
    std::string m = s;
    scramble_tail_string(m);
    EXPECT_NE(m, s) << len;
    scramble_tail_string(m);
    EXPECT_EQ(m, s) << len;
  }
}

}  // namespace
}  // namespace Quorvex
