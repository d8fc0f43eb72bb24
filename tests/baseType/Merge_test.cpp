#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/Layer.h"
#include "support/ModelSamples.h"

namespace Quorvex {
namespace {

using Ids = std::vector<int>;
using qxtest::ids_of;

std::shared_ptr<Path> path_with(int id) { return qxtest::stroke(Point2(0, 0), PATH_TYPE_NONE, id); }

std::shared_ptr<Layer> layer_at(float z, float thickness = 0.1f) {
  auto l = std::make_shared<Layer>();
  l->set_z(z);
  l->set_thickness(thickness);
  return l;
}

std::shared_ptr<Entity> entity_with(const std::vector<float>& zs,
                                    CraftType craft = CRAFT_TYPE_DEFAULT, float platform = 0.0f) {
  auto e = std::make_shared<Entity>();
  e->set_craft_type(craft);
  e->set_platform_height(platform);
  for (float z : zs) e->add_layer(layer_at(z));
  return e;
}

// ---- merge_layers ----

// Each source's region ids are packed in ascending order behind a running offset; an id no
// boundary path bears lands on the offset and widens it. -1 stays.
TEST(MergeLayersTest, PacksIdsPerSourceBehindARunningOffset) {
  auto first = layer_at(0.2f, 0.15f);
  first->get_boundary_paths() = {path_with(7), path_with(4), path_with(-1)};
  first->get_fill_paths() = {path_with(7), path_with(4), path_with(9)};
  auto second = layer_at(0.3f, 0.3f);
  second->get_boundary_paths() = {path_with(1)};
  second->get_fill_paths() = {path_with(1)};
  auto third = layer_at(0.2f);
  third->add_boundary_path(path_with(5));
  auto result = std::make_shared<Layer>();
  ASSERT_EQ(Layer::merge_layers({first, second, third}, result, 12), RETVAL_OK);
  EXPECT_EQ(result->get_id(), 12);
  EXPECT_FLOAT_EQ(result->get_z(), 0.2f);
  EXPECT_FLOAT_EQ(result->get_thickness(), 0.15f);
  EXPECT_EQ(ids_of(result->get_boundary_paths()), (Ids{1, 0, -1, 3, 4}));
  EXPECT_EQ(ids_of(result->get_fill_paths()), (Ids{1, 0, 0, 3}));
}

// Copies share the geometry but not the path, whose id alone is renumbered.
TEST(MergeLayersTest, EveryListGoesToItsOwnKindWithMinusOneKept) {
  auto src = layer_at(1.0f);
  const auto lists = qxtest::path_lists(*src);
  for (size_t k = 0; k < lists.size(); ++k) *lists[k] = {path_with(k == 0 ? 3 : -1), path_with(-1)};
  auto result = std::make_shared<Layer>();
  Layer::merge_layers({src}, result, 0);
  const auto merged_lists = qxtest::path_lists(*result);
  for (size_t k = 0; k < lists.size(); ++k) {
    const auto& merged = *merged_lists[k];
    ASSERT_EQ(merged.size(), 2u) << "list " << k;
    EXPECT_NE(merged[0], (*lists[k])[0]);
    EXPECT_EQ(merged[0]->get_points(), (*lists[k])[0]->get_points()) << "list " << k;
    EXPECT_EQ(ids_of(merged), (Ids{k == 0 ? 0 : -1, -1})) << "list " << k;
  }
  EXPECT_EQ(src->get_boundary_path(0)->get_id(), 3);
}

TEST(MergeLayersTest, EmptyResultHandleChangesNothing) {
  auto src = layer_at(0.5f);
  src->add_fill_path(path_with(2));
  EXPECT_EQ(Layer::merge_layers({src}, nullptr, 0), RETVAL_OK);
  EXPECT_EQ(src->get_fill_path(0)->get_id(), 2);
}

// ---- merge_entities ----

TEST(MergeEntitiesTest, RefusesBeforeChangingAnything) {
  auto empty_slot = entity_with({0.2f});
  empty_slot->resize_layer_size(2);
  const CraftType kDefault = CRAFT_TYPE_DEFAULT;
  const std::vector<std::vector<std::shared_ptr<Entity const>>> inputs = {
      {entity_with({0.2f})},
      {entity_with({0.2f}), entity_with({0.2f}), entity_with({0.2f}, static_cast<CraftType>(1))},
      {entity_with({0.2f}, kDefault, 1.0f), entity_with({0.2f}, kDefault, 1.001f)},
      {entity_with({0.2f}, kDefault, 1.0f), entity_with({0.2f}, kDefault, std::nanf(""))},
      {entity_with({0.2f}), nullptr},
      {entity_with({0.2f}), empty_slot}};
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    auto result = entity_with({9.0f}, static_cast<CraftType>(5), 77.0f);
    auto before = result->get_layer(0);
    EXPECT_EQ(Entity::merge_entities(inputs[i], result), RETVAL_BAD_INPUT) << i;
    EXPECT_EQ(result->get_layer_size(), 1u);
    EXPECT_EQ(result->get_layer(0), before);
    EXPECT_EQ(result->get_craft_type(), static_cast<CraftType>(5));
    EXPECT_FLOAT_EQ(result->get_platform_height(), 77.0f);
  }
  EXPECT_EQ(Entity::merge_entities({entity_with({0.2f}), entity_with({0.2f})}, nullptr),
            RETVAL_BAD_INPUT);
}

TEST(MergeEntitiesTest, LayersMeetByHeight) {
  const struct {
    std::vector<std::vector<float>> entities;
    std::vector<float> merged_z;
    std::vector<size_t> group_sizes;
  } cases[] = {
      {{{0.2f, 0.4f}, {0.2f, 0.3f}}, {0.2f, 0.3f, 0.4f}, {2, 1, 1}},
      {{{0.2f}, {0.200005f}}, {0.2f}, {2}},  // near equal: the earlier z
      {{{0.200005f}, {0.2f}}, {0.200005f}, {2}},
      {{{0.2f}, {0.2001f}}, {0.2f, 0.2001f}, {1, 1}},
      {{{0.1f}, {0.1f, 0.2f, 0.3f}, {0.1f, 0.2f}}, {0.1f, 0.2f, 0.3f}, {3, 2, 1}},
      {{{0.5f}, {0.3f}, {0.3f}}, {0.3f, 0.5f}, {2, 1}},
      {{{}, {}}, {}, {}},
      {{{0.4f, 0.1f}, {0.2f}}, {0.2f, 0.4f, 0.1f}, {1, 1, 1}}};  // each source in list order
  for (const auto& c : cases) {
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
}

// Merged layers are fresh (no offsets, not numbered); the result's own layers stay in front.
// Platform heights within the tolerance merge, the first one is kept with the craft type.
TEST(MergeEntitiesTest, MergedLayersAreFreshBehindTheResultsOwn) {
  auto a = entity_with({0.2f}, static_cast<CraftType>(3), 1.0f);
  a->get_layer(0)->add_boundary_path(path_with(7));
  a->get_layer(0)->set_extraShell_offsets({0.4f});
  auto b = entity_with({0.2f, 0.3f}, static_cast<CraftType>(3), 1.000005f);
  b->get_layer(0)->add_boundary_path(path_with(1));
  auto result = entity_with({5.0f});
  auto front = result->get_layer(0);
  ASSERT_EQ(Entity::merge_entities({a, b}, result), RETVAL_OK);
  ASSERT_EQ(result->get_layer_size(), 3u);
  EXPECT_EQ(result->get_layer(0), front);
  EXPECT_EQ(result->get_craft_type(), static_cast<CraftType>(3));
  EXPECT_EQ(result->get_platform_height(), 1.0f);
  auto merged = result->get_layer(1);
  EXPECT_EQ(ids_of(merged->get_boundary_paths()), (Ids{0, 1}));
  EXPECT_TRUE(merged->get_extraShell_offsets().empty());
  EXPECT_FALSE(merged->is_region_numbered());
  EXPECT_FLOAT_EQ(result->get_layer(2)->get_z(), 0.3f);
  EXPECT_EQ(a->get_layer(0)->get_boundary_path(0)->get_id(), 7);
  // A result that is also a source: its source layers, then the merged ones.
  ASSERT_EQ(Entity::merge_entities({a, b}, a), RETVAL_OK);
  ASSERT_EQ(a->get_layer_size(), 3u);
  EXPECT_FLOAT_EQ(a->get_layer(1)->get_z(), 0.2f);
  EXPECT_FLOAT_EQ(a->get_layer(2)->get_z(), 0.3f);
}

}  // namespace
}  // namespace Quorvex
