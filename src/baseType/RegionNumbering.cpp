#include <glog/logging.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "RegionBoxGrid.h"
#include "quorvex/baseType/Layer.h"
#include "quorvex/planeGeometry/BoundaryTransform.h"
#include "quorvex/planeGeometry/LoopPredicates.h"

namespace Quorvex {

namespace {

// Widening of the boxes in the walk by proximity, in double like the comparisons.
constexpr double kProximityMargin = 1e-5;
// Tolerance of the side area that puts a point on an edge.
constexpr double kOnEdgeTolerance = 1e-5;

using RegionBox = detail::GridBox;

// Below this many regions a plain walk over the boxes is as quick as the grid.
constexpr int kGridFromRegions = 32;

// A missing points handle reads as an empty loop, so bad input meets no region rather
// than a null dereference.
const Point2Vector& points_or_empty(const Path& path) {
  static const Point2Vector kEmpty;
  const auto pts = path.get_points();
  return pts ? *pts : kEmpty;
}

bool has_points(const Path& path) { return !points_or_empty(path).empty(); }

RegionBox loop_box(const Path& path) {
  RegionBox b;
  const auto pts = path.get_points();
  if (pts) {
    get_boundary_bbox(pts, b.min_x, b.min_y, b.max_x, b.max_y);
  } else {
    // What get_boundary_bbox gives an empty loop: minima above maxima, holding nothing.
    get_boundary_bbox(std::make_shared<Point2Vector const>(), b.min_x, b.min_y, b.max_x, b.max_y);
  }
  return b;
}

bool box_within(const RegionBox& inner, const RegionBox& outer) {
  return inner.min_x >= outer.min_x && inner.min_y >= outer.min_y && inner.max_x <= outer.max_x &&
         inner.max_y <= outer.max_y;
}

bool point_in_box(const Point2& q, const RegionBox& b) {
  return q.x >= b.min_x && q.x <= b.max_x && q.y >= b.min_y && q.y <= b.max_y;
}

bool point_in_widened_box(const Point2& q, const RegionBox& b) {
  const double x = q.x;
  const double y = q.y;
  return x >= b.min_x - kProximityMargin && x <= b.max_x + kProximityMargin &&
         y >= b.min_y - kProximityMargin && y <= b.max_y + kProximityMargin;
}

// Distance along one axis from q to the widened interval [lo, hi], rounded to float. Below
// the interval the widened bound is a double; above it the float gap q - hi is taken
// first and then narrowed by the margin in double.
float gap_to_widened_f32(float q, float lo, float hi) {
  const double lo_w = lo - kProximityMargin;
  const double hi_w = hi + kProximityMargin;
  if (q < lo_w) return static_cast<float>(lo_w - q);
  if (q > hi_w) return static_cast<float>((q - hi) - kProximityMargin);
  return 0.0f;
}

bool point_on_edge(const Point2& q, const Point2& a, const Point2& b) {
  const float lo_x = a.x < b.x ? a.x : b.x;
  const float hi_x = a.x < b.x ? b.x : a.x;
  const float lo_y = a.y < b.y ? a.y : b.y;
  const float hi_y = a.y < b.y ? b.y : a.y;
  if (!(q.x >= lo_x && q.x <= hi_x && q.y >= lo_y && q.y <= hi_y)) return false;
  const float side = (b.y - q.y) * (a.x - q.x) - (a.y - q.y) * (b.x - q.x);
  return side >= -kOnEdgeTolerance && side <= kOnEdgeTolerance;
}

bool point_on_loop(const Point2& q, const Point2Vector& loop) {
  const std::size_t n = loop.size();
  for (std::size_t i = 0; i < n; ++i) {
    if (point_on_edge(q, loop[i], loop[i + 1 < n ? i + 1 : 0])) return true;
  }
  return false;
}

// The regions of one numbering: index for index, the paths of each and the box of the
// loop that opened it. Region numbers are indices.
class RegionSet {
 public:
  void open(const std::shared_ptr<Path>& opener) {
    paths_.push_back({opener});
    boxes_.push_back(loop_box(*opener));
  }
  void append(int region, const std::shared_ptr<Path>& path) {
    paths_[static_cast<std::size_t>(region)].push_back(path);
  }
  int size() const { return static_cast<int>(boxes_.size()); }
  const std::vector<std::vector<std::shared_ptr<Path>>>& paths() const { return paths_; }

  // Indexes the regions opened so far; regions opened later are walked one by one.
  void index_boxes() {
    if (size() >= kGridFromRegions) grid_.build(boxes_);
  }

  // The innermost region whose opening loop holds q: a later candidate counts only when
  // its box lies within the box of the best so far, so nesting wins over list order. Only a
  // region whose box holds q can become the best, so the walk may skip every other one as
  // long as it keeps the order of the regions.
  int find(const Point2& q) const {
    int best = -1;
    const auto consider = [&](int k) {
      const RegionBox& box = boxes_[static_cast<std::size_t>(k)];
      if (best != -1 && !box_within(box, boxes_[static_cast<std::size_t>(best)])) return true;
      if (point_in_box(q, box) &&
          is_point_in_loop(q, points_or_empty(*paths_[static_cast<std::size_t>(k)].front()))) {
        best = k;
      }
      return true;
    };
    grid_.for_each_candidate(q.x, q.y, consider);
    for (int k = grid_.size(); k < size(); ++k) consider(k);
    return best;
  }

