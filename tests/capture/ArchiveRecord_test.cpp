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

std::string inverted(std::string s) {
  for (char& c : s) c = static_cast<char>(~static_cast<unsigned char>(c));
  return s;
}

std::vector<Point2> random_points(std::mt19937& rng, std::size_t n) {
  std::uniform_real_distribution<float> d(-1e4f, 1e4f);
  std::vector<Point2> v;
  for (std::size_t i = 0; i < n; ++i) v.emplace_back(d(rng), d(rng));
  return v;
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

  // Reads `bytes` with the given names registered; the console text goes to `out`.
  bool read_record(const std::string& bytes, std::vector<std::vector<Point2>>& values,
                   const std::vector<std::string>& names, std::string& out) {
    std::istringstream is(bytes);
    ArchiveReader reader{ReadAble(is)};
    for (std::size_t i = 0; i < names.size(); ++i) reader.add_parameter(values[i], names[i]);
    ::testing::internal::CaptureStdout();
    const bool ok = reader.read_header() && reader.read_values();
    out = ::testing::internal::GetCapturedStdout();
    return ok;
  }

  std::string tags() const {
    return ByteImage()
        .str("TESTBUG VERSION: " + gCommonVersionStr)
        .str("LAST COMMIT: " + gGitCommitSHA1)
        .bytes();
  }

  qxtest::CaptureConfigGuard guard_;
};

TEST_F(ArchiveRecordTest, EmptyRecordIsTagsAndAZeroCount) {
  std::ostringstream os;
  ArchiveWriter writer{WriteAble(os)};
  EXPECT_TRUE(writer.write_header());
  EXPECT_EQ(os.str(), tags() + ByteImage().u64(0).bytes());

  std::istringstream is(os.str());
  ReadAble in(is);
  ArchiveReader reader(in);
  ::testing::internal::CaptureStdout();
  EXPECT_TRUE(reader.read_header());
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(in.tell(), static_cast<std::int64_t>(os.str().size()));
}

TEST_F(ArchiveRecordTest, HeaderInvertsTheNames) {
  std::ostringstream os;
  ArchiveWriter writer{WriteAble(os)};
  std::vector<Point2> loop{{1, 2}, {3, 4}};
  std::vector<Point2> other;
  writer.add_parameter(loop, "loop");
  writer.add_parameter(other, "xy");
  ASSERT_TRUE(writer.write_header());
  ASSERT_TRUE(writer.write_values());
  EXPECT_EQ(os.str(), tags() + ByteImage()
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
    const std::vector<std::size_t> sizes = {0, 1, 2, 999, 1000, 3};
    const std::vector<std::string> names = {"loop", "holes", "a", "b", "c", "d"};
    std::vector<std::vector<Point2>> values;
    for (std::size_t n : sizes) values.push_back(random_points(rng, n));

    std::ostringstream os;
    ArchiveWriter writer{WriteAble(os)};
    for (std::size_t i = 0; i < names.size(); ++i) writer.add_parameter(values[i], names[i]);
    ASSERT_TRUE(compact ? writer.write_header() && writer.write_values() : writer.write_all());

    std::vector<std::vector<Point2>> back(names.size(), std::vector<Point2>(7));
    std::string out;
    ASSERT_TRUE(read_record(os.str(), back, names, out)) << out;
    EXPECT_EQ(out, "");
    for (std::size_t i = 0; i < names.size(); ++i) {
      EXPECT_TRUE(same_points(back[i], values[i])) << "compact " << compact << " entry " << i;
    }
  }
}

struct MismatchCase {
  const char* label;
  std::vector<std::string> written;
  std::vector<std::string> expected;
  std::string console;
};

void PrintTo(const MismatchCase& c, std::ostream* os) { *os << c.label; }

class ArchiveRecordMismatch : public ArchiveRecordTest,
                              public ::testing::WithParamInterface<MismatchCase> {};

