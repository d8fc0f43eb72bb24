#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "quorvex/base/MeshReaders.h"
#include "support/LogLines.h"
#include "support/MeshSamples.h"

namespace Quorvex {
namespace {

using qxtest::ascii_stl;
using qxtest::binary_stl;
using qxtest::faces_of;
using qxtest::temp_path;
using qxtest::Triangle;
using qxtest::vertices_of;
using qxtest::write_temp;
using ErrorLog = qxtest::LogLines;

const Vector3f kA(0, 0, 0), kB(1, 0, 0), kC(1, 1, 0), kD(0, 1, 0);
// Two triangles sharing the edge A-C: a reader that does not weld gives 6 vertices.
const std::vector<Triangle> kSquare = {{kA, kB, kC}, {kA, kC, kD}};

// ---- Both formats give the same welded mesh ------------------------------------------------

enum class Format { kAscii, kAsciiCrLf, kBinary, kBinarySolidHeader };

std::string image_of(Format f, const std::vector<Triangle>& tris) {
  switch (f) {
    case Format::kAscii:
      return ascii_stl(tris);
    case Format::kAsciiCrLf:
      return ascii_stl(tris, "\r\n");
    case Format::kBinary:
      return binary_stl(tris, "made by a test");
    case Format::kBinarySolidHeader:
      // The header begins with the word that ASCII files begin with.
      return binary_stl(tris, "solid part exported as binary\n");
  }
  return {};
}

class StlFormatTest : public ::testing::TestWithParam<Format> {};

TEST_P(StlFormatTest, FileReadWeldsSharedCornersInOrderOfFirstAppearance) {
  const std::string path =
      write_temp("square_" + std::to_string(static_cast<int>(GetParam())) + ".stl",
                 image_of(GetParam(), kSquare));
  BaseTriMesh mesh;
  mesh.add_vCoord(Vector3f(5, 5, 5));  // replaced, not kept
  mesh.add_face(BaseTriFace(0, 0, 0));
  ASSERT_EQ(read_stl_mesh(path, mesh, nullptr), 0);
  EXPECT_EQ(vertices_of(mesh), (std::vector<Vector3f>{kA, kB, kC, kD}));
  EXPECT_EQ(faces_of(mesh), (std::vector<BaseTriFace>{{0, 1, 2}, {0, 2, 3}}));
  // Normals are derived from the corners, not the 9s stored in the binary records.
  for (std::size_t i = 0; i < mesh.get_fn(); ++i) {
    EXPECT_EQ(mesh.get_fNrv(i), Vector3f(0, 0, 1)) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, StlFormatTest,
                         ::testing::Values(Format::kAscii, Format::kAsciiCrLf, Format::kBinary,
                                           Format::kBinarySolidHeader));

TEST(StlWeldTest, OnlyIdenticalBitsMerge) {
  // -0 equals +0 as a number but not as bits; a NaN merges with the very same NaN bits.
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const std::vector<Vector3f> soup = {Vector3f(0, 0, 0),   Vector3f(1, 0, 0),
                                      Vector3f(nan, 0, 0), Vector3f(-0.0f, 0, 0),
                                      Vector3f(1, 0, 0),   Vector3f(nan, 0, 0)};
  BaseTriMesh mesh;
  ASSERT_EQ(addFacesGivenVertexes(soup, mesh), 0);
  EXPECT_EQ(mesh.get_vn(), 4u);
  EXPECT_EQ(faces_of(mesh), (std::vector<BaseTriFace>{{0, 1, 2}, {3, 1, 2}}));
}

TEST(StlWeldTest, VertexSoupDropsLeftOverCornersAndAcceptsEmpty) {
  BaseTriMesh mesh;
  std::vector<Vector3f> soup = {kA, kB, kC, kA, kC, kD, kB, kD};
  ASSERT_EQ(addFacesGivenVertexes(soup, mesh), 0);
  EXPECT_EQ(mesh.get_vn(), 4u);
  EXPECT_EQ(mesh.get_fn(), 2u);
  ASSERT_EQ(addFacesGivenVertexes({}, mesh), 0);
  EXPECT_EQ(mesh.get_vn(), 0u);
  EXPECT_EQ(mesh.get_fn(), 0u);
}

TEST(StlWeldTest, LargeGridSharesEveryInnerVertex) {
  // Enough faces to grow the weld table several times.
  constexpr int kN = 120;
  std::vector<Triangle> tris;
  for (int i = 0; i < kN; ++i) {
    for (int j = 0; j < kN; ++j) {
      const Vector3f p(float(i), float(j), 0), q(float(i + 1), float(j), 0),
          r(float(i + 1), float(j + 1), 0), s(float(i), float(j + 1), 0);
      tris.push_back({p, q, r});
      tris.push_back({p, r, s});
    }
  }
  const std::string image = binary_stl(tris);
  BaseTriMesh mesh;
  ASSERT_EQ(addFacesGivenBinary(reinterpret_cast<const unsigned char*>(image.data()), image.size(),
                                mesh, nullptr),
            0);
  ASSERT_EQ(mesh.get_vn(), std::size_t{(kN + 1) * (kN + 1)});
  ASSERT_EQ(mesh.get_fn(), tris.size());
  for (std::size_t f = 0; f < tris.size(); ++f) {
    for (int c = 0; c < 3; ++c) {
      ASSERT_EQ(mesh.get_vCoord(mesh.get_face(f)[c]), tris[f][c]) << f << " " << c;
    }
  }
  // The file reader welds chunk by chunk; chunk borders must not change the result.
  const std::string path = write_temp("grid.stl", image);
  BaseTriMesh from_file;
  ASSERT_EQ(read_stl_mesh(path, from_file, nullptr), 0);
  EXPECT_EQ(vertices_of(from_file), vertices_of(mesh));
  EXPECT_EQ(faces_of(from_file), faces_of(mesh));
}

// ---- Bad input -----------------------------------------------------------------------------

struct BadBinaryCase {
  const char* name;
  std::string image;
};
void PrintTo(const BadBinaryCase& c, std::ostream* os) { *os << c.name; }

class StlBadBinaryTest : public ::testing::TestWithParam<BadBinaryCase> {};

TEST_P(StlBadBinaryTest, FileAndMemoryGiveCorruptLeaveMeshEmptyAndLog) {
  const std::string path =
      write_temp(std::string("bad_") + GetParam().name + ".stl", GetParam().image);
  BaseTriMesh mesh;
  mesh.add_vCoord(kA);
  {
    ErrorLog log;
    EXPECT_EQ(read_stl_mesh(path, mesh, nullptr), kBaseReadCorrupt);
    EXPECT_TRUE(log.has_line_with(path)) << "the log line names the file";
  }
  EXPECT_EQ(mesh.get_vn(), 0u);
  const std::string& image = GetParam().image;
  mesh.add_vCoord(kA);
  EXPECT_EQ(addFacesGivenBinary(reinterpret_cast<const unsigned char*>(image.data()), image.size(),
                                mesh, nullptr),
            kBaseReadCorrupt);
  EXPECT_EQ(mesh.get_vn(), 0u);
}

std::string cut(std::string s, std::size_t n) { return s.substr(0, s.size() - n); }

INSTANTIATE_TEST_SUITE_P(
    Images, StlBadBinaryTest,
    ::testing::Values(BadBinaryCase{"OneByteShort", cut(binary_stl(kSquare), 1)},
                      BadBinaryCase{"HeaderOnlyPart", binary_stl({}).substr(0, 83)},
                      BadBinaryCase{"CountOneTooMany", binary_stl(kSquare, "", 3)}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(StlBinaryTest, BytesAfterTheLastFaceAreIgnoredAndZeroFacesIsAnEmptyMesh) {
  std::string image = binary_stl(kSquare, "", 1) + std::string(7, 'x');
  BaseTriMesh mesh;
  ASSERT_EQ(addFacesGivenBinary(reinterpret_cast<const unsigned char*>(image.data()), image.size(),
                                mesh, nullptr),
            0);
  EXPECT_EQ(mesh.get_fn(), 1u);
  image = binary_stl({});
  ASSERT_EQ(addFacesGivenBinary(reinterpret_cast<const unsigned char*>(image.data()), image.size(),
                                mesh, nullptr),
            0);
  EXPECT_EQ(mesh.get_fn(), 0u);
  EXPECT_EQ(addFacesGivenBinary(nullptr, 0, mesh, nullptr), kBaseReadCorrupt);
}

struct BadAsciiCase {
  const char* name;
  std::string text;
};
void PrintTo(const BadAsciiCase& c, std::ostream* os) { *os << c.name; }

class StlBadAsciiTest : public ::testing::TestWithParam<BadAsciiCase> {};

TEST_P(StlBadAsciiTest, GivesCorruptAndEmptyMesh) {
  std::istringstream in(GetParam().text);
  BaseTriMesh mesh;
  mesh.add_vCoord(kA);
  ErrorLog log;
  EXPECT_EQ(addFacesGivenAscii(in, mesh, 0, nullptr), kBaseReadCorrupt);
  EXPECT_EQ(mesh.get_vn(), 0u);
  EXPECT_EQ(log.lines().size(), 1u);
}

const std::string kHead = "solid t\nfacet normal 0 0 1\nouter loop\n";

INSTANTIATE_TEST_SUITE_P(
    Texts, StlBadAsciiTest,
    ::testing::Values(
        BadAsciiCase{"TwoVertices", kHead + "vertex 0 0 0\nvertex 1 0 0\nendloop\nendfacet\n"},
        BadAsciiCase{"FourVertices",
                     kHead + "vertex 0 0 0\nvertex 1 0 0\nvertex 1 1 0\nvertex 0 1 0\n"},
        BadAsciiCase{"WordForNumber", kHead + "vertex 0 0 abc\n"},
        BadAsciiCase{"NumberWithTail", kHead + "vertex 0 0 1.5x\n"},
        BadAsciiCase{"CutInsideVertex", kHead + "vertex 0 0"},
        BadAsciiCase{"CutInsideFacet", kHead + "vertex 0 0 0\nvertex 1 0 0\nvertex 1 1 0\n"},
        BadAsciiCase{"VertexOutsideFacet", "solid t\nvertex 0 0 0\n"},
        BadAsciiCase{"UnknownWord", kHead + "vertex 0 0 0\nbogus\n"},
        BadAsciiCase{"NormalWithoutNumbers", "solid t\nfacet normal x\n"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(StlAsciiTest, AcceptsCapitalsSignsExponentsAndNoFacets) {
  const std::string text =
      "SOLID X\nFACET NORMAL 0 0 1\nOUTER LOOP\nVERTEX +1.0e+00 0 0\nVERTEX 0 1E0 0\n"
      "VERTEX 0 0 -.5\nENDLOOP\nENDFACET\nENDSOLID X\n";
  std::istringstream in(text);
  BaseTriMesh mesh;
  ASSERT_EQ(addFacesGivenAscii(in, mesh, 0, nullptr), 0);
  EXPECT_EQ(vertices_of(mesh),
            (std::vector<Vector3f>{Vector3f(1, 0, 0), Vector3f(0, 1, 0), Vector3f(0, 0, -0.5f)}));
  std::istringstream none("solid empty\nendsolid empty\n");
  ASSERT_EQ(addFacesGivenAscii(none, mesh, 0, nullptr), 0);
  EXPECT_EQ(mesh.get_fn(), 0u);
}

TEST(StlAsciiTest, OverlongWordIsCutNotOverrun) {
  // Cut to a shorter run of digits it would read as a number; it must not.
  std::istringstream in(kHead + "vertex 0 0 " + std::string(100000, '1') + "\n");
  BaseTriMesh mesh;
  ErrorLog log;
  EXPECT_EQ(addFacesGivenAscii(in, mesh, 0, nullptr), kBaseReadCorrupt);
  EXPECT_TRUE(log.has_line_with("without three numbers"));
}

TEST(StlFileTest, MissingFileGivesTwoAndNamesIt) {
  const std::string path = temp_path("does_not_exist.stl");
  BaseTriMesh mesh;
  ErrorLog log;
  EXPECT_EQ(read_stl_mesh(path, mesh, nullptr), 2);
  EXPECT_TRUE(log.has_line_with(path, "not exist"));
}

// ---- Progress ------------------------------------------------------------------------------

void expect_progress_shape(const std::vector<int>& calls, bool want_steps) {
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls.front(), 0);
  EXPECT_EQ(calls.back(), 100);
  EXPECT_LE(calls.size(), 101u);
  for (std::size_t i = 1; i < calls.size(); ++i) EXPECT_LT(calls[i - 1], calls[i]);
  if (want_steps) {
    EXPECT_GT(calls.size(), 10u);
  }
}

class StlProgressTest : public ::testing::TestWithParam<Format> {};

TEST_P(StlProgressTest, RisesFromZeroToHundredInWholeSteps) {
  std::vector<Triangle> tris;
  for (int i = 0; i < 20000; ++i) {
    tris.push_back({Vector3f(float(i), 0, 0), Vector3f(float(i), 1, 0), Vector3f(0, 0, 1)});
  }
  const std::string path =
      write_temp("progress_" + std::to_string(static_cast<int>(GetParam())) + ".stl",
                 image_of(GetParam(), tris));
  std::vector<int> calls;
  BaseTriMesh mesh;
  ASSERT_EQ(read_stl_mesh(path, mesh, [&](const int& p) { calls.push_back(p); }), 0);
  ASSERT_EQ(mesh.get_fn(), tris.size());
  expect_progress_shape(calls, true);
}

INSTANTIATE_TEST_SUITE_P(Formats, StlProgressTest,
                         ::testing::Values(Format::kAscii, Format::kBinary));

TEST(StlProgressFailureTest, FailuresStillEndAtHundred) {
  std::vector<int> calls;
  BaseTriMesh mesh;
  const Callback record = [&](const int& p) { calls.push_back(p); };
  EXPECT_EQ(read_stl_mesh(temp_path("missing_for_progress.stl"), mesh, record), 2);
  expect_progress_shape(calls, false);
  calls.clear();
  const std::string path = write_temp("progress_truncated.stl", cut(binary_stl(kSquare), 10));
  EXPECT_EQ(read_stl_mesh(path, mesh, record), kBaseReadCorrupt);
  expect_progress_shape(calls, false);
}

// ---- File names ----------------------------------------------------------------------------

struct SplitCase {
  std::string path;
  int result;
  std::string base;
  std::string ext;
};
void PrintTo(const SplitCase& c, std::ostream* os) { *os << c.path; }

class SplitFileNameTest : public ::testing::TestWithParam<SplitCase> {};

TEST_P(SplitFileNameTest, SplitsAtLastDotOfLastComponent) {
  std::string base = "old", ext = "old";
  EXPECT_EQ(split_fileName(GetParam().path, base, ext), GetParam().result);
  EXPECT_EQ(base, GetParam().base);
  EXPECT_EQ(ext, GetParam().ext);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, SplitFileNameTest,
    ::testing::Values(SplitCase{"dir/part.stl", 0, "dir/part", "stl"},
                      SplitCase{"part.tar.3MF", 0, "part.tar", "3MF"},
                      SplitCase{"C:\\models\\part.Obj", 0, "C:\\models\\part", "Obj"},
                      SplitCase{"dir.v2/part", 1, "", ""}, SplitCase{"dir\\v.2\\part", 1, "", ""},
                      SplitCase{"part.", 1, "", ""}, SplitCase{"", 1, "", ""},
                      SplitCase{".stl", 0, "", "stl"}));

TEST(SplitFileNameAliasTest, OutputMayAliasInput) {
  std::string path = "a/b.stl", ext;
  EXPECT_EQ(split_fileName(path, path, ext), 0);
  EXPECT_EQ(path, "a/b");
  EXPECT_EQ(ext, "stl");
}

// Sees the content through the virtual operations, as a class of a host program would.
class RecordingMesh : public BaseTriMesh {
 public:
  void set_vCoords(const std::vector<Vector3f>& coords) override {
    ++set_vCoords_calls;
    BaseTriMesh::set_vCoords(coords);
  }
  void set_faces(const std::vector<BaseTriFace>& faces) override {
    ++set_faces_calls;
    BaseTriMesh::set_faces(faces);
  }
  int set_vCoords_calls = 0;
  int set_faces_calls = 0;
};

// A plain mesh takes the welded sequences over without the virtual calls; a derived one
// gets them through its overrides. Both must end with the same vertices, faces and normals,
// degenerate, tiny, huge and -0.0 corners included, whatever the mesh held before.
TEST(StlBinaryStoreTest, PlainAndDerivedMeshesHoldTheSameContent) {
  const std::vector<Triangle> tris = {
      {Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(0, 1, 0)},
      {Vector3f(1, 0, 0), Vector3f(1, 1, 0), Vector3f(0, 1, 0)},
      {Vector3f(-0.0f, 0, 0), Vector3f(2, 2, 2), Vector3f(2, 2, 2)},
      {Vector3f(0, 0, 1e-20f), Vector3f(1e-20f, 0, 0), Vector3f(0, 1e-20f, 0)},
      {Vector3f(1e20f, 0, 0), Vector3f(0, 1e20f, 0), Vector3f(0, 0, 1e20f)}};
  const std::string bytes = binary_stl(tris);
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());

  BaseTriMesh plain;
  plain.add_vCoord(Vector3f(5, 5, 5));  // old content that must go
  plain.enable_vColor();
  RecordingMesh derived;
  derived.enable_vColor();
  ASSERT_EQ(addFacesGivenBinary(data, bytes.size(), plain, nullptr), 0);
  ASSERT_EQ(addFacesGivenBinary(data, bytes.size(), derived, nullptr), 0);

  EXPECT_EQ(derived.set_vCoords_calls, 1);
  EXPECT_EQ(derived.set_faces_calls, 1);
  EXPECT_EQ(vertices_of(plain), vertices_of(derived));
  EXPECT_EQ(faces_of(plain), faces_of(derived));
  ASSERT_EQ(plain.get_fn(), tris.size());
  ASSERT_EQ(plain.get_vn(), 12u);  // -0.0 stays apart from 0.0
  for (std::size_t f = 0; f < plain.get_fn(); ++f) {
    EXPECT_EQ(plain.get_fNrv(f), derived.get_fNrv(f)) << "face " << f;
  }
  EXPECT_EQ(plain.get_fNrv(2), Vector3f::Zero());
  // Colours stay on and every new vertex has the zero colour.
  EXPECT_EQ(plain.get_vColor(plain.get_vn() - 1), Vector3f::Zero());
  EXPECT_EQ(derived.get_vColor(derived.get_vn() - 1), Vector3f::Zero());
}

}  // namespace
}  // namespace Quorvex
