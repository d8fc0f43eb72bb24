#pragma once

#include <memory>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

class Path;

// Thins a closed loop in place by sweeps over every second vertex with a tolerance that
// grows from a 256th of `tolerance` to `tolerance`: a vertex goes when it lies nearly on the
// way between its neighbours or very close to one of them. A final pass then removes ring
// neighbours closer than `tolerance`. The survivors keep their order, though the first
// vertex may go; the result may hold fewer than 3 vertices.
// RETVAL_BAD_INPUT, loop untouched, for fewer than 2 vertices; RETVAL_OK otherwise.
QX_EXPORT RetVal get_simplified_loop(std::vector<Point2>& loop, float tolerance);

// The same on the points of a path, each colour travelling with its point. A vertex whose
// colour differs from a neighbour's by more than `colour_tolerance` is never dropped by the
// sweeps, and the final pass runs along the path without wrapping, so the first point stays.
// RETVAL_BAD_INPUT, path untouched, for an empty handle, fewer than 2 points, or a colour
// sequence missing or of another length than the points; RETVAL_OK otherwise.
QX_EXPORT RetVal get_simplified_path_with_colour(std::shared_ptr<Path>& path, float tolerance,
                                                 float colour_tolerance);

}  // namespace Quorvex
