#include "quorvex/spatial/Bbox3.h"

#include <cmath>
#include <limits>

namespace Quorvex {

Bbox3 Bbox3::operator+(const Bbox3& other) const {
  Bbox3 r(*this);
  r += other;
  return r;
}

Bbox3& Bbox3::operator+=(const Bbox3& other) {
  for (int a = 0; a < 3; ++a) {
    if (other.min_[a] < min_[a]) min_[a] = other.min_[a];
    if (other.max_[a] > max_[a]) max_[a] = other.max_[a];
  }
  return *this;
}

void Bbox3::calc_from_coords(const std::vector<Vector3f>& coords) {
  const float big = std::numeric_limits<float>::max();
  for (int a = 0; a < 3; ++a) {
    min_[a] = big;
    max_[a] = -big;
  }
  for (const Vector3f& p : coords) {
    for (int a = 0; a < 3; ++a) {
      if (p[a] < min_[a]) min_[a] = p[a];
      if (p[a] > max_[a]) max_[a] = p[a];
    }
  }
}

Vector3f Bbox3::get_center() const {
  return Vector3f((max_[0] + min_[0]) * 0.5f, (max_[1] + min_[1]) * 0.5f,
                  (max_[2] + min_[2]) * 0.5f);
}

float Bbox3::get_diag_length() const {
  const float dx = max_[0] - min_[0];
  const float dy = max_[1] - min_[1];
  const float dz = max_[2] - min_[2];
  return std::sqrt(dx * dx + dy * dy + dz * dz);
}

float Bbox3::get_volume() const {
  return (max_[1] - min_[1]) * (max_[0] - min_[0]) * (max_[2] - min_[2]);
}

bool comp_x(const Bbox3& a, const Bbox3& b) { return a.xMin() < b.xMin(); }
bool comp_y(const Bbox3& a, const Bbox3& b) { return a.yMin() < b.yMin(); }
bool comp_z(const Bbox3& a, const Bbox3& b) { return a.zMin() < b.zMin(); }

bool is_in_box(const Vector3f& p, const Bbox3& box) {
  for (int a = 0; a < 3; ++a) {
    if (p[a] < box.Min(a) || p[a] > box.Max(a)) return false;
  }
  return true;
}

float closest_distance2(const Vector3f& p, const Bbox3& box) {
  float sum = 0.0f;
  for (int a = 0; a < 3; ++a) {
    const float to_min = (p[a] - box.Min(a)) * (p[a] - box.Min(a));
    const float to_max = (p[a] - box.Max(a)) * (p[a] - box.Max(a));
    sum += to_min < to_max ? to_min : to_max;
  }
  return sum;
}

float distance2(const Vector3f& p, const Bbox3& box) {
  float d[3];
  for (int a = 0; a < 3; ++a) {
    const float to_max = std::fabs(box.Max(a) - p[a]);
    const float to_min = std::fabs(box.Min(a) - p[a]);
    d[a] = to_max < to_min ? to_max : to_min;
  }
  float sum = 0.0f;
  for (int a = 0; a < 3; ++a) {
    if (p[a] < box.Min(a) || p[a] > box.Max(a)) sum += d[a] * d[a];
  }
  if (sum != 0.0f) return sum;
  float smallest = d[0];
  if (d[1] < smallest) smallest = d[1];
  if (d[2] < smallest) smallest = d[2];
  return smallest * smallest;
}

}  // namespace Quorvex
