#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

#include <Eigen/Core>

#include "quorvex/Export.h"
#include "quorvex/baseType/Point2.h"

namespace Quorvex {

// Return code of most operations. 1 is deliberately unused.
enum RetVal : int32_t {
  RETVAL_OK = 0,
  RETVAL_BAD_INPUT = 2,
  RETVAL_FAILED = 3,
};

// Result of mesh input and output. 3, 4 and 5 belong to the readers of quorvexBase.
enum IORet : int32_t {
  IORET_OK = 0,
  IORET_BAD_FORMAT = 1,
  IORET_FILE_NOT_FOUND = 2,
  IORET_EMPTY_DATA = 6,
};

enum PathType : int32_t {
  PATH_TYPE_NONE = 0,
  PATH_TYPE_OUTER = 1,
  PATH_TYPE_INNER = 2,
  PATH_TYPE_FILL_SEGMENTS_0 = 3,
  PATH_TYPE_FILL_SEGMENTS_1 = 4,
  PATH_TYPE_FILL_SEGMENTS_2 = 5,
  PATH_TYPE_FILL_SEGMENTS_3 = 6,
  PATH_TYPE_FILL_OTHER = 7,
  PATH_TYPE_FILL_POLYLINE_0 = 8,
  PATH_TYPE_FILL_POLYLINE_1 = 9,
  PATH_TYPE_FILL_POLYLINE_2 = 10,
  PATH_TYPE_FILL_POLYLINE_3 = 11,
  PATH_TYPE_SUPPORT_TOP = 25,
  PATH_TYPE_SUPPORT_MIDDLE = 26,
  PATH_TYPE_SUPPORT_BASE = 27,
  PATH_TYPE_SUPPORT_BASE_SURROUNDING = 28,
  PATH_TYPE_RAFT_BASE = 30,
  PATH_TYPE_RAFT_FIRST_INTERFACE = 31,
  PATH_TYPE_RAFT_SECOND_INTERFACE = 32,
};

// The path lists of a layer that reach the G-code, in the order a GCode walks them.
enum StructureType : int32_t {
  STRUCTURE_BOUNDARY = 0,
  STRUCTURE_EXTRA_SHELL = 1,
  STRUCTURE_FILL = 2,
  STRUCTURE_SUPPORT = 3,
  STRUCTURE_RAFT = 4,
};

// Opaque to this library: only compared, copied and archived.
enum CraftType : int32_t { CRAFT_TYPE_DEFAULT = 0 };
enum FillRegionType : int32_t { FILL_REGION_TYPE_DEFAULT = 0 };

using Color3f = Eigen::Matrix<float, 3, 1, 0, 3, 1>;

// One colour per point of a path, index for index.
class QX_EXPORT ColorVector : public std::vector<Color3f> {
 public:
  using std::vector<Color3f>::vector;
  ColorVector() = default;
};

// A plane box: minima first, then maxima.
struct AABB2D {
  float min_x = 0.0f;
  float min_y = 0.0f;
  float max_x = 0.0f;
  float max_y = 0.0f;

  AABB2D() = default;
  AABB2D(float min_x_, float min_y_, float max_x_, float max_y_)
      : min_x(min_x_), min_y(min_y_), max_x(max_x_), max_y(max_y_) {}

  float get_perimeter() const { return (max_y - min_y + (max_x - min_x)) * 2.0f; }
};

inline AABB2D aabb_union(const AABB2D& a, const AABB2D& b) {
  return AABB2D(a.min_x < b.min_x ? a.min_x : b.min_x, a.min_y < b.min_y ? a.min_y : b.min_y,
                a.max_x > b.max_x ? a.max_x : b.max_x, a.max_y > b.max_y ? a.max_y : b.max_y);
}

QX_EXPORT std::vector<std::shared_ptr<Point2Vector const>> ptr_vector_to_const_ptr_vector(
    const std::vector<std::shared_ptr<Point2Vector>>& in);
QX_EXPORT void ptr_vector_to_const_ptr_vector(const std::vector<std::shared_ptr<Point2Vector>>& in,
                                              std::vector<std::shared_ptr<Point2Vector const>>& out);
QX_EXPORT std::vector<std::shared_ptr<ColorVector const>> ptr_vector_to_const_ptr_vector(
    const std::vector<std::shared_ptr<ColorVector>>& in);
QX_EXPORT void ptr_vector_to_const_ptr_vector(const std::vector<std::shared_ptr<ColorVector>>& in,
                                              std::vector<std::shared_ptr<ColorVector const>>& out);

// Element access that the model checks raises this, with the text callers know.
[[noreturn]] QX_EXPORT void throw_invalid_subscript();

template <class Vec>
inline auto checked_at(Vec& v, std::size_t i) -> decltype(v[i]) {
  if (i >= v.size()) throw_invalid_subscript();
  return v[i];
}

// An empty handle counts as a sequence of size 0.
template <class Vec>
inline auto checked_at(const std::shared_ptr<Vec>& v, std::size_t i) -> decltype((*v)[i]) {
  if (!v || i >= v->size()) throw_invalid_subscript();
  return (*v)[i];
}

// Growing a model sequence past its maximum size raises this, with the text callers know,
// rather than the standard library's own wording for each operation.
[[noreturn]] QX_EXPORT void throw_too_long();

template <class Vec>
inline void check_growth(const Vec& v, std::size_t n) {
  if (n > v.max_size()) throw_too_long();
}

}  // namespace Quorvex
