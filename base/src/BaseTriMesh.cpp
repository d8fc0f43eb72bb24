#include "quorvex/base/BaseTriMesh.h"

#include <Eigen/Geometry>

namespace Quorvex {

Cloud::~Cloud() = default;

void Cloud::enable_vColor() {
  color_enabled_ = true;
  colors_.resize(coords_.size(), Vector3f::Zero());
}

BaseTriMesh::~BaseTriMesh() = default;

Vector3f triangle_unit_normal(const Vector3f& a, const Vector3f& b, const Vector3f& c) {
  const Vector3f n = (b - a).cross(c - a);
  const float len = n.norm();
  if (!(len > 0.0f)) return Vector3f::Zero();
  return n / len;
}

void BaseTriMesh::clear() {
  coords_.clear();
  colors_.clear();
  faces_.clear();
  normals_.clear();
}

void BaseTriMesh::set_vCoords(const std::vector<Vector3f>& coords) {
  coords_ = coords;
  if (color_enabled_) colors_.resize(coords_.size(), Vector3f::Zero());
  // Normals follow the positions of the faces' corners.
  for (std::size_t i = 0; i < faces_.size(); ++i) {
    const BaseTriFace& f = faces_[i];
    const auto n = static_cast<int>(coords_.size());
    const bool valid = f[0] >= 0 && f[1] >= 0 && f[2] >= 0 && f[0] < n && f[1] < n && f[2] < n;
    normals_[i] = valid ? triangle_unit_normal(coords_[f[0]], coords_[f[1]], coords_[f[2]])
                        : Vector3f::Zero();
  }
}

std::size_t BaseTriMesh::add_vCoord(const Vector3f& p) {
  coords_.push_back(p);
  if (color_enabled_) colors_.push_back(Vector3f::Zero());
  return coords_.size() - 1;
}

void BaseTriMesh::set_faces(const std::vector<BaseTriFace>& faces) {
  faces_.clear();
  normals_.clear();
  faces_.reserve(faces.size());
  normals_.reserve(faces.size());
  for (const BaseTriFace& f : faces) add_face(f);
}

void BaseTriMesh::add_face(const BaseTriFace& face) {
  faces_.push_back(face);
  const auto n = static_cast<int>(coords_.size());
  const bool valid = face[0] >= 0 && face[1] >= 0 && face[2] >= 0 && face[0] < n && face[1] < n &&
                     face[2] < n;
  normals_.push_back(valid ? triangle_unit_normal(coords_[face[0]], coords_[face[1]],
                                                  coords_[face[2]])
                           : Vector3f::Zero());
}

void BaseTriMesh::reserve(std::size_t vertices, std::size_t faces) {
  coords_.reserve(vertices);
  if (color_enabled_) colors_.reserve(vertices);
  faces_.reserve(faces);
  normals_.reserve(faces);
}

}  // namespace Quorvex
