#include "quorvex/base/BaseTriMesh.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Quorvex {
namespace {

BaseTriMesh triangle_mesh(const Vector3f& a, const Vector3f& b, const Vector3f& c,
                          BaseTriFace face = BaseTriFace(0, 1, 2)) {
  BaseTriMesh mesh;
  mesh.set_vCoords({a, b, c});
  mesh.add_face(face);
  return mesh;
}

// ---- Normals: right-hand rule, unit length, zero when undefined ---------------------------

struct NormalCase {
  const char* name;
  Vector3f a, b, c;
  Vector3f expected;
};
// Printed by name: gtest would otherwise dump the bytes, padding included.
void PrintTo(const NormalCase& c, std::ostream* os) { *os << c.name; }

class FaceNormalTest : public ::testing::TestWithParam<NormalCase> {};

TEST_P(FaceNormalTest, IsUnitRightHandNormalOrZero) {
  const NormalCase& k = GetParam();
  const BaseTriMesh mesh = triangle_mesh(k.a, k.b, k.c);
  const Vector3f n = mesh.get_fNrv(0);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(n[i], k.expected[i], 1e-6f) << i;
}

const float kTiny = 1e-25f;  // the float cross product of such edges underflows to zero
const float kHuge = 1e25f;   // and of such edges overflows to infinity
const float kInvSqrt2 = 0.70710678f;

INSTANTIATE_TEST_SUITE_P(
    Triangles, FaceNormalTest,
    ::testing::Values(NormalCase{"Widdershins", {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
                      NormalCase{"Clockwise", {0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 0, -1}},
                      NormalCase{
                          "Slanted", {0, 0, 0}, {1, 0, 1}, {0, 1, 0}, {-kInvSqrt2, 0, kInvSqrt2}},
                      NormalCase{"Tiny", {0, 0, 0}, {kTiny, 0, 0}, {0, kTiny, 0}, {0, 0, 1}},
                      NormalCase{"Huge", {0, 0, 0}, {kHuge, 0, 0}, {0, kHuge, 0}, {0, 0, 1}},
                      NormalCase{"Collinear", {0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {0, 0, 0}},
                      NormalCase{"Point", {3, 3, 3}, {3, 3, 3}, {3, 3, 3}, {0, 0, 0}},
                      NormalCase{"Infinite",
                                 {0, 0, 0},
                                 {std::numeric_limits<float>::infinity(), 0, 0},
                                 {0, 1, 0},
                                 {0, 0, 0}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(BaseTriMeshTest, CornerNamingNoVertexHasZeroNormal) {
  for (const BaseTriFace& f : {BaseTriFace(0, 1, 3), BaseTriFace(-1, 1, 2)}) {
    const BaseTriMesh mesh = triangle_mesh({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, f);
    EXPECT_EQ(mesh.get_fNrv(0), Vector3f::Zero());
  }
}

TEST(BaseTriMeshTest, NormalsFollowNewPositions) {
  BaseTriMesh mesh = triangle_mesh({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  mesh.set_vCoords({Vector3f(0, 0, 0), Vector3f(0, 1, 0), Vector3f(1, 0, 0)});
  EXPECT_EQ(mesh.get_fNrv(0), Vector3f(0, 0, -1));
  // Faces given before their vertices get their normals once the vertices arrive.
  BaseTriMesh late;
  late.set_faces({BaseTriFace(0, 1, 2)});
  EXPECT_EQ(late.get_fNrv(0), Vector3f::Zero());
  late.set_vCoords({Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(0, 1, 0)});
  EXPECT_EQ(late.get_fNrv(0), Vector3f(0, 0, 1));
}

// ---- The virtual operations ---------------------------------------------------------------

// Counts the calls a derived mesh sees.
class CountingMesh : public BaseTriMesh {
 public:
  void add_face(const BaseTriFace& f) override {
    ++add_face_calls;
    BaseTriMesh::add_face(f);
  }
  void set_faces(const std::vector<BaseTriFace>& faces) override {
    ++set_faces_calls;
    BaseTriMesh::set_faces(faces);
  }
  int add_face_calls = 0;
  int set_faces_calls = 0;
};

TEST(BaseTriMeshTest, SetFacesDoesNotDispatchToAddFace) {
  CountingMesh mesh;
  BaseTriMesh& base = mesh;
  base.set_vCoords({Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(0, 1, 0)});
  base.set_faces({BaseTriFace(0, 1, 2), BaseTriFace(0, 2, 1)});
  EXPECT_EQ(mesh.set_faces_calls, 1);
  EXPECT_EQ(mesh.add_face_calls, 0);
  EXPECT_EQ(base.get_fn(), 2u);
}

// ---- Colours ------------------------------------------------------------------------------

// Colours, once on, cover every vertex, old and new; setting one turns them on.
TEST(CloudColorTest, ColoursCoverOldAndNewVertices) {
  BaseTriMesh mesh;
  mesh.add_vCoord(Vector3f(0, 0, 0));
  mesh.add_vCoord(Vector3f(1, 0, 0));
  EXPECT_FALSE(mesh.is_vColor_enabled());
  mesh.set_vColor(1, Vector3f(0.5f, 0.25f, 1));
  EXPECT_TRUE(mesh.is_vColor_enabled());
  EXPECT_EQ(mesh.get_vColor(0), Vector3f::Zero());
  EXPECT_EQ(mesh.get_vColor(1), Vector3f(0.5f, 0.25f, 1));
  mesh.set_vCoords({Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(2, 0, 0)});
  EXPECT_EQ(mesh.get_vColor(2), Vector3f::Zero());
  const std::size_t i = mesh.add_vCoord(Vector3f(3, 0, 0));
  EXPECT_EQ(mesh.get_vColor(i), Vector3f::Zero());
}

}  // namespace
}  // namespace Quorvex
