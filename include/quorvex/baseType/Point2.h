#pragma once

#include <cmath>
#include <type_traits>
#include <vector>

#include "quorvex/Export.h"

namespace Quorvex {

class ReadAble;
class WriteAble;

// A point of the plane in the caller's length unit. Exactly two floats in memory:
// archives write point sequences as raw blocks of eight bytes a point.
struct Point2 {
  float x = 0.0f;
  float y = 0.0f;

  Point2() = default;
  Point2(float x_, float y_) : x(x_), y(y_) {}

  Point2 operator-(const Point2& o) const { return Point2(x - o.x, y - o.y); }
  // Computed in float, as every consumer of the model expects.
  float length() const { return std::sqrt(x * x + y * y); }
};

static_assert(sizeof(Point2) == 8, "Point2 must be two packed floats");
static_assert(std::is_trivially_copyable<Point2>::value, "Point2 must be trivially copyable");

// A loop or stroke. Derives from std::vector<Point2> so that it goes wherever a
// vector of points is asked for; copying copies the points.
class QX_EXPORT Point2Vector : public std::vector<Point2> {
 public:
  using std::vector<Point2>::vector;
  Point2Vector() = default;
  Point2Vector(const std::vector<Point2>& other) : std::vector<Point2>(other) {}
  Point2Vector(std::vector<Point2>&& other) : std::vector<Point2>(std::move(other)) {}

  void read_archive(ReadAble& in);
  void write_archive(WriteAble& out) const;
};

}  // namespace Quorvex
