#include "quorvex/baseType/ModelArchive.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "support/ByteImage.h"

namespace Quorvex {
namespace {

using qxtest::ByteImage;

template <class T>
std::string bytes_of(const T& v) {
  std::ostringstream os;
  os << v;
  return os.str();
}

std::shared_ptr<Path> two_point_path() {
  auto p = std::make_shared<Path>();
  p->set_type(PATH_TYPE_OUTER);
  p->set_z(0.25f);
  p->set_width(0.5f);
  p->set_id(7);
  p->set_points(std::make_shared<Point2Vector>(Point2Vector{{1, 2}, {3, 4}}));
  return p;
}

ByteImage two_point_path_head() {
  return ByteImage().i32(1).f32(0.25f).f32(0.5f).i32(7).points({{1, 2}, {3, 4}});
}

// ---- exact images

TEST(ModelArchiveImage, DefaultEntityIsTwelveBytes) {
  EXPECT_EQ(bytes_of(Entity()), ByteImage().i32(0).f32(0).i32(0).bytes());
}

TEST(ModelArchiveImage, DefaultLayer) {
  ByteImage img;
  img.i32(-1).f32(-1.0f).f32(0).i32(0);
  for (int i = 0; i < 8; ++i) img.i32(0);
  EXPECT_EQ(bytes_of(Layer()), img.bytes());
}

TEST(ModelArchiveImage, TwoPointPathIs44Bytes) {
  const std::string b = bytes_of(*two_point_path());
  EXPECT_EQ(b.size(), 44u);
  EXPECT_EQ(b, two_point_path_head().i32(0).i32(0).bytes());
}

TEST(ModelArchiveImage, ColoursAndComponents) {
  struct Case {
    const char* label;
    std::function<void(Path&)> dress;
    std::string tail;  // bytes behind the points
  };
  const std::vector<Case> cases = {
      {"empty colour sequence", [](Path& p) { p.set_colors(std::make_shared<ColorVector>()); },
       ByteImage().i32(0).i32(0).bytes()},
      {"colours one by one",
       [](Path& p) {
         p.set_colors(std::make_shared<ColorVector>(
             ColorVector{Color3f(0.1f, 0.2f, 0.3f), Color3f(1, 0, 0.5f)}));
       },
       ByteImage().i32(2).f32(0.1f).f32(0.2f).f32(0.3f).f32(1).f32(0).f32(0.5f).i32(0).bytes()},
      {"extra shell",
       [](Path& p) {
         auto c = std::make_shared<ExtraShellComponent>();
         c->set_extraShell_id(3);
         c->set_small_region(true);
         p.set_extra_shell_component(c);
       },
       ByteImage().i32(0).i32(1).i32(1).i32(3).i32(1).bytes()},
      {"extend with empty handles",
       [](Path& p) { p.set_extend_path_component(std::make_shared<ExtendPathComponent>()); },
       ByteImage().i32(0).i32(1).i32(2).i32(0).i32(0).bytes()},
      {"both components, extra shell first",
       [](Path& p) {
         auto e = std::make_shared<ExtendPathComponent>();
         e->set_tails(std::make_shared<Point2Vector>(Point2Vector{{5, 6}}));
         e->set_heads(std::make_shared<Point2Vector>(Point2Vector{{7, 8}, {9, 10}}));
         p.set_extend_path_component(e);
         p.set_extra_shell_component(std::make_shared<ExtraShellComponent>());
       },
       ByteImage()
           .i32(0)
           .i32(2)
           .i32(1)
           .i32(-1)
           .i32(0)
           .i32(2)
           .points({{5, 6}})
           .points({{7, 8}, {9, 10}})
           .bytes()},
  };
  for (const Case& c : cases) {
    auto p = two_point_path();
    c.dress(*p);
    const std::string b = bytes_of(*p);
    EXPECT_EQ(b, two_point_path_head().bytes() + c.tail) << c.label;
    // And back: the same bytes again.
    std::istringstream is(b);
    Path back;
    is >> back;
    EXPECT_EQ(bytes_of(back), b) << c.label;
  }
}

TEST(ModelArchiveImage, LayerListsInArchiveOrder) {
  Layer l;
  l.set_id(4);
  l.set_z(1.5f);
  l.set_thickness(0.2f);
  l.set_extraShell_offsets({0.5f, 1.0f});
  auto with_id = [](int id) {
    auto p = std::make_shared<Path>();
    p->set_id(id);
    p->init_points();
    return p;
  };
  l.add_boundary_path(with_id(1));
  l.add_extraShell_path(with_id(2));
  l.add_small_region_path(with_id(3));
  l.add_fill_path(with_id(4));
  l.add_thinWalledFill_path(with_id(5));
  l.add_sharpAngle_paths(with_id(6));
  l.add_support_path(with_id(7));
  l.add_raft_path(with_id(8));
  ByteImage img;
  img.i32(4).f32(1.5f).f32(0.2f).i32(2).f32(0.5f).f32(1.0f);
  for (int id : {1, 2, 4, 5, 6, 7, 8, 3}) {
    img.i32(1).i32(0).f32(-1.0f).f32(0).i32(id).i32(0).i32(0).i32(0);
  }
  const std::string b = bytes_of(l);
  EXPECT_EQ(b, img.bytes());

  std::istringstream is(b);
  Layer back;
  is >> back;
  ASSERT_EQ(back.get_small_region_path_size(), 1u);
  EXPECT_EQ(back.get_small_region_path(0)->get_id(), 3);
  ASSERT_EQ(back.get_raft_path_size(), 1u);
  EXPECT_EQ(back.get_raft_path(0)->get_id(), 8);
  EXPECT_EQ(back.get_extraShell_offsets(), (std::vector<float>{0.5f, 1.0f}));
}

TEST(ModelArchiveRead, EmptyHandlesComeBackEmpty) {
  auto p = two_point_path();
  p->set_extend_path_component(std::make_shared<ExtendPathComponent>());
  std::istringstream is(bytes_of(*p));
  Path back;
  is >> back;
  ASSERT_TRUE(back.has_extend_path_component());
  EXPECT_FALSE(back.get_extend_path_component()->get_tails());
  EXPECT_FALSE(back.get_extend_path_component()->get_heads());
}

TEST(ModelArchiveRead, ExistingContentIsReplaced) {
  Layer target;
  target.add_boundary_path(two_point_path());
  target.add_small_region_path(two_point_path());
  target.set_extraShell_offsets({1, 2, 3});
  target.set_flags(1);
  std::istringstream is(bytes_of(Layer()));
  is >> target;
  EXPECT_EQ(target.get_boundary_path_size(), 0u);
  EXPECT_EQ(target.get_small_region_path_size(), 0u);
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
  const std::string b = two_point_path_head().i32(0).i32(2).i32(9).i32(1).i32(5).i32(0).bytes();
  std::istringstream is(b);
  Path p;
  ReadAble h(is);
  p.read_archive(h);
  ASSERT_TRUE(p.has_extra_shell_component());
  EXPECT_EQ(p.get_extra_shell_component()->get_extraShell_id(), 5);
  EXPECT_FALSE(p.get_extra_shell_component()->is_small_region());
  EXPECT_FALSE(h.has_failed());
}

// ---- round trips of random models

class RandomModel {
 public:
  explicit RandomModel(unsigned seed) : rng_(seed) {}

