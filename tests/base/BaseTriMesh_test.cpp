#include "quorvex/base/BaseTriMesh.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace Quorvex {
namespace {

BaseTriMesh triangle_mesh(const Vector3f& a, const Vector3f& b, const Vector3f& c,
                          BaseTriFace face = BaseTriFace(0, 1, 2)) {
  BaseTriMesh mesh;
  mesh.set_vCoords({a, b, c});
  mesh.add_face(face);
  return mesh;
}

// Unit length by the right-hand rule, also where the float cross product of the edges
// underflows (1e-25) or overflows (1e25); zero where there is no normal.
TEST(BaseTriMeshTest, FaceNormalIsUnitRightHandNormalOrZero) {
  const float inf = std::numeric_limits<float>::infinity(), r = 0.70710678f;
  const struct {
    Vector3f a, b, c, expected;
  } cases[] = {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
               {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 0, -1}},
               {{0, 0, 0}, {1, 0, 1}, {0, 1, 0}, {-r, 0, r}},
               {{0, 0, 0}, {1e-25f, 0, 0}, {0, 1e-25f, 0}, {0, 0, 1}},
               {{0, 0, 0}, {1e25f, 0, 0}, {0, 1e25f, 0}, {0, 0, 1}},
               {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {0, 0, 0}},
               {{0, 0, 0}, {inf, 0, 0}, {0, 1, 0}, {0, 0, 0}}};
  for (const auto& k : cases) {
    const Vector3f n = triangle_mesh(k.a, k.b, k.c).get_fNrv(0);
    EXPECT_LT((n - k.expected).cwiseAbs().maxCoeff(), 1e-6f) << k.b.transpose();
  }
  // A corner naming no vertex.
  for (const BaseTriFace& f : {BaseTriFace(0, 1, 3), BaseTriFace(-1, 1, 2)}) {
    EXPECT_EQ(triangle_mesh({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, f).get_fNrv(0), Vector3f::Zero());
  }
}

// Normals and colours follow the vertices; faces given before their vertices get their normals
// once the vertices arrive. A class that overrides add_face must not see the faces of
// set_faces a second time.
TEST(BaseTriMeshTest, NormalsAndColoursFollowTheVertices) {
  struct CountingMesh : BaseTriMesh {
    void add_face(const BaseTriFace& f) override {
      ++add_face_calls;
      BaseTriMesh::add_face(f);
    }
    int add_face_calls = 0;
  } derived;
  BaseTriMesh& mesh = derived;
  mesh.set_faces({BaseTriFace(0, 1, 2), BaseTriFace(0, 2, 1)});
  EXPECT_EQ(derived.add_face_calls, 0);
  EXPECT_EQ(mesh.get_fNrv(0), Vector3f::Zero());
  mesh.add_vCoord(Vector3f(0, 0, 0));
  mesh.add_vCoord(Vector3f(1, 0, 0));
  EXPECT_FALSE(mesh.is_vColor_enabled());
  mesh.set_vColor(1, Vector3f(0.5f, 0.25f, 1));  // turns colours on for every vertex
  EXPECT_TRUE(mesh.is_vColor_enabled());
  EXPECT_EQ(mesh.get_vColor(0), Vector3f::Zero());
  EXPECT_EQ(mesh.get_vColor(1), Vector3f(0.5f, 0.25f, 1));
  mesh.set_vCoords({Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(0, 1, 0)});
  EXPECT_EQ(mesh.get_fNrv(0), Vector3f(0, 0, 1));
  EXPECT_EQ(mesh.get_fNrv(1), Vector3f(0, 0, -1));
  EXPECT_EQ(mesh.get_vColor(1), Vector3f::Zero());  // a new vertex 1, with no colour yet
  EXPECT_EQ(mesh.get_vColor(2), Vector3f::Zero());
  EXPECT_EQ(mesh.get_vColor(mesh.add_vCoord(Vector3f(3, 0, 0))), Vector3f::Zero());
  mesh.clear();  // as new: a mesh read into afterwards has no colours
  EXPECT_FALSE(mesh.is_vColor_enabled());
}

// The mesh's own lists and elements passed back to its setters: nothing is lost, and each
// face keeps its normal. add_face grows the list past its capacity, so the face it was given
// moves while it is stored (caught as a use after free in a sanitizer build).
TEST(BaseTriMeshTest, SettersAcceptTheMeshsOwnListsAndElements) {
  BaseTriMesh mesh = triangle_mesh({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  mesh.add_face(BaseTriFace(0, 2, 1));
  mesh.set_faces(mesh.get_faces());
  ASSERT_EQ(mesh.get_fn(), 2u);
  EXPECT_EQ(mesh.get_face(1), BaseTriFace(0, 2, 1));
  EXPECT_EQ(mesh.get_fNrv(0), Vector3f(0, 0, 1));
  EXPECT_EQ(mesh.get_fNrv(1), Vector3f(0, 0, -1));

  mesh.set_vCoords(mesh.get_vCoords());
  ASSERT_EQ(mesh.get_vn(), 3u);
  EXPECT_EQ(mesh.get_vCoord(2), Vector3f(0, 1, 0));
  EXPECT_EQ(mesh.get_fNrv(1), Vector3f(0, 0, -1));

  for (int i = 0; i < 40; ++i) {
    const std::size_t last = mesh.get_fn() - 1;
    mesh.add_face(mesh.get_face(last));
    ASSERT_EQ(mesh.get_face(last + 1), mesh.get_face(last));
    EXPECT_EQ(mesh.get_fNrv(last + 1), mesh.get_fNrv(last)) << i;
  }
  EXPECT_EQ(mesh.get_fNrv(mesh.get_fn() - 1), Vector3f(0, 0, -1));
  mesh.add_vCoord(mesh.get_vCoord(1));
  EXPECT_EQ(mesh.get_vCoord(3), Vector3f(1, 0, 0));
}

}  // namespace
}  // namespace Quorvex
