#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/Layer.h"
#include "support/ModelSamples.h"

namespace Quorvex {
namespace {

using LayerPtr = std::shared_ptr<Layer>;
using EntityPtr = std::shared_ptr<Entity>;
using PathPtrList = std::vector<std::shared_ptr<Path>>;
using qxtest::hole_rect;
using qxtest::ids_of;
using qxtest::outer_rect;

std::shared_ptr<Path> path_with(int id, PathType type = PATH_TYPE_NONE,
                                Point2 start = Point2(0, 0)) {
  return qxtest::stroke(start, type, id);
}

LayerPtr layer_at(float z, float thickness = 0.1f) {
  auto l = std::make_shared<Layer>();
  l->set_z(z);
  l->set_thickness(thickness);
  return l;
}

EntityPtr entity_with(const std::vector<float>& zs, CraftType craft = CRAFT_TYPE_DEFAULT,
                      float platform = 0.0f) {
  auto e = std::make_shared<Entity>();
  e->set_craft_type(craft);
  e->set_platform_height(platform);
  for (float z : zs) e->add_layer(layer_at(z));
  return e;
}

// ---- merge_layers ----

TEST(MergeLayersTest, PacksIdsPerSourceBehindARunningOffset) {
  auto first = layer_at(0.2f, 0.15f);
  first->get_boundary_paths() = {path_with(7), path_with(4), path_with(-1)};
  first->get_fill_paths() = {path_with(7), path_with(4)};
  auto second = layer_at(0.3f, 0.3f);
  second->get_boundary_paths() = {path_with(1)};
  second->get_fill_paths() = {path_with(1)};

  auto result = std::make_shared<Layer>();
  ASSERT_EQ(Layer::merge_layers({first, second}, result, 12), RETVAL_OK);
  EXPECT_EQ(result->get_id(), 12);
  EXPECT_FLOAT_EQ(result->get_z(), 0.2f);
  EXPECT_FLOAT_EQ(result->get_thickness(), 0.15f);
  EXPECT_EQ(ids_of(result->get_boundary_paths()), (std::vector<int>{1, 0, -1, 2}));
  EXPECT_EQ(ids_of(result->get_fill_paths()), (std::vector<int>{1, 0, 2}));
}

TEST(MergeLayersTest, UnknownIdLandsOnTheOffsetAndWidensIt) {
  auto first = layer_at(0.2f);
  first->get_boundary_paths() = {path_with(4), path_with(7)};
  first->add_fill_path(path_with(9));  // no boundary path bears 9
  auto second = layer_at(0.2f);
  second->add_boundary_path(path_with(0));
  auto third = layer_at(0.2f);
  third->add_boundary_path(path_with(5));

  auto result = std::make_shared<Layer>();
  Layer::merge_layers({first, second, third}, result, 0);
  EXPECT_EQ(ids_of(result->get_fill_paths()), std::vector<int>{0});
  // 9 entered the first map, so the second source starts at 3 rather than 2.
  EXPECT_EQ(ids_of(result->get_boundary_paths()), (std::vector<int>{0, 1, 3, 4}));
}

TEST(MergeLayersTest, EveryListGoesToItsOwnKindWithMinusOneKept) {
  auto src = layer_at(1.0f);
  const auto lists = qxtest::path_lists(*src);
  for (size_t k = 0; k < lists.size(); ++k) *lists[k] = {path_with(k == 0 ? 3 : -1), path_with(-1)};
  auto result = std::make_shared<Layer>();
  Layer::merge_layers({src}, result, 0);
  const auto merged_lists = qxtest::path_lists(*result);
  for (size_t k = 0; k < lists.size(); ++k) {
    const PathPtrList& merged = *merged_lists[k];
    ASSERT_EQ(merged.size(), 2u) << "list " << k;
    EXPECT_EQ(merged[0]->get_points(), (*lists[k])[0]->get_points()) << "list " << k;
    EXPECT_EQ(ids_of(merged), (std::vector<int>{k == 0 ? 0 : -1, -1})) << "list " << k;
  }
}

TEST(MergeLayersTest, CopiesShareGeometryButNotIds) {
  auto src = layer_at(0.5f);
  auto p = path_with(5);
  src->add_boundary_path(p);
  auto result = std::make_shared<Layer>();
  Layer::merge_layers({src}, result, 0);
  auto merged = result->get_boundary_path(0);
  EXPECT_NE(merged, p);
  merged->get_point(0) = Point2(42, 43);
  merged->set_id(100);
  EXPECT_EQ(p->get_point(0).x, 42);
  EXPECT_EQ(p->get_id(), 5);
}

TEST(MergeLayersTest, ResultKeepsSmallRegionsFlagsAndOffsets) {
  auto src = layer_at(0.5f);
  src->add_small_region_path(path_with(-1));
  src->set_extraShell_offsets({0.4f});
  auto result = std::make_shared<Layer>();
  auto kept_small = path_with(-1);
  result->add_small_region_path(kept_small);
  for (auto* list : qxtest::path_lists(*result)) list->push_back(path_with(8));
  result->set_flags(1);
  result->set_extraShell_offsets({1.0f, 2.0f});
  Layer::merge_layers({src}, result, 3);
  EXPECT_EQ(qxtest::path_counts(*result), "0,0,0,0,0,0,0,3");
  EXPECT_EQ(result->get_small_region_path(0), kept_small);
  EXPECT_TRUE(result->is_region_numbered());
  EXPECT_EQ(result->get_extraShell_offsets(), (std::vector<float>{1.0f, 2.0f}));
}

TEST(MergeLayersTest, EmptyResultHandleOrResultAmongTheSources) {
  auto src = layer_at(0.5f);
  src->add_fill_path(path_with(2));
  EXPECT_EQ(Layer::merge_layers({src}, nullptr, 0), RETVAL_OK);
  EXPECT_EQ(src->get_fill_path(0)->get_id(), 2);

  // A result that is also a source is read whole before it is written.
  auto a = layer_at(0.5f);
  a->get_boundary_paths() = {path_with(6)};
  a->get_fill_paths() = {path_with(6)};
  auto b = layer_at(0.5f);
  b->add_boundary_path(path_with(2));
  Layer::merge_layers({a, b}, a, 0);
  EXPECT_EQ(ids_of(a->get_boundary_paths()), (std::vector<int>{0, 1}));
  EXPECT_EQ(ids_of(a->get_fill_paths()), std::vector<int>{0});
}

// A numbered layer with nested outer loops (in either list order), a hole, a path on a
// loop edge and a stray: its region numbers, then the stray's, feed the id map.
LayerPtr numbered_nested_layer(bool small_first) {
  auto l = layer_at(0.2f);
  auto big = outer_rect(0, 0, 10, 10);
  auto small = outer_rect(4, 4, 6, 6);
  l->get_boundary_paths() = {small_first ? small : big, small_first ? big : small,
                             hole_rect(2, 2, 8, 8)};
  l->get_fill_paths() = {path_with(-1, PATH_TYPE_FILL_SEGMENTS_0, {5, 5}),
                         path_with(-1, PATH_TYPE_FILL_SEGMENTS_0, {0, 5}),     // on the big loop
                         path_with(-1, PATH_TYPE_FILL_SEGMENTS_0, {50, 50})};  // stray
  l->number_region();
  return l;
}

class MergeNumberedTest : public ::testing::TestWithParam<bool> {};

TEST_P(MergeNumberedTest, RegionsOfSourcesStayApart) {
  const bool small_first = GetParam();
  auto a = numbered_nested_layer(small_first);
  auto b = numbered_nested_layer(!small_first);
  const int big_a = a->get_boundary_path(small_first ? 1 : 0)->get_id();
  const int small_a = 1 - big_a;
  ASSERT_EQ(ids_of(a->get_fill_paths()), (std::vector<int>{small_a, big_a, 2}));

  auto result = std::make_shared<Layer>();
  Layer::merge_layers({a, b}, result, 0);
  // Boundary ids 0 and 1 pack onto themselves; the stray's 2 is no boundary id, so it
  // falls onto the offset 0 and enters the map, and the second source starts at 3.
  EXPECT_EQ(ids_of(result->get_fill_paths()),
            (std::vector<int>{small_a, big_a, 0, 3 + big_a, 3 + small_a, 3}));
  std::vector<int> bounds = ids_of(a->get_boundary_paths());
  for (int id : ids_of(b->get_boundary_paths())) bounds.push_back(3 + id);
  EXPECT_EQ(ids_of(result->get_boundary_paths()), bounds);
}

INSTANTIATE_TEST_SUITE_P(BothOrders, MergeNumberedTest, ::testing::Bool());

// Each merge has its own offset and map: side by side they give what they give alone.
TEST(MergeLayersTest, ConcurrentMergesDoNotShareTheirOffsets) {
  std::vector<std::shared_ptr<Layer const>> sources;
  for (int s = 0; s < 6; ++s) {
    auto l = layer_at(0.1f);
    for (int r = 0; r < 4; ++r) l->add_boundary_path(path_with(10 * r + s));
    for (int r = 0; r < 50; ++r) l->add_fill_path(path_with(10 * (r % 4) + s));
    sources.push_back(l);
  }
  auto expected = std::make_shared<Layer>();
  Layer::merge_layers(sources, expected, 0);

  std::vector<LayerPtr> results(4);
  std::vector<std::thread> threads;
  for (auto& r : results) {
    r = std::make_shared<Layer>();
    threads.emplace_back([&sources, r] {
      for (int round = 0; round < 200; ++round) Layer::merge_layers(sources, r, round);
    });
  }
  for (auto& t : threads) t.join();
  for (const auto& r : results) {
    EXPECT_EQ(ids_of(r->get_fill_paths()), ids_of(expected->get_fill_paths()));
  }
}

// ---- merge_entities: refusals ----

using Sources = std::vector<std::shared_ptr<Entity const>>;

EntityPtr with_empty_layer_slot() {
  auto e = entity_with({0.2f});
  e->resize_layer_size(2);
  return e;
}

struct RefusalCase {
  std::string name;
  Sources sources;
};

void PrintTo(const RefusalCase& c, std::ostream* os) { *os << c.name; }

class MergeRefusalTest : public ::testing::TestWithParam<RefusalCase> {};

TEST_P(MergeRefusalTest, RefusesBeforeChangingAnything) {
  auto result = entity_with({9.0f}, static_cast<CraftType>(5), 77.0f);
  auto before = result->get_layer(0);
  EXPECT_EQ(Entity::merge_entities(GetParam().sources, result), RETVAL_BAD_INPUT);
  EXPECT_EQ(result->get_layer_size(), 1u);
  EXPECT_EQ(result->get_layer(0), before);
  EXPECT_EQ(result->get_craft_type(), static_cast<CraftType>(5));
  EXPECT_FLOAT_EQ(result->get_platform_height(), 77.0f);
}

const CraftType kDefault = CRAFT_TYPE_DEFAULT;
INSTANTIATE_TEST_SUITE_P(
    Inputs, MergeRefusalTest,
    ::testing::Values(
        RefusalCase{"none", {}}, RefusalCase{"single", {entity_with({0.2f})}},
        RefusalCase{"craft_differs",
                    {entity_with({0.2f}), entity_with({0.2f}),
                     entity_with({0.2f}, static_cast<CraftType>(1))}},
        RefusalCase{"platform_differs",
                    {entity_with({0.2f}, kDefault, 1.0f), entity_with({0.2f}, kDefault, 1.001f)}},
        RefusalCase{
            "platform_nan",
            {entity_with({0.2f}, kDefault, 1.0f), entity_with({0.2f}, kDefault, std::nanf(""))}},
        RefusalCase{"empty_entity_handle", {entity_with({0.2f}), nullptr}},
        RefusalCase{"empty_layer_handle", {entity_with({0.2f}), with_empty_layer_slot()}}),
    [](const auto& info) { return info.param.name; });

TEST(MergeEntitiesTest, EmptyResultHandleIsRefused) {
  EXPECT_EQ(Entity::merge_entities({entity_with({0.2f}), entity_with({0.2f})}, nullptr),
            RETVAL_BAD_INPUT);
}

TEST(MergeEntitiesTest, PlatformHeightsWithinToleranceMerge) {
  auto result = std::make_shared<Entity>();
  EXPECT_EQ(Entity::merge_entities({entity_with({0.2f}, static_cast<CraftType>(3), 1.0f),
                                    entity_with({0.2f}, static_cast<CraftType>(3), 1.000005f)},
                                   result),
            RETVAL_OK);
  EXPECT_EQ(result->get_craft_type(), static_cast<CraftType>(3));
  EXPECT_FLOAT_EQ(result->get_platform_height(), 1.0f);
}

// ---- merge_entities: grouping by height ----

struct GroupCase {
  std::string name;
  std::vector<std::vector<float>> entities;
  std::vector<float> merged_z;
  std::vector<size_t> group_sizes;
};

void PrintTo(const GroupCase& c, std::ostream* os) { *os << c.name; }

class MergeGroupingTest : public ::testing::TestWithParam<GroupCase> {};

TEST_P(MergeGroupingTest, LayersMeetByHeight) {
  const GroupCase& c = GetParam();
  std::vector<std::shared_ptr<Entity const>> sources;
  for (size_t e = 0; e < c.entities.size(); ++e) {
    auto ent = entity_with(c.entities[e]);
    // One boundary path per layer tells which sources a merged layer came from.
    for (auto& l : ent->get_layers()) l->add_boundary_path(path_with(static_cast<int>(e)));
    sources.push_back(ent);
  }
  auto result = std::make_shared<Entity>();
  ASSERT_EQ(Entity::merge_entities(sources, result), RETVAL_OK);
  ASSERT_EQ(result->get_layer_size(), c.merged_z.size());
  for (size_t i = 0; i < c.merged_z.size(); ++i) {
    EXPECT_EQ(result->get_layer(i)->get_z(), c.merged_z[i]) << i;
    EXPECT_EQ(result->get_layer(i)->get_id(), static_cast<int>(i));
    EXPECT_EQ(result->get_layer(i)->get_boundary_path_size(), c.group_sizes[i]) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Heights, MergeGroupingTest,
    ::testing::Values(
        GroupCase{"interleaved", {{0.2f, 0.4f}, {0.2f, 0.3f}}, {0.2f, 0.3f, 0.4f}, {2, 1, 1}},
        GroupCase{"near_equal_takes_earlier_z", {{0.2f}, {0.200005f}}, {0.2f}, {2}},
        GroupCase{"near_equal_reversed", {{0.200005f}, {0.2f}}, {0.200005f}, {2}},
        GroupCase{"apart_beyond_tolerance", {{0.2f}, {0.2001f}}, {0.2f, 0.2001f}, {1, 1}},
        GroupCase{"one_runs_out",
                  {{0.1f}, {0.1f, 0.2f, 0.3f}, {0.1f, 0.2f}},
                  {0.1f, 0.2f, 0.3f},
                  {3, 2, 1}},
        GroupCase{"lower_later_entity_goes_first", {{0.5f}, {0.3f}, {0.3f}}, {0.3f, 0.5f}, {2, 1}},
        GroupCase{"no_layers", {{}, {}}, {}, {}},
        // Each entity is taken in list order, whatever its heights.
        GroupCase{"unsorted_source", {{0.4f, 0.1f}, {0.2f}}, {0.2f, 0.4f, 0.1f}, {1, 1, 1}}),
    [](const auto& info) { return info.param.name; });

// The id packing itself is pinned by the merge_layers tests.
TEST(MergeEntitiesTest, MergedLayersAreFreshAndSourcesKeepTheirIds) {
  auto a = entity_with({0.2f});
  a->get_layer(0)->add_boundary_path(path_with(7));
  a->get_layer(0)->set_extraShell_offsets({0.4f});
  auto b = entity_with({0.2f});
  b->get_layer(0)->add_boundary_path(path_with(1));
  auto result = std::make_shared<Entity>();
  ASSERT_EQ(Entity::merge_entities({a, b}, result), RETVAL_OK);
  ASSERT_EQ(result->get_layer_size(), 1u);
  auto merged = result->get_layer(0);
  EXPECT_EQ(ids_of(merged->get_boundary_paths()), (std::vector<int>{0, 1}));
  EXPECT_TRUE(merged->get_extraShell_offsets().empty());
  EXPECT_FALSE(merged->is_region_numbered());
  EXPECT_EQ(a->get_layer(0)->get_boundary_path(0)->get_id(), 7);
}

TEST(MergeEntitiesTest, ExistingLayersOfTheResultStayInFront) {
  auto result = entity_with({5.0f});
  auto front = result->get_layer(0);
  ASSERT_EQ(Entity::merge_entities({entity_with({0.2f}), entity_with({0.3f})}, result), RETVAL_OK);
  ASSERT_EQ(result->get_layer_size(), 3u);
  EXPECT_EQ(result->get_layer(0), front);
  EXPECT_FLOAT_EQ(result->get_layer(1)->get_z(), 0.2f);
  EXPECT_FLOAT_EQ(result->get_layer(2)->get_z(), 0.3f);
}

TEST(MergeEntitiesTest, ResultThatIsAlsoASourceEnds) {
  auto a = entity_with({0.1f, 0.2f});
  auto b = entity_with({0.1f});
  ASSERT_EQ(Entity::merge_entities({a, b}, a), RETVAL_OK);
  // The two source layers, then the two merged ones.
  ASSERT_EQ(a->get_layer_size(), 4u);
  EXPECT_FLOAT_EQ(a->get_layer(2)->get_z(), 0.1f);
  EXPECT_FLOAT_EQ(a->get_layer(3)->get_z(), 0.2f);
}

}  // namespace
}  // namespace Quorvex
