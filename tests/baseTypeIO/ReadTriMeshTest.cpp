#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quorvex/baseTypeIO/ReadTriMesh.h"
#include "support/LogLines.h"
#include "support/MeshSamples.h"

namespace Quorvex {
namespace {

using qxtest::bytes_of;
using qxtest::temp_path;
using ErrorLines = qxtest::LogLines;

const std::string kObjText = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 2 3\nf 1 2 4\n";
const std::string kStlText =
    "solid t\n facet normal 0 0 1\n  outer loop\n   vertex 0 0 0\n   vertex 1 0 0\n"
    "   vertex 0 1 0\n  endloop\n endfacet\nendsolid t\n";

// Every extension, in every case, picks its reader. The file holds OBJ text, so only the
// OBJ reader finds two faces; the STL reader is the only one that reports progress; the
// step path is the only one that logs ".stp not supported" and succeeds with no faces.
struct DispatchCase {
  const char* extension;
  char reader;  // 'o' OBJ, 's' STL, '3' 3MF, 'p' step
};

void PrintTo(const DispatchCase& c, std::ostream* os) { *os << c.extension; }

class DispatchTest : public ::testing::TestWithParam<DispatchCase> {};

TEST_P(DispatchTest, ExtensionChoosesTheReaderInAnyCase) {
  const DispatchCase& c = GetParam();
  const std::string path = qxtest::write_temp("dispatch.dat", kObjText);
  ErrorLines errors;
  BaseTriMesh mesh;
  int progress_calls = 0;
  const IORet r =
      read_TriMesh(path, mesh, c.extension, 0.004f, [&](const int&) { ++progress_calls; });
  switch (c.reader) {
    case 'o':
      EXPECT_EQ(r, IORET_OK);
      EXPECT_EQ(mesh.get_fn(), 2u);
      EXPECT_EQ(progress_calls, 0);
      break;
    case 's':
      // OBJ text is no STL: no "solid", so a binary image far too short.
      EXPECT_EQ(r, 3);
      EXPECT_GT(progress_calls, 0);
      break;
    case '3':
      EXPECT_EQ(r, 3);
      EXPECT_EQ(progress_calls, 0);
      break;
    case 'p':
      EXPECT_EQ(r, IORET_OK);
      EXPECT_EQ(mesh.get_fn(), 0u);
      EXPECT_EQ(progress_calls, 0);
      ASSERT_EQ(errors.lines().size(), 1u);
      EXPECT_EQ(errors.lines()[0], ".stp not supported");
      break;
  }
}

INSTANTIATE_TEST_SUITE_P(Extensions, DispatchTest,
                         ::testing::Values(DispatchCase{"OBJ", 'o'}, DispatchCase{"oBj", 'o'},
                                           DispatchCase{"sTl", 's'}, DispatchCase{"3mf", '3'},
                                           DispatchCase{"stp", 'p'}, DispatchCase{"STEP", 'p'},
                                           DispatchCase{"Step", 'p'}));

class RejectedExtensionTest : public ::testing::TestWithParam<const char*> {};

TEST_P(RejectedExtensionTest, IsOneWithTheTextAsPassed) {
  const std::string extension = GetParam();
  const std::string path = qxtest::write_temp("rejected.stl", kStlText);
  ErrorLines errors;
  BaseTriMesh mesh;
  EXPECT_EQ(read_TriMesh(path, mesh, extension, 0.004f, nullptr), IORET_BAD_FORMAT);
  ASSERT_EQ(errors.lines().size(), 1u);
  EXPECT_EQ(errors.lines()[0], "Should Input .STL , .3MF, .STP or .OBJ File! (" + extension + ")");
  EXPECT_EQ(mesh.get_fn(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Extensions, RejectedExtensionTest,
                         ::testing::Values(".stl", "ST", "", "STLX", "stl ", "OBJ.", "ste", "3m",
                                           "amf"));

TEST(ReadTriMeshByName, ExtensionFromTheNameInAnyCase) {
  BaseTriMesh mesh;
  EXPECT_EQ(read_TriMesh(qxtest::write_temp("named.ObJ", kObjText), mesh, 0.5f), IORET_OK);
  EXPECT_EQ(mesh.get_fn(), 2u);
  int last = -1;
  BaseTriMesh stl;
  EXPECT_EQ(
      read_TriMesh(qxtest::write_temp("named.sTL", kStlText), stl, [&](const int& p) { last = p; }),
      IORET_OK);
  EXPECT_EQ(stl.get_fn(), 1u);
  EXPECT_EQ(last, 100);
}

// By name: the error lines, with "@" standing for the path.
TEST(ReadTriMeshByName, ResultsAndLinesOfOtherNames) {
  const std::string rejected = "Should Input .STL , .3MF, .STP or .OBJ File! (XYZ)";
  const struct {
    std::string name;
    IORet result;
    std::vector<std::string> lines;
  } cases[] = {{"model.xYz", IORET_BAD_FORMAT, {rejected}},
               {"no_extension", IORET_BAD_FORMAT, {}},
               {"dir.d/no_extension", IORET_BAD_FORMAT, {}},
               {"part.step", IORET_OK, {".stp not supported"}},
               {"part.STP", IORET_OK, {".stp not supported"}},
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

struct MemoryCase {
  const char* extension;
  bool empty_data;
  IORet result;
  bool rejected_line;
};

void PrintTo(const MemoryCase& c, std::ostream* os) {
  *os << c.extension << (c.empty_data ? " empty" : "");
}

class InMemoryTest : public ::testing::TestWithParam<MemoryCase> {};

TEST_P(InMemoryTest, OnlyStlAndObj) {
  const MemoryCase& c = GetParam();
  ErrorLines errors;
  BaseTriMesh mesh;
  const std::vector<unsigned char> data =
      c.empty_data ? std::vector<unsigned char>() : bytes_of(kObjText);
  EXPECT_EQ(read_TriMesh_in_memory(data, c.extension, mesh), c.result);
  if (c.rejected_line) {
    EXPECT_EQ(errors.lines(), (std::vector<std::string>{"Should Input .STL or .OBJ File!"}));
  } else {
    EXPECT_TRUE(errors.lines().empty());
  }
}

INSTANTIATE_TEST_SUITE_P(Extensions, InMemoryTest,
                         ::testing::Values(MemoryCase{"OBJ", false, IORET_OK, false},
                                           MemoryCase{"Obj", false, IORET_OK, false},
                                           MemoryCase{"obj", true, IORET_EMPTY_DATA, false},
                                           MemoryCase{"STL", true, IORET_EMPTY_DATA, false},
                                           MemoryCase{"3MF", false, IORET_BAD_FORMAT, true},
                                           MemoryCase{"STP", false, IORET_BAD_FORMAT, true},
                                           MemoryCase{"STEP", false, IORET_BAD_FORMAT, true},
                                           MemoryCase{".obj", false, IORET_BAD_FORMAT, true},
                                           MemoryCase{"3MF", true, IORET_BAD_FORMAT, true},
                                           MemoryCase{"", true, IORET_BAD_FORMAT, true}));

}  // namespace
}  // namespace Quorvex
