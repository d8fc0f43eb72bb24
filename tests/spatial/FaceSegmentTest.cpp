#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <cmath>
#include <limits>

#include "quorvex/spatial/FaceSegment.h"

namespace Quorvex {
namespace {

const float kPi = 3.14159265358979f;

// A triangle in the plane z = 0, counter-clockwise seen from +z, so the mesh's normal is
// +z; and a second face with the corners in the opposite order (normal -z).
class FaceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mesh.set_vCoords({Vector3f(0, 0, 0), Vector3f(4, 0, 0), Vector3f(0, 4, 0)});
    mesh.set_faces({BaseTriFace(0, 1, 2), BaseTriFace(0, 2, 1)});
  }
  BaseTriMesh mesh;
};

TEST_F(FaceTest, ComputeBboxStartsFromTheInvertedBox) {
  Bbox3 box(-9, -9, -9, 9, 9, 9);
  face_compute_bbox(Face(0, 1, 2, 0, mesh), box);
  EXPECT_EQ(box.xMin(), 0);
  EXPECT_EQ(box.xMax(), 4);
  EXPECT_EQ(box.yMax(), 4);
  EXPECT_EQ(box.zMin(), 0);
  EXPECT_EQ(box.zMax(), 0);
}

TEST_F(FaceTest, DistanceIsToThePlaneAndSigned) {
  const Face up(0, 1, 2, 0, mesh);
  Vector3f out;
  EXPECT_EQ(point_to_face_len(Vector3f(5, 5, 2), up, out), 2.0f);
  EXPECT_EQ(out, Vector3f(5, 5, 0));
  EXPECT_EQ(point_to_face_len(Vector3f(5, 5, -2), up, out), -2.0f);
  EXPECT_EQ(point_to_geom_len2(Vector3f(5, 5, -2), up, out), 4.0f);
  EXPECT_EQ(point_to_geom_len2(Vector3f(5, 5, 2), up, out), 4.0f);
  EXPECT_EQ(out, Vector3f(5, 5, 0));
  const Face down(0, 2, 1, 1, mesh);
  EXPECT_EQ(point_to_face_len(Vector3f(1, 1, 2), down, out), -2.0f);
}

struct ProjectionCase {
  Vector3f p;
  bool on_triangle;
};

void PrintTo(const ProjectionCase& c, std::ostream* os) {
  *os << "(" << c.p.x() << ", " << c.p.y() << ", " << c.p.z() << ")";
}

class FaceProjectionTest : public FaceTest, public ::testing::WithParamInterface<ProjectionCase> {};

// The same answers for both corner orders: the edge tests follow the mesh's normal.
TEST_P(FaceProjectionTest, TrueExactlyOnTheClosedTriangle) {
  const ProjectionCase& c = GetParam();
  for (int face = 0; face < 2; ++face) {
    const Face f(mesh.get_face(static_cast<std::size_t>(face)), face, mesh);
    Vector3f out(9, 9, 9);
    EXPECT_EQ(face_get_projection_point(c.p, f, out), c.on_triangle) << "face " << face;
    EXPECT_EQ(out, Vector3f(c.p.x(), c.p.y(), 0.0f));
  }
}

INSTANTIATE_TEST_SUITE_P(Table, FaceProjectionTest,
                         ::testing::Values(ProjectionCase{Vector3f(1, 1, 3), true},
                                           ProjectionCase{Vector3f(1, 1, -3), true},
                                           ProjectionCase{Vector3f(0, 0, 1), true},  // corner
                                           ProjectionCase{Vector3f(2, 0, 1), true},  // edge 0-1
                                           ProjectionCase{Vector3f(2, 2, 1), true},  // hypotenuse
                                           ProjectionCase{Vector3f(0, 2, 1), true},  // edge 2-0
                                           ProjectionCase{Vector3f(2.5f, 2.5f, 1),
                                                          false},  // beyond hypotenuse
                                           ProjectionCase{Vector3f(-0.01f, 1, 1), false},
                                           ProjectionCase{Vector3f(1, -0.01f, 1), false},
                                           ProjectionCase{Vector3f(5, 5, 2), false},
                                           ProjectionCase{Vector3f(-1, -1, 0), false}));

TEST(FaceProjection, ZeroAreaFaceHasNoPlane) {
  BaseTriMesh mesh;
  mesh.set_vCoords({Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(2, 0, 0)});
  mesh.set_faces({BaseTriFace(0, 1, 2)});
  Vector3f out;
  EXPECT_FALSE(face_get_projection_point(Vector3f(5, 5, 5), Face(0, 1, 2, 0, mesh), out));
  EXPECT_EQ(out, Vector3f(5, 5, 5));
}

