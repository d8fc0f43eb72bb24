#include "quorvex/capture/ArchiveStream.h"

#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/ByteImage.h"

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

TEST(ArchiveStreamAdapter, UnopenedFilesGiveNullAdapters) {
  std::ifstream in;
  ReadAble r(in);
  char buf[4] = {'x', 'x', 'x', 'x'};
  EXPECT_TRUE(r.is_null());
  EXPECT_FALSE(r.read(buf, 4));
  EXPECT_EQ(buf[0], 'x');
  EXPECT_EQ(r.tell(), 0);
  EXPECT_EQ(r.size(), 0);
  EXPECT_TRUE(r.has_failed());
  r.seek(10);
  EXPECT_EQ(r.tell(), 0);

  std::ofstream out;
  WriteAble w(out);
  EXPECT_TRUE(w.is_null());
  EXPECT_FALSE(w.write("ab", 2));
  EXPECT_EQ(w.tell(), 0);
  EXPECT_EQ(w.seek(3), -1);
}

TEST(ArchiveStreamAdapter, ClosedFileHandleStaysNullAfterTheFileOpens) {
  const std::string path = ::testing::TempDir() + "qx_stream_reopen.bin";
  { std::ofstream(path, std::ios::binary) << "data"; }
  std::ifstream in;
  ReadAble r(in);
  in.open(path, std::ios::binary);
  ASSERT_TRUE(in.is_open());
  EXPECT_TRUE(r.is_null());
  char buf[4];
  EXPECT_FALSE(r.read(buf, 4));
  EXPECT_EQ(in.tellg(), 0);
  // A handle built on the open file reads it.
  ReadAble r2(in);
  EXPECT_FALSE(r2.is_null());
  EXPECT_TRUE(r2.read(buf, 4));
  EXPECT_EQ(std::string(buf, 4), "data");
}

TEST(ArchiveStreamAdapter, PlainStreamHandleIsNeverNull) {
  std::istringstream is("");
  is.setstate(std::ios::failbit | std::ios::eofbit);
  ReadAble r(is);
  EXPECT_FALSE(r.is_null());
  EXPECT_TRUE(r.has_failed());
  char c = 0;
  EXPECT_TRUE(r.read(&c, 1));  // the call was made; the stream tells the rest
}

TEST(ArchiveStreamAdapter, SizeKeepsThePosition) {
  std::istringstream is(std::string(40, 'z'));
  ReadAble r(is);
  r.seek(17);
  EXPECT_EQ(r.size(), 40);
  EXPECT_EQ(r.tell(), 17);
  EXPECT_EQ(is.tellg(), 17);
}

TEST(ArchiveStreamAdapter, EndOfDataCountsAsFailure) {
  std::istringstream is("ab");
  ReadAble r(is);
  char buf[2];
  r.read(buf, 2);
  EXPECT_FALSE(r.has_failed());
  r.read(buf, 1);
  EXPECT_TRUE(r.has_failed());
}

