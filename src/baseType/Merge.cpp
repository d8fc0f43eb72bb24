#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/Layer.h"

namespace Quorvex {

namespace {

// Heights closer than this are one height, both for platforms and for layers.
constexpr double kHeightTolerance = 1e-5;

// The float difference, widened, within the closed tolerance. NaN is never within.
bool heights_agree(float difference) {
  return difference >= -kHeightTolerance && difference <= kHeightTolerance;
}

// A merge builds the result's lists aside and swaps them in at the end, so a result that
// is also one of the sources is read whole before it is changed.
enum ListKind : std::size_t {
  kBoundary,
  kExtraShell,
  kFill,
  kThinWalledFill,
  kSharpAngle,
  kSupport,
  kRaft,
  kSmallRegion,
  kListKinds
};

using PathLists = std::array<std::vector<std::shared_ptr<Path>>, kListKinds>;

// The lists of a layer in the order the merge walks them.
std::array<const std::vector<std::shared_ptr<Path>>*, kListKinds> lists_of(const Layer& l) {
  return {&l.get_boundary_paths(),       &l.get_extraShell_paths(),  &l.get_fill_paths(),
          &l.get_thinWalledFill_paths(), &l.get_sharpAngle_paths(),  &l.get_support_paths(),
          &l.get_raft_paths(),           &l.get_small_region_paths()};
}

}  // namespace

RetVal Layer::merge_layers(const std::vector<std::shared_ptr<Layer const>>& layers,
                           std::shared_ptr<Layer> result, int id) {
  if (!result) result = std::make_shared<Layer>();

  const Layer* first = layers.empty() ? nullptr : layers.front().get();
  PathLists merged;
  // The small_region list is appended to, not replaced.
  merged[kSmallRegion] = result->small_region_paths_;

  // Offset and map live in this call only, so merges may run side by side.
  int offset = 0;
  for (const auto& source : layers) {
    if (!source) continue;
    std::set<int> ids;
    for (const auto& path : source->boundary_paths_) {
      if (path) ids.insert(path->get_id());
    }
    ids.erase(-1);
    // Packs the source's region numbers without gaps, in ascending order.
    std::map<int, int> id_map;
    int packed = 0;
    for (int old_id : ids) id_map[old_id] = packed++;

    const auto source_lists = lists_of(*source);
    for (std::size_t kind = 0; kind < kListKinds; ++kind) {
      for (const auto& path : *source_lists[kind]) {
        if (!path) {
          merged[kind].push_back(nullptr);
          continue;
        }
        auto copy = std::make_shared<Path>(*path);
        // An id no boundary path bears enters the map at 0 and so lands on the offset.
        if (path->get_id() != -1) copy->set_id(offset + id_map[path->get_id()]);
        merged[kind].push_back(std::move(copy));
      }
    }
    offset += static_cast<int>(id_map.size());
  }

  result->set_id(id);
  if (first != nullptr) {
    result->set_z(first->get_z());
    result->set_thickness(first->get_thickness());
  }
  result->boundary_paths_ = std::move(merged[kBoundary]);
  result->extraShell_paths_ = std::move(merged[kExtraShell]);
  result->fill_paths_ = std::move(merged[kFill]);
  result->thinWalledFill_paths_ = std::move(merged[kThinWalledFill]);
  result->sharpAngle_paths_ = std::move(merged[kSharpAngle]);
  result->support_paths_ = std::move(merged[kSupport]);
  result->raft_paths_ = std::move(merged[kRaft]);
  result->small_region_paths_ = std::move(merged[kSmallRegion]);
  return RETVAL_OK;
}

RetVal Entity::merge_entities(const std::vector<std::shared_ptr<Entity const>>& entities,
                              std::shared_ptr<Entity> result) {
  if (entities.size() < 2) return RETVAL_BAD_INPUT;
  // Empty handles are refused up front, so that nothing changes before a refusal.
  for (const auto& e : entities) {
    if (!e) return RETVAL_BAD_INPUT;
    for (const auto& layer : e->get_layers()) {
      if (!layer) return RETVAL_BAD_INPUT;
    }
  }
  const Entity& first = *entities.front();
  for (const auto& e : entities) {
    if (e->get_craft_type() != first.get_craft_type()) return RETVAL_BAD_INPUT;
  }
  for (std::size_t i = 1; i < entities.size(); ++i) {
    if (!heights_agree(first.get_platform_height() - entities[i]->get_platform_height())) {
      return RETVAL_BAD_INPUT;
    }
  }
  if (!result) return RETVAL_BAD_INPUT;

  // Snapshots of the layer lists: a result that is also a source grows while it is read,
  // and would otherwise never run out of layers.
  std::vector<std::vector<std::shared_ptr<Layer>>> sources;
  sources.reserve(entities.size());
  for (const auto& e : entities) sources.push_back(e->get_layers());

  result->set_craft_type(first.get_craft_type());
  result->set_platform_height(first.get_platform_height());

  const std::size_t count = sources.size();
  std::vector<std::size_t> cursor(count, 0);
  std::vector<std::size_t> group;
  std::vector<std::shared_ptr<Layer const>> group_layers;
  int layer_number = 0;
  for (;;) {
    // The lowest height among the layers at the cursors, and who stands at it. Each
    // source is taken in its own list order: a merge of lists sorted bottom to top.
    group.clear();
    float current = 0.0f;
    for (std::size_t e = 0; e < count; ++e) {
      if (cursor[e] >= sources[e].size()) continue;
      const float z = sources[e][cursor[e]]->get_z();
      if (group.empty()) {
        current = z;
        group.push_back(e);
      } else if (heights_agree(z - current)) {
        group.push_back(e);
      } else if (current > z) {
        current = z;
        group.assign(1, e);
      }
    }
    if (group.empty()) break;

    group_layers.clear();
    for (std::size_t e : group) group_layers.push_back(sources[e][cursor[e]++]);

    auto merged = std::make_shared<Layer>();
    if (Layer::merge_layers(group_layers, merged, layer_number++) == RETVAL_OK) {
      result->add_layer(merged);
    }
  }
  return RETVAL_OK;
}

}  // namespace Quorvex
