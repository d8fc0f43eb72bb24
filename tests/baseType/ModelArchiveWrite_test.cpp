// The archive writer gathers small fields and copies large blocks straight into the stream's
// buffer, with streaming stores once the output is large. Whatever the stream, the bytes must
// be those of one write per field, and a stream that cannot take them all must end up as it
// would with plain writes.

#include <gtest/gtest.h>
#include <unistd.h>

#include <boost/interprocess/streams/bufferstream.hpp>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "../../src/baseType/StreamingCopy.h"
#include "quorvex/baseType/ModelArchive.h"
#include "support/ByteImage.h"

namespace Quorvex {
namespace {

using qxtest::ByteImage;

// Point counts around every boundary of the writer: empty, below and above the gathered
// size, below and above a cache line of a block, and blocks of many lines.
const std::vector<std::size_t> kPathSizes = {0,  1,  2,   7,   8,   9,    31,
                                             32, 33, 500, 511, 513, 4097, 40000};

std::shared_ptr<Path> make_path(std::mt19937& rng, std::size_t n, int id) {
  std::uniform_real_distribution<float> coord(-100.0f, 100.0f);
  auto p = std::make_shared<Path>();
  p->set_type(id % 2 ? PATH_TYPE_FILL_OTHER : PATH_TYPE_OUTER);
  p->set_z(0.1f * static_cast<float>(id));
  p->set_width(0.4f);
  p->set_id(id);
  auto pts = std::make_shared<Point2Vector>(n);
  for (Point2& q : *pts) q = Point2(coord(rng), coord(rng));
  p->set_points(pts);
  if (id % 3 == 0) {
    auto colours = std::make_shared<ColorVector>();
    for (std::size_t i = 0; i < n % 50; ++i) colours->emplace_back(coord(rng), 0.5f, 1.0f);
    p->set_colors(colours);
  }
  if (id % 5 == 0) {
    auto extra = std::make_shared<ExtraShellComponent>();
    extra->set_extraShell_id(id);
    extra->set_small_region(id % 2 == 0);
    p->set_extra_shell_component(extra);
  }
  if (id % 7 == 0) {
    auto extend = std::make_shared<ExtendPathComponent>();
    extend->set_tails(std::make_shared<Point2Vector>(n % 40, Point2(1, 2)));
    p->set_extend_path_component(extend);
  }
  return p;
}

// About 12 MB of points, past the size from which the writer streams.
std::shared_ptr<Entity> large_entity() {
  std::mt19937 rng(99);
  auto e = std::make_shared<Entity>();
  e->set_platform_height(0.3f);
  int id = 0;
  for (int li = 0; li < 24; ++li) {
    auto layer = std::make_shared<Layer>();
    layer->set_id(li);
    layer->set_z(0.2f * static_cast<float>(li));
    layer->set_thickness(0.2f);
    layer->set_extraShell_offsets(std::vector<float>(static_cast<std::size_t>(li * 7), 0.25f));
    for (std::size_t n : kPathSizes) {
      layer->add_boundary_path(make_path(rng, n, id++));
      layer->add_fill_path(make_path(rng, (n * 3 + static_cast<std::size_t>(li)) % 9000, id++));
    }
    e->add_layer(layer);
  }
  return e;
}

// ---- the expected image, field by field, without the writer

void image_points(ByteImage& img, const std::vector<Point2>* pts) {
  img.i32(pts ? static_cast<std::int32_t>(pts->size()) : 0);
  if (pts == nullptr) return;
  for (const Point2& q : *pts) img.f32(q.x).f32(q.y);
}

void image_paths(ByteImage& img, const std::vector<std::shared_ptr<Path>>& list) {
  img.i32(static_cast<std::int32_t>(list.size()));
  for (const auto& p : list) {
    img.i32(p->get_type()).f32(p->get_z()).f32(p->get_width()).i32(p->get_id());
    image_points(img, p->get_points().get());
    const auto colours = p->get_colors();
    img.i32(colours ? static_cast<std::int32_t>(colours->size()) : 0);
    if (colours) {
      for (const Color3f& c : *colours) img.f32(c[0]).f32(c[1]).f32(c[2]);
    }
    const auto extra = p->get_extra_shell_component();
    const auto extend = p->get_extend_path_component();
    img.i32((extra ? 1 : 0) + (extend ? 1 : 0));
    if (extra) img.i32(1).i32(extra->get_extraShell_id()).i32(extra->is_small_region() ? 1 : 0);
    if (extend) {
      img.i32(2);
      image_points(img, extend->get_tails().get());
      image_points(img, extend->get_heads().get());
    }
  }
}

// The fill paths are written third, after the boundary and extraShell paths.
std::string expected_image(const Entity& e) {
  ByteImage img;
  img.i32(e.get_craft_type()).f32(e.get_platform_height());
  img.i32(static_cast<std::int32_t>(e.get_layers().size()));
  for (const auto& l : e.get_layers()) {
    img.i32(l->get_id()).f32(l->get_z()).f32(l->get_thickness());
    img.i32(static_cast<std::int32_t>(l->get_extraShell_offsets().size()));
    for (float f : l->get_extraShell_offsets()) img.f32(f);
    image_paths(img, l->get_boundary_paths());
    img.i32(0);  // extraShell paths
    image_paths(img, l->get_fill_paths());
    for (int i = 0; i < 5; ++i) img.i32(0);  // thinWalledFill to small_region
  }
  return img.bytes();
}

// Equal bytes; on a difference, says where it starts rather than printing megabytes.
::testing::AssertionResult same_bytes(const std::string& got, const std::string& want) {
  if (got == want) return ::testing::AssertionSuccess();
  std::size_t i = 0;
  while (i < got.size() && i < want.size() && got[i] == want[i]) ++i;
  return ::testing::AssertionFailure()
         << got.size() << " bytes against " << want.size() << ", first difference at byte " << i;
}

const Entity& model() {
  static const std::shared_ptr<Entity> e = large_entity();
  return *e;
}

const std::string& model_image() {
  static const std::string img = expected_image(model());
  return img;
}

// A stream buffer without a put area of its own: every byte comes through xsputn.
class CallByCallBuffer : public std::streambuf {
 public:
  std::string bytes;
  std::size_t calls = 0;

