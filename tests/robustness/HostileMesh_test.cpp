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

bool indices_valid(const BaseTriMesh& mesh) {
  for (const BaseTriFace& f : mesh.get_faces()) {
    for (int k = 0; k < 3; ++k) {
      if (f[k] < 0 || static_cast<std::size_t>(f[k]) >= mesh.get_vn()) return false;
    }
  }
  return true;
}

// The count decides before anything is allocated: an image shorter than its count is
// corrupt and the mesh stays empty, from memory and from a file alike.
TEST(HostileStl, FaceCountBeyondTheBytesIsCorrupt) {
  const struct {
    std::uint32_t claimed;
    std::size_t real;
    int expected;
  } rows[] = {{0xFFFFFFFFu, 0, kBaseReadCorrupt},
              {0x051EB852u, 2, kBaseReadCorrupt},  // the byte count wraps at 32 bits
              {3, 2, kBaseReadCorrupt},
              {2, 2, 0},
              {1, 2, 0}};  // trailing bytes
  for (const auto& r : rows) {
    std::vector<qxtest::Triangle> tris;
    for (float z = 0; z < r.real; ++z)
      tris.push_back({Vector3f(0, 0, 0), Vector3f(1, 0, z), Vector3f(0, 1, z)});
    const std::string img = qxtest::binary_stl(tris, "", r.claimed);
    BaseTriMesh mem, file;
    EXPECT_EQ(static_cast<int>(read_TriMesh_in_memory(qxtest::bytes_of(img), "stl", mem)),
              r.expected)
        << r.claimed;
    const std::string path = qxtest::write_temp("hostile.stl", img);
    EXPECT_EQ(static_cast<int>(read_TriMesh(path, file, 0.0f)), r.expected) << r.claimed;
    std::remove(path.c_str());
    EXPECT_EQ(mem.get_fn(), r.expected ? 0u : r.claimed);
    EXPECT_EQ(file.get_fn(), r.expected ? 0u : r.claimed);
    EXPECT_TRUE(indices_valid(mem));
  }
}

// Absurd indices name no vertex and their faces are dropped; the rest stay, result 0.
TEST(HostileObj, FacesNamingNoVertexAreDropped) {
  for (const std::string& bad : std::vector<std::string>{
           std::string("f 1 2 2147483647\n"), "f 1 2 99999999999999\n", "f -2147483648 1 2\n",
           "f -99999999 -1 -2\n", "f 0 1 2\n", "f 1 2 3" + std::string(2000, ' ') + " 4000000\n"}) {
    BaseTriMesh mesh;
    const std::string obj = "v 0 0 0\nv 1 0 0\nv 0 1 0\n" + bad + "f 1 2 3\n";
    EXPECT_EQ(read_TriMesh_in_memory(qxtest::bytes_of(obj), "obj", mesh), 0);
    EXPECT_EQ(mesh.get_vn(), 3u);
    EXPECT_EQ(mesh.get_fn(), bad.size() > 100 ? 2u : 1u) << bad.substr(0, 30);  // a fan keeps 1 2 3
    EXPECT_TRUE(indices_valid(mesh));
  }
}

// A line without end ends the parse at its length limit with what came before it.
TEST(HostileObj, EndlessLinesStopTheParseAtTheirLimit) {
  for (const std::string& endless :
       {std::string(8u << 20, 'x'), "f 1 2 3 " + std::string(8u << 20, '1'),
        "# " + std::string(8u << 20, ' ')}) {
    BaseTriMesh mesh;
    const std::string obj = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n" + endless + "\nf 3 2 1\n";
    EXPECT_EQ(read_TriMesh_in_memory(qxtest::bytes_of(obj), "obj", mesh), 0);
    EXPECT_EQ(mesh.get_vn(), 3u);
    EXPECT_TRUE(mesh.get_fn() == 1u || mesh.get_fn() == 2u);
    EXPECT_TRUE(indices_valid(mesh));
  }
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
