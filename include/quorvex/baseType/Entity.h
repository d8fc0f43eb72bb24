#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Layer.h"

namespace Quorvex {

// A whole sliced print: its layers bottom to top, and the two values two prints must
// share to be merged. Copies share the layers.
class QX_EXPORT Entity {
 public:
  Entity() = default;
  Entity(const Entity&) = default;
  Entity& operator=(const Entity&) = default;
  virtual ~Entity();

  void add_layer(const std::shared_ptr<Layer>& layer) { layers_.push_back(layer); }
  void add_layer_at_front(const std::shared_ptr<Layer>& layer) {
    layers_.insert(layers_.begin(), layer);
  }
  // The index is not checked.
  std::shared_ptr<Layer> get_layer(std::size_t i) { return layers_[i]; }
  std::shared_ptr<Layer const> get_layer(std::size_t i) const { return layers_[i]; }
  std::shared_ptr<Layer> operator()(std::size_t i) { return layers_[i]; }
  std::shared_ptr<Layer const> operator()(std::size_t i) const { return layers_[i]; }
  std::size_t get_layer_size() const { return layers_.size(); }
  std::vector<std::shared_ptr<Layer>>& get_layers() { return layers_; }
  const std::vector<std::shared_ptr<Layer>>& get_layers() const { return layers_; }
  void set_layers(const std::vector<std::shared_ptr<Layer>>& v) { layers_ = v; }
  // Checked: raises std::out_of_range for an index at or past the size.
  void set_layer(const std::shared_ptr<Layer>& layer, int index);
  // Both raise std::length_error past the largest possible size.
  void reserve_layer_size(std::size_t n) {
    check_growth(layers_, n);
    layers_.reserve(n);
  }
  void resize_layer_size(std::size_t n) {
    check_growth(layers_, n);
    layers_.resize(n);
  }

  CraftType get_craft_type() const { return craft_type_; }
  void set_craft_type(const CraftType& t) { craft_type_ = t; }
  float get_platform_height() const { return platform_height_; }
  void set_platform_height(float h) { platform_height_ = h; }

  // Keeps the paths of the layers start, start + every + 1, ...; clears the others.
  void clear_layers_every(int start, int every);

  static RetVal merge_entities(const std::vector<std::shared_ptr<Entity const>>& entities,
                               std::shared_ptr<Entity> result);

  void read_archive(ReadAble& in);
  void write_archive(WriteAble& out) const;

 private:
  std::vector<std::shared_ptr<Layer>> layers_;
  CraftType craft_type_ = CRAFT_TYPE_DEFAULT;
  float platform_height_ = 0.0f;
};

}  // namespace Quorvex