 protected:
  std::streamsize xsputn(const char* s, std::streamsize n) override {
    bytes.append(s, static_cast<std::size_t>(n));
    ++calls;
    return n;
  }
  int_type overflow(int_type c) override {
    if (!traits_type::eq_int_type(c, traits_type::eof())) bytes.push_back(static_cast<char>(c));
    return traits_type::not_eof(c);
  }
};

TEST(ModelArchiveWrite, StandardStreamsOfEveryKindGetTheImage) {
  EXPECT_GT(model_image().size(), std::size_t{10} << 20);  // past the size that streams
  std::ostringstream plain, other, tied, unit;
  tied.tie(&other);
  unit.setf(std::ios_base::unitbuf);
  for (std::ostringstream* os : {&plain, &tied, &unit}) {
    *os << model();
    EXPECT_TRUE(os->good());
    EXPECT_TRUE(same_bytes(os->str(), model_image()));
  }
  std::ostringstream failed;
  failed.setstate(std::ios_base::failbit);
  failed << model();
  EXPECT_TRUE(failed.str().empty());

  const std::string path =
      ::testing::TempDir() + "qx_model_write_" + std::to_string(::getpid()) + ".bin";
  {
    std::ofstream file(path, std::ios::binary);
    ASSERT_TRUE(file.is_open());
    WriteAble handle(file);
    model().write_archive(handle);
  }
  std::ifstream back(path, std::ios::binary);
  EXPECT_TRUE(same_bytes(std::string(std::istreambuf_iterator<char>(back), {}), model_image()));
  std::remove(path.c_str());
}

// A buffer too small holds the prefix and fails; nothing is written past its end.
TEST(ModelArchiveWrite, FixedBufferGetsTheImageOrItsPrefix) {
  for (std::size_t missing :
       {std::size_t{0}, std::size_t{1}, std::size_t{3000}, std::size_t{5} << 20}) {
    const std::size_t size = model_image().size() - missing;
    std::vector<char> buffer(size + 16, '\x5a');
    boost::interprocess::basic_obufferstream<char> out(buffer.data(), size);
    out << model();
    EXPECT_EQ(out.bad(), missing > 0) << missing;
    EXPECT_EQ(static_cast<std::size_t>(out.tellp()), missing == 0 ? size : std::size_t(-1));
    EXPECT_TRUE(same_bytes(std::string(buffer.data(), size), model_image().substr(0, size)))
        << missing;
    for (std::size_t i = size; i < buffer.size(); ++i) ASSERT_EQ(buffer[i], '\x5a') << missing;
  }
}

TEST(ModelArchiveWrite, BufferWithoutPutAreaGetsTheImageInFewCalls) {
  CallByCallBuffer buffer;
  std::ostream out(&buffer);
  out << model();
  EXPECT_TRUE(same_bytes(buffer.bytes, model_image()));
  // Far fewer calls than fields: each path costs its point block and one batch of fields.
  std::size_t paths = 0;
  for (const auto& l : model().get_layers()) {
    paths += l->get_boundary_paths().size() + l->get_fill_paths().size();
  }
  EXPECT_LT(buffer.calls, 3 * paths);
}

TEST(ModelArchiveWrite, LayerAfterOtherOutputLandsBehindIt) {
  const Layer& layer = *model().get_layers().back();
  std::ostringstream alone;
  alone << layer;
  std::vector<char> buffer(alone.str().size() + 5);
  boost::interprocess::basic_obufferstream<char> out(buffer.data(), buffer.size());
  out.write("head:", 5);
  out << layer;
  EXPECT_TRUE(out.good());
  EXPECT_TRUE(same_bytes(std::string(buffer.data(), buffer.size()), "head:" + alone.str()));
}

// ---- the copy itself

TEST(StreamingCopy, CopiesEveryLengthAtEveryAlignment) {
  std::vector<char> from(3000);
  for (std::size_t i = 0; i < from.size(); ++i) from[i] = static_cast<char>(i * 131 + 7);
  std::vector<char> to(3200);
  for (std::size_t shift = 0; shift < 64; shift += 5) {
    for (std::size_t count : {0, 1, 63, 64, 65, 127, 128, 129, 191, 192, 200, 1000, 2999}) {
      std::fill(to.begin(), to.end(), '\0');
      streaming_copy(to.data() + shift, from.data() + 1, count);
      ASSERT_EQ(std::memcmp(to.data() + shift, from.data() + 1, count), 0) << shift << " " << count;
      for (std::size_t i = 0; i < shift; ++i) ASSERT_EQ(to[i], '\0');
      for (std::size_t i = shift + count; i < to.size(); ++i) ASSERT_EQ(to[i], '\0');
    }
  }
}

}  // namespace
}  // namespace Quorvex
