#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <cmath>

#include "quorvex/spatial/FaceSegment.h"

namespace Quorvex {
namespace {

// A triangle in z = 0, counter-clockwise seen from +z (normal +z), and a second face with the
// corners in the opposite order (normal -z).
class FaceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mesh.set_vCoords({Vector3f(0, 0, 0), Vector3f(4, 0, 0), Vector3f(0, 4, 0)});
    mesh.set_faces({BaseTriFace(0, 1, 2), BaseTriFace(0, 2, 1)});
  }
  BaseTriMesh mesh;
};

TEST_F(FaceTest, BboxAndSignedDistanceToThePlane) {
  Bbox3 box(-9, -9, -9, 9, 9, 9);
  face_compute_bbox(Face(0, 1, 2, 0, mesh), box);
  EXPECT_TRUE(box.xMin() == 0 && box.xMax() == 4 && box.yMax() == 4 && box.zMin() == 0 &&
              box.zMax() == 0);
  const Face up(0, 1, 2, 0, mesh);
  Vector3f out;
  EXPECT_EQ(point_to_face_len(Vector3f(5, 5, 2), up, out), 2.0f);
  EXPECT_EQ(out, Vector3f(5, 5, 0));
  EXPECT_EQ(point_to_face_len(Vector3f(5, 5, -2), up, out), -2.0f);
  EXPECT_EQ(point_to_geom_len2(Vector3f(5, 5, -2), up, out), 4.0f);
  EXPECT_EQ(point_to_face_len(Vector3f(1, 1, 2), Face(0, 2, 1, 1, mesh), out), -2.0f);
}

// The same answers for both corner orders: the edge tests follow the mesh's normal.
TEST_F(FaceTest, ProjectionIsOnExactlyTheClosedTriangle) {
  const std::pair<Vector3f, bool> rows[] = {
      {Vector3f(1, 1, 3), true},        {Vector3f(1, 1, -3), true},
      {Vector3f(0, 0, 1), true},        {Vector3f(2, 0, 1), true},  // corner, edge 0-1
      {Vector3f(2, 2, 1), true},        {Vector3f(0, 2, 1), true},  // hypotenuse, edge 2-0
      {Vector3f(2.5f, 2.5f, 1), false}, {Vector3f(-0.01f, 1, 1), false},
      {Vector3f(1, -0.01f, 1), false},  {Vector3f(-1, -1, 0), false}};
  for (const auto& r : rows) {
    for (int face = 0; face < 2; ++face) {
      const Face f(mesh.get_face(static_cast<std::size_t>(face)), face, mesh);
      Vector3f out(9, 9, 9);
      EXPECT_EQ(face_get_projection_point(r.first, f, out), r.second) << r.first.transpose();
      EXPECT_EQ(out, Vector3f(r.first.x(), r.first.y(), 0.0f));
    }
  }
}

TEST(FaceProjection, ZeroAreaFaceHasNoPlaneAndTiltedAgreesWithBarycentricSigns) {
  BaseTriMesh flat;
  flat.set_vCoords({Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(2, 0, 0)});
  flat.set_faces({BaseTriFace(0, 1, 2)});
  Vector3f out;
  EXPECT_FALSE(face_get_projection_point(Vector3f(5, 5, 5), Face(0, 1, 2, 0, flat), out));
  EXPECT_EQ(out, Vector3f(5, 5, 5));

  BaseTriMesh mesh;
  const Vector3f a(1, 2, 3), b(4, 1, 2), c(2, 5, 0);
  mesh.set_vCoords({a, b, c});
  mesh.set_faces({BaseTriFace(0, 1, 2)});
  const Face f(0, 1, 2, 0, mesh);
  const struct {
    float wa, wb;
    bool inside;
  } rows[] = {{0.3f, 0.3f, true},   {0.1f, 0.8f, true},   {0.6f, 0.6f, false},
              {-0.2f, 0.5f, false}, {0.5f, -0.2f, false}, {1.2f, -0.1f, false}};
  for (const auto& k : rows) {
    const Vector3f q = k.wa * a + k.wb * b + (1 - k.wa - k.wb) * c;
    EXPECT_EQ(face_get_projection_point(q + 2.5f * f.get_fNrv(), f, out), k.inside) << k.wa;
    EXPECT_NEAR((out - q).norm(), 0.0f, 1e-5f);
  }
}

