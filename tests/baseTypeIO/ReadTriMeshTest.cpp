#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quorvex/baseTypeIO/ReadTriMesh.h"
#include "support/LogLines.h"
#include "support/MeshSamples.h"

namespace Quorvex {
namespace {

using qxtest::temp_path;
using ErrorLines = qxtest::LogLines;

const std::string kObjText = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 2 3\nf 1 2 4\n";
const std::string kStlText =
    "solid t\n facet normal 0 0 1\n  outer loop\n   vertex 0 0 0\n   vertex 1 0 0\n"
    "   vertex 0 1 0\n  endloop\n endfacet\nendsolid t\n";
const std::string kRejected = "Should Input .STL , .3MF, .STP or .OBJ File! (";

// The file holds OBJ text, so only the OBJ reader finds two faces, the STL reader is the only
// one that reports progress, and the step path logs ".stp not supported" and finds no faces.
// Other extensions are refused with the text as passed.
TEST(ReadTriMesh, ExtensionChoosesTheReaderInAnyCase) {
  const std::string path = qxtest::write_temp("dispatch.dat", kObjText);
  const struct {
    const char* extension;
    IORet result;
    std::size_t faces;
    bool progress;
    std::string line;
  } cases[] = {{"oBj", IORET_OK, 2, false, ""},
               {"sTl", IORet(3), 0, true, ""},  // no "solid": a binary image far too short
               {"3mf", IORet(3), 0, false, ""},
               {"Step", IORET_OK, 0, false, ".stp not supported"},
               {"stp", IORET_OK, 0, false, ".stp not supported"},
               {".stl", IORET_BAD_FORMAT, 0, false, kRejected + ".stl)"},
               {"STLX", IORET_BAD_FORMAT, 0, false, kRejected + "STLX)"},
               {"", IORET_BAD_FORMAT, 0, false, kRejected + ")"}};
  for (const auto& c : cases) {
    ErrorLines errors;
    BaseTriMesh mesh;
    int progress_calls = 0;
    EXPECT_EQ(read_TriMesh(path, mesh, c.extension, 0.004f, [&](const int&) { ++progress_calls; }),
              c.result)
        << c.extension;
    EXPECT_EQ(mesh.get_fn(), c.faces) << c.extension;
    EXPECT_EQ(progress_calls > 0, c.progress) << c.extension;
    if (c.result == IORet(3)) continue;  // the mesh readers' own lines are theirs to pin
    EXPECT_EQ(errors.lines(),
              c.line.empty() ? std::vector<std::string>{} : std::vector<std::string>{c.line})
        << c.extension;
  }
}

// By name, with "@" standing for the path in the error lines.
TEST(ReadTriMesh, ByTheExtensionOfTheNameInAnyCase) {
  BaseTriMesh obj, stl;
  EXPECT_EQ(read_TriMesh(qxtest::write_temp("named.ObJ", kObjText), obj, 0.5f), IORET_OK);
  EXPECT_EQ(obj.get_fn(), 2u);
  int last = -1;
  EXPECT_EQ(
      read_TriMesh(qxtest::write_temp("named.sTL", kStlText), stl, [&](const int& p) { last = p; }),
      IORET_OK);
  EXPECT_EQ(stl.get_fn(), 1u);
  EXPECT_EQ(last, 100);
  const struct {
    std::string name;
    IORet result;
    std::vector<std::string> lines;
  } cases[] = {{"model.xYz", IORET_BAD_FORMAT, {kRejected + "XYZ)"}},
               {"dir.d/no_extension", IORET_BAD_FORMAT, {}},
               {"part.step", IORET_OK, {".stp not supported"}},
               {"missing.obj", IORET_FILE_NOT_FOUND, {"file @ not exist!"}}};
  for (const auto& c : cases) {
    const std::string path = temp_path(c.name);
    ErrorLines errors;
    BaseTriMesh mesh;
    mesh.set_vCoords({Vector3f(1, 2, 3)});
    EXPECT_EQ(read_TriMesh(path, mesh, nullptr), c.result) << c.name;
    EXPECT_EQ(mesh.get_fn(), 0u);
    std::vector<std::string> lines = c.lines;
    for (std::string& l : lines) {
      if (l.find('@') != std::string::npos) l.replace(l.find('@'), 1, path);
    }
    EXPECT_EQ(errors.lines(), lines) << c.name;
  }
}

TEST(ReadTriMesh, InMemoryOnlyStlAndObj) {
  const struct {
    const char* extension;
    bool empty_data;
    IORet result;
  } cases[] = {{"Obj", false, IORET_OK},
               {"STL", true, IORET_EMPTY_DATA},
               {"3MF", false, IORET_BAD_FORMAT},
               {"", true, IORET_BAD_FORMAT}};
  for (const auto& c : cases) {
    ErrorLines errors;
    BaseTriMesh mesh;
    const auto data = c.empty_data ? std::vector<unsigned char>() : qxtest::bytes_of(kObjText);
    EXPECT_EQ(read_TriMesh_in_memory(data, c.extension, mesh), c.result) << c.extension;
    EXPECT_EQ(errors.lines(), c.result == IORET_BAD_FORMAT
                                  ? std::vector<std::string>{"Should Input .STL or .OBJ File!"}
                                  : std::vector<std::string>{})
        << c.extension;
  }
}

}  // namespace
}  // namespace Quorvex
