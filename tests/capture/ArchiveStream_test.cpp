#include "quorvex/capture/ArchiveStream.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/ByteImage.h"
#include "support/Files.h"

namespace Quorvex {
namespace {

using qxtest::ByteImage;

std::string written(const std::function<void(WriteAble)>& fn) {
  std::ostringstream os;
  fn(WriteAble(os));
  return os.str();
}

// ---- adapters

TEST(ArchiveStreamAdapter, ZeroCountAndNullBufferOnStreams) {
  std::istringstream is("abcd");
  ReadAble r(is);
  EXPECT_TRUE(r.read(nullptr, 0));
  EXPECT_FALSE(r.read(nullptr, 4));
  EXPECT_EQ(r.tell(), 0);  // the stream was not touched
  EXPECT_FALSE(r.has_failed());

  std::ostringstream os;
  WriteAble w(os);
  EXPECT_TRUE(w.write(nullptr, 0));
  EXPECT_FALSE(w.write(nullptr, 4));
  EXPECT_TRUE(os.str().empty());
  EXPECT_TRUE(os.good());
}

// A handle built on a closed file is null for good, even once the file opens.
TEST(ArchiveStreamAdapter, ClosedFilesGiveNullAdapters) {
  const std::string path = qxtest::fresh_dir("stream_reopen") + "/data.bin";
  std::ofstream(path, std::ios::binary) << "data";
  std::ifstream in;
  ReadAble r(in);
  in.open(path, std::ios::binary);
  EXPECT_TRUE(r.is_null());
  EXPECT_TRUE(r.has_failed());
  char buf[4] = {'x', 'x', 'x', 'x'};
  EXPECT_FALSE(r.read(buf, 4));
  EXPECT_EQ(buf[0], 'x');
  EXPECT_EQ(r.size(), 0);
  r.seek(3);
  EXPECT_EQ(r.tell(), 0);
  EXPECT_EQ(in.tellg(), 0);
  ReadAble r2(in);
  EXPECT_TRUE(r2.read(buf, 4));
  EXPECT_EQ(std::string(buf, 4), "data");

  std::ofstream out;
  WriteAble w(out);
  EXPECT_TRUE(w.is_null());
  EXPECT_FALSE(w.write("ab", 2));
  EXPECT_EQ(w.tell(), 0);
  EXPECT_EQ(w.seek(3), -1);
}

TEST(ArchiveStreamAdapter, SizeKeepsThePositionAndSeekThenWriteOverwrites) {
  std::istringstream is(std::string(40, 'z'));
  ReadAble r(is);
  r.seek(17);
  EXPECT_EQ(r.size(), 40);
  EXPECT_EQ(r.tell(), 17);

  std::ostringstream os;
  WriteAble w(os);
  w.write("abcdef", 6);
  EXPECT_EQ(w.seek(2), 0);
  w.write("XY", 2);
  EXPECT_EQ(w.seek(6), 0);
  w.write("g", 1);
  EXPECT_EQ(os.str(), "abXYefg");
  EXPECT_EQ(w.tell(), 7);
}

// ---- primitive encodings

std::vector<Point2> n_points(std::size_t n) {
  std::vector<Point2> v;
  for (std::size_t i = 0; i < n; ++i) v.emplace_back(static_cast<float>(i), -0.5f * i);
  return v;
}

TEST(PrimitiveEncoding, WritesTheExactBytes) {
  const struct {
    const char* label;
    std::string got, want;
  } cases[] = {
      {"empty string", written([](WriteAble w) { w << std::string(); }),
       ByteImage().i32(0).bytes()},
      {"string", written([](WriteAble w) { w << std::string("abc"); }),
       ByteImage().str("abc").bytes()},
      {"u64", written([](WriteAble w) { w << std::uint64_t{0x0102030405060708ull}; }),
       std::string("\x08\x07\x06\x05\x04\x03\x02\x01", 8)},
      {"double", written([](WriteAble w) { w << 1.0; }), std::string("\0\0\0\0\0\0\xf0\x3f", 8)},
      {"Point2", written([](WriteAble w) { w << Point2(1.5f, -2.0f); }),
       ByteImage().f32(1.5f).f32(-2.0f).bytes()},
      {"bulk points", written([](WriteAble w) {
         w << std::vector<Point2>{{1, 2}, {3, 4}};
       }),
       ByteImage().points({{1, 2}, {3, 4}}).bytes()},
      {"empty bulk points", written([](WriteAble w) { w << std::vector<Point2>(); }),
       ByteImage().i32(0).bytes()},
      {"compact points", written([](WriteAble w) {
         write_point_vector_compact(w, {{1, 2}, {3, 4}});
       }),
       ByteImage().points({{1, 2}, {3, 4}}).bytes()},
      {"compact 1001 points keeps the count only",
       written([](WriteAble w) { write_point_vector_compact(w, n_points(1001)); }),
       ByteImage().i32(1001).bytes()},
      {"string vectors", written([](WriteAble w) {
         w << std::make_pair(std::vector<std::string>{"ab", ""}, std::vector<std::string>{"xyz"});
       }),
       ByteImage().i32(2).str("ab").str("").i32(1).str("xyz").bytes()},
  };
  for (const auto& c : cases) EXPECT_EQ(c.got, c.want) << c.label;
}

TEST(PrimitiveDecoding, CompactLimitIsAThousand) {
  const std::string at_limit =
      written([](WriteAble w) { write_point_vector_compact(w, n_points(1000)); });
  EXPECT_EQ(at_limit.size(), 8004u);
  std::istringstream is(at_limit);
  std::vector<Point2> back{{9, 9}};
  read_point_vector_compact(ReadAble(is), back);
  ASSERT_EQ(back.size(), 1000u);
  EXPECT_EQ(back[999].x, 999.0f);
  EXPECT_EQ(back[999].y, -499.5f);

  std::istringstream over(
      written([](WriteAble w) { write_point_vector_compact(w, n_points(1001)); }) + "tail");
  ReadAble r(over);
  read_point_vector_compact(r, back);
  ASSERT_EQ(back.size(), 1001u);
  EXPECT_EQ(back[500].x, 0.0f);
  EXPECT_EQ(r.tell(), 4);  // no element consumed
}

TEST(PrimitiveDecoding, NegativeLengthsGiveEmptyTargetsAndConsumeFourBytes) {
  const std::string bytes = ByteImage().i32(-1).i32(-1).i32(-5).raw("rest").bytes();
  std::istringstream is(bytes);
  ReadAble r(is);
  std::string s = "old";
  std::vector<Point2> bulk{{1, 1}};
  std::vector<Point2> compact{{1, 1}};
  r >> s;
  EXPECT_EQ(r.tell(), 4);
  r >> bulk;
  EXPECT_EQ(r.tell(), 8);
  read_point_vector_compact(r, compact);
  EXPECT_EQ(r.tell(), 12);
  EXPECT_TRUE(s.empty());
  EXPECT_TRUE(bulk.empty());
  EXPECT_TRUE(compact.empty());
}

TEST(PrimitiveDecoding, PastTheEndValuesAreEmptyAndTheStreamTellsWhy) {
  std::istringstream is("ab");
  ReadAble r(is);
  char two[2];
  r.read(two, 2);
  EXPECT_FALSE(r.has_failed());  // the last byte read is no failure yet
  int i = 7;
  std::string s = "x";
  std::vector<Point2> v{{1, 1}};
  r >> i >> s >> v;
  EXPECT_EQ(i, 0);
  EXPECT_TRUE(s.empty());
  EXPECT_TRUE(v.empty());
  EXPECT_TRUE(r.has_failed());
}

TEST(PrimitiveDecoding, ShortStringKeepsNewlinesAndShortBulkKeepsZeroPoints) {
  std::istringstream str_in(ByteImage().i32(5).raw("ab").bytes());
  std::string s;
  ReadAble(str_in) >> s;
  EXPECT_EQ(s, "ab\n\n\n");

  std::istringstream pts_in(ByteImage().i32(3).f32(1).f32(2).bytes());
  std::vector<Point2> v;
  ReadAble(pts_in) >> v;
  ASSERT_EQ(v.size(), 3u);  // the stated count, undelivered points at the origin
  EXPECT_EQ(v[0].y, 2.0f);
  EXPECT_EQ(v[2].x, 0.0f);
}

}  // namespace
}  // namespace Quorvex
