#include "quorvex/polygon/RegionBoolean.h"

#include "quorvex/polygon/Clipper.h"
#include "quorvex/polygon/FixedPointScale.h"

namespace Quorvex {

namespace {

ClipperLib::Paths scale_loops_to_fixed_f64(
    const std::vector<std::shared_ptr<Point2Vector const>>& loops) {
  ClipperLib::Paths paths;
  paths.reserve(loops.size());
  for (const auto& loop : loops) {
    paths.emplace_back();
    // Callers promise non-null handles; a null one is read as a loop without points
    // rather than followed.
    if (!loop) continue;
    ClipperLib::Path& path = paths.back();
    path.reserve(loop->size());
    for (const Point2& p : *loop) {
      path.emplace_back(scale_to_fixed_f64(p.x), scale_to_fixed_f64(p.y));
    }
  }
  return paths;
}

std::shared_ptr<Point2Vector> scale_loop_from_fixed_f64(const ClipperLib::Path& path) {
  auto loop = std::make_shared<Point2Vector>();
  loop->reserve(path.size());
  for (const ClipperLib::IntPoint& p : path) {
    loop->emplace_back(scale_from_fixed_f64(p.X), scale_from_fixed_f64(p.Y));
  }
  return loop;
}

}  // namespace

RetVal get_classified_region(const std::vector<std::shared_ptr<Point2Vector const>>& loops,
                             std::vector<std::vector<std::shared_ptr<Point2Vector>>>& regions,
                             PolyFillType fill) {
  regions.clear();
  const ClipperLib::Paths paths = scale_loops_to_fixed_f64(loops);

  ClipperLib::Clipper engine;
  engine.AddPaths(paths, ClipperLib::ptSubject, true);
  ClipperLib::PolyTree engine_tree;
  engine.Execute(ClipperLib::ctUnion, engine_tree, to_engine(fill), to_engine(fill));

  // Depth first, parent before children: a region's islands open their own regions
  // right behind it, before the next sibling.
  for (const ClipperLib::PolyNode* node = engine_tree.GetFirst(); node != nullptr;
       node = node->GetNext()) {
    if (node->IsHole()) continue;
    std::vector<std::shared_ptr<Point2Vector>> region;
    region.reserve(node->Childs.size() + 1);
    region.push_back(scale_loop_from_fixed_f64(node->Contour));
    for (const ClipperLib::PolyNode* hole : node->Childs) {
      region.push_back(scale_loop_from_fixed_f64(hole->Contour));
    }
    regions.push_back(std::move(region));
  }
  return RETVAL_OK;
}

RetVal get_clipper_boolean_operation_result(
    const std::vector<std::shared_ptr<Point2Vector const>>& subject,
    std::vector<std::shared_ptr<Point2Vector>>& result, ClipType clip_type,
    const std::vector<std::shared_ptr<Point2Vector const>>& clip, PolyFillType subject_fill,
    PolyFillType clip_fill) {
  result.clear();
  const ClipperLib::Paths subject_paths = scale_loops_to_fixed_f64(subject);
  const ClipperLib::Paths clip_paths = scale_loops_to_fixed_f64(clip);

  ClipperLib::Clipper engine;
  engine.AddPaths(subject_paths, ClipperLib::ptSubject, true);
  engine.AddPaths(clip_paths, ClipperLib::ptClip, true);
  ClipperLib::Paths solution;
  engine.Execute(to_engine(clip_type), solution, to_engine(subject_fill), to_engine(clip_fill));

  result.reserve(solution.size());
  for (const ClipperLib::Path& path : solution) {
    if (path.empty()) continue;
    result.push_back(scale_loop_from_fixed_f64(path));
  }
  return RETVAL_OK;
}

void region_bool_operation(std::vector<std::shared_ptr<Point2Vector>>& result,
                           const std::vector<std::shared_ptr<Point2Vector const>>& subject,
                           const std::vector<std::shared_ptr<Point2Vector const>>& clip,
                           int operation) {
  Clipper clipper(false);
  clipper.set_paths(subject, ptSubject);
  clipper.set_paths(clip, ptClip);

  ClipType clip_type = ctXor;
  switch (operation) {
    case 1:
    case 3:
      clip_type = ctDifference;
      break;
    case 2:
      clip_type = ctUnion;
      break;
    default:
      clip_type = ctXor;
      break;
  }
  // A refused input leaves no result, which get_result reports as an empty list.
  clipper.execute(clip_type, pftEvenOdd, pftEvenOdd, 0, true);
  clipper.get_result(result, true);
}

}  // namespace Quorvex
