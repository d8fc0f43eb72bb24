#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

// A set of closed outlines that share one fill kind. Copies share the outlines.
class QX_EXPORT TypeFillRegion {
 public:
  void add_region(std::shared_ptr<Point2Vector> r) { regions_.push_back(std::move(r)); }
  std::shared_ptr<Point2Vector> get_region(std::size_t i) { return regions_[i]; }
  std::shared_ptr<Point2Vector const> get_region(std::size_t i) const { return regions_[i]; }
  std::vector<std::shared_ptr<Point2Vector>>& get_regions() { return regions_; }
  std::size_t get_regions_size() const { return regions_.size(); }
  void set_regions(const std::vector<std::shared_ptr<Point2Vector>>& r) { regions_ = r; }

  int get_id() const { return id_; }
  void set_id(int id) { id_ = id; }
  FillRegionType get_type() const { return type_; }
  void set_type(FillRegionType t) { type_ = t; }

  std::shared_ptr<TypeFillRegion> copy() const { return std::make_shared<TypeFillRegion>(*this); }

 private:
  std::vector<std::shared_ptr<Point2Vector>> regions_;
  int id_ = -1;
  FillRegionType type_ = FILL_REGION_TYPE_DEFAULT;
};

}  // namespace Quorvex
