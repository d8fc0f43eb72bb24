#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Point2.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

// Limits that keep a pathological call (a spacing tiny against the extent, coordinates
// far from the grid origin) from looping or allocating without end. A call beyond any of
// them returns RETVAL_BAD_INPUT and leaves the output untouched.
//
// Most scan lines one call lays over a region.
constexpr int64_t kFillMaxScanLines = int64_t{1} << 20;
// Most crossings of scan lines with outline edges one call records.
constexpr int64_t kFillMaxCrossings = int64_t{1} << 23;
// Most outline vertices one call takes.
constexpr int64_t kFillMaxVertices = int64_t{1} << 28;

// Lays parallel fill lines into the region bounded by `loops` (outer loops and holes
// together; inside is decided by even-odd parity), `line_spacing` apart, running at
// `angle_degrees` from the x axis. Scan-line heights sit on a grid anchored at zero in the
// rotated frame, nudged by 1e-7 steps off the heights of outline vertices.
//
// connect_lines false: one Point2Vector per scan line that crosses the region an even number
// of times, holding its segments as consecutive point pairs, lowest line first.
// connect_lines true: segments whose extent along the fill direction reaches `min_length`
// are linked into zigzag polylines that follow the outline between two segments; outline
// vertices nearer than `min_length` to the previous polyline point are left out.
//
// Returns RETVAL_OK (also when no segment could be formed), RETVAL_FAILED when the extent
// across the fill direction is below the spacing (outlines without any vertex included),
// RETVAL_BAD_INPUT when `loops` is empty, no scan line exists, the spacing is not a
// positive number, the angle or a coordinate is not finite, a rotated coordinate exceeds
// half the float range, a vertex or scan-line height (the rotated coordinate across the
// fill direction) lies 2^63 zones of 1e-7 or more from zero, that is at about 9.22e11 or
// beyond, where the zones that keep scan lines off vertex heights run out of 64-bit
// numbers, the grid index of the lowest line does not fit 32 bits, or a limit above is
// exceeded. `fill_lines` is replaced only on RETVAL_OK. Null loop handles count as empty
// loops; loops of fewer than 3 vertices only widen the extent.
QX_EXPORT RetVal
get_fill_line_from_loops(const std::vector<std::shared_ptr<const Point2Vector>>& loops,
                         std::vector<std::shared_ptr<Point2Vector>>& fill_lines, float line_spacing,
                         float angle_degrees, float min_length, bool connect_lines);

}  // namespace Quorvex
