#include "quorvex/baseType/Path.h"

namespace Quorvex {

Point2& ExtendPathComponent::get_tail(std::size_t i) { return checked_at(tails_, i); }
const Point2& ExtendPathComponent::get_tail(std::size_t i) const { return checked_at(tails_, i); }
Point2& ExtendPathComponent::get_head(std::size_t i) { return checked_at(heads_, i); }
const Point2& ExtendPathComponent::get_head(std::size_t i) const { return checked_at(heads_, i); }

// Both sizes are checked before either sequence changes, so a refusal leaves the path as it was.
void Path::reserve_vn(std::size_t n) {
  if (colors_) check_growth(*colors_, n);
  check_growth(Point2Vector(), n);
  if (!points_) init_points();
  points_->reserve(n);
  if (colors_) colors_->reserve(n);
}

// New points are (0, 0) and new colours black: nothing is left undefined. Room for both is
// made before either grows, so running out of memory leaves the two sizes in step.
void Path::resize_vn(std::size_t n) {
  reserve_vn(n);
  points_->resize(n);
  if (colors_) colors_->resize(n, Color3f::Zero());
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
