#include "quorvex/spatial/FaceSegment.h"

#include <cmath>
#include <limits>

namespace Quorvex {

namespace {

// Every product and sum below is spelled out in float, in the order the callers rely on:
// these results are compared bit for bit against other implementations of the same steps.
Vector3f cross_f32(const Vector3f& a, const Vector3f& b) {
  return Vector3f(a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(),
                  a.x() * b.y() - a.y() * b.x());
}

float dot_f32(const Vector3f& a, const Vector3f& b) {
  return a.x() * b.x() + a.y() * b.y() + a.z() * b.z();
}

float length_f32(const Vector3f& a) { return std::sqrt(dot_f32(a, a)); }

// Parameter of the foot of p on the line through a (t = 1) and b (t = 0), unclamped.
float segment_parameter(const Vector3f& p, const Vector3f& a, const Vector3f& b) {
  const Vector3f e(a.x() - b.x(), a.y() - b.y(), a.z() - b.z());
  const float den = e.x() * e.x() + (e.y() * e.y() + e.z() * e.z());
  if (static_cast<double>(den) < 1e-10) return 1.0f;
  const float num = e.y() * (p.y() - b.y()) + e.z() * (p.z() - b.z()) + (p.x() - b.x()) * e.x();
  return static_cast<float>(static_cast<double>(num) / static_cast<double>(den));
}

Vector3f blend_f32(float t, const Vector3f& a, const Vector3f& b) {
  const float s = 1.0f - t;
  return Vector3f(t * a.x() + s * b.x(), t * a.y() + s * b.y(), t * a.z() + s * b.z());
}

float distance2_f32(const Vector3f& p, const Vector3f& q) {
  const float dx = p.x() - q.x();
  const float dy = p.y() - q.y();
  const float dz = p.z() - q.z();
  return dx * dx + dy * dy + dz * dz;
}

}  // namespace

void face_compute_bbox(const Face& face, Bbox3& box) {
  const float big = std::numeric_limits<float>::max();
  box = Bbox3(big, big, big, -big, -big, -big);
  for (int i = 0; i < 3; ++i) {
    const Vector3f& v = face.get_vCoord(i);
    for (int a = 0; a < 3; ++a) {
      if (v[a] < box.Min(a)) box.Min(a) = v[a];
      if (v[a] > box.Max(a)) box.Max(a) = v[a];
    }
  }
}

float point_to_face_len(const Vector3f& p, const Face& face, Vector3f& out) {
  const Vector3f& n = face.get_fNrv();
  const Vector3f& v = face.get_vCoord(0);
  const float d = n.x() * (p.x() - v.x()) + ((p.y() - v.y()) * n.y() + (p.z() - v.z()) * n.z());
  out = Vector3f(p.x() - d * n.x(), p.y() - d * n.y(), p.z() - d * n.z());
  return d;
}

float point_to_geom_len2(const Vector3f& p, const Face& face, Vector3f& out) {
  const float d = point_to_face_len(p, face, out);
  return d * d;
}

bool face_get_projection_point(const Vector3f& p, const Face& face, Vector3f& out) {
  point_to_face_len(p, face, out);
  const Vector3f& n = face.get_fNrv();
  // A face of zero area keeps a zero normal: it has no plane to land on.
  if (n.x() == 0.0f && n.y() == 0.0f && n.z() == 0.0f) return false;
  // The mesh's normal follows the right-hand rule of the corner order, so a foot inside
  // the triangle lies to the left of every directed edge: (Vj - Vi) x (out - Vi) points
  // along the normal. Zero is on the edge, which belongs to the triangle.
  static const int kPairs[3][2] = {{0, 1}, {1, 2}, {2, 0}};
  for (const auto& pair : kPairs) {
    const Vector3f& vi = face.get_vCoord(pair[0]);
    const Vector3f& vj = face.get_vCoord(pair[1]);
    const Vector3f edge(vj.x() - vi.x(), vj.y() - vi.y(), vj.z() - vi.z());
    const Vector3f to_foot(out.x() - vi.x(), out.y() - vi.y(), out.z() - vi.z());
    if (dot_f32(cross_f32(edge, to_foot), n) < 0.0f) return false;
  }
  return true;
}

void segment_compute_bbox(const Segment& segment, Bbox3& box) {
  const Vector3f& a = segment.first;
  const Vector3f& b = segment.second;
  box = Bbox3(a.x() < b.x() ? a.x() : b.x(), a.y() < b.y() ? a.y() : b.y(),
              a.z() < b.z() ? a.z() : b.z(), a.x() < b.x() ? b.x() : a.x(),
              a.y() < b.y() ? b.y() : a.y(), a.z() < b.z() ? b.z() : a.z());
}

float point_to_segment_len2(const Vector3f& p, const Vector3f& a, const Vector3f& b, Vector3f& out,
                            Vector2f& weights) {
  float t = segment_parameter(p, a, b);
  if (t < 0.0f) t = 0.0f;
  if (t > 1.0f) t = 1.0f;
  weights = Vector2f(t, 1.0f - t);
  out = blend_f32(t, a, b);
  return distance2_f32(p, out);
}

float point_to_segment_len2(const Vector3f& p, const Vector3f& a, const Vector3f& b,
                            Vector3f& out) {
  Vector2f weights;
  return point_to_segment_len2(p, a, b, out, weights);
}

float point_to_segment_len2(const Vector3f& p, const Segment& segment, Vector3f& out) {
  return point_to_segment_len2(p, segment.first, segment.second, out);
}

float point_to_segment_len2(const Vector3f& p, const Segment& segment, Vector3f& out,
                            Vector2f& weights) {
  return point_to_segment_len2(p, segment.first, segment.second, out, weights);
}

float point_to_geom_len2(const Vector3f& p, const Segment& segment, Vector3f& out) {
  return point_to_segment_len2(p, segment.first, segment.second, out);
}

bool segment_get_projection_point(const Vector3f& p, const Vector3f& a, const Vector3f& b,
                                  Vector3f& out) {
  const float t = segment_parameter(p, a, b);
  out = blend_f32(t, a, b);
  return t >= 0.0f && t <= 1.0f;
}

bool segment_get_projection_point(const Vector3f& p, const Segment& segment, Vector3f& out) {
  return segment_get_projection_point(p, segment.first, segment.second, out);
}

void get_rotation_matrix(const Vector3f& from, const Vector3f& to, Matrix3f& rotation,
                         float& angle) {
  const Vector3f c = cross_f32(from, to);
  float cosine = dot_f32(from, to) / length_f32(from) / length_f32(to);
  // Rounding can carry the cosine of (anti)parallel directions just past +-1, where acos
  // has no value; a NaN from a zero vector passes through unchanged.
  if (cosine > 1.0f) cosine = 1.0f;
  if (cosine < -1.0f) cosine = -1.0f;
  angle = std::acos(cosine);
  if (static_cast<double>(std::fabs(angle)) < 1e-7) {
    rotation.setIdentity();
    return;
  }
  const float c_len = length_f32(c);
  if (static_cast<double>(c_len) < 1e-7) {
    rotation.setIdentity();
    if (!(static_cast<double>(std::fabs(angle)) < 1.5708)) rotation *= -1.0f;
    return;
  }
  const Vector3f u(c.x() / c_len, c.y() / c_len, c.z() / c_len);
  const float s = std::sin(angle);
  const float k = std::cos(angle);
  const float m = 1.0f - k;
  rotation(0, 0) = m * u.x() * u.x() + k;
  rotation(0, 1) = m * u.y() * u.x() - s * u.z();
  rotation(0, 2) = m * u.z() * u.x() + s * u.y();
  rotation(1, 0) = m * u.y() * u.x() + s * u.z();
  rotation(1, 1) = m * u.y() * u.y() + k;
  rotation(1, 2) = m * u.z() * u.y() - s * u.x();
  rotation(2, 0) = m * u.z() * u.x() - s * u.y();
  rotation(2, 1) = m * u.z() * u.y() + s * u.x();
  rotation(2, 2) = m * u.z() * u.z() + k;
}

}  // namespace Quorvex
