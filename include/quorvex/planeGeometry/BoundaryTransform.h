#pragma once

#include <memory>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

// Box of one loop. An empty loop leaves the minima at the largest float and the maxima
// at its negative, so the minima stand above the maxima. Handles must be non-null.
QX_EXPORT void get_boundary_bbox(std::shared_ptr<Point2Vector const> boundary, float& min_x,
                                 float& min_y, float& max_x, float& max_y);
QX_EXPORT void get_boundarys_bbox(const std::vector<std::shared_ptr<Point2Vector const>>& boundarys,
                                  float& min_x, float& min_y, float& max_x, float& max_y);

// Move the shared sequences in place, in float arithmetic.
QX_EXPORT void translate_boundary(std::shared_ptr<Point2Vector> boundary, const Point2& offset);
QX_EXPORT void translate_boundarys(std::vector<std::shared_ptr<Point2Vector>>& boundarys,
                                   const Point2& offset);

// Turn about `center` by `angle` degrees, counter-clockwise with y up.
QX_EXPORT void rotate_boundary(std::shared_ptr<Point2Vector> boundary, const Point2& center,
                               float angle);
QX_EXPORT void rotate_boundarys(std::vector<std::shared_ptr<Point2Vector>>& boundarys,
                                const Point2& center, float angle);

// The sine and cosine rotate_boundary uses: pi rounded to float times the angle in
// float, then divided by 180 in double; sine and cosine in double, rounded to float.
QX_EXPORT void rotation_sin_cos_f32(float angle_degrees, float& s, float& c);

}  // namespace Quorvex
