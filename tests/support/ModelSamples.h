#pragma once

// Small paths, loops and layers that the model, merge and output tests build again and again.

#include <memory>
#include <string>
#include <vector>

#include "quorvex/baseType/Layer.h"
#include "quorvex/baseType/Path.h"

namespace qxtest {

using Quorvex::Layer;
using Quorvex::Path;
using Quorvex::PathType;
using Quorvex::Point2;
using Quorvex::Point2Vector;

inline std::shared_ptr<Path> make_path(const std::vector<Point2>& pts,
                                       PathType type = Quorvex::PATH_TYPE_NONE, float z = -1.0f,
                                       int id = -1) {
  auto p = std::make_shared<Path>();
  p->set_points(std::make_shared<Point2Vector>(pts));
  p->set_type(type);
  p->set_z(z);
  p->set_id(id);
  return p;
}

// An axis-aligned rectangle: widdershins as an outer loop, clockwise as a hole.
inline std::shared_ptr<Path> outer_rect(float x0, float y0, float x1, float y1) {
  return make_path({{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}}, Quorvex::PATH_TYPE_OUTER);
}
inline std::shared_ptr<Path> hole_rect(float x0, float y0, float x1, float y1) {
  return make_path({{x0, y0}, {x0, y1}, {x1, y1}, {x1, y0}}, Quorvex::PATH_TYPE_INNER);
}

// A short stroke whose first point is `start`.
inline std::shared_ptr<Path> stroke(Point2 start,
                                    PathType type = Quorvex::PATH_TYPE_FILL_SEGMENTS_0,
                                    int id = -1) {
  return make_path({start, Point2(start.x + 0.25f, start.y + 0.25f)}, type, -1.0f, id);
}

// The eight path lists in the order merges and the archive walk them, small regions last.
inline std::vector<std::vector<std::shared_ptr<Path>>*> path_lists(Layer& l) {
  return {&l.get_boundary_paths(),       &l.get_extraShell_paths(),  &l.get_fill_paths(),
          &l.get_thinWalledFill_paths(), &l.get_sharpAngle_paths(),  &l.get_support_paths(),
          &l.get_raft_paths(),           &l.get_small_region_paths()};
}

// One one-point path in each list, and two extra shell offsets.
inline Layer layer_with_every_list() {
  Layer l;
  for (auto* list : path_lists(l)) list->push_back(make_path({{0, 0}}));
  l.set_extraShell_offsets({0.4f, 0.8f});
  return l;
}

// The sizes of the eight lists, in path_lists order, as "b,e,f,t,s,u,r,m".
inline std::string path_counts(Layer& l) {
  std::string s;
  for (auto* list : path_lists(l)) s += (s.empty() ? "" : ",") + std::to_string(list->size());
  return s;
}

inline std::vector<int> ids_of(const std::vector<std::shared_ptr<Path>>& list) {
  std::vector<int> ids;
  for (const auto& p : list) ids.push_back(p->get_id());
  return ids;
}

}  // namespace qxtest
