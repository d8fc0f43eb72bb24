#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Path.h"

namespace Quorvex {

// The five operations every path list of a layer offers. The index of
// get_<kind>_path is not checked: callers take the bound from get_<kind>_path_size.
#define QX_LAYER_PATH_LIST(kind, add_name)                                                  \
 public:                                                                                    \
  void add_name(std::shared_ptr<Path> p) { kind##_paths_.push_back(std::move(p)); }        \
  std::shared_ptr<Path> get_##kind##_path(std::size_t i) { return kind##_paths_[i]; }      \
  std::shared_ptr<Path const> get_##kind##_path(std::size_t i) const {                     \
    return kind##_paths_[i];                                                                \
  }                                                                                         \
  std::size_t get_##kind##_path_size() const { return kind##_paths_.size(); }               \
  std::vector<std::shared_ptr<Path>>& get_##kind##_paths() { return kind##_paths_; }       \
  const std::vector<std::shared_ptr<Path>>& get_##kind##_paths() const {                   \
    return kind##_paths_;                                                                   \
  }                                                                                         \
  void set_##kind##_paths(const std::vector<std::shared_ptr<Path>>& v) { kind##_paths_ = v; }

// One slice of the print: a height, a thickness and eight lists of paths. Copies share
// the paths; the lists themselves are separate.
class QX_EXPORT Layer {
 public:
  Layer() = default;
  Layer(const Layer&) = default;
  Layer& operator=(const Layer&) = default;
  virtual ~Layer();

  float get_z() const { return z_; }
  void set_z(float z) { z_ = z; }
  float get_thickness() const { return thickness_; }
  void set_thickness(float t) { thickness_ = t; }
  int get_id() const { return id_; }
  void set_id(int id) { id_ = id; }
  unsigned int get_flags() const { return flags_; }
  void set_flags(unsigned int f) { flags_ = f; }
  bool is_region_numbered() { return (flags_ & 1u) != 0; }

  const std::vector<float>& get_extraShell_offsets() const { return extraShell_offsets_; }
  void set_extraShell_offsets(const std::vector<float>& v) { extraShell_offsets_ = v; }

  QX_LAYER_PATH_LIST(boundary, add_boundary_path)
  QX_LAYER_PATH_LIST(extraShell, add_extraShell_path)
  QX_LAYER_PATH_LIST(small_region, add_small_region_path)
  QX_LAYER_PATH_LIST(fill, add_fill_path)
  QX_LAYER_PATH_LIST(thinWalledFill, add_thinWalledFill_path)
  QX_LAYER_PATH_LIST(sharpAngle, add_sharpAngle_paths)
  QX_LAYER_PATH_LIST(support, add_support_path)
  QX_LAYER_PATH_LIST(raft, add_raft_path)

 public:
  // Empties seven lists; small_region paths, heights, flags and offsets stay.
  void clear_all_paths();

  // Region numbering: writes the region number into the id of every path that
  // belongs to one. Always true.
  bool number_region();
  // Per region, the loops of its highest extra-shell level, or its boundary loops.
  bool get_last_points(std::vector<std::vector<std::shared_ptr<Point2Vector>>>& result);

  // Makes one layer of several; ids are renumbered so regions of different sources stay apart.
  static RetVal merge_layers(const std::vector<std::shared_ptr<Layer const>>& layers,
                             std::shared_ptr<Layer> result, int id);

  void read_archive(ReadAble& in);
  void write_archive(WriteAble& out) const;

 private:
  float z_ = -1.0f;
  float thickness_ = 0.0f;
  int id_ = -1;
  unsigned int flags_ = 0;
  std::vector<std::shared_ptr<Path>> boundary_paths_;
  std::vector<std::shared_ptr<Path>> extraShell_paths_;
  std::vector<std::shared_ptr<Path>> small_region_paths_;
  std::vector<float> extraShell_offsets_;
  std::vector<std::shared_ptr<Path>> fill_paths_;
  std::vector<std::shared_ptr<Path>> thinWalledFill_paths_;
  std::vector<std::shared_ptr<Path>> sharpAngle_paths_;
  std::vector<std::shared_ptr<Path>> support_paths_;
  std::vector<std::shared_ptr<Path>> raft_paths_;
};

#undef QX_LAYER_PATH_LIST

}  // namespace Quorvex
