#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quorvex/baseTypeIO/ReadTriMesh.h"
#include "support/LogLines.h"
#include "support/MeshSamples.h"

namespace Quorvex {
namespace {

using Lines = std::vector<std::string>;
const std::string kObjText = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 2 3\nf 1 2 4\n";
const std::string kRejected = "Should Input .STL , .3MF, .STP or .OBJ File! (";

// The extension, given or taken from the name, picks the reader in any case. The file holds
// OBJ text, so only the OBJ reader finds two faces; only the STL reader reports progress (and
// refuses it: no "solid", so a binary image far too short); the step path logs its line.
TEST(ReadTriMesh, ExtensionChoosesTheReaderInAnyCase) {
  const struct {
    std::string name;
    const char* extension;  // null: taken from the name
    IORet result;
    std::size_t faces;
    Lines lines;  // "@" stands for the path; not compared for the refusals of the readers
  } cases[] = {{"a.dat", "oBj", IORET_OK, 2, {}},
               {"a.dat", "sTl", IORet(3), 0, {}},
               {"a.dat", "3mf", IORet(3), 0, {}},
               {"a.dat", "Step", IORET_OK, 0, {".stp not supported"}},
               {"a.dat", "STLX", IORET_BAD_FORMAT, 0, {kRejected + "STLX)"}},
               {"a.dat", "", IORET_BAD_FORMAT, 0, {kRejected + ")"}},
               {"named.ObJ", nullptr, IORET_OK, 2, {}},
               {"model.xYz", nullptr, IORET_BAD_FORMAT, 0, {kRejected + "XYZ)"}},
               {"dir.d/no_extension", nullptr, IORET_BAD_FORMAT, 0, {}},
               {"part.stp", nullptr, IORET_OK, 0, {".stp not supported"}},
               {"missing.obj", nullptr, IORET_FILE_NOT_FOUND, 0, {"file @ not exist!"}}};
  for (const auto& c : cases) {
    const std::string path = c.name == "missing.obj" || c.name == "dir.d/no_extension"
                                 ? qxtest::temp_path(c.name)
                                 : qxtest::write_temp(c.name, kObjText);
    qxtest::LogLines errors;
    BaseTriMesh mesh;
    int progress = 0;
    const auto count = [&](const int&) { ++progress; };
    const IORet r = c.extension == nullptr ? read_TriMesh(path, mesh, count)
                                           : read_TriMesh(path, mesh, c.extension, 0.004f, count);
    EXPECT_EQ(r, c.result) << c.name << (c.extension ? c.extension : "");
    EXPECT_EQ(mesh.get_fn(), c.faces) << c.name << (c.extension ? c.extension : "");
    EXPECT_EQ(progress > 0, c.extension && std::string(c.extension) == "sTl")
        << c.name << (c.extension ? c.extension : "");
    if (c.result == IORet(3)) continue;
    Lines lines = c.lines;
    for (std::string& l : lines) {
      if (l.find('@') != std::string::npos) l.replace(l.find('@'), 1, path);
    }
    EXPECT_EQ(errors.lines(), lines) << c.name << (c.extension ? c.extension : "");
  }
  BaseTriMesh stl;
  int last = -1;
  const std::string solid =
      "solid t\n facet normal 0 0 1\n  outer loop\n   vertex 0 0 0\n   vertex 1 0 0\n"
      "   vertex 0 1 0\n  endloop\n endfacet\nendsolid t\n";
  EXPECT_EQ(read_TriMesh(qxtest::write_temp("named.sTL", solid), stl, 0.5f), IORET_OK);
  EXPECT_EQ(
      read_TriMesh(qxtest::write_temp("named.sTL", solid), stl, [&](const int& p) { last = p; }),
      IORET_OK);
  EXPECT_EQ(stl.get_fn(), 1u);
  EXPECT_EQ(last, 100);
}

TEST(ReadTriMesh, InMemoryOnlyStlAndObj) {
  const std::pair<const char*, IORet> cases[] = {
      {"Obj", IORET_OK}, {"STL", IORET_EMPTY_DATA}, {"3MF", IORET_BAD_FORMAT}};
  for (const auto& [extension, result] : cases) {
    qxtest::LogLines errors;
    BaseTriMesh mesh;
    const auto data =
        result == IORET_EMPTY_DATA ? std::vector<unsigned char>() : qxtest::bytes_of(kObjText);
    EXPECT_EQ(read_TriMesh_in_memory(data, extension, mesh), result) << extension;
    EXPECT_EQ(errors.lines(),
              result == IORET_BAD_FORMAT ? Lines{"Should Input .STL or .OBJ File!"} : Lines{})
        << extension;
  }
}

}  // namespace
}  // namespace Quorvex
