#pragma once

#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Point2.h"

namespace Quorvex {

// Questions about loops in float coordinates. A loop is closed: the point after the last
// is the first, and no closing duplicate is stored. Edge i runs from point i to point
// (i + 1) % n. None of these allocates, reports or changes its arguments (cross_point
// writes only its output). The float and double steps are deliberate: they decide which
// points count as inside, so they must not be "improved".

// Signed shoelace area, positive for a widdershins (counter-clockwise, y up) loop. The sum
// runs in double across an OpenMP team for long loops; the order in which the partial sums
// meet is not fixed, so the last bits of the double may differ between runs.
QX_EXPORT float get_area_loop(const std::vector<Point2>& loop);

// Loops shorter than this are summed by the calling thread alone. The sum takes about
// 1 ns a point on one core, and a team of two costs some microseconds to start, more when
// its threads have slept: at 32 768 points two threads still win with cold threads.
constexpr int kAreaLoopParallelThreshold = 32768;

// Crossings of the ray from `point` towards smaller x with the loop's edges. A point found
// on the loop gives exactly 1. A vertex at the point's height belongs to the edge that
// rises from it; horizontal edges never count.
QX_EXPORT int get_number_of_intersections_to_left(const std::vector<Point2>& loop,
                                                  const Point2& point);

// Odd number of crossings to the left; a point on the loop counts as inside.
QX_EXPORT bool is_point_in_loop(const Point2& point, const std::vector<Point2>& loop);

// Whether the segment a-b meets an edge of the loop, tested in a frame turned so that the
// segment runs along x. An edge lying on the segment's line gives no crossing by itself.
QX_EXPORT bool is_line_intersecting_loop(const Point2& a, const Point2& b,
                                         const std::vector<Point2>& loop);

// Whether any edge of `first` meets an edge of `second`; containment is no intersection.
QX_EXPORT bool is_loop_intersecting_other_loop(const std::vector<Point2>& first,
                                               const std::vector<Point2>& second);

// get_area_loop(loop) > 0.
QX_EXPORT bool is_widdershins(const std::vector<Point2>& loop);

// Direction by a vote of the turns at the extreme vertices, falling back on the area when
// the vote ties. An empty loop has neither votes nor area and is not widdershins.
QX_EXPORT bool is_widdershins_simple(const std::vector<Point2>& loop);

// Intersection of the segments a-b and c-d, with a tolerance of 1e-5 on the side areas.
// Writes `out` only when it returns true. Collinear overlapping segments give `a`.
QX_EXPORT bool cross_point(const Point2& a, const Point2& b, const Point2& c, const Point2& d,
                           Point2& out);

}  // namespace Quorvex
