// The archive writer gathers small fields and copies large blocks straight into the stream's
// buffer, with streaming stores once the output is large: whatever the stream, the bytes must
// be those of one write per field, and a stream that cannot take them all fails as it would.

#include <gtest/gtest.h>

#include <boost/interprocess/streams/bufferstream.hpp>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "../../src/baseType/StreamingCopy.h"
#include "quorvex/baseType/ModelArchive.h"
#include "support/ByteImage.h"
#include "support/Streams.h"

namespace Quorvex {
namespace {

using qxtest::ByteImage;

// Point counts around every boundary of the writer: empty, below and above the gathered
// size, below and above a cache line of a block, and blocks of many lines.
const std::size_t kPathSizes[] = {0, 1, 2, 7, 8, 9, 31, 32, 33, 500, 511, 513, 4097, 40000};

std::shared_ptr<Path> make_path(std::mt19937& rng, std::size_t n, int id) {
  std::uniform_real_distribution<float> coord(-100.0f, 100.0f);
  auto p = std::make_shared<Path>();
  p->set_id(id);
  auto pts = std::make_shared<Point2Vector>(n);
  for (Point2& q : *pts) q = Point2(coord(rng), coord(rng));
  p->set_points(pts);
  p->set_type(static_cast<PathType>(id % 33));
  p->set_z(0.1f * static_cast<float>(id));
  // Colours: none, an empty sequence or some; components: none, either or both.
  if (id % 3 != 1) p->set_colors(std::make_shared<ColorVector>(n % 50, Color3f(0.5f, 1, 0)));
  if (id % 5 == 0) {
    auto extra = std::make_shared<ExtraShellComponent>();
    extra->set_extraShell_id(id);
    extra->set_small_region(id % 2 == 0);
    p->set_extra_shell_component(extra);
  }
  if (id % 7 == 0) {
    auto extend = std::make_shared<ExtendPathComponent>();
    if (id % 2) extend->set_tails(std::make_shared<Point2Vector>(n % 40, Point2(1, 2)));
    if (id % 3) extend->set_heads(std::make_shared<Point2Vector>(n % 30, Point2(3, 4)));
    p->set_extend_path_component(extend);
  }
  return p;
}

// About 12 MB of points, past the size from which the writer streams.
const Entity& model() {
  static const std::shared_ptr<Entity> e = [] {
    std::mt19937 rng(99);
    auto e = std::make_shared<Entity>();
    int id = 0;
    for (int li = 0; li < 24; ++li) {
      auto layer = std::make_shared<Layer>();
      layer->set_extraShell_offsets(std::vector<float>(static_cast<std::size_t>(li * 7), 0.25f));
      for (std::size_t n : kPathSizes) {
        layer->add_boundary_path(make_path(rng, n, id++));
        layer->add_fill_path(make_path(rng, (n * 3 + static_cast<std::size_t>(li)) % 9000, id++));
      }
      e->add_layer(layer);
    }
    return e;
  }();
  return *e;
}

// ---- the expected image, field by field, without the writer

void image_points(ByteImage& img, const std::vector<Point2>* pts) {
  img.i32(pts ? static_cast<std::int32_t>(pts->size()) : 0);
  for (std::size_t i = 0; pts && i < pts->size(); ++i) img.f32((*pts)[i].x).f32((*pts)[i].y);
}

void image_paths(ByteImage& img, const std::vector<std::shared_ptr<Path>>& list) {
  img.i32(static_cast<std::int32_t>(list.size()));
  for (const auto& p : list) {
    img.i32(p->get_type()).f32(p->get_z()).f32(p->get_width()).i32(p->get_id());
    image_points(img, p->get_points().get());
    const auto colours = p->get_colors();
    img.i32(colours ? static_cast<std::int32_t>(colours->size()) : 0);
    for (std::size_t i = 0; colours && i < colours->size(); ++i) {
      img.f32((*colours)[i][0]).f32((*colours)[i][1]).f32((*colours)[i][2]);
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

const std::string& model_image() {
  static const std::string image = [] {
    ByteImage img;
    img.i32(model().get_craft_type()).f32(model().get_platform_height());
    img.i32(static_cast<std::int32_t>(model().get_layers().size()));
    for (const auto& l : model().get_layers()) {
      img.i32(l->get_id()).f32(l->get_z()).f32(l->get_thickness());
      img.i32(static_cast<std::int32_t>(l->get_extraShell_offsets().size()));
      for (float f : l->get_extraShell_offsets()) img.f32(f);
      image_paths(img, l->get_boundary_paths());
      img.i32(0);  // extraShell paths
      image_paths(img, l->get_fill_paths());
      for (int i = 0; i < 5; ++i) img.i32(0);  // thinWalledFill to small_region
    }
    return img.bytes();
  }();
  return image;
}

// Equal bytes; on a difference, says where it starts rather than printing megabytes.
::testing::AssertionResult same_bytes(const std::string& got, const std::string& want) {
  if (got == want) return ::testing::AssertionSuccess();
  std::size_t i = 0;
  while (i < got.size() && i < want.size() && got[i] == want[i]) ++i;
  return ::testing::AssertionFailure()
         << got.size() << " bytes against " << want.size() << ", first difference at byte " << i;
}

// Plain, tied and unit-buffered streams, a handle that knows no stream, and a failed stream.
TEST(ModelArchiveWrite, StandardStreamsOfEveryKindGetTheImage) {
  EXPECT_GT(model_image().size(), std::size_t{10} << 20);  // past the size that streams
  std::ostringstream plain, other, tied, unit, handle_only;
  tied.tie(&other);
  unit.setf(std::ios_base::unitbuf);
  for (std::ostringstream* os : {&plain, &tied, &unit}) {
    *os << model();
    EXPECT_TRUE(os->good());
    EXPECT_TRUE(same_bytes(os->str(), model_image()));
  }
  WriteAble handle(handle_only);
  model().write_archive(handle);
  EXPECT_TRUE(same_bytes(handle_only.str(), model_image()));
  std::ostringstream failed;
  failed.setstate(std::ios_base::failbit);
  failed << model();
  EXPECT_TRUE(failed.str().empty());
}

// A buffer too small holds the prefix and fails; nothing is written past its end.
TEST(ModelArchiveWrite, FixedBufferGetsTheImageOrItsPrefix) {
  for (std::size_t missing : {std::size_t{0}, std::size_t{1}, std::size_t{5} << 20}) {
    const std::size_t size = model_image().size() - missing;
    std::vector<char> buffer(size + 16, '\x5a');
    boost::interprocess::basic_obufferstream<char> out(buffer.data(), size);
    out << model();
    EXPECT_EQ(out.bad(), missing > 0) << missing;
    EXPECT_EQ(static_cast<std::size_t>(out.tellp()), missing == 0 ? size : std::size_t(-1));
    EXPECT_TRUE(same_bytes(std::string(buffer.data(), size), model_image().substr(0, size)));
    for (std::size_t i = size; i < buffer.size(); ++i) ASSERT_EQ(buffer[i], '\x5a') << missing;
  }
}

// Reading is checked through writing: the image pins the writer, so a model read back that
// writes the same bytes holds every field. Without a known size blocks grow step by step;
// a stream that cannot seek is read all the same, however it refuses.
TEST(ModelArchiveWrite, TheImageReadsBackFromEveryKindOfStream) {
  int kind = 0;
  for (const auto& buffer : qxtest::every_kind_of_input(model_image())) {
    std::istream in(buffer.get());
    Entity back;
    in >> back;
    EXPECT_FALSE(in.fail()) << kind;
    EXPECT_EQ(in.peek(), std::char_traits<char>::eof());  // everything consumed
    std::ostringstream out;
    out << back;
    EXPECT_TRUE(same_bytes(out.str(), model_image())) << kind++;
  }
}

// The stream's exception reaches the caller, whether it comes while the model is written or
// with the last bytes, which a small model only hands over at the end.
TEST(ModelArchiveWrite, AFailingStreamsExceptionReachesTheCaller) {
  const Entity small;
  for (const Entity* entity : {&small, &model()}) {
    std::vector<char> buffer(4);
    boost::interprocess::basic_obufferstream<char> out(buffer.data(), buffer.size());
    out.exceptions(std::ios_base::badbit);
    EXPECT_THROW(out << *entity, std::ios_base::failure);
    boost::interprocess::basic_obufferstream<char> again(buffer.data(), buffer.size());
    again.exceptions(std::ios_base::badbit);
    WriteAble handle(again);
    EXPECT_THROW(entity->write_archive(handle), std::ios_base::failure);
  }
}

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
