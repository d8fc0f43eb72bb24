#include "quorvex/polygon/Clipper.h"

namespace Quorvex {

RetVal Clipper::offset(float delta, JoinType join_type, EndType end_type, float miter_limit,
                       float arc_tolerance, bool use_subject) {
  const RetVal code = import_data();
  if (code != RETVAL_OK) return code;

  // No defaults filled in here: the engine raises a miter limit below 2 and replaces a
  // non-positive arc tolerance itself.
  ClipperLib::ClipperOffset engine(static_cast<double>(miter_limit),
                                   static_cast<double>(arc_tolerance));
  fixed_result = std::make_shared<ClipperLib::Paths>();
  const std::shared_ptr<ClipperLib::Paths>& input = chosen_input_slot(use_subject);
  engine.AddPaths(*input, to_engine(join_type), to_engine(end_type));
  // The distance is scaled like a coordinate, in float, before the engine sees it.
  const float scaled_delta = delta * multiple;
  engine.Execute(*fixed_result, static_cast<double>(scaled_delta));

  drop_input_slots();
  return RETVAL_OK;
}

RetVal Clipper::get_clipper_simplified_intersection_loops(bool use_subject, PolyFillType fill) {
  const RetVal code = import_data();
  if (code != RETVAL_OK) return code;

  fixed_result = std::make_shared<ClipperLib::Paths>();
  const std::shared_ptr<ClipperLib::Paths> input = chosen_input_slot(use_subject);
  simplify_polygons(input, fixed_result, fill);

  drop_input_slots();
  return RETVAL_OK;
}

RetVal Clipper::simplify_polygons(const std::shared_ptr<ClipperLib::Paths>& in,
                                  std::shared_ptr<ClipperLib::Paths>& out, PolyFillType fill) {
  // Keep the input alive even if `in` and `out` name the same handle.
  const std::shared_ptr<ClipperLib::Paths> source = in ? in : std::make_shared<ClipperLib::Paths>();
  out = std::make_shared<ClipperLib::Paths>();
  ClipperLib::SimplifyPolygons(*source, *out, to_engine(fill));
  return RETVAL_OK;
}

RetVal Clipper::clean_polygon(std::vector<ClipperLib::IntPoint>& path, float distance) {
  const float scaled_distance = distance * multiple;
  ClipperLib::CleanPolygon(path, path, static_cast<double>(scaled_distance));
  return RETVAL_OK;
}

bool Clipper::orientation(const std::vector<ClipperLib::IntPoint>& path) {
  return ClipperLib::Orientation(path);
}

}  // namespace Quorvex
