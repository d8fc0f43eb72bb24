#pragma once

#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

// Douglas-Peucker thinning of a closed loop, in place.
//
// A vertex survives when it lies farther than `radius` from the chord of the arc of the ring
// it sits on. With `length` > 0 both ends of every edge at least that long are kept from the
// start, so only the stretches between long edges are thinned. The surviving vertices keep
// their order, the lowest surviving index comes first, and a result of fewer than 3 vertices
// comes back empty. Always returns RETVAL_OK; a `radius` that is not finite (NaN would strip
// every loop) or a loop of more than INT32_MAX vertices leaves the loop untouched.
//
// This form logs its arguments and passes the loop through the capture hook before reading it.
QX_EXPORT RetVal get_simplified_loop_DP(std::vector<Point2>& loop, float radius, float length);

// The same with `length` 0, silent and without capture.
QX_EXPORT RetVal get_simplified_loop_DP(std::vector<Point2>& loop, float radius);

}  // namespace Quorvex
