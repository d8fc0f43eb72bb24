#pragma once

#include <Eigen/Core>
#include <vector>

#include "quorvex/Export.h"

namespace Quorvex {

using Vector3f = Eigen::Matrix<float, 3, 1>;

// An axis-aligned box of space. The default box is the point at the origin, not an empty
// box: unions with it reach the origin. Axis 0 is x, 1 is y, any other value z.
class QX_EXPORT Bbox3 {
 public:
  Bbox3() = default;
  Bbox3(float xMin, float yMin, float zMin, float xMax, float yMax, float zMax)
      : min_{xMin, yMin, zMin}, max_{xMax, yMax, zMax} {}
  Bbox3(const Bbox3&) = default;
  Bbox3& operator=(const Bbox3&) = default;

  // Union: the smaller minimum and the larger maximum of each axis.
  Bbox3 operator+(const Bbox3& other) const;
  Bbox3& operator+=(const Bbox3& other);

  float& Min(int axis) { return min_[axis_slot(axis)]; }
  float Min(int axis) const { return min_[axis_slot(axis)]; }
  float& Max(int axis) { return max_[axis_slot(axis)]; }
  float Max(int axis) const { return max_[axis_slot(axis)]; }

  float& xMin() { return min_[0]; }
  float& yMin() { return min_[1]; }
  float& zMin() { return min_[2]; }
  float& xMax() { return max_[0]; }
  float& yMax() { return max_[1]; }
  float& zMax() { return max_[2]; }
  float xMin() const { return min_[0]; }
  float yMin() const { return min_[1]; }
  float zMin() const { return min_[2]; }
  float xMax() const { return max_[0]; }
  float yMax() const { return max_[1]; }
  float zMax() const { return max_[2]; }

  // Starts from the inverted box (minima at the largest float, maxima at its negative) and
  // grows over the points; no points leave it inverted.
  void calc_from_coords(const std::vector<Vector3f>& coords);

  Vector3f get_center() const;
  float get_diag_length() const;
  float get_side(int axis) const { return Max(axis) - Min(axis); }
  float get_volume() const;

 private:
  static int axis_slot(int axis) { return (axis == 0 || axis == 1) ? axis : 2; }

  // xMin, yMin, zMin, then xMax, yMax, zMax.
  float min_[3] = {0.0f, 0.0f, 0.0f};
  float max_[3] = {0.0f, 0.0f, 0.0f};
};

// Strict orders on the minimum of one axis, for sorting boxes.
QX_EXPORT bool comp_x(const Bbox3& a, const Bbox3& b);
QX_EXPORT bool comp_y(const Bbox3& a, const Bbox3& b);
QX_EXPORT bool comp_z(const Bbox3& a, const Bbox3& b);

// True when p lies in the closed box.
QX_EXPORT bool is_in_box(const Vector3f& p, const Bbox3& box);
// Sum over the axes of the squared distance to the nearer of the two face planes of that
// axis, inside or outside alike.
QX_EXPORT float closest_distance2(const Vector3f& p, const Bbox3& box);
// Squared distance to the box from outside; from inside, squared distance to the nearest face.
QX_EXPORT float distance2(const Vector3f& p, const Bbox3& box);

}  // namespace Quorvex