  // The region one of whose loops q lies on, among those whose widened box holds q; else
  // the region of the nearest widened box, the earlier at a tie; -1 without regions.
  int find_by_proximity(const Point2& q) const {
    for (int r = 0; r < size(); ++r) {
      if (!point_in_widened_box(q, boxes_[static_cast<std::size_t>(r)])) continue;
      for (const auto& path : paths_[static_cast<std::size_t>(r)]) {
        if (point_on_loop(q, points_or_empty(*path))) return r;
      }
    }
    int nearest = -1;
    float nearest_d2 = 0.0f;
    for (int r = 0; r < size(); ++r) {
      const RegionBox& b = boxes_[static_cast<std::size_t>(r)];
      const float dx = gap_to_widened_f32(q.x, b.min_x, b.max_x);
      const float dy = gap_to_widened_f32(q.y, b.min_y, b.max_y);
      const float d2 = dy * dy + dx * dx;
      if (nearest == -1 || d2 < nearest_d2) {
        nearest = r;
        nearest_d2 = d2;
      }
    }
    return nearest;
  }

 private:
  std::vector<std::vector<std::shared_ptr<Path>>> paths_;
  std::vector<RegionBox> boxes_;
  detail::RegionBoxGrid grid_;
};

}  // namespace

bool Layer::number_region() {
  if (is_region_numbered()) return true;

  RegionSet regions;
  for (const auto& path : boundary_paths_) {
    if (path && path->get_type() == PATH_TYPE_OUTER) regions.open(path);
  }
  regions.index_boxes();
  for (const auto& path : boundary_paths_) {
    if (!path || path->get_type() != PATH_TYPE_INNER) continue;
    // A hole without a point has no place to be found at; it is as lost as one outside.
    const int region = has_points(*path) ? regions.find(path->get_point(0)) : -1;
    if (region != -1) {
      regions.append(region, path);
    } else {
      LOG(WARNING) << "layer " << id_ << ": invalid inner loop found";
      regions.open(path);
    }
  }
  for (int r = 0; r < regions.size(); ++r) {
    for (const auto& path : regions.paths()[static_cast<std::size_t>(r)]) path->set_id(r);
  }

  // The ordinary walk: a path takes the region its first point lies in.
  std::vector<std::shared_ptr<Path>> strays;
  for (const auto* list : {&extraShell_paths_, &fill_paths_, &small_region_paths_}) {
    for (const auto& path : *list) {
      if (!path) continue;
      if (!has_points(*path)) {
        LOG(WARNING) << "empty path found";
        continue;
      }
      const int region = regions.find(path->get_point(0));
      if (region != -1) {
        path->set_id(region);
      } else {
        strays.push_back(path);
        LOG(WARNING) << "layer " << id_
                     << " invalid path found: " << static_cast<int>(path->get_type());
      }
    }
  }
  // Strays get numbers no region has, without opening regions of their own.
  int next_free = regions.size();
  for (const auto& path : strays) path->set_id(next_free++);

  // Thin walls and sharp angles start on a loop or near it rather than inside it.
  for (const auto* list : {&thinWalledFill_paths_, &sharpAngle_paths_}) {
    for (const auto& path : *list) {
      if (!path) continue;
      if (!has_points(*path)) {
        LOG(WARNING) << "empty path found";
        continue;
      }
      path->set_id(regions.find_by_proximity(path->get_point(0)));
    }
  }

  flags_ |= 1u;
  return true;
}

bool Layer::get_last_points(std::vector<std::vector<std::shared_ptr<Point2Vector>>>& result) {
  for (const auto& path : boundary_paths_) {
    if (!path) continue;
    const int id = path->get_id();
    if (id < 0) return false;
    const std::size_t slot = static_cast<std::size_t>(id);
    if (result.size() < slot + 1) result.resize(slot + 1);
    result[slot].push_back(path->get_points());
  }

  // One pass over the shells keeps, per region, the loops of the highest level seen, in
  // list order; regions are independent, so this is the per-region scan done at once.
  std::vector<int> level(result.size(), 0);
  std::vector<std::vector<std::shared_ptr<Point2Vector>>> shells(result.size());
  for (const auto& path : extraShell_paths_) {
    if (!path) continue;
    const int id = path->get_id();
    if (id < 0 || static_cast<std::size_t>(id) >= result.size()) continue;
    const auto component = path->get_extra_shell_component();
    // A shell without its component has no level; it counts like a negative one.
    if (!component) continue;
    const std::size_t r = static_cast<std::size_t>(id);
    const int shell = component->get_extraShell_id();
    if (shell > level[r]) shells[r].clear();
    if (shell < level[r]) continue;
    shells[r].push_back(path->get_points());
    level[r] = shell;
  }
  for (std::size_t r = 0; r < result.size(); ++r) {
    if (!shells[r].empty()) result[r] = std::move(shells[r]);
  }
  return true;
}

}  // namespace Quorvex
