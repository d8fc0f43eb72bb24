#pragma once

#include <memory>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Point2.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

// Regroups the segments of scan lines (as get_fill_line_from_loops yields them without
// linking: one Point2Vector per line, segments as consecutive point pairs, lines in scan
// order) into columns of segments stacked from line to line, and returns one zigzag
// polyline per column.
//
// Columns carry over unchanged while a line has as many points as the line before it;
// where the count changes, each segment continues the column of the earlier segment it
// overlaps most (overlap counts only within `max_line_offset` of the earlier segment's
// line), else of the one with an end point nearer than `max_link_distance`, else opens a
// column. Column 0 comes first, the others by ascending distance of their nearest end
// segment corner from the end of column 0's zigzag.
//
// Lines with an odd number of points are skipped, and the first line with an even count
// opens the columns; a segment of zero length overlaps nothing. Null handles count as
// empty lines.
//
// Returns RETVAL_OK, or RETVAL_BAD_INPUT when `fill_lines` is empty, holds no line with an
// even, non-zero number of points, or holds a coordinate that is not finite; on
// RETVAL_BAD_INPUT `sorted_lines` is untouched, otherwise it is replaced.
QX_EXPORT RetVal
sort_discontinued_fill_line(const std::vector<std::shared_ptr<const Point2Vector>>& fill_lines,
                            std::vector<std::shared_ptr<Point2Vector>>& sorted_lines,
                            float max_link_distance, float max_line_offset);

}  // namespace Quorvex