TEST(FaceProjection, TiltedTriangleAgreesWithBarycentricSigns) {
  // A triangle off every axis; points chosen by barycentric weights inside or outside.
  BaseTriMesh mesh;
  const Vector3f a(1, 2, 3), b(4, 1, 2), c(2, 5, 0);
  mesh.set_vCoords({a, b, c});
  mesh.set_faces({BaseTriFace(0, 1, 2)});
  const Face f(0, 1, 2, 0, mesh);
  const Vector3f n = f.get_fNrv();
  const struct {
    float wa, wb;
    bool inside;
  } cases[] = {{0.3f, 0.3f, true},   {0.1f, 0.8f, true},   {0.6f, 0.6f, false},
               {-0.2f, 0.5f, false}, {0.5f, -0.2f, false}, {1.2f, -0.1f, false}};
  for (const auto& k : cases) {
    const Vector3f q = k.wa * a + k.wb * b + (1 - k.wa - k.wb) * c;
    Vector3f out;
    EXPECT_EQ(face_get_projection_point(q + 2.5f * n, f, out), k.inside) << k.wa << " " << k.wb;
    EXPECT_NEAR((out - q).norm(), 0.0f, 1e-5f);
  }
}

TEST(Segment, ClampsBeyondAnEnd) {
  Vector3f out;
  Vector2f w;
  const Vector3f a(0, 0, 0), b(1, 0, 0);
  EXPECT_EQ(point_to_segment_len2(Vector3f(2, 0, 0), a, b, out, w), 1.0f);
  EXPECT_EQ(out, b);
  EXPECT_EQ(w, Vector2f(0, 1));
  EXPECT_EQ(point_to_segment_len2(Vector3f(-3, 0, 0), a, b, out, w), 9.0f);
  EXPECT_EQ(out, a);
  EXPECT_EQ(w, Vector2f(1, 0));
  EXPECT_FALSE(segment_get_projection_point(Vector3f(2, 0, 0), a, b, out));
  EXPECT_EQ(out, Vector3f(2, 0, 0));
}

TEST(Segment, InteriorFootAndWeights) {
  const Segment s(Vector3f(0, 0, 0), Vector3f(4, 0, 0));
  Vector3f out;
  Vector2f w;
  // t is 1 at `first` and 0 at `second`.
  EXPECT_EQ(point_to_segment_len2(Vector3f(1, 3, 0), s, out, w), 9.0f);
  EXPECT_EQ(out, Vector3f(1, 0, 0));
  EXPECT_EQ(w, Vector2f(0.75f, 0.25f));
  EXPECT_EQ(point_to_segment_len2(Vector3f(1, 0, 2), s, out), 4.0f);
  EXPECT_EQ(point_to_geom_len2(Vector3f(3, 0, -1), s, out), 1.0f);
  EXPECT_EQ(out, Vector3f(3, 0, 0));
  EXPECT_TRUE(segment_get_projection_point(Vector3f(0, 7, 0), s, out));  // end included
  EXPECT_EQ(out, Vector3f(0, 0, 0));
  EXPECT_TRUE(segment_get_projection_point(Vector3f(4, -7, 0), s, out));
  EXPECT_EQ(out, Vector3f(4, 0, 0));
}

TEST(Segment, TooShortCountsAsItsFirstEnd) {
  const Vector3f a(1, 1, 1), b(1 + 1e-6f, 1, 1);
  Vector3f out;
  Vector2f w;
  const float d2 = point_to_segment_len2(Vector3f(5, 1, 1), a, b, out, w);
  EXPECT_EQ(out, a);
  EXPECT_EQ(w, Vector2f(1, 0));
  EXPECT_EQ(d2, 16.0f);
  EXPECT_TRUE(segment_get_projection_point(Vector3f(5, 1, 1), a, b, out));
  EXPECT_EQ(out, a);
  // Just above the threshold the direction counts again.
  const Vector3f c(1 + 1e-4f, 1, 1);
  EXPECT_TRUE(segment_get_projection_point(Vector3f(1, 1, 1), a, c, out));
  point_to_segment_len2(Vector3f(5, 1, 1), a, c, out, w);
  EXPECT_EQ(out, c);
}

TEST(Segment, Bbox) {
  const Segment s(Vector3f(3, -1, 2), Vector3f(1, 4, 2));
  Bbox3 box;
  segment_compute_bbox(s, box);
  EXPECT_EQ(box.xMin(), 1);
  EXPECT_EQ(box.xMax(), 3);
  EXPECT_EQ(box.yMin(), -1);
  EXPECT_EQ(box.yMax(), 4);
  EXPECT_EQ(box.zMin(), 2);
  EXPECT_EQ(box.zMax(), 2);
}

// Same direction (also when the cosine rounds past 1) gives the identity; opposite ones and
// a zero vector give its negative, the zero vector with a NaN angle.
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
  EXPECT_NEAR(angle, kPi, 1e-6f);
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
  const Vector3f got = r * from.normalized();
  EXPECT_NEAR((got - to.normalized()).norm(), 0.0f, 1e-5f);
  EXPECT_NEAR(std::cos(angle), from.normalized().dot(to.normalized()), 1e-6f);
  EXPECT_NEAR((r * r.transpose() - Matrix3f::Identity()).norm(), 0.0f, 1e-6f);
  // Column-major, row 0 column 1 holds (1 - k) u.y u.x - s u.z.
  const Vector3f u = from.cross(to).normalized();
  EXPECT_NEAR(r(0, 1), (1 - std::cos(angle)) * u.y() * u.x() - std::sin(angle) * u.z(), 1e-6f);
}

}  // namespace
}  // namespace Quorvex