  std::shared_ptr<Entity> entity() {
    auto e = std::make_shared<Entity>();
    e->set_craft_type(static_cast<CraftType>(pick(0, 3)));
    e->set_platform_height(real());
    for (int i = pick(0, 4); i > 0; --i) e->add_layer(layer());
    return e;
  }

  std::shared_ptr<Layer> layer() {
    auto l = std::make_shared<Layer>();
    l->set_id(pick(-1, 100));
    l->set_z(real());
    l->set_thickness(real());
    std::vector<float> offsets(static_cast<std::size_t>(pick(0, 3)));
    for (float& f : offsets) f = real();
    l->set_extraShell_offsets(offsets);
    for (auto* list :
         {&l->get_boundary_paths(), &l->get_extraShell_paths(), &l->get_small_region_paths(),
          &l->get_fill_paths(), &l->get_thinWalledFill_paths(), &l->get_sharpAngle_paths(),
          &l->get_support_paths(), &l->get_raft_paths()}) {
      for (int i = pick(0, 3); i > 0; --i) list->push_back(path());
    }
    return l;
  }

  std::shared_ptr<Path> path() {
    auto p = std::make_shared<Path>();
    p->set_type(static_cast<PathType>(pick(0, 32)));
    p->set_z(real());
    p->set_width(real());
    p->set_id(pick(-1, 50));
    p->set_points(seq(pick(0, 30)));
    const int n = static_cast<int>(p->get_vn());
    switch (pick(0, 2)) {
      case 0:
        break;
      case 1:
        p->set_colors(std::make_shared<ColorVector>());
        break;
      default: {
        auto c = std::make_shared<ColorVector>();
        for (int i = 0; i < n; ++i) c->push_back(Color3f(real(), real(), real()));
        p->set_colors(c);
      }
    }
    if (pick(0, 1)) {
      auto c = std::make_shared<ExtraShellComponent>();
      c->set_extraShell_id(pick(-1, 9));
      c->set_small_region(pick(0, 1) == 1);
      p->set_extra_shell_component(c);
    }
    if (pick(0, 1)) {
      auto c = std::make_shared<ExtendPathComponent>();
      if (pick(0, 1)) c->set_tails(seq(pick(1, 4)));
      if (pick(0, 1)) c->set_heads(seq(pick(1, 4)));
      p->set_extend_path_component(c);
    }
    return p;
  }

