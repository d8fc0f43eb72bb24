// Mesh input that lies about its size or never ends: face counts far beyond the bytes,
// indices far beyond the vertices, lines without end.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "quorvex/base/BaseTriMesh.h"
#include "quorvex/base/MeshReaders.h"
#include "quorvex/baseTypeIO/ReadTriMesh.h"
#include "support/MeshSamples.h"

namespace Quorvex {
namespace {

// `real_faces` records of distinct faces behind a header that claims `claimed_faces`.
std::vector<unsigned char> binary_stl(std::uint32_t claimed_faces, std::size_t real_faces) {
  std::vector<qxtest::Triangle> tris;
  for (std::size_t f = 0; f < real_faces; ++f) {
    tris.push_back({Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(0, 1, static_cast<float>(f))});
  }
  return qxtest::bytes_of(qxtest::binary_stl(tris, "", claimed_faces));
}

bool indices_valid(const BaseTriMesh& mesh) {
  for (const BaseTriFace& f : mesh.get_faces()) {
    for (int k = 0; k < 3; ++k) {
      if (f[k] < 0 || static_cast<std::size_t>(f[k]) >= mesh.get_vn()) return false;
    }
  }
  return true;
}

struct StlCountCase {
  const char* label;
  std::uint32_t claimed;
  std::size_t real;
  int expected;
};

class HostileStlCount : public ::testing::TestWithParam<StlCountCase> {};

// The count decides before anything is allocated: a short image is corrupt (3), and the
// mesh stays empty, from memory and from a file alike.
TEST_P(HostileStlCount, FaceCountBeyondTheBytesIsCorrupt) {
  const StlCountCase& c = GetParam();
  const std::vector<unsigned char> img = binary_stl(c.claimed, c.real);
  BaseTriMesh mem;
  EXPECT_EQ(static_cast<int>(read_TriMesh_in_memory(img, "stl", mem)), c.expected) << c.label;
  const std::string path = qxtest::write_temp(std::string("hostile_") + c.label + ".stl",
                                              std::string(img.begin(), img.end()));
  BaseTriMesh file;
  EXPECT_EQ(static_cast<int>(read_TriMesh(path, file, 0.0f)), c.expected) << c.label;
  std::remove(path.c_str());
  if (c.expected != 0) {
    EXPECT_EQ(mem.get_fn(), 0u);
    EXPECT_EQ(file.get_fn(), 0u);
  } else {
    EXPECT_EQ(mem.get_fn(), c.claimed);
    EXPECT_TRUE(indices_valid(mem));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, HostileStlCount,
    ::testing::Values(StlCountCase{"largest_count_no_faces", 0xFFFFFFFFu, 0, kBaseReadCorrupt},
                      StlCountCase{"count_wraps_32_bits", 0x051EB852u, 2, kBaseReadCorrupt},
                      StlCountCase{"one_face_short", 3, 2, kBaseReadCorrupt},
                      StlCountCase{"exact", 2, 2, 0}, StlCountCase{"trailing_bytes", 1, 2, 0}),
    [](const ::testing::TestParamInfo<StlCountCase>& i) { return std::string(i.param.label); });

struct ObjCase {
  const char* label;
  std::string body;
  std::size_t faces;
};

class HostileObj : public ::testing::TestWithParam<ObjCase> {};

// Absurd indices name no vertex and their faces are dropped; the rest stay, result 0.
TEST_P(HostileObj, FacesNamingNoVertexAreDropped) {
  BaseTriMesh mesh;
  const std::string head = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
  EXPECT_EQ(read_TriMesh_in_memory(qxtest::bytes_of(head + GetParam().body), "obj", mesh), 0);
  EXPECT_EQ(mesh.get_vn(), 3u);
  EXPECT_EQ(mesh.get_fn(), GetParam().faces) << GetParam().label;
  EXPECT_TRUE(indices_valid(mesh));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, HostileObj,
    ::testing::Values(ObjCase{"largest_int", "f 1 2 2147483647\nf 1 2 3\n", 1},
                      ObjCase{"beyond_int", "f 1 2 99999999999999\nf 1 2 3\n", 1},
                      ObjCase{"most_negative", "f -2147483648 1 2\nf 1 2 3\n", 1},
                      ObjCase{"far_negative", "f -99999999 -1 -2\nf -3 -2 -1\n", 1},
                      ObjCase{"zero", "f 0 1 2\nf 1 2 3\n", 1},
                      ObjCase{"huge_fan", "f 1 2 3" + std::string(2000, ' ') + " 4000000\n", 1}),
    [](const ::testing::TestParamInfo<ObjCase>& i) { return std::string(i.param.label); });

// A line without end ends the parse at its length limit with what came before it.
TEST(HostileObjLines, EndlessLinesStopTheParseAtTheirLimit) {
  for (const std::string& endless :
       {std::string(8u << 20, 'x'), "f 1 2 3 " + std::string(8u << 20, '1'),
        "# " + std::string(8u << 20, ' ')}) {
    BaseTriMesh mesh;
    const std::string obj = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n" + endless + "\nf 3 2 1\n";
    EXPECT_EQ(read_TriMesh_in_memory(qxtest::bytes_of(obj), "obj", mesh), 0);
    EXPECT_EQ(mesh.get_vn(), 3u);
    EXPECT_GE(mesh.get_fn(), 1u);
    EXPECT_LE(mesh.get_fn(), 2u);
    EXPECT_TRUE(indices_valid(mesh));
  }
}

TEST(HostileObjLines, OneMillionVertexLinesWithoutFacesGiveNoFaces) {
  std::string obj;
  obj.reserve(1u << 23);
  for (int i = 0; i < 1000000; ++i) obj += "v 1 2 3\n";
  BaseTriMesh mesh;
  EXPECT_EQ(read_TriMesh_in_memory(qxtest::bytes_of(obj), "obj", mesh), 0);
  EXPECT_EQ(mesh.get_vn(), 1000000u);
  EXPECT_EQ(mesh.get_fn(), 0u);
}

TEST(HostileAsciiStl, TextEndingInsideAFacetIsCorrupt) {
  BaseTriMesh mesh;
  const std::string stl = "solid x\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n";
  EXPECT_EQ(static_cast<int>(read_TriMesh_in_memory(qxtest::bytes_of(stl), "stl", mesh)),
            kBaseReadCorrupt);
  EXPECT_EQ(mesh.get_fn(), 0u);
}

}  // namespace
}  // namespace Quorvex
