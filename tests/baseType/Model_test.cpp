#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/TypeFillRegion.h"

namespace Quorvex {
namespace {

std::shared_ptr<Path> make_path(std::initializer_list<Point2> pts, PathType type = PATH_TYPE_NONE) {
  auto p = std::make_shared<Path>();
  p->set_points(std::make_shared<Point2Vector>(pts));
  p->set_type(type);
  return p;
}

void expect_subscript_error(const std::function<void()>& f) {
  try {
    f();
    FAIL() << "no exception";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "invalid vector<T> subscript");
  }
}

TEST(Point2, DifferenceAndFloatLength) {
  const Point2 d = Point2(4.0f, 6.0f) - Point2(1.0f, 2.0f);
  EXPECT_EQ(d.x, 3.0f);
  EXPECT_EQ(d.y, 4.0f);
  EXPECT_EQ(d.length(), 5.0f);
}

TEST(ConstPtrVector, SharesObjectsKeepsOrderAndReplacesOutput) {
  std::vector<std::shared_ptr<Point2Vector>> in = {std::make_shared<Point2Vector>(), nullptr,
                                                   std::make_shared<Point2Vector>()};
  const auto out = ptr_vector_to_const_ptr_vector(in);
  ASSERT_EQ(out.size(), 3u);
  EXPECT_EQ(out[0].get(), in[0].get());
  EXPECT_EQ(out[1], nullptr);
  EXPECT_EQ(in[0].use_count(), 2);

  std::vector<std::shared_ptr<Point2Vector const>> filled(5, std::make_shared<Point2Vector>());
  ptr_vector_to_const_ptr_vector(in, filled);
  EXPECT_EQ(filled.size(), 3u);
  ptr_vector_to_const_ptr_vector(in, filled);
  EXPECT_EQ(filled.size(), 3u);
  ptr_vector_to_const_ptr_vector({}, filled);
  EXPECT_TRUE(filled.empty());

  std::vector<std::shared_ptr<ColorVector>> colours = {std::make_shared<ColorVector>(2)};
  EXPECT_EQ(ptr_vector_to_const_ptr_vector(colours).at(0).get(), colours[0].get());
}

TEST(Path, Defaults) {
  Path p;
  EXPECT_EQ(p.get_z(), -1.0f);
  EXPECT_EQ(p.get_id(), -1);
  EXPECT_EQ(p.get_width(), 0.0f);
  EXPECT_EQ(p.get_type(), PATH_TYPE_NONE);
  EXPECT_FALSE(p.has_extend_path_component());
  EXPECT_FALSE(p.has_extra_shell_component());
  EXPECT_EQ(p.get_points(), nullptr);
  EXPECT_EQ(p.get_flags(), nullptr);
}

TEST(Path, ResizeAndReserveKeepColoursInStepAndLeaveFlags) {
  Path p;
  p.resize_vn(3);
  ASSERT_NE(p.get_points(), nullptr);
  EXPECT_EQ(p.get_vn(), 3u);
  EXPECT_EQ(p.get_colors(), nullptr);

  p.init_colors();
  p.set_flags(std::make_shared<std::vector<unsigned char>>(7));
  p.resize_vn(5);
  EXPECT_EQ(p.get_colors()->size(), 5u);
  p.reserve_vn(50);
  EXPECT_GE(p.get_points()->capacity(), 50u);
  EXPECT_GE(p.get_colors()->capacity(), 50u);
  EXPECT_EQ(p.get_flags()->size(), 7u);

  Path q;
  q.reserve_vn(4);
  ASSERT_NE(q.get_points(), nullptr);
  EXPECT_EQ(q.get_vn(), 0u);
}

TEST(Path, InitPointsLeavesColours) {
  Path p;
  p.resize_vn(2);
  p.init_colors();
  p.get_colors()->resize(2);
  auto colours = p.get_colors();
  p.init_points();
  EXPECT_EQ(p.get_vn(), 0u);
  EXPECT_EQ(p.get_colors(), colours);
}

TEST(Path, CopiesShareSequencesButNotHandles) {
  Path source = *make_path({{1, 2}, {3, 4}});
  Path copy = source;
  copy.get_point(0).x = 9.0f;
  EXPECT_EQ(source.get_point(0).x, 9.0f);
  copy.set_points(std::make_shared<Point2Vector>(Point2Vector{{5, 5}}));
  EXPECT_EQ(source.get_vn(), 2u);
  copy.set_id(4);
  EXPECT_EQ(source.get_id(), -1);
}

TEST(Path, CheckedAccessRaisesOutOfRange) {
  auto p = make_path({{1, 2}});
  expect_subscript_error([&] { p->get_point(1); });
  expect_subscript_error([&] { (*p)(5); });
  p->init_colors();
  expect_subscript_error([&] { p->get_color(0); });
  ExtendPathComponent ext;
  expect_subscript_error([&] { ext.get_tail(0); });
  ext.set_heads(std::make_shared<Point2Vector>(Point2Vector{{0, 0}}));
  EXPECT_NO_THROW(ext.get_head(0));
  expect_subscript_error([&] { ext.get_head(1); });
}

struct FillCase {
  int type;
  bool fill;
};
class PathIsFill : public ::testing::TestWithParam<FillCase> {};
TEST_P(PathIsFill, ClosedRangeThreeToEleven) {
  Path p;
  p.set_type(static_cast<PathType>(GetParam().type));
  EXPECT_EQ(p.is_fill(), GetParam().fill);
}
INSTANTIATE_TEST_SUITE_P(Types, PathIsFill,
                         ::testing::Values(FillCase{0, false}, FillCase{2, false},
                                           FillCase{3, true}, FillCase{7, true},
                                           FillCase{11, true}, FillCase{12, false},
                                           FillCase{25, false}));

TEST(Path, StartAndEndFollowHeadsAndTails) {
  auto p = make_path({{0, 0}, {1, 0}, {2, 0}});
  EXPECT_EQ(p->get_end_point().x, 2.0f);
  auto ext = std::make_shared<ExtendPathComponent>();
  p->set_extend_path_component(ext);
  EXPECT_EQ(p->get_start_point().x, 0.0f);  // both handles empty: as without a component
  EXPECT_EQ(p->get_end_point().x, 2.0f);
  ext->set_tails(std::make_shared<Point2Vector>(Point2Vector{{7, 0}, {8, 0}, {9, 0}}));
  ext->set_heads(std::make_shared<Point2Vector>(Point2Vector{{-5, 0}, {-4, 0}}));
  EXPECT_EQ(p->get_end_point().x, 9.0f);
  EXPECT_EQ(p->get_start_point().x, -5.0f);
  EXPECT_EQ(p->get_point(0).x, 0.0f);
}

TEST(Layer, Defaults) {
  Layer l;
  EXPECT_EQ(l.get_z(), -1.0f);
  EXPECT_EQ(l.get_thickness(), 0.0f);
  EXPECT_EQ(l.get_id(), -1);
  EXPECT_FALSE(l.is_region_numbered());
  EXPECT_EQ(l.get_boundary_path_size() + l.get_extraShell_path_size() +
                l.get_small_region_path_size() + l.get_fill_path_size() +
                l.get_thinWalledFill_path_size() + l.get_sharpAngle_path_size() +
                l.get_support_path_size() + l.get_raft_path_size(),
            0u);
}

Layer filled_layer() {
  Layer l;
  l.add_boundary_path(make_path({{0, 0}}));
  l.add_extraShell_path(make_path({{0, 0}}));
  l.add_small_region_path(make_path({{0, 0}}));
  l.add_fill_path(make_path({{0, 0}}));
  l.add_thinWalledFill_path(make_path({{0, 0}}));
  l.add_sharpAngle_paths(make_path({{0, 0}}));
  l.add_support_path(make_path({{0, 0}}));
  l.add_raft_path(make_path({{0, 0}}));
  l.set_extraShell_offsets({0.4f, 0.8f});
  return l;
}

TEST(Layer, ClearAllPathsKeepsSmallRegionsOffsetsAndFlags) {
  Layer l = filled_layer();
  l.set_flags(1);
  l.clear_all_paths();
  EXPECT_EQ(l.get_small_region_path_size(), 1u);
  EXPECT_EQ(l.get_boundary_path_size() + l.get_extraShell_path_size() + l.get_fill_path_size() +
                l.get_thinWalledFill_path_size() + l.get_sharpAngle_path_size() +
                l.get_support_path_size() + l.get_raft_path_size(),
            0u);
  EXPECT_EQ(l.get_extraShell_offsets().size(), 2u);
  EXPECT_TRUE(l.is_region_numbered());
  l.set_flags(2);
  EXPECT_FALSE(l.is_region_numbered());
}

TEST(Layer, CopiesShareThePathsButNotTheLists) {
  Layer source = filled_layer();
  Layer copy = source;
  copy.add_fill_path(make_path({{1, 1}}));
  EXPECT_EQ(source.get_fill_path_size(), 1u);
  copy.get_boundary_path(0)->set_id(42);
  EXPECT_EQ(source.get_boundary_path(0)->get_id(), 42);
  const Layer& const_copy = copy;
  std::shared_ptr<Path const> p = const_copy.get_raft_path(0);
  EXPECT_EQ(p.get(), source.get_raft_path(0).get());
}

TEST(TypeFillRegion, CopySharesOutlines) {
  TypeFillRegion empty;
  auto c0 = empty.copy();
  EXPECT_EQ(c0->get_id(), -1);
  EXPECT_EQ(c0->get_regions_size(), 0u);

  TypeFillRegion r;
  r.set_id(3);
  r.set_type(static_cast<FillRegionType>(5));
  r.add_region(std::make_shared<Point2Vector>(2));
  auto c = r.copy();
  EXPECT_EQ(c->get_id(), 3);
  EXPECT_EQ(c->get_type(), 5);
  EXPECT_EQ(c->get_region(0).get(), r.get_region(0).get());
  c->add_region(std::make_shared<Point2Vector>());
  EXPECT_EQ(r.get_regions_size(), 1u);
}

std::shared_ptr<Layer> layer_with_fill() {
  auto l = std::make_shared<Layer>();
  l->add_fill_path(make_path({{0, 0}}));
  l->add_small_region_path(make_path({{0, 0}}));
  return l;
}

Entity entity_of(int n) {
  Entity e;
  for (int i = 0; i < n; ++i) e.add_layer(layer_with_fill());
  return e;
}

struct ClearCase {
  int start;
  int every;
  const char* kept;  // one character per layer: 1 keeps its paths
};
class EntityClearLayersEvery : public ::testing::TestWithParam<ClearCase> {};
TEST_P(EntityClearLayersEvery, KeepsTheStatedLayers) {
  Entity e = entity_of(10);
  e.clear_layers_every(GetParam().start, GetParam().every);
  std::string kept;
  for (std::size_t i = 0; i < e.get_layer_size(); ++i) {
    kept += e.get_layer(i)->get_fill_path_size() == 1 ? '1' : '0';
    EXPECT_EQ(e.get_layer(i)->get_small_region_path_size(), 1u);
  }
  EXPECT_EQ(kept, GetParam().kept);
  EXPECT_EQ(e.get_layer_size(), 10u);
}
INSTANTIATE_TEST_SUITE_P(Table, EntityClearLayersEvery,
                         ::testing::Values(ClearCase{2, 2, "0010010010"},
                                           ClearCase{0, 1, "1010101010"},
                                           ClearCase{3, 0, "0001111111"},
                                           ClearCase{20, 1, "0000000000"},
                                           ClearCase{-1, 1, "1111111111"},
                                           ClearCase{0, -1, "1111111111"}));

TEST(Entity, LayerListOperations) {
  Entity e;
  EXPECT_EQ(e.get_craft_type(), 0);
  EXPECT_EQ(e.get_platform_height(), 0.0f);
  auto a = std::make_shared<Layer>();
  auto b = std::make_shared<Layer>();
  e.add_layer_at_front(a);
  EXPECT_EQ(e.get_layer(0), a);
  e.add_layer_at_front(b);
  EXPECT_EQ(e(1), a);
  e.resize_layer_size(0);
  e.resize_layer_size(1);
  EXPECT_EQ(e.get_layer(0), nullptr);
  e.set_layer(b, 0);
  EXPECT_EQ(e.get_layer(0), b);
  expect_subscript_error([&] { e.set_layer(a, 1); });
  expect_subscript_error([&] { e.set_layer(a, -1); });
}

TEST(Entity, CopiesShareLayers) {
  Entity source = entity_of(2);
  source.set_platform_height(1.5f);
  Entity copy = source;
  EXPECT_EQ(copy.get_platform_height(), 1.5f);
  copy.get_layer(0)->clear_all_paths();
  EXPECT_EQ(source.get_layer(0)->get_fill_path_size(), 0u);
}

}  // namespace
}  // namespace Quorvex
