#pragma once

#include <Eigen/Core>

#include "quorvex/Export.h"
#include "quorvex/base/BaseTriMesh.h"
#include "quorvex/spatial/Bbox3.h"

namespace Quorvex {

using Vector2f = Eigen::Matrix<float, 2, 1>;
using Matrix3f = Eigen::Matrix<float, 3, 3>;

// A triangle of a mesh, named by its corner indices. The mesh is not owned and must outlive
// the face; nothing checks the indices.
class QX_EXPORT Face {
 public:
  Face() = default;
  Face(const BaseTriFace& face, int face_index, const BaseTriMesh& mesh)
      : vertex_index{face[0], face[1], face[2]}, face_index(face_index), mesh(&mesh) {}
  Face(int corner0, int corner1, int corner2, int face_index, const BaseTriMesh& mesh)
      : vertex_index{corner0, corner1, corner2}, face_index(face_index), mesh(&mesh) {}
  Face(const Face&) = default;
  Face& operator=(const Face&) = default;

  // Corner 0, 1 or 2.
  const Vector3f& get_vCoord(int i) const {
    return mesh->get_vCoord(static_cast<std::size_t>(vertex_index[i]));
  }
  // The unit normal the mesh keeps for this face.
  const Vector3f& get_fNrv() const { return mesh->get_fNrv(static_cast<std::size_t>(face_index)); }

  int vertex_index[3];
  int face_index;
  const BaseTriMesh* mesh = nullptr;
};

// A line segment held by value.
class QX_EXPORT Segment {
 public:
  Segment() = default;
  Segment(const Vector3f& first, const Vector3f& second) : first(first), second(second) {}
  Segment(const Segment&) = default;
  Segment& operator=(const Segment&) = default;

  Vector3f first;
  Vector3f second;
};

QX_EXPORT void face_compute_bbox(const Face& face, Bbox3& box);
// Signed distance from p to the plane of the face (positive on the side the normal points
// to); `out` is the foot of the perpendicular, also when it lies outside the triangle.
QX_EXPORT float point_to_face_len(const Vector3f& p, const Face& face, Vector3f& out);
// Square of point_to_face_len: the distance to the plane, not to the triangle.
QX_EXPORT float point_to_geom_len2(const Vector3f& p, const Face& face, Vector3f& out);
// `out` is the foot on the plane; true when it lies on the closed triangle.
QX_EXPORT bool face_get_projection_point(const Vector3f& p, const Face& face, Vector3f& out);

QX_EXPORT void segment_compute_bbox(const Segment& segment, Bbox3& box);
// Squared distance from p to the segment ab; `out` is the nearest point of the segment and
// `weights` its weights of a and b.
QX_EXPORT float point_to_segment_len2(const Vector3f& p, const Vector3f& a, const Vector3f& b,
                                      Vector3f& out);
QX_EXPORT float point_to_segment_len2(const Vector3f& p, const Vector3f& a, const Vector3f& b,
                                      Vector3f& out, Vector2f& weights);
QX_EXPORT float point_to_segment_len2(const Vector3f& p, const Segment& segment, Vector3f& out);
QX_EXPORT float point_to_segment_len2(const Vector3f& p, const Segment& segment, Vector3f& out,
                                      Vector2f& weights);
QX_EXPORT float point_to_geom_len2(const Vector3f& p, const Segment& segment, Vector3f& out);
// `out` is the foot on the infinite line through a and b; true when it lies on the segment.
QX_EXPORT bool segment_get_projection_point(const Vector3f& p, const Vector3f& a, const Vector3f& b,
                                            Vector3f& out);
QX_EXPORT bool segment_get_projection_point(const Vector3f& p, const Segment& segment,
                                            Vector3f& out);

// The rotation turning direction `from` into direction `to`, and the angle between them in
// radians. Opposite directions give the negative identity.
QX_EXPORT void get_rotation_matrix(const Vector3f& from, const Vector3f& to, Matrix3f& rotation,
                                   float& angle);

}  // namespace Quorvex