TEST_P(ArchiveRecordMismatch, RefusesAndPrintsTheLines) {
  const MismatchCase& c = GetParam();
  std::vector<std::vector<Point2>> values(c.written.size(), std::vector<Point2>{{5, 6}});
  std::ostringstream os;
  ArchiveWriter writer{WriteAble(os)};
  for (std::size_t i = 0; i < c.written.size(); ++i) writer.add_parameter(values[i], c.written[i]);
  ASSERT_TRUE(writer.write_all());

  std::vector<std::vector<Point2>> back(c.expected.size(), std::vector<Point2>{{1, 1}, {2, 2}});
  std::istringstream is(os.str());
  ArchiveReader reader{ReadAble(is)};
  for (std::size_t i = 0; i < c.expected.size(); ++i) reader.add_parameter(back[i], c.expected[i]);
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(reader.read_header());
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), c.console) << c.label;
  for (const auto& v : back) EXPECT_EQ(v.size(), 2u);  // untouched
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ArchiveRecordMismatch,
    ::testing::Values(
        MismatchCase{"same length, other name",
                     {"loop", "lopp"},
                     {"loop", "loop"},
                     "Error! Parameter Unmatch! \nExpect parameters: \nlooploop\n"
                     "Read File parameters: \nlooplopp\n"
                     // the old check takes the high half of the 64-bit count for a name
                     "Error! Parameter Unmatch! \nExpect parameters: \nlooploop\n"
                     "Read File parameters: \n\n"},
        MismatchCase{"other order",
                     {"ab", "cd"},
                     {"cd", "ab"},
                     "Error! Parameter Unmatch! \nExpect parameters: \ncdab\n"
                     "Read File parameters: \nab\n"
                     "Error! Parameter Unmatch! \nExpect parameters: \ncdab\n"
                     "Read File parameters: \n\n"},
        MismatchCase{"count differs",
                     {"loop", "holes"},
                     {"loop"},
                     "Error! Parameter Unmatch!\nExpect parameters number: 1\n"
                     "Read File parameters number: 2\n"
                     "Try oldVersion: Error! Parameter Unmatch!\n"
                     "Try oldVersion: Expect parameters number: 1\n"
                     "Try oldVersion: Read File parameters number: 2\n"}),
    [](const ::testing::TestParamInfo<MismatchCase>& info) { return std::to_string(info.index); });

TEST_F(ArchiveRecordTest, OldRecordsAreReadAfterTheCurrentCheckFails) {
  // The earlier format: no tags, a 4-byte count and plain names.
  const std::string old = ByteImage().i32(1).raw("loop").points({{1, 2}, {3, 4}, {5, 6}}).bytes();
  std::vector<std::vector<Point2>> back(1);
  std::string out;
  ASSERT_TRUE(read_record(old, back, {"loop"}, out));
  EXPECT_EQ(out.rfind("Error! Parameter Unmatch!\nExpect parameters number: 1\n", 0), 0u) << out;
  EXPECT_EQ(out.find("Try oldVersion"), std::string::npos);
  ASSERT_EQ(back[0].size(), 3u);
  EXPECT_EQ(back[0][2].y, 6.0f);
}

TEST_F(ArchiveRecordTest, WrongCountLeavesTheStreamBehindTheOldCount) {
  const std::string bytes = tags() + ByteImage().u64(5).raw(inverted("loop")).bytes();
  std::istringstream is(bytes);
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

struct TagCase {
  const char* label;
  std::string version;
  std::string commit;
  bool accepted;
};

void PrintTo(const TagCase& c, std::ostream* os) { *os << c.label; }

class ArchiveRecordTags : public ArchiveRecordTest,
                          public ::testing::WithParamInterface<TagCase> {};

// Tags are written with the case's stamps and read back by a library with other ones:
// the stored version is never compared, but a tag must be longer than its text and at
// most 60 bytes to be recognised.
TEST_P(ArchiveRecordTags, AcceptsWhatTheTagRulesAllow) {
  gCommonVersionStr = GetParam().version;
  gGitCommitSHA1 = GetParam().commit;
  std::vector<Point2> loop{{1, 2}};
  std::ostringstream os;
  ArchiveWriter writer{WriteAble(os)};
  writer.add_parameter(loop, "loop");
  ASSERT_TRUE(writer.write_all());
  gCommonVersionStr = "9.9.9";
  gGitCommitSHA1 = "feedface";
  std::vector<std::vector<Point2>> back(1);
  std::string out;
  EXPECT_EQ(read_record(os.str(), back, {"loop"}, out), GetParam().accepted) << out;
  EXPECT_EQ(back[0].size(), GetParam().accepted ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ArchiveRecordTags,
    ::testing::Values(TagCase{"other version", "0.0.1-other", "abc", true},
                      TagCase{"version tag of 60 bytes", std::string(43, 'v'), "abc", true},
                      TagCase{"version tag of 61 bytes", std::string(44, 'v'), "abc", false},
                      TagCase{"empty version", "", "abc", false},
                      TagCase{"empty commit", "1.0", "", false}),
    [](const ::testing::TestParamInfo<TagCase>& info) { return std::to_string(info.index); });

TEST_F(ArchiveRecordTest, StreamEndingInsideTheNamesFails) {
  const std::string bytes = tags() + ByteImage().u64(1).raw(inverted("lo")).bytes();
  std::vector<std::vector<Point2>> back(1, std::vector<Point2>{{1, 1}});
  std::string out;
  EXPECT_FALSE(read_record(bytes, back, {"loop"}, out));
  EXPECT_NE(out.find("Read File parameters: \nlo\n"), std::string::npos) << out;
  EXPECT_EQ(back[0].size(), 1u);
}

TEST(TailScramble, KnownAnswersAndInverse) {
  std::string eight(8, '\0');
  scramble_tail_string(eight);
  EXPECT_EQ(eight, ByteImage().u64(tail_key_table[0]).bytes());

  // Overlapping windows: byte 8 gets only the top byte of word 1.
  std::string nine(9, '\0');
  scramble_tail_string(nine);
  const std::string w0 = ByteImage().u64(tail_key_table[0]).bytes();
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