 private:
  int pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }
  float real() { return std::uniform_real_distribution<float>(-500.0f, 500.0f)(rng_); }
  std::shared_ptr<Point2Vector> seq(int n) {
    auto v = std::make_shared<Point2Vector>();
    for (int i = 0; i < n; ++i) v->emplace_back(real(), real());
    return v;
  }
  std::mt19937 rng_;
};

// Reading is checked through writing: the exact images above pin the writer, so a read
// object that writes the same bytes holds every field of the original.
template <class T>
void expect_same_image(const T& back, const T& original) {
  EXPECT_EQ(bytes_of(back), bytes_of(original));
}

class ModelArchiveRoundTrip : public ::testing::TestWithParam<unsigned> {};

TEST_P(ModelArchiveRoundTrip, EntityThroughStandardStreams) {
  RandomModel gen(GetParam());
  const auto e = gen.entity();
  std::ostringstream os;
  os << *e;
  std::istringstream is(os.str());
  Entity back;
  is >> back;
  EXPECT_FALSE(is.fail());
  EXPECT_EQ(is.peek(), std::char_traits<char>::eof());  // everything consumed
  expect_same_image(back, *e);
}

TEST_P(ModelArchiveRoundTrip, ObjectsBackToBackOnOneHandle) {
  RandomModel gen(GetParam() + 1000);
  const auto path = gen.path();
  const auto layer = gen.layer();
  Point2Vector pv{{1, 2}, {3, 4}};
  std::stringstream ss;
  WriteAble(ss) << *path << *layer << pv;
  Path path_back;
  Layer layer_back;
  std::vector<Point2> pv_back;
  ReadAble in(ss);
  in >> path_back >> layer_back >> pv_back;
  EXPECT_FALSE(in.has_failed());
  expect_same_image(path_back, *path);
  expect_same_image(layer_back, *layer);
  expect_same_image(pv_back, static_cast<std::vector<Point2>>(pv));
}

INSTANTIATE_TEST_SUITE_P(Seeds, ModelArchiveRoundTrip, ::testing::Range(1u, 13u));

// ---- damaged input

// The image of a random entity, cut at every length: reading never fails hard, the
// stream reports the cut, and every layer that came back is one of the original.
TEST(ModelArchiveDamaged, TruncatedEntityStopsCleanly) {
  RandomModel gen(77);
  auto e = gen.entity();
  while (e->get_layer_size() < 2) e->add_layer(gen.layer());
  const std::string full = bytes_of(*e);
  for (std::size_t len = 0; len < full.size(); ++len) {
    std::istringstream is(full.substr(0, len));
    Entity back;
    ReadAble h(is);
    back.read_archive(h);
    ASSERT_TRUE(h.has_failed()) << len;
    ASSERT_LT(back.get_layer_size(), e->get_layer_size()) << len;
    for (std::size_t i = 0; i < back.get_layer_size(); ++i) {
      expect_same_image(*back.get_layer(i), *e->get_layer(i));
    }
  }
}

TEST(ModelArchiveDamaged, TruncatedPointBlockKeepsTheCompletePoints) {
  // Count 5, two and a half points delivered.
  const std::string b = ByteImage().i32(5).f32(1).f32(2).f32(3).f32(4).f32(5).bytes();
  std::istringstream is(b);
  Point2Vector v{{9, 9}};
  ReadAble h(is);
  v.read_archive(h);
  ASSERT_EQ(v.size(), 2u);
  EXPECT_EQ(v[1].y, 4.0f);
  EXPECT_TRUE(h.has_failed());
}

struct HugeCountCase {
  const char* label;
  std::string bytes;
};

void PrintTo(const HugeCountCase& c, std::ostream* os) { *os << c.label; }

// Counts that promise far more than the stream holds: nothing near that is allocated.
class ModelArchiveHugeCount : public ::testing::TestWithParam<HugeCountCase> {};

TEST_P(ModelArchiveHugeCount, AllocatesNoMoreThanTheStreamHolds) {
  std::istringstream is(GetParam().bytes);
  ReadAble h(is);
  Entity e;
  e.read_archive(h);
  EXPECT_TRUE(h.has_failed());
  const std::size_t budget = GetParam().bytes.size();
  EXPECT_LE(e.get_layers().capacity(), budget);
  for (const auto& l : e.get_layers()) {
    EXPECT_LE(l->get_extraShell_offsets().capacity(), budget);
    for (const auto& p : l->get_boundary_paths()) {
      EXPECT_LE(p->get_points()->capacity(), budget);
      if (p->get_colors()) {
        EXPECT_LE(p->get_colors()->capacity(), budget);
      }
    }
  }
}

std::string entity_with_one_boundary_path(const std::string& path_bytes) {
  return ByteImage()
      .i32(0)
      .f32(0)
      .i32(1)
      .i32(0)
      .f32(0)
      .f32(0)
      .i32(0)
      .i32(1)
      .raw(path_bytes)
      .bytes();
}

constexpr std::int32_t kHuge = 0x7FFFFFFF;

INSTANTIATE_TEST_SUITE_P(
    Cases, ModelArchiveHugeCount,
    ::testing::Values(
        HugeCountCase{"layers", ByteImage().i32(0).f32(0).i32(kHuge).i32(0).bytes()},
        HugeCountCase{"offsets",
                      ByteImage().i32(0).f32(0).i32(1).i32(0).f32(0).f32(0).i32(kHuge).bytes()},
        HugeCountCase{
            "paths",
            ByteImage().i32(0).f32(0).i32(1).i32(0).f32(0).f32(0).i32(0).i32(kHuge).bytes()},
        HugeCountCase{"points", entity_with_one_boundary_path(
                                    ByteImage().i32(0).f32(0).f32(0).i32(0).i32(kHuge).bytes())},
        HugeCountCase{"colours",
                      entity_with_one_boundary_path(
                          ByteImage().i32(0).f32(0).f32(0).i32(0).i32(0).i32(kHuge).bytes())},
        HugeCountCase{
            "components",
            entity_with_one_boundary_path(
                ByteImage().i32(0).f32(0).f32(0).i32(0).i32(0).i32(0).i32(kHuge).bytes())},
        HugeCountCase{"tails", entity_with_one_boundary_path(ByteImage()
                                                                 .i32(0)
                                                                 .f32(0)
                                                                 .f32(0)
                                                                 .i32(0)
                                                                 .i32(0)
                                                                 .i32(0)
                                                                 .i32(1)
                                                                 .i32(2)
                                                                 .i32(kHuge)
                                                                 .bytes())}),
    [](const ::testing::TestParamInfo<HugeCountCase>& info) { return info.param.label; });

TEST(ModelArchiveDamaged, NegativeCountsReadAsNothing) {
  const std::string b =
      ByteImage().i32(0).f32(0).i32(1).i32(0).f32(0).f32(0).i32(-3).i32(-1).i32(-7).bytes() +
      std::string(6 * 4, '\0');
  std::istringstream is(b);
  Entity e;
  ReadAble h(is);
  e.read_archive(h);
  ASSERT_EQ(e.get_layer_size(), 1u);
  EXPECT_TRUE(e.get_layer(0)->get_extraShell_offsets().empty());
  EXPECT_EQ(e.get_layer(0)->get_boundary_path_size(), 0u);
  EXPECT_FALSE(h.has_failed());
}

// A stream that cannot seek or tell: its size is unknown, so blocks grow step by step.
class ForwardOnlyBuf : public std::streambuf {
 public:
  explicit ForwardOnlyBuf(std::string data) : data_(std::move(data)) {
    setg(&data_[0], &data_[0], &data_[0] + data_.size());
  }

 private:
  std::string data_;
};

TEST(ModelArchiveDamaged, UnknownSizeStreamsStillStopCleanly) {
  ForwardOnlyBuf buf(ByteImage().i32(kHuge).f32(1).f32(2).bytes());
  std::istream is(&buf);
  Point2Vector v;
  is >> v;
  EXPECT_TRUE(is.fail());
  EXPECT_LT(v.capacity(), 1u << 20);

  // A complete image reads fine without a size.
  RandomModel gen(5);
  const auto e = gen.entity();
  ForwardOnlyBuf buf2(bytes_of(*e));
  std::istream is2(&buf2);
  Entity back;
  is2 >> back;
  EXPECT_FALSE(is2.fail());
  expect_same_image(back, *e);

  // Points past the first growth step.
  std::vector<Point2> many(10000, Point2(1.5f, 2.5f));
  ForwardOnlyBuf buf3(bytes_of(many));
  std::istream is3(&buf3);
  std::vector<Point2> many_back;
  is3 >> many_back;
  ASSERT_EQ(many_back.size(), many.size());
  EXPECT_EQ(many_back.back().y, 2.5f);
}

}  // namespace
}  // namespace Quorvex
