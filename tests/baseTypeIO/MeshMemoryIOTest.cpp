#include <gtest/gtest.h>

#include <boost/interprocess/streams/bufferstream.hpp>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "quorvex/base/StlSniff.h"
#include "quorvex/baseTypeIO/MeshMemoryIO.h"
#include "quorvex/baseTypeIO/ReadTriMesh.h"
#include "support/MeshSamples.h"

namespace Quorvex {
namespace {

using qxtest::binary_stl;
using qxtest::bytes_of;

std::uint32_t u32_at(const std::vector<unsigned char>& b, std::size_t at) {
  return static_cast<std::uint32_t>(b[at]) | static_cast<std::uint32_t>(b[at + 1]) << 8 |
         static_cast<std::uint32_t>(b[at + 2]) << 16 | static_cast<std::uint32_t>(b[at + 3]) << 24;
}

float f32_at(const std::vector<unsigned char>& b, std::size_t at) {
  const std::uint32_t bits = u32_at(b, at);
  float v;
  std::memcpy(&v, &bits, sizeof v);
  return v;
}

Vector3f vec_at(const std::vector<unsigned char>& b, std::size_t at) {
  return Vector3f(f32_at(b, at), f32_at(b, at + 4), f32_at(b, at + 8));
}

// The writer's normal: the float cross product of the edges divided by its float length.
Vector3f float_normal(const Vector3f& a, const Vector3f& b, const Vector3f& c) {
  const Vector3f e1 = b - a;
  const Vector3f e2 = c - a;
  const Vector3f n(e1.y() * e2.z() - e1.z() * e2.y(), e1.z() * e2.x() - e1.x() * e2.z(),
                   e1.x() * e2.y() - e1.y() * e2.x());
  const float len = std::sqrt(n.x() * n.x() + n.y() * n.y() + n.z() * n.z());
  return Vector3f(n.x() / len, n.y() / len, n.z() / len);
}

const std::string kAsciiTriangle =
    "solid t\n facet normal 0 0 1\n  outer loop\n   vertex 0 0 0\n   vertex 1 0 0\n"
    "   vertex 0 1 0\n  endloop\n endfacet\nendsolid t\n";

// ASCII only with "solid" in a first line shorter than 255 and "facet" in the next non-empty
// one; quorvexBase decides files by the same rule.
TEST(StlSniff, AsciiOnlyWithSolidThenFacet) {
  const std::pair<std::string, bool> cases[] = {
      {kAsciiTriangle, true},
      {"SoLiD x\r\nFaCeT normal 0 0 0\r\n", true},
      {"solid\n\n\n  facet\n", true},
      {"my solid part\nfacet\n", true},
      {"solid x\nvertex 1 2 3\nfacet\n", false},
      {"solid x\n", false},
      {"solid x\n   \nfacet\n", false},  // a line of white space is not empty
      {"solid x", false},
      {"facet\nfacet\n", false},
      {binary_stl({}, "solid binary"), false},
      {"solid" + std::string(250, 'x') + "\nfacet\n", false},
      {"solid" + std::string(249, 'x') + "\nfacet\n", true},
      {"solid\nfacet" + std::string(400, ' ') + "\n", true},
      {std::string("\0solid\nfacet\n", 13), false},
      {"", false}};
  for (const auto& [text, ascii] : cases) {
    boost::interprocess::basic_ibufferstream<char> in(text.data(), text.size());
    EXPECT_EQ(is_ascii_stl(in), ascii) << text.substr(0, 40);
    std::istringstream again(text);
    EXPECT_EQ(stl_stream_is_ascii(again), ascii) << text.substr(0, 40);
  }
}

TEST(WriteTriMesh, EmptyMeshIsHeaderAndZeroCount) {
  BaseTriMesh mesh;
  std::vector<unsigned char> image(7, 0xAB);
  EXPECT_EQ(write_TriMesh_to_memory(image, mesh), IORET_OK);
  ASSERT_EQ(image.size(), 84u);
  for (std::size_t i = 0; i < 80; ++i) EXPECT_EQ(image[i], ' ') << i;
  EXPECT_EQ(u32_at(image, 80), 0u);
}

TEST(WriteTriMesh, FaceRecordLayout) {
  BaseTriMesh mesh;
  mesh.set_vCoords({Vector3f(1, 2, 3), Vector3f(3, 2, 3), Vector3f(1, 6, 3), Vector3f(0, 0, 1)});
  mesh.set_faces({BaseTriFace(0, 1, 2), BaseTriFace(3, 1, 0)});
  std::vector<unsigned char> image(1000, 0xCD);
  EXPECT_EQ(write_TriMesh_to_memory(image, mesh), IORET_OK);
  ASSERT_EQ(image.size(), 84u + 100u);
  EXPECT_EQ(u32_at(image, 80), 2u);
  EXPECT_EQ(vec_at(image, 84), Vector3f(0, 0, 1));
  EXPECT_EQ(vec_at(image, 96), Vector3f(1, 2, 3));
  EXPECT_EQ(vec_at(image, 108), Vector3f(3, 2, 3));
  EXPECT_EQ(vec_at(image, 120), Vector3f(1, 6, 3));
  EXPECT_EQ(image[132], 0);
  EXPECT_EQ(image[133], 0);
  // The second face in its own corner order; its normal is the float quotient of the
  // cross product by its length.
  EXPECT_EQ(vec_at(image, 134),
            float_normal(Vector3f(0, 0, 1), Vector3f(3, 2, 3), Vector3f(1, 2, 3)));
  EXPECT_EQ(vec_at(image, 146), Vector3f(0, 0, 1));
  EXPECT_EQ(vec_at(image, 170), Vector3f(1, 2, 3));
}

TEST(WriteTriMesh, ZeroAreaFaceStoresZeroByZero) {
  BaseTriMesh mesh;
  mesh.set_vCoords({Vector3f(0, 0, 0), Vector3f(1, 1, 1), Vector3f(2, 2, 2)});
  mesh.set_faces({BaseTriFace(0, 1, 2)});
  std::vector<unsigned char> image;
  write_TriMesh_to_memory(image, mesh);
  EXPECT_TRUE(std::isnan(f32_at(image, 84)));
  EXPECT_TRUE(std::isnan(f32_at(image, 88)));
  EXPECT_TRUE(std::isnan(f32_at(image, 92)));
}

// A mesh may hold faces whose corners name no vertex (their mesh normal is zero). The writer
// stores such a corner as the origin, and the record's normal comes from the corners as
// written, rather than reading beyond the vertex list.
TEST(WriteTriMesh, CornerNamingNoVertexIsWrittenAsOrigin) {
  const Vector3f p0(1, 2, 3), p1(3, 2, 3), p2(1, 6, 3), o = Vector3f::Zero();
  BaseTriMesh mesh;
  mesh.set_vCoords({p0, p1, p2});
  mesh.set_faces({BaseTriFace(0, 1, 7), BaseTriFace(-1, 1, 2), BaseTriFace(0, 1, 2),
                  BaseTriFace(3, -2147483647 - 1, 2147483647)});
  std::vector<unsigned char> image;
  EXPECT_EQ(write_TriMesh_to_memory(image, mesh), IORET_OK);
  ASSERT_EQ(image.size(), 84u + 4u * 50u);
  EXPECT_EQ(u32_at(image, 80), 4u);
  const struct { Vector3f a, b, c; } expected[] = {{p0, p1, o}, {o, p1, p2}, {p0, p1, p2}};
  for (std::size_t i = 0; i < 3; ++i) {
    const std::size_t at = 84 + 50 * i;
    const auto& e = expected[i];
    EXPECT_EQ(vec_at(image, at), float_normal(e.a, e.b, e.c)) << i;
    EXPECT_EQ(vec_at(image, at + 12), e.a) << i;
    EXPECT_EQ(vec_at(image, at + 24), e.b) << i;
    EXPECT_EQ(vec_at(image, at + 36), e.c) << i;
    EXPECT_EQ(image[at + 48], 0);
    EXPECT_EQ(image[at + 49], 0);
  }
  // No corner names a vertex: three origins, and the normal of zero area is 0/0.
  const std::size_t at = 84 + 150;
  for (int k = 0; k < 3; ++k) EXPECT_TRUE(std::isnan(f32_at(image, at + 4 * k))) << k;
  for (std::size_t k = 1; k <= 3; ++k) EXPECT_EQ(vec_at(image, at + 12 * k), o) << k;
}

TEST(StlInMemory, AsciiBuffer) {
  BaseTriMesh mesh;
  EXPECT_EQ(read_TriMesh_in_memory(bytes_of(kAsciiTriangle), "stl", mesh), IORET_OK);
  EXPECT_EQ(mesh.get_vCoords(),
            (std::vector<Vector3f>{Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(0, 1, 0)}));
  ASSERT_EQ(mesh.get_fn(), 1u);
  EXPECT_EQ(mesh.get_face(0), BaseTriFace(0, 1, 2));
}

TEST(StlInMemory, WrittenImageReadsBackAsBinary) {
  // A closed tetrahedron: the reader merges the corners back into four vertices.
  BaseTriMesh mesh;
  mesh.set_vCoords({Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(0, 1, 0), Vector3f(0, 0, 1)});
  mesh.set_faces(
      {BaseTriFace(0, 2, 1), BaseTriFace(0, 1, 3), BaseTriFace(1, 2, 3), BaseTriFace(0, 3, 2)});
  std::vector<unsigned char> image;
  write_TriMesh_to_memory(image, mesh);
  // The header is all spaces: no "solid", so binary. The sniff table shows that a header
  // beginning with "solid" is read as binary too.
  BaseTriMesh back;
  ASSERT_EQ(read_TriMesh_in_memory(image, "Stl", back), IORET_OK);
  EXPECT_EQ(back.get_vn(), 4u);
  ASSERT_EQ(back.get_fn(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    for (int k = 0; k < 3; ++k) {
      EXPECT_EQ(back.get_vCoord(static_cast<std::size_t>(back.get_face(i)[k])),
                mesh.get_vCoord(static_cast<std::size_t>(mesh.get_face(i)[k])));
    }
    EXPECT_EQ(back.get_fNrv(i), mesh.get_fNrv(i));
  }
}

}  // namespace
}  // namespace Quorvex
