#pragma once

#include <Eigen/Core>
#include <array>
#include <cstddef>
#include <vector>

#include "quorvex/base/BaseExport.h"

namespace Quorvex {

using Vector3f = Eigen::Matrix<float, 3, 1>;

// A triangle named by three vertex indices of its mesh, in that order.
class QXB_EXPORT BaseTriFace {
 public:
  BaseTriFace() = default;
  BaseTriFace(int v0, int v1, int v2) : v_{{v0, v1, v2}} {}
  int operator[](int k) const { return v_[static_cast<std::size_t>(k)]; }
  int& operator[](int k) { return v_[static_cast<std::size_t>(k)]; }
  bool operator==(const BaseTriFace& o) const { return v_ == o.v_; }

 private:
  std::array<int, 3> v_{{0, 0, 0}};
};

// A point cloud: positions, and optionally one colour per vertex.
class QXB_EXPORT Cloud {
 public:
  Cloud() = default;
  Cloud(const Cloud&) = default;
  Cloud& operator=(const Cloud&) = default;
  virtual ~Cloud();

  std::size_t get_vn() const { return coords_.size(); }
  const Vector3f& get_vCoord(std::size_t i) const { return coords_[i]; }
  const std::vector<Vector3f>& get_vCoords() const { return coords_; }

  // Turns vertex colours on; every vertex, present or added later, then has a colour
  // (zero until set).
  void enable_vColor();
  bool is_vColor_enabled() const { return color_enabled_; }
  // Turns colours on first if they are off; `i` must name a vertex.
  void set_vColor(std::size_t i, const Vector3f& c);
  const Vector3f& get_vColor(std::size_t i) const { return colors_[i]; }

 protected:
  std::vector<Vector3f> coords_;
  std::vector<Vector3f> colors_;
  bool color_enabled_ = false;
};

// A triangle mesh. Face normals are kept with the faces: get_fNrv(i) is the unit normal
// (V1 - V0) x (V2 - V0), normalised, as STL stores it; a degenerate face, or one with a
// corner that names no vertex, has the zero vector. Normals follow set_vCoords; add_vCoord
// leaves those of existing faces alone. With colours on, set_vCoords gives every vertex black;
// clear leaves the mesh as new, colours off. The setters accept the mesh's own lists and
// elements: m.set_faces(m.get_faces()) and m.add_face(m.get_face(0)) keep what they name.
class QXB_EXPORT BaseTriMesh : public Cloud {
 public:
  BaseTriMesh() = default;
  BaseTriMesh(const BaseTriMesh&) = default;
  BaseTriMesh& operator=(const BaseTriMesh&) = default;
  ~BaseTriMesh() override;

  virtual void clear();
  virtual void set_vCoords(const std::vector<Vector3f>& coords);
  virtual std::size_t add_vCoord(const Vector3f& p);
  virtual void set_faces(const std::vector<BaseTriFace>& faces);
  virtual void add_face(const BaseTriFace& face);

  std::size_t get_fn() const { return faces_.size(); }
  const BaseTriFace& get_face(std::size_t i) const { return faces_[i]; }
  const std::vector<BaseTriFace>& get_faces() const { return faces_; }
  const Vector3f& get_fNrv(std::size_t i) const { return normals_[i]; }

  // Reserves room for a known number of vertices and faces.
  void reserve(std::size_t vertices, std::size_t faces);

  // Replaces the content with these vertices and faces, taken over without a copy; the
  // result is that of clear, set_vCoords and set_faces. Not virtual and not through the
  // virtual operations: for readers that hold a mesh of exactly this class.
  void take_content(std::vector<Vector3f>&& coords, std::vector<BaseTriFace>&& faces);
  // The same with the face normals already computed by the caller, one per face, each
  // equal to what the mesh would compute over these vertices.
  void take_content(std::vector<Vector3f>&& coords, std::vector<BaseTriFace>&& faces,
                    std::vector<Vector3f>&& normals);

 protected:
  // Normal of a face over the current vertices; zero when a corner names no vertex.
  Vector3f normal_of(const BaseTriFace& f) const;

  std::vector<BaseTriFace> faces_;
  std::vector<Vector3f> normals_;
};

// Unit normal of a triangle by the right-hand rule; zero for a degenerate triangle.
QXB_EXPORT Vector3f triangle_unit_normal(const Vector3f& a, const Vector3f& b, const Vector3f& c);

}  // namespace Quorvex
