#include <cmath>

#include "quorvex/polygon/Clipper.h"

namespace Quorvex {

namespace {

// Largest coordinate magnitude the engine takes (its own range limit).
constexpr double kEngineRange = 4611686018427387903.0;  // 0x3FFFFFFFFFFFFFFF
// Points the engine may lay on one full turn of a round join or end.
constexpr double kMaxRoundSteps = 16777216.0;  // 2^24

// The number of points the engine lays on a full turn for this distance and tolerance, by its
// own formula. Once 1 - y / |delta| rounds to 1 the count is unbounded (the engine then caps
// it at |delta| * pi, which at such distances is still more than any memory holds).
double engine_round_steps(double delta, double arc_tolerance) {
  const double pi = 3.141592653589793238;
  const double d = std::fabs(delta);
  double y = 0.25;
  if (arc_tolerance > 0.0) y = arc_tolerance > d * 0.25 ? d * 0.25 : arc_tolerance;
  const double steps = pi / std::acos(1.0 - y / d);
  return steps > d * pi ? d * pi : steps;
}

// Distances the engine cannot work with: not a number, beyond its coordinate range, or, with
// round joins or ends, so large against the arc tolerance that a single turn would take
// more points than memory holds (the engine would loop until the allocation fails).
bool offset_is_workable(double scaled_delta, double arc_tolerance, JoinType join_type,
                        EndType end_type) {
  if (!std::isfinite(scaled_delta) || std::fabs(scaled_delta) >= kEngineRange) return false;
  if (std::isnan(arc_tolerance)) return false;
  const bool round = join_type == jtRound || end_type == etOpenRound;
  if (!round || scaled_delta == 0.0) return true;
  return engine_round_steps(scaled_delta, arc_tolerance) <= kMaxRoundSteps;
}

}  // namespace

RetVal Clipper::offset(float delta, JoinType join_type, EndType end_type, float miter_limit,
                       float arc_tolerance, bool use_subject) {
  // The distance is scaled like a coordinate, in float, before the engine sees it.
  const float scaled_delta = delta * multiple;
  if (!offset_is_workable(static_cast<double>(scaled_delta), static_cast<double>(arc_tolerance),
                          join_type, end_type)) {
    return RETVAL_BAD_INPUT;
  }
  const RetVal code = import_data();
  if (code != RETVAL_OK) return code;

  // No defaults filled in here: the engine raises a miter limit below 2 and replaces a
  // non-positive arc tolerance itself.
  ClipperLib::ClipperOffset engine(static_cast<double>(miter_limit),
                                   static_cast<double>(arc_tolerance));
  fixed_result = std::make_shared<ClipperLib::Paths>();
  const std::shared_ptr<ClipperLib::Paths>& input = chosen_input_slot(use_subject);
  engine.AddPaths(*input, to_engine(join_type), to_engine(end_type));
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
