#pragma once

#include <memory>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

class Path;

// Quadric-error thinning of a closed loop, in place: collapses the cheapest vertex again and
// again until the next collapse would cost more than `tolerance` squared. The cost of a vertex
// is the mean squared distance of the points merged into it from the chord between its ring
// neighbours. The survivors keep their order; at least 2 of them remain.
// RETVAL_BAD_INPUT, loop untouched, if `tolerance` is not a finite number above 0 (a NaN
// tolerance would never stop the collapses), or there are fewer than 4 vertices or more than
// INT32_MAX.
QX_EXPORT RetVal get_QEM_simplified_loop(std::vector<Point2>& loop, float tolerance);

// The same for a path read as a closed loop with a colour per point, measured in five
// dimensions (position, red, green, blue). Positions are scaled by
// colour_tolerance / position_tolerance so that one limit serves both. The path receives new
// point and colour sequences; the sequence it held before is left scaled. Should an
// allocation fail meanwhile, the exception leaves the path and its sequences as they were.
// Returns with the path untouched if a tolerance is not a finite number above 0, the scale
// rounds to 0 or overflows the float range, a point is not finite once scaled, a handle is
// empty, the sizes differ, or there are fewer than 4 points or more than INT32_MAX.
QX_EXPORT void get_QEM_simplified_loop_with_colour(std::shared_ptr<Path>& path,
                                                   float position_tolerance,
                                                   float colour_tolerance);

}  // namespace Quorvex
