#include "quorvex/baseType/Types.h"

namespace Quorvex {

namespace {
template <class T>
void to_const(const std::vector<std::shared_ptr<T>>& in,
              std::vector<std::shared_ptr<T const>>& out) {
  out.clear();
  out.reserve(in.size());
  for (const auto& p : in) out.push_back(p);
}
}  // namespace

std::vector<std::shared_ptr<Point2Vector const>> ptr_vector_to_const_ptr_vector(
    const std::vector<std::shared_ptr<Point2Vector>>& in) {
  std::vector<std::shared_ptr<Point2Vector const>> out;
  to_const(in, out);
  return out;
}

void ptr_vector_to_const_ptr_vector(const std::vector<std::shared_ptr<Point2Vector>>& in,
                                    std::vector<std::shared_ptr<Point2Vector const>>& out) {
  to_const(in, out);
}

std::vector<std::shared_ptr<ColorVector const>> ptr_vector_to_const_ptr_vector(
    const std::vector<std::shared_ptr<ColorVector>>& in) {
  std::vector<std::shared_ptr<ColorVector const>> out;
  to_const(in, out);
  return out;
}

void ptr_vector_to_const_ptr_vector(const std::vector<std::shared_ptr<ColorVector>>& in,
                                    std::vector<std::shared_ptr<ColorVector const>>& out) {
  to_const(in, out);
}

void throw_invalid_subscript() { throw std::out_of_range("invalid vector<T> subscript"); }

void throw_too_long() { throw std::length_error("vector<T> too long"); }

}  // namespace Quorvex
