#include "quorvex/baseType/ModelArchive.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/ByteImage.h"
#include "support/ModelSamples.h"
#include "support/Streams.h"

namespace Quorvex {
namespace {

using qxtest::ByteImage;

template <class T>
std::string bytes_of(const T& v) {
  std::ostringstream os;
  os << v;
  return os.str();
}

template <class T>
T read_back(const std::string& bytes) {
  std::istringstream is(bytes);
  T back;
  is >> back;
  return back;
}

ByteImage ints(std::initializer_list<std::int32_t> values) {
  ByteImage img;
  for (std::int32_t v : values) img.i32(v);
  return img;
}

std::shared_ptr<Path> two_point_path() {
  auto p = qxtest::make_path({{1, 2}, {3, 4}}, PATH_TYPE_OUTER, 0.25f, 7);
  p->set_width(0.5f);
  return p;
}

ByteImage two_point_path_head() {
  return ByteImage().i32(1).f32(0.25f).f32(0.5f).i32(7).points({{1, 2}, {3, 4}});
}

// ---- exact images

TEST(ModelArchiveImage, DefaultsAndAPlainPath) {
  EXPECT_EQ(bytes_of(Entity()), ByteImage().i32(0).f32(0).i32(0).bytes());
  EXPECT_EQ(bytes_of(Layer()), ints({-1}).f32(-1.0f).f32(0).raw(std::string(9 * 4, '\0')).bytes());
  EXPECT_EQ(bytes_of(*two_point_path()), two_point_path_head().i32(0).i32(0).bytes());
}

// Colours one by one; the extra shell component goes first, though set last.
TEST(ModelArchiveImage, ColoursAndComponents) {
  auto p = two_point_path();
  p->set_colors(
      std::make_shared<ColorVector>(ColorVector{Color3f(0.1f, 0.2f, 0.3f), Color3f(1, 0, 0.5f)}));
  auto e = std::make_shared<ExtendPathComponent>();
  e->set_tails(std::make_shared<Point2Vector>(Point2Vector{{5, 6}}));
  e->set_heads(std::make_shared<Point2Vector>(Point2Vector{{7, 8}, {9, 10}}));
  p->set_extend_path_component(e);
  auto c = std::make_shared<ExtraShellComponent>();
  c->set_extraShell_id(3);
  c->set_small_region(true);
  p->set_extra_shell_component(c);
  const std::string b = bytes_of(*p);
  ByteImage colours;
  for (float f : {0.1f, 0.2f, 0.3f, 1.0f, 0.0f, 0.5f}) colours.f32(f);
  EXPECT_EQ(b, two_point_path_head()
                   .i32(2)
                   .raw(colours.bytes())
                   .raw(ints({2, 1, 3, 1, 2}).bytes())
                   .points({{5, 6}})
                   .points({{7, 8}, {9, 10}})
                   .bytes());
  EXPECT_EQ(bytes_of(read_back<Path>(b)), b);
  // Empty handles come back empty, not as empty sequences.
  e->set_tails(nullptr);
  e->set_heads(nullptr);
  Path back = read_back<Path>(bytes_of(*p));
  ASSERT_TRUE(back.has_extend_path_component());
  EXPECT_FALSE(back.get_extend_path_component()->get_tails());
  EXPECT_FALSE(back.get_extend_path_component()->get_heads());
}

TEST(ModelArchiveImage, LayerListsInArchiveOrder) {
  Layer l;
  l.set_id(4);
  l.set_z(1.5f);
  l.set_thickness(0.2f);
  l.set_extraShell_offsets({0.5f, 1.0f});
  // Ids 1 to 8 in the order of path_lists, which is the order of the archive.
  int id = 1;
  for (auto* list : qxtest::path_lists(l))
    list->push_back(qxtest::make_path({}, PATH_TYPE_NONE, -1, id++));
  ByteImage img;
  img.i32(4).f32(1.5f).f32(0.2f).i32(2).f32(0.5f).f32(1.0f);
  for (int i = 1; i <= 8; ++i) img.i32(1).i32(0).f32(-1.0f).f32(0).raw(ints({i, 0, 0, 0}).bytes());
  EXPECT_EQ(bytes_of(l), img.bytes());
}

TEST(ModelArchiveRead, ExistingContentIsReplaced) {
  Layer target;
  target.add_boundary_path(two_point_path());
  target.add_small_region_path(two_point_path());
  target.set_extraShell_offsets({1, 2, 3});
  target.set_flags(1);
  std::istringstream is(bytes_of(Layer()));
  is >> target;
  EXPECT_EQ(qxtest::path_counts(target), "0,0,0,0,0,0,0,0");
  EXPECT_TRUE(target.get_extraShell_offsets().empty());
  EXPECT_EQ(target.get_id(), -1);
  EXPECT_EQ(target.get_flags(), 1u);  // not part of the format
  Entity e;
  e.add_layer(std::make_shared<Layer>());
  std::istringstream is2(bytes_of(Entity()));
  is2 >> e;
  EXPECT_EQ(e.get_layer_size(), 0u);
}

TEST(ModelArchiveRead, UnknownComponentKindEndsItsEntry) {
  // Kind 9 then kind 1: the reader cannot skip 9, so the next word is read as a kind.
  std::istringstream is(two_point_path_head().raw(ints({0, 2, 9, 1, 5, 0}).bytes()).bytes());
  Path p;
  ReadAble h(is);
  p.read_archive(h);
  ASSERT_TRUE(p.has_extra_shell_component());
  EXPECT_EQ(p.get_extra_shell_component()->get_extraShell_id(), 5);
  EXPECT_FALSE(p.get_extra_shell_component()->is_small_region());
  EXPECT_FALSE(h.has_failed());
}

// A path, a layer whose small fields and blocks outgrow the gathering buffer, and plain
// points past the first growth step of a stream of unknown size, back to back on one handle.
TEST(ModelArchiveRead, ObjectsBackToBackOnOneHandle) {
  Layer layer;
  for (int i = 0; i < 40; ++i) layer.add_fill_path(qxtest::make_path(std::vector<Point2>(20)));
  const std::vector<Point2> many(10000, Point2(1.5f, 2.5f));
  std::stringstream ss;
  WriteAble(ss) << *two_point_path() << layer << many;
  int kind = 0;
  for (const auto& buffer : qxtest::every_kind_of_input(ss.str())) {
    std::istream in(buffer.get());
    Path path_back;
    Layer layer_back;
    std::vector<Point2> many_back;
    ReadAble(in) >> path_back >> layer_back >> many_back;
    EXPECT_FALSE(in.fail()) << kind;
    EXPECT_EQ(bytes_of(path_back) + bytes_of(layer_back) + bytes_of(many_back), ss.str()) << kind++;
  }
  std::vector<Point2> again;
  std::istringstream plain(bytes_of(many));
  plain >> again;
  EXPECT_EQ(again.size(), 10000u);
}

// ---- damaged input

constexpr std::int32_t kHuge = 0x7FFFFFFF;

// An entity of one layer whose boundary list holds one path: `path` gives its fields.
std::string one_path_entity(std::initializer_list<std::int32_t> path) {
  return ints({0, 0, 1, 0, 0, 0, 0, 1}).raw(ints(path).bytes()).bytes();
}

// Counts that promise far more than the stream holds: nothing near that is allocated.
TEST(ModelArchiveDamaged, HugeCountsAllocateNoMoreThanTheStreamHolds) {
  const std::pair<const char*, std::string> images[] = {
      {"layers", ints({0, 0, kHuge, 0}).bytes()},
      {"offsets", ints({0, 0, 1, 0, 0, 0, kHuge}).bytes()},
      {"paths", ints({0, 0, 1, 0, 0, 0, 0, kHuge}).bytes()},
      {"points", one_path_entity({0, 0, 0, 0, kHuge})},
      {"colours", one_path_entity({0, 0, 0, 0, 0, kHuge})},
      {"components", one_path_entity({0, 0, 0, 0, 0, 0, kHuge})},
      {"tails", one_path_entity({0, 0, 0, 0, 0, 0, 1, 2, kHuge})}};
  for (const auto& [label, bytes] : images) {
    std::istringstream is(bytes);
    ReadAble h(is);
    Entity e;
    e.read_archive(h);
    EXPECT_TRUE(h.has_failed()) << label;
    const std::size_t budget = bytes.size();
    EXPECT_LE(e.get_layers().capacity(), budget);
    for (const auto& l : e.get_layers()) {
      EXPECT_LE(l->get_extraShell_offsets().capacity(), budget);
      for (const auto& p : l->get_boundary_paths()) {
        EXPECT_LE(p->get_points()->capacity(), budget);
        EXPECT_LE(p->get_colors() ? p->get_colors()->capacity() : 0, budget);
      }
    }
  }
}

// A stream that says it holds a megabyte more than it does: every read is checked, so the
// reading stops where the bytes do, and nothing is allocated beyond what it claimed.
TEST(ModelArchiveDamaged, AStreamThatOverstatesItsSizeStopsWhereItsBytesDo) {
  constexpr std::streamoff kExtra = 1 << 20;
  const std::pair<const char*, std::string> images[] = {
      {"layers", ints({0, 0, kHuge, 0}).bytes()},
      {"paths", ints({0, 0, 1, 0, 0, 0, 0, kHuge}).bytes()},
      {"points", one_path_entity({0, 0, 0, 0, kHuge})},
      {"components", one_path_entity({0, 0, 0, 0, 0, 0, kHuge})}};
  for (const auto& [label, bytes] : images) {
    qxtest::OverstatingBuffer buf(bytes, kExtra);
    std::istream is(&buf);
    Entity e;
    is >> e;
    EXPECT_TRUE(is.fail()) << label;
    EXPECT_TRUE(e.get_layers().empty()) << label;  // the one layer was cut too
    EXPECT_LE(e.get_layers().capacity() * sizeof(void*), bytes.size() + kExtra) << label;
  }
}

// A stream that cannot seek or tell: its size is unknown, so blocks grow step by step.
TEST(ModelArchiveDamaged, UnknownSizeStreamsStillStopCleanly) {
  qxtest::ForwardOnlyBuffer buf(ByteImage().i32(kHuge).f32(1).f32(2).bytes());
  std::istream is(&buf);
  Point2Vector v;
  is >> v;
  EXPECT_TRUE(is.fail());
  EXPECT_LT(v.capacity(), 1u << 20);
}

}  // namespace
}  // namespace Quorvex
