#include "quorvex/base/BaseTriMesh.h"

#include <Eigen/Geometry>
#include <cmath>
#include <utility>

#include "TriangleNormals.h"

namespace Quorvex {

Cloud::~Cloud() = default;

void Cloud::set_vColor(std::size_t i, const Vector3f& c) {
  if (!color_enabled_) enable_vColor();
  colors_[i] = c;
}

void Cloud::enable_vColor() {
  color_enabled_ = true;
  colors_.resize(coords_.size(), Vector3f::Zero());
}

BaseTriMesh::~BaseTriMesh() = default;

namespace {

// One definition of the arithmetic, inlined both into the single-face form and into the loop
// over many faces, so that both give the same bits.
inline Vector3f unit_normal(const Vector3f& a, const Vector3f& b, const Vector3f& c) {
  const Vector3f n = (b - a).cross(c - a);
  const float len2 = n.squaredNorm();
  // Squared lengths in this range lose nothing to underflow or overflow: normalise in float.
  if (len2 >= 1e-30f && len2 <= 1e30f) return n / std::sqrt(len2);
  // Otherwise in double: the float squared length of faces of about 1e-10 units underflows
  // and of about 1e10 overflows, and either would lose the normal.
  const Eigen::Vector3d e1 = (b - a).cast<double>();
  const Eigen::Vector3d e2 = (c - a).cast<double>();
  const Eigen::Vector3d nd = e1.cross(e2);
  const double len = nd.norm();
  if (!(len > 0.0) || !std::isfinite(len)) return Vector3f::Zero();
  return (nd / len).cast<float>();
}

}  // namespace

Vector3f triangle_unit_normal(const Vector3f& a, const Vector3f& b, const Vector3f& c) {
  return unit_normal(a, b, c);
}

void triangle_unit_normals(const Vector3f* corners, std::size_t faces, Vector3f* normals) {
  // Inlined here, the faces' chains of dependent steps (differences, cross product, length,
  // root, division) overlap one another instead of running one call after the other.
  for (std::size_t f = 0; f < faces; ++f) {
    normals[f] = unit_normal(corners[3 * f], corners[3 * f + 1], corners[3 * f + 2]);
  }
}

Vector3f BaseTriMesh::normal_of(const BaseTriFace& f) const {
  const auto n = static_cast<long long>(coords_.size());
  for (int k = 0; k < 3; ++k) {
    if (f[k] < 0 || f[k] >= n) return Vector3f::Zero();
  }
  return triangle_unit_normal(coords_[f[0]], coords_[f[1]], coords_[f[2]]);
}

// As new: a mesh read into after a coloured one has no colours of its own.
void BaseTriMesh::clear() {
  coords_.clear();
  colors_.clear();
  color_enabled_ = false;
  faces_.clear();
  normals_.clear();
}

void BaseTriMesh::set_vCoords(const std::vector<Vector3f>& coords) {
  // Assignment, not clear and refill: `coords` may be this mesh's own list.
  coords_ = coords;
  // New vertices, new colours: none is carried over from the vertex that had its index.
  if (color_enabled_) colors_.assign(coords_.size(), Vector3f::Zero());
  // Normals follow the positions of the faces' corners.
  for (std::size_t i = 0; i < faces_.size(); ++i) normals_[i] = normal_of(faces_[i]);
}

void BaseTriMesh::take_content(std::vector<Vector3f>&& coords, std::vector<BaseTriFace>&& faces,
                               std::vector<Vector3f>&& normals) {
  coords_ = std::move(coords);
  colors_.assign(color_enabled_ ? coords_.size() : 0, Vector3f::Zero());
  faces_ = std::move(faces);
  normals_ = std::move(normals);
}

std::size_t BaseTriMesh::add_vCoord(const Vector3f& p) {
  coords_.push_back(p);
  if (color_enabled_) colors_.push_back(Vector3f::Zero());
  return coords_.size() - 1;
}

void BaseTriMesh::set_faces(const std::vector<BaseTriFace>& faces) {
  // Copied before anything is cleared: `faces` may be this mesh's own list, as in
  // m.set_faces(m.get_faces()), and vector assignment copes with that.
  faces_ = faces;
  normals_.clear();
  normals_.reserve(faces_.size());
  // Not through add_face: a class that overrides both must not see these faces twice.
  for (const BaseTriFace& f : faces_) normals_.push_back(normal_of(f));
}

void BaseTriMesh::add_face(const BaseTriFace& face) {
  // The normal first: `face` may be one of this mesh's faces, which the push may move away.
  const Vector3f normal = normal_of(face);
  faces_.push_back(face);
  normals_.push_back(normal);
}

void BaseTriMesh::take_content(std::vector<Vector3f>&& coords, std::vector<BaseTriFace>&& faces) {
  std::vector<Vector3f> normals(faces.size());
  take_content(std::move(coords), std::move(faces), std::move(normals));
  for (std::size_t i = 0; i < faces_.size(); ++i) normals_[i] = normal_of(faces_[i]);
}

void BaseTriMesh::reserve(std::size_t vertices, std::size_t faces) {
  coords_.reserve(vertices);
  if (color_enabled_) colors_.reserve(vertices);
  faces_.reserve(faces);
  normals_.reserve(faces);
}

}  // namespace Quorvex
