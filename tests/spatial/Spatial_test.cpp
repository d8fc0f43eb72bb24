#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <tuple>

#include "quorvex/spatial/Bbox3.h"
#include "quorvex/spatial/FaceSegment.h"

namespace Quorvex {
namespace {

using Box = std::array<float, 6>;
Box corners(const Bbox3& b) { return {b.xMin(), b.yMin(), b.zMin(), b.xMax(), b.yMax(), b.zMax()}; }

// The default box is the origin, not an empty box; axes past 1 are z; no points: inverted.
TEST(Bbox3, UnionAxesAndMeasures) {
  EXPECT_EQ(corners(Bbox3() + Bbox3(2, 2, 2, 3, 3, 3)), (Box{0, 0, 0, 3, 3, 3}));
  Bbox3 a(-1, 5, 0, 0, 6, 9);
  a += Bbox3(0, -2, 1, 4, 3, 2);
  EXPECT_EQ(corners(a), (Box{-1, -2, 0, 4, 6, 9}));
  a.Max(7) = 10;
  a.Min(1) = -3;
  EXPECT_EQ(a.get_side(1), 9);
  EXPECT_EQ(a.get_side(-1), 10);
  a.calc_from_coords({});
  const float big = std::numeric_limits<float>::max();
  EXPECT_EQ(corners(a), (Box{big, big, big, -big, -big, -big}));
  a.calc_from_coords({Vector3f(1, -2, 3), Vector3f(-1, 4, 0), Vector3f(0, 0, 7)});
  EXPECT_EQ(corners(a), (Box{-1, -2, 0, 1, 4, 7}));
  const Bbox3 m(0, 0, 0, 2, 3, 6), b(0, 1, 4, 1, 2, 5);
  EXPECT_EQ(m.get_volume(), 36.0f);
  EXPECT_EQ(m.get_diag_length(), 7.0f);
  EXPECT_EQ(m.get_center(), Vector3f(1, 1.5f, 3));
  EXPECT_FALSE(comp_x(m, b) || comp_x(b, m));  // the comparators look at the minima alone
  EXPECT_TRUE(comp_y(m, b) && !comp_y(b, m) && comp_z(m, b));
}

// distance2: outside, over the axes that lie outside; inside, to the nearest face.
TEST(Bbox3, PointQueriesAgainstTheUnitBox) {
  const float up = std::nextafter(1.0f, 2.0f);
  const std::tuple<Vector3f, bool, float, float> rows[] = {
      {Vector3f(2, 0.5f, 0.5f), false, 1.0f, 1.5f},
      {Vector3f(-1, -1, -1), false, 3.0f, 3.0f},
      {Vector3f(0.5f, 0.5f, 0.75f), true, 0.0625f, 0.5625f},
      {Vector3f(1, 0.5f, 0.5f), true, 0.0f, 0.5f},  // faces are inside
      {Vector3f(up, 0.5f, 0.5f), false, (up - 1.0f) * (up - 1.0f), 0.5f}};
  for (const auto& [p, inside, d2, closest_d2] : rows) {
    const Bbox3 box(0, 0, 0, 1, 1, 1);
    EXPECT_EQ(is_in_box(p, box), inside) << p.transpose();
    EXPECT_FLOAT_EQ(distance2(p, box), d2) << p.transpose();
    EXPECT_FLOAT_EQ(closest_distance2(p, box), closest_d2) << p.transpose();
  }
}

// Both corner orders give the same answers; edges belong to the triangle; no area, no plane.
TEST(FaceProjection, SignedDistanceAndTheClosedTriangle) {
  BaseTriMesh mesh;
  mesh.set_vCoords({Vector3f(0, 0, 0), Vector3f(4, 0, 0), Vector3f(0, 4, 0)});
  mesh.set_faces({BaseTriFace(0, 1, 2), BaseTriFace(0, 2, 1), BaseTriFace(0, 1, 1)});
  const Face up(0, 1, 2, 0, mesh), down(mesh.get_face(1), 1, mesh);
  Vector3f out;
  EXPECT_EQ(point_to_face_len(Vector3f(5, 5, -2), up, out), -2.0f);
  EXPECT_EQ(out, Vector3f(5, 5, 0));
  EXPECT_EQ(point_to_geom_len2(Vector3f(5, 5, -2), up, out), 4.0f);
  Bbox3 box(-9, -9, -9, 9, 9, 9);
  face_compute_bbox(down, box);
  EXPECT_EQ(corners(box), (Box{0, 0, 0, 4, 4, 0}));
  const std::pair<Vector3f, bool> rows[] = {
      {Vector3f(1, 1, 3), true},       {Vector3f(2, 0, 1), true},
      {Vector3f(2, 2, 1), true},       {Vector3f(2.5f, 2.5f, 1), false},
      {Vector3f(-0.01f, 1, 1), false}, {Vector3f(1, -0.01f, 1), false}};
  for (const auto& r : rows) {
    for (const Face& f : {up, down}) {
      EXPECT_EQ(face_get_projection_point(r.first, f, out), r.second) << r.first.transpose();
      EXPECT_EQ(out, Vector3f(r.first.x(), r.first.y(), 0.0f));
    }
  }
  EXPECT_FALSE(face_get_projection_point(Vector3f(1, 0, 5), Face(0, 1, 1, 2, mesh), out));
}

// Weights are 1 at the first end; the foot clamps; a too short segment is its first end.
TEST(Segment, FootWeightsClampingAndTooShort) {
  const Segment s(Vector3f(0, 0, 0), Vector3f(4, 0, 0));
  Vector3f out;
  Vector2f w;
  EXPECT_EQ(point_to_segment_len2(Vector3f(1, 3, 0), s, out, w), 9.0f);
  EXPECT_EQ(w, Vector2f(0.75f, 0.25f));
  EXPECT_EQ(point_to_geom_len2(Vector3f(3, 0, -1), s, out), 1.0f);
  EXPECT_EQ(point_to_segment_len2(Vector3f(6, 0, 0), s, out), 4.0f);
  EXPECT_EQ(out, s.second);
  EXPECT_EQ(point_to_segment_len2(Vector3f(-3, 0, 0), s.first, s.second, out, w), 9.0f);
  EXPECT_EQ(w, Vector2f(1, 0));
  EXPECT_TRUE(segment_get_projection_point(Vector3f(4, -7, 0), s, out));  // ends included
  EXPECT_FALSE(segment_get_projection_point(Vector3f(5, 0, 0), s, out));
  EXPECT_EQ(out, Vector3f(5, 0, 0));  // the foot on the line beyond the end
  Bbox3 box;
  segment_compute_bbox(Segment(Vector3f(3, -1, 2), Vector3f(1, 4, 2)), box);
  EXPECT_EQ(corners(box), (Box{1, -1, 2, 3, 4, 2}));
  const Vector3f a(1, 1, 1), b(1 + 1e-6f, 1, 1), c(1 + 1e-4f, 1, 1);
  EXPECT_EQ(point_to_segment_len2(Vector3f(5, 1, 1), a, b, out, w), 16.0f);
  EXPECT_TRUE(segment_get_projection_point(Vector3f(5, 1, 1), a, b, out));
  EXPECT_EQ(out, a);
  point_to_segment_len2(Vector3f(5, 1, 1), a, c, out, w);  // just long enough for one
  EXPECT_EQ(out, c);
}

// Parallel directions (also when the cosine rounds past 1) give the identity; opposite ones
// and a zero vector its negative, the zero vector with a NaN angle.
TEST(RotationMatrix, DegenerateAndGeneralTurns) {
  const Matrix3f id = Matrix3f::Identity();
  Matrix3f r;
  float angle = 0;
  get_rotation_matrix(Vector3f(0.1f, 0.2f, 0.3f), Vector3f(0.3f, 0.6f, 0.9f), r, angle);
  EXPECT_EQ(r, id);
  get_rotation_matrix(Vector3f(1, 0, 0), Vector3f(-1, 0, 0), r, angle);
  EXPECT_EQ(r, Matrix3f(-id));
  get_rotation_matrix(Vector3f(0, 0, 0), Vector3f(1, 0, 0), r, angle);
  EXPECT_EQ(r, Matrix3f(-id));
  EXPECT_TRUE(std::isnan(angle));
  const Vector3f from(1, 2, -0.5f), to(-3, 0.5f, 2);
  get_rotation_matrix(from, to, r, angle);
  EXPECT_NEAR((r * from.normalized() - to.normalized()).norm(), 0.0f, 1e-5f);
  EXPECT_NEAR(std::cos(angle), from.normalized().dot(to.normalized()), 1e-6f);
}

}  // namespace
}  // namespace Quorvex
