#include "quorvex/planeGeometry/BoundaryTransform.h"

#include <cmath>
#include <limits>

namespace Quorvex {

namespace {
constexpr float kMaxFloat = std::numeric_limits<float>::max();

void extend_bbox(const Point2Vector& loop, float& min_x, float& min_y, float& max_x,
                 float& max_y) {
  for (const Point2& p : loop) {
    if (p.x < min_x) min_x = p.x;
    if (p.y < min_y) min_y = p.y;
    if (p.x > max_x) max_x = p.x;
    if (p.y > max_y) max_y = p.y;
  }
}

void rotate_points(Point2Vector& loop, const Point2& center, float s, float c) {
  for (Point2& p : loop) {
    const float dx = p.x - center.x;
    const float dy = p.y - center.y;
    p.x = center.x + (dx * c - dy * s);
    p.y = center.y + (dy * c + dx * s);
  }
}
}  // namespace

void get_boundary_bbox(std::shared_ptr<Point2Vector const> boundary, float& min_x, float& min_y,
                       float& max_x, float& max_y) {
  min_x = min_y = kMaxFloat;
  max_x = max_y = -kMaxFloat;
  extend_bbox(*boundary, min_x, min_y, max_x, max_y);
}

void get_boundarys_bbox(const std::vector<std::shared_ptr<Point2Vector const>>& boundarys,
                        float& min_x, float& min_y, float& max_x, float& max_y) {
  min_x = min_y = kMaxFloat;
  max_x = max_y = -kMaxFloat;
  for (const auto& b : boundarys) extend_bbox(*b, min_x, min_y, max_x, max_y);
}

// The offset is taken by value first: it may be a point of a loop being moved.
void translate_boundary(std::shared_ptr<Point2Vector> boundary, const Point2& offset) {
  const Point2 by = offset;
  for (Point2& p : *boundary) {
    p.x = p.x + by.x;
    p.y = p.y + by.y;
  }
}

void translate_boundarys(std::vector<std::shared_ptr<Point2Vector>>& boundarys,
                         const Point2& offset) {
  const Point2 by = offset;
  for (auto& b : boundarys) translate_boundary(b, by);
}

void rotation_sin_cos_f32(float angle_degrees, float& s, float& c) {
  const float pi_f = static_cast<float>(std::acos(-1.0));
  const float product = pi_f * angle_degrees;
  const double radians = static_cast<double>(product) / 180.0;
  s = static_cast<float>(std::sin(radians));
  c = static_cast<float>(std::cos(radians));
}

void rotate_boundary(std::shared_ptr<Point2Vector> boundary, const Point2& center, float angle) {
  float s, c;
  rotation_sin_cos_f32(angle, s, c);
  const Point2 about = center;  // may be a point of the loop
  rotate_points(*boundary, about, s, c);
}

void rotate_boundarys(std::vector<std::shared_ptr<Point2Vector>>& boundarys,
                      const Point2& center, float angle) {
  float s, c;
  rotation_sin_cos_f32(angle, s, c);
  const Point2 about = center;  // may be a point of one of the loops
  for (auto& b : boundarys) rotate_points(*b, about, s, c);
}

}  // namespace Quorvex
