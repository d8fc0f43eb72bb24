#pragma once

// Exact equality of points, for tests that pin results value for value. The library's Point2
// has no operator== of its own: callers compare floats with the tolerance their use needs.

#include "quorvex/baseType/Point2.h"

namespace Quorvex {

inline bool operator==(const Point2& a, const Point2& b) { return a.x == b.x && a.y == b.y; }

}  // namespace Quorvex