TEST(ArchiveStreamAdapter, SeekThenWriteOverwrites) {
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

TEST(ArchiveStreamHandle, CopiesShareOneAdapterAndNeverOwnTheStream) {
  std::ostringstream os;
  auto* first = new WriteAble(os);
  EXPECT_EQ(first->use_count(), 1u);
  WriteAble second(*first);
  EXPECT_EQ(first->use_count(), 2u);
  {
    WriteAble third(os);  // a new adapter, counted on its own
    EXPECT_EQ(third.use_count(), 1u);
    third = second;
    EXPECT_EQ(second.use_count(), 3u);
  }
  EXPECT_EQ(second.use_count(), 2u);
  delete first;
  EXPECT_EQ(second.use_count(), 1u);
  EXPECT_TRUE(second.write("ok", 2));
  EXPECT_EQ(os.str(), "ok");
  // Operators take the handle by value and give one back on the same adapter.
  WriteAble chained = second << std::uint64_t{1} << std::uint64_t{2};
  EXPECT_EQ(second.use_count(), 2u);
  EXPECT_EQ(os.str().size(), 18u);
  EXPECT_TRUE(os.good());
}

TEST(ArchiveStreamHandle, SelfAssignmentKeepsTheAdapter) {
  std::istringstream is("abcd");
  ReadAble r(is);
  ReadAble& alias = r;
  r = alias;
  EXPECT_EQ(r.use_count(), 1u);
  char buf[4];
  EXPECT_TRUE(r.read(buf, 4));
  EXPECT_EQ(std::string(buf, 4), "abcd");
}

// ---- primitive encodings

struct EncodingCase {
  const char* label;
  std::function<void(WriteAble)> write;
  std::string expected;
};

class PrimitiveEncoding : public ::testing::TestWithParam<EncodingCase> {};

TEST_P(PrimitiveEncoding, WritesTheExactBytes) {
  EXPECT_EQ(written(GetParam().write), GetParam().expected) << GetParam().label;
}

std::vector<Point2> n_points(std::size_t n) {
  std::vector<Point2> v;
  for (std::size_t i = 0; i < n; ++i) v.emplace_back(static_cast<float>(i), -0.5f * i);
  return v;
}

INSTANTIATE_TEST_SUITE_P(
    Images, PrimitiveEncoding,
    ::testing::Values(
        EncodingCase{"empty string", [](WriteAble w) { w << std::string(); },
                     ByteImage().i32(0).bytes()},
        EncodingCase{"string", [](WriteAble w) { w << std::string("abc"); },
                     ByteImage().str("abc").bytes()},
        EncodingCase{"u64", [](WriteAble w) { w << std::uint64_t{0x0102030405060708ull}; },
                     std::string("\x08\x07\x06\x05\x04\x03\x02\x01", 8)},
        EncodingCase{"double", [](WriteAble w) { w << 1.0; },
                     std::string("\0\0\0\0\0\0\xf0\x3f", 8)},
        EncodingCase{"Point2", [](WriteAble w) { w << Point2(1.5f, -2.0f); },
                     ByteImage().f32(1.5f).f32(-2.0f).bytes()},
        EncodingCase{"bulk points",
                     [](WriteAble w) {
                       w << std::vector<Point2>{{1, 2}, {3, 4}};
                     },
                     ByteImage().points({{1, 2}, {3, 4}}).bytes()},
        EncodingCase{"empty bulk points", [](WriteAble w) { w << std::vector<Point2>(); },
                     ByteImage().i32(0).bytes()},
        EncodingCase{"compact points",
                     [](WriteAble w) {
                       write_point_vector_compact(w, {{1, 2}, {3, 4}});
                     },
                     ByteImage().points({{1, 2}, {3, 4}}).bytes()},
        EncodingCase{"compact 1001 points keeps the count only",
                     [](WriteAble w) { write_point_vector_compact(w, n_points(1001)); },
                     ByteImage().i32(1001).bytes()},
        EncodingCase{"string vectors",
                     [](WriteAble w) {
                       w << std::make_pair(std::vector<std::string>{"ab", ""},
                                           std::vector<std::string>{"xyz"});
                     },
                     ByteImage().i32(2).str("ab").str("").i32(1).str("xyz").bytes()}),
    [](const ::testing::TestParamInfo<EncodingCase>& info) {
      std::string n = info.param.label;
      for (char& c : n) c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
      return n;
    });

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

TEST(PrimitiveDecoding, RoundTripsChainOnOneHandle) {
  std::stringstream ss;
  WriteAble(ss) << std::string("name") << std::vector<Point2>{{1, 2}, {3, 4}, {5, 6}}
                << std::string("");
  const std::int32_t answer = 42;
  ss.write(reinterpret_cast<const char*>(&answer), 4);
  std::string a = "x", b = "y";
  std::vector<Point2> v;
  int i = 0;
  ReadAble(ss) >> a >> v >> b >> i;
  EXPECT_EQ(a, "name");
  ASSERT_EQ(v.size(), 3u);
  EXPECT_EQ(v[2].x, 5.0f);
  EXPECT_EQ(v[2].y, 6.0f);
  EXPECT_EQ(b, "");
  EXPECT_EQ(i, 42);
}

TEST(PrimitiveDecoding, PastTheEndValuesAreEmptyAndTheStreamTellsWhy) {
  std::istringstream is("");
  ReadAble r(is);
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
