#pragma once

#include <memory>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Types.h"
#include "quorvex/polygon/PolygonTypes.h"

namespace Quorvex {

// One-call access to the polygon engine without a Clipper object. The first two scale by
// the constant 1e7 in double (scale_to_fixed_f64 / scale_from_fixed_f64), not by a
// Clipper's float `multiple`; their input handles must all be non-null.

// A region is an outer loop followed by the holes directly inside it. Loops are united
// under `fill`; an island inside a hole opens a region of its own, which follows the
// region around it. Always RETVAL_OK.
QX_EXPORT RetVal get_classified_region(
    const std::vector<std::shared_ptr<Point2Vector const>>& loops,
    std::vector<std::vector<std::shared_ptr<Point2Vector>>>& regions, PolyFillType fill);

// One boolean with free choice of the fill rules; loops without points are left out of
// `result`. Always RETVAL_OK.
QX_EXPORT RetVal get_clipper_boolean_operation_result(
    const std::vector<std::shared_ptr<Point2Vector const>>& subject,
    std::vector<std::shared_ptr<Point2Vector>>& result, ClipType clip_type,
    const std::vector<std::shared_ptr<Point2Vector const>>& clip, PolyFillType subject_fill,
    PolyFillType clip_fill);

// Even-odd boolean through a default Clipper. `operation`: 1 and 3 subject minus clip,
// 2 union, anything else exclusive or. A null handle gives an empty result.
QX_EXPORT void region_bool_operation(
    std::vector<std::shared_ptr<Point2Vector>>& result,
    const std::vector<std::shared_ptr<Point2Vector const>>& subject,
    const std::vector<std::shared_ptr<Point2Vector const>>& clip, int operation);

}  // namespace Quorvex
