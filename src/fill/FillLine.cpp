#include "quorvex/fill/FillLine.h"

#include <cmath>

#include "FillLineSearch.h"
#include "FillScanContext.h"

namespace Quorvex {
namespace fill_internal {

RetVal get_fill_line_from_loops_with_search(
    const std::vector<std::shared_ptr<const Point2Vector>>& loops,
    std::vector<std::shared_ptr<Point2Vector>>& fill_lines, float line_spacing, float angle_degrees,
    float min_length, bool connect_lines, EdgeLineSearch search) {
  if (loops.empty()) return RETVAL_BAD_INPUT;
  // A spacing of zero, below zero or NaN would never let the scan lines advance.
  if (!(line_spacing > 0.0f)) return RETVAL_BAD_INPUT;
  if (!std::isfinite(angle_degrees)) return RETVAL_BAD_INPUT;

  FillScanContext ctx;
  ctx.line_spacing = line_spacing;
  ctx.angle_degrees = angle_degrees;
  ctx.min_length = min_length;
  RetVal ret = build_scan_frame(loops, ctx);
  if (ret != RETVAL_OK) return ret;
  ret = collect_crossings(ctx, search);
  if (ret != RETVAL_OK) return ret;
  pair_crossings(ctx);
  if (connect_lines) link_crossings(ctx);
  rotate_results_back(ctx);
  fill_lines = std::move(ctx.results);
  return RETVAL_OK;
}

}  // namespace fill_internal

RetVal get_fill_line_from_loops(const std::vector<std::shared_ptr<const Point2Vector>>& loops,
                                std::vector<std::shared_ptr<Point2Vector>>& fill_lines,
                                float line_spacing, float angle_degrees, float min_length,
                                bool connect_lines) {
  return fill_internal::get_fill_line_from_loops_with_search(
      loops, fill_lines, line_spacing, angle_degrees, min_length, connect_lines,
      fill_internal::EdgeLineSearch::kBinarySearch);
}

}  // namespace Quorvex
