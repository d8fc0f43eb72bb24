#include "quorvex/capture/ArchiveStream.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/ByteImage.h"
#include "support/Files.h"

namespace Quorvex {
namespace {

using qxtest::ByteImage;

TEST(ArchiveStreamAdapter, NullBuffersAndClosedFiles) {
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
  EXPECT_TRUE(os.str().empty() && os.good());
  w.write("abcdef", 6);  // seek then write overwrites
  EXPECT_EQ(w.seek(2), 0);
  w.write("XY", 2);
  EXPECT_EQ(os.str(), "abXYef");
  // A handle built on a closed file is null for good, even once the file opens.
  const std::string path = qxtest::fresh_dir("stream_reopen") + "/data.bin";
  std::ofstream(path, std::ios::binary) << "data";
  std::ifstream in;
  ReadAble null_in(in);
  in.open(path, std::ios::binary);
  EXPECT_TRUE(null_in.is_null());
  EXPECT_TRUE(null_in.has_failed());
  char buf[4] = {'x', 'x', 'x', 'x'};
  EXPECT_FALSE(null_in.read(buf, 4));
  EXPECT_EQ(buf[0], 'x');
  EXPECT_EQ(null_in.size(), 0);
  null_in.seek(3);
  EXPECT_EQ(null_in.tell(), 0);
  EXPECT_EQ(in.tellg(), 0);
  std::ofstream out;
  WriteAble null_out(out);
  EXPECT_TRUE(null_out.is_null());
  EXPECT_FALSE(null_out.write("ab", 2));
  EXPECT_EQ(null_out.tell(), 0);
  EXPECT_EQ(null_out.seek(3), -1);
}

// Negative lengths consume their four bytes and nothing more; past the compact limit only
// the count is stored; short and missing values are padded or empty.
TEST(PrimitiveDecoding, BadLengthsAndShortValues) {
  std::istringstream is(ByteImage().i32(-1).i32(-1).i32(-5).i32(1001).raw("tail").bytes());
  ReadAble r(is);
  std::string s = "old";
  std::vector<Point2> bulk{{1, 1}}, compact{{1, 1}};
  r >> s >> bulk;
  read_point_vector_compact(r, compact);
  EXPECT_EQ(r.tell(), 12);
  EXPECT_TRUE(s.empty() && bulk.empty() && compact.empty());
  read_point_vector_compact(r, compact);
  EXPECT_EQ(r.tell(), 16);
  ASSERT_EQ(compact.size(), 1001u);
  EXPECT_EQ(compact[0].x, 0.0f);
  std::istringstream short_in(ByteImage().i32(5).raw("ab").bytes());
  ReadAble(short_in) >> s;
  EXPECT_EQ(s, "ab\n\n\n");  // a short string is padded with newlines
  std::istringstream ab("ab");
  ReadAble r2(ab);
  char two[2];
  r2.read(two, 2);
  EXPECT_FALSE(r2.has_failed());  // the last byte read is no failure yet
  int i = 7;
  r2 >> i >> s >> compact;
  EXPECT_EQ(i, 0);
  EXPECT_TRUE(s.empty() && compact.empty());
  EXPECT_TRUE(r2.has_failed());
}

}  // namespace
}  // namespace Quorvex
