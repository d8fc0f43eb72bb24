#include "quorvex/baseType/Path.h"

namespace Quorvex {

namespace {
// An empty handle is a sequence of size 0 for the checked accessors.
Point2& checked_point(const std::shared_ptr<Point2Vector>& seq, std::size_t i) {
  if (!seq) throw_invalid_subscript();
  return checked_at(*seq, i);
}
}  // namespace

Point2& ExtendPathComponent::get_tail(std::size_t i) { return checked_point(tails_, i); }
const Point2& ExtendPathComponent::get_tail(std::size_t i) const {
  return checked_point(tails_, i);
}
Point2& ExtendPathComponent::get_head(std::size_t i) { return checked_point(heads_, i); }
const Point2& ExtendPathComponent::get_head(std::size_t i) const {
  return checked_point(heads_, i);
}

void Path::reserve_vn(std::size_t n) {
  if (!points_) init_points();
  points_->reserve(n);
  if (colors_) colors_->reserve(n);
}

void Path::resize_vn(std::size_t n) {
  if (!points_) init_points();
  points_->resize(n);
  if (colors_) colors_->resize(n);
}

const Point2& Path::get_start_point() const {
  if (extend_ && extend_->get_heads()) return extend_->get_heads()->front();
  return points_->front();
}

const Point2& Path::get_end_point() const {
  if (extend_ && extend_->get_tails()) return extend_->get_tails()->back();
  return points_->back();
}

}  // namespace Quorvex
