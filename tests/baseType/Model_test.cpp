#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>

#include "quorvex/baseType/Entity.h"
#include "support/ModelSamples.h"
#include "support/PointEquality.h"

namespace Quorvex {
namespace {

using qxtest::make_path;

// Every call raises E with the model's own text.
template <class E, std::size_t N>
void expect_each_raises(const std::function<void()> (&calls)[N], const char* text) {
  for (std::size_t i = 0; i < N; ++i) {
    try {
      calls[i]();
      ADD_FAILURE() << "call " << i << ": no exception";
    } catch (const E& err) {
      EXPECT_STREQ(err.what(), text) << "call " << i;
    }
  }
}

// Colours follow the point count; flags are a sequence of their own.
TEST(Path, ResizeKeepsColoursInStepAndLeavesFlags) {
  Path p;
  p.resize_vn(3);
  EXPECT_EQ(p.get_colors(), nullptr);
  p.init_colors();
  p.set_flags(std::make_shared<std::vector<unsigned char>>(7));
  p.resize_vn(5);
  EXPECT_EQ(p.get_colors()->size(), 5u);
  EXPECT_EQ(p.get_flags()->size(), 7u);
  EXPECT_EQ(p.get_color(4), Color3f::Zero());
  EXPECT_EQ(p.get_point(4), Point2(0, 0));
}

// Past the largest size: the text callers know, whatever the standard library would say, and
// the sequences are left as they were.
TEST(Path, GrowingPastTheLargestSizeRaisesLengthError) {
  auto p = make_path({{1, 2}});
  p->init_colors();
  p->get_colors()->emplace_back(1, 1, 1);
  Path bare;
  Entity e;
  const std::size_t huge = ColorVector().max_size() + 1;  // within the points' limit
  const std::function<void()> calls[] = {
      [&] { p->reserve_vn(huge); }, [&] { p->resize_vn(huge); }, [&] { bare.resize_vn(SIZE_MAX); },
      [&] { e.reserve_layer_size(SIZE_MAX); }, [&] { e.resize_layer_size(SIZE_MAX); }};
  expect_each_raises<std::length_error>(calls, "vector<T> too long");
  EXPECT_EQ(p->get_vn(), 1u);
  EXPECT_EQ(p->get_colors()->size(), 1u);
  EXPECT_EQ(bare.get_points(), nullptr);
}

TEST(Path, CheckedAccessRaisesOutOfRange) {
  auto p = make_path({{1, 2}});
  Path no_colours;
  no_colours.resize_vn(1);
  p->init_colors();
  ExtendPathComponent ext;
  ext.set_heads(std::make_shared<Point2Vector>(Point2Vector{{0, 0}}));
  EXPECT_NO_THROW(ext.get_head(0));
  Entity e;
  e.resize_layer_size(1);
  const std::function<void()> calls[] = {[&] { p->get_point(1); },
                                         [&] { (*p)(5); },
                                         [&] { p->get_color(0); },
                                         [&] { no_colours.get_color(0); },
                                         [&] { ext.get_tail(0); },
                                         [&] { ext.get_head(1); },
                                         [&] { e.set_layer(std::make_shared<Layer>(), 1); },
                                         [&] { e.set_layer(std::make_shared<Layer>(), -1); }};
  expect_each_raises<std::out_of_range>(calls, "invalid vector<T> subscript");
}

TEST(Path, IsFillOnTheClosedRangeThreeToEleven) {
  for (int type = 0; type < 26; ++type) {
    Path p;
    p.set_type(static_cast<PathType>(type));
    EXPECT_EQ(p.is_fill(), type >= 3 && type <= 11) << type;
  }
}

TEST(Path, StartAndEndFollowHeadsAndTails) {
  auto p = make_path({{0, 0}, {1, 0}, {2, 0}});
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

TEST(Layer, ClearAllPathsKeepsSmallRegionsOffsetsAndFlags) {
  Layer l = qxtest::layer_with_every_list();
  l.set_flags(1);
  l.clear_all_paths();
  EXPECT_EQ(qxtest::path_counts(l), "0,0,0,0,0,0,0,1");
  EXPECT_EQ(l.get_extraShell_offsets().size(), 2u);
  EXPECT_TRUE(l.is_region_numbered());
}

// Each row: start, step, and one character per layer, 1 where the layer keeps its paths.
TEST(Entity, ClearLayersEveryKeepsTheStatedLayersAndSmallRegions) {
  const std::tuple<int, int, std::string> cases[] = {{2, 2, "0010010010"},  {0, 1, "1010101010"},
                                                     {3, 0, "0001111111"},  {20, 1, "0000000000"},
                                                     {-1, 1, "1111111111"}, {0, -1, "1111111111"}};
  for (const auto& [start, every, want] : cases) {
    Entity e;
    for (int i = 0; i < 10; ++i) {
      auto l = std::make_shared<Layer>();
      l->add_fill_path(make_path({{0, 0}}));
      l->add_small_region_path(make_path({{0, 0}}));
      e.add_layer(l);
    }
    e.clear_layers_every(start, every);
    std::string kept;
    for (std::size_t i = 0; i < e.get_layer_size(); ++i) {
      kept += e.get_layer(i)->get_fill_path_size() == 1 ? '1' : '0';
      EXPECT_EQ(e.get_layer(i)->get_small_region_path_size(), 1u);
    }
    EXPECT_EQ(kept, want) << start << " " << every;
  }
}

}  // namespace
}  // namespace Quorvex
