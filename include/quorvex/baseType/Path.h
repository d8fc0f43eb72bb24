#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

// Marks a path as part of an extra shell.
class QX_EXPORT ExtraShellComponent {
 public:
  int get_extraShell_id() const { return extraShell_id_; }
  void set_extraShell_id(int id) { extraShell_id_ = id; }
  bool is_small_region() const { return small_region_; }
  void set_small_region(bool v) { small_region_ = v; }

 private:
  int extraShell_id_ = -1;
  bool small_region_ = false;
};

// Points that continue a stroke before its first point (heads) and after its last (tails).
class QX_EXPORT ExtendPathComponent {
 public:
  std::shared_ptr<Point2Vector> get_tails() { return tails_; }
  std::shared_ptr<Point2Vector const> get_tails() const { return tails_; }
  std::shared_ptr<Point2Vector> get_heads() { return heads_; }
  std::shared_ptr<Point2Vector const> get_heads() const { return heads_; }
  void set_tails(std::shared_ptr<Point2Vector> tails) { tails_ = std::move(tails); }
  void set_heads(std::shared_ptr<Point2Vector> heads) { heads_ = std::move(heads); }

  // Checked against the sequence size; an empty handle has size 0.
  Point2& get_tail(std::size_t i);
  const Point2& get_tail(std::size_t i) const;
  Point2& get_head(std::size_t i);
  const Point2& get_head(std::size_t i) const;

 private:
  std::shared_ptr<Point2Vector> tails_;
  std::shared_ptr<Point2Vector> heads_;
};

// One stroke of the nozzle at one height. Copies are shallow: they share every handle.
class QX_EXPORT Path {
 public:
  float get_z() const { return z_; }
  void set_z(float z) { z_ = z; }
  float get_width() const { return width_; }
  void set_width(float w) { width_ = w; }
  int get_id() const { return id_; }
  void set_id(int id) { id_ = id; }
  PathType get_type() const { return type_; }
  void set_type(PathType t) { type_ = t; }

  std::shared_ptr<Point2Vector> get_points() { return points_; }
  std::shared_ptr<Point2Vector const> get_points() const { return points_; }
  void set_points(std::shared_ptr<Point2Vector> p) { points_ = std::move(p); }

  std::shared_ptr<ColorVector> get_colors() { return colors_; }
  std::shared_ptr<ColorVector const> get_colors() const { return colors_; }
  void set_colors(std::shared_ptr<ColorVector> c) { colors_ = std::move(c); }

  std::shared_ptr<std::vector<unsigned char> const> get_flags() const { return flags_; }
  void set_flags(std::shared_ptr<std::vector<unsigned char>> f) { flags_ = std::move(f); }

  std::shared_ptr<ExtendPathComponent> get_extend_path_component() { return extend_; }
  std::shared_ptr<ExtendPathComponent const> get_extend_path_component() const { return extend_; }
  void set_extend_path_component(std::shared_ptr<ExtendPathComponent> c) { extend_ = std::move(c); }
  bool has_extend_path_component() const { return static_cast<bool>(extend_); }

  std::shared_ptr<ExtraShellComponent> get_extra_shell_component() { return extra_shell_; }
  std::shared_ptr<ExtraShellComponent const> get_extra_shell_component() const {
    return extra_shell_;
  }
  void set_extra_shell_component(std::shared_ptr<ExtraShellComponent> c) {
    extra_shell_ = std::move(c);
  }
  bool has_extra_shell_component() const { return static_cast<bool>(extra_shell_); }

  // Number of points; the points handle must be set.
  std::size_t get_vn() const { return points_->size(); }
  Point2& get_point(std::size_t i) { return checked_at(*points_, i); }
  const Point2& get_point(std::size_t i) const { return checked_at(*points_, i); }
  Point2& operator()(std::size_t i) { return get_point(i); }
  const Point2& operator()(std::size_t i) const { return get_point(i); }
  Color3f& get_color(std::size_t i) { return checked_at(colors_, i); }
  const Color3f& get_color(std::size_t i) const { return checked_at(colors_, i); }

  bool is_fill() { return type_ >= 3 && type_ <= 11; }

  void init_points() { points_ = std::make_shared<Point2Vector>(); }
  void init_colors() { colors_ = std::make_shared<ColorVector>(); }
  // Size the points, and the colours when their handle is set; flags are left alone. New
  // points are (0, 0), new colours black. Past the largest possible size they raise
  // std::length_error and change nothing.
  void reserve_vn(std::size_t n);
  void resize_vn(std::size_t n);

  // Start and end of the extended stroke: heads and tails count when their handle is set.
  const Point2& get_start_point() const;
  const Point2& get_end_point() const;

  void read_archive(ReadAble& in);
  void write_archive(WriteAble& out) const;

 private:
  float z_ = -1.0f;
  std::shared_ptr<Point2Vector> points_;
  std::shared_ptr<ColorVector> colors_;
  std::shared_ptr<std::vector<unsigned char>> flags_;
  float width_ = 0.0f;
  int id_ = -1;
  PathType type_ = PATH_TYPE_NONE;
  std::shared_ptr<ExtraShellComponent> extra_shell_;
  std::shared_ptr<ExtendPathComponent> extend_;
};

using PathPtr = std::shared_ptr<Path>;
using PathList = std::vector<std::shared_ptr<Path>>;

}  // namespace Quorvex
