#pragma once

// How the edge pass of fill-line generation finds the first scan line of an edge. Both
// ways toggle the same crossings in the same order; the walk is kept as the reference the
// binary search is tested against.

#include <memory>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Point2.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {
namespace fill_internal {

enum class EdgeLineSearch {
  kWalkFromLowestLine,
  kBinarySearch,
};

// get_fill_line_from_loops with a chosen edge search. Exported only so that the tests can
// compare the two; not part of the public headers.
QX_EXPORT RetVal get_fill_line_from_loops_with_search(
    const std::vector<std::shared_ptr<const Point2Vector>>& loops,
    std::vector<std::shared_ptr<Point2Vector>>& fill_lines, float line_spacing, float angle_degrees,
    float min_length, bool connect_lines, EdgeLineSearch search);

}  // namespace fill_internal
}  // namespace Quorvex