// The weight is 1 at the first end and 0 at the second; beyond an end the foot clamps.
TEST(Segment, FootWeightsAndClamping) {
  const Segment s(Vector3f(0, 0, 0), Vector3f(4, 0, 0));
  Vector3f out;
  Vector2f w;
  EXPECT_EQ(point_to_segment_len2(Vector3f(1, 3, 0), s, out, w), 9.0f);
  EXPECT_EQ(out, Vector3f(1, 0, 0));
  EXPECT_EQ(w, Vector2f(0.75f, 0.25f));
  EXPECT_EQ(point_to_geom_len2(Vector3f(3, 0, -1), s, out), 1.0f);
  EXPECT_EQ(point_to_segment_len2(Vector3f(6, 0, 0), s.first, s.second, out, w), 4.0f);
  EXPECT_EQ(out, s.second);
  EXPECT_EQ(w, Vector2f(0, 1));
  EXPECT_EQ(point_to_segment_len2(Vector3f(-3, 0, 0), s.first, s.second, out, w), 9.0f);
  EXPECT_EQ(w, Vector2f(1, 0));
  EXPECT_TRUE(segment_get_projection_point(Vector3f(4, -7, 0), s, out));  // ends included
  EXPECT_EQ(out, Vector3f(4, 0, 0));
  EXPECT_FALSE(segment_get_projection_point(Vector3f(5, 0, 0), s, out));
  EXPECT_EQ(out, Vector3f(5, 0, 0));

  Bbox3 box;
  segment_compute_bbox(Segment(Vector3f(3, -1, 2), Vector3f(1, 4, 2)), box);
  EXPECT_TRUE(box.xMin() == 1 && box.xMax() == 3 && box.yMin() == -1 && box.yMax() == 4 &&
              box.zMin() == 2 && box.zMax() == 2);
}

TEST(Segment, TooShortCountsAsItsFirstEnd) {
  const Vector3f a(1, 1, 1), b(1 + 1e-6f, 1, 1);
  Vector3f out;
  Vector2f w;
  EXPECT_EQ(point_to_segment_len2(Vector3f(5, 1, 1), a, b, out, w), 16.0f);
  EXPECT_EQ(out, a);
  EXPECT_EQ(w, Vector2f(1, 0));
  EXPECT_TRUE(segment_get_projection_point(Vector3f(5, 1, 1), a, b, out));
  EXPECT_EQ(out, a);
  const Vector3f c(1 + 1e-4f, 1, 1);  // just above the threshold the direction counts again
  EXPECT_TRUE(segment_get_projection_point(Vector3f(1, 1, 1), a, c, out));
  point_to_segment_len2(Vector3f(5, 1, 1), a, c, out, w);
  EXPECT_EQ(out, c);
}

// Same direction (also when the cosine rounds past 1) gives the identity; opposite ones and a
// zero vector give its negative, the zero vector with a NaN angle.
TEST(RotationMatrix, DegenerateDirections) {
  Matrix3f r;
  float angle = 1;
  get_rotation_matrix(Vector3f(1, 0, 0), Vector3f(2, 0, 0), r, angle);
  EXPECT_EQ(angle, 0.0f);
  EXPECT_EQ(r, Matrix3f(Matrix3f::Identity()));
  get_rotation_matrix(Vector3f(0.1f, 0.2f, 0.3f), Vector3f(0.3f, 0.6f, 0.9f), r, angle);
  EXPECT_FALSE(std::isnan(angle));
  EXPECT_EQ(r, Matrix3f(Matrix3f::Identity()));
  get_rotation_matrix(Vector3f(1, 0, 0), Vector3f(-1, 0, 0), r, angle);
  EXPECT_NEAR(angle, 3.14159265f, 1e-6f);
  EXPECT_EQ(r, Matrix3f(-Matrix3f::Identity()));
  get_rotation_matrix(Vector3f(0, 0, 0), Vector3f(1, 0, 0), r, angle);
  EXPECT_TRUE(std::isnan(angle));
  EXPECT_EQ(r, Matrix3f(-Matrix3f::Identity()));
}

TEST(RotationMatrix, GeneralTurnMapsDirection) {
  const Vector3f from(1, 2, -0.5f), to(-3, 0.5f, 2);
  Matrix3f r;
  float angle = 0;
  get_rotation_matrix(from, to, r, angle);
  EXPECT_NEAR((r * from.normalized() - to.normalized()).norm(), 0.0f, 1e-5f);
  EXPECT_NEAR(std::cos(angle), from.normalized().dot(to.normalized()), 1e-6f);
  EXPECT_NEAR((r * r.transpose() - Matrix3f::Identity()).norm(), 0.0f, 1e-6f);
  // Column-major, row 0 column 1 holds (1 - k) u.y u.x - s u.z.
  const Vector3f u = from.cross(to).normalized();
  EXPECT_NEAR(r(0, 1), (1 - std::cos(angle)) * u.y() * u.x() - std::sin(angle) * u.z(), 1e-6f);
}

}  // namespace
}  // namespace Quorvex
