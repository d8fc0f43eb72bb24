#include <gtest/gtest.h>

#include <boost/interprocess/streams/bufferstream.hpp>
#include <filesystem>
#include <ios>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "quorvex/baseTypeIO/ObjReader.h"
#include "support/LogLines.h"
#include "support/MeshSamples.h"

namespace Quorvex {
namespace {

using qxtest::bytes_of;
using qxtest::faces_of;
using ErrorLines = qxtest::LogLines;

// Counts the virtual operations the reader calls, in order.
class RecordingMesh : public BaseTriMesh {
 public:
  void clear() override {
    calls += "clear,";
    BaseTriMesh::clear();
  }
  void set_vCoords(const std::vector<Vector3f>& c) override {
    calls += "set_vCoords(" + std::to_string(c.size()) + "),";
    BaseTriMesh::set_vCoords(c);
  }
  void set_faces(const std::vector<BaseTriFace>& f) override {
    calls += "set_faces(" + std::to_string(f.size()) + "),";
    BaseTriMesh::set_faces(f);
  }
  std::string calls;
};

struct ObjCase {
  const char* name;
  std::string text;
  std::vector<Vector3f> vertices;
  std::vector<BaseTriFace> faces;
  int dropped_lines;  // error lines about dropped faces
};

using F = BaseTriFace;
using V = Vector3f;
const std::vector<Vector3f> kTri = {V(0, 0, 0), V(1, 0, 0), V(0, 1, 0)};
const std::vector<Vector3f> kQuad = {V(0, 0, 0), V(1, 0, 0), V(1, 1, 0), V(0, 1, 0)};
const std::string kTriText = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
const std::string kQuadText = kTriText.substr(0, 16) + "v 1 1 0\nv 0 1 0\n";

const std::vector<ObjCase> kCases = {
    {"quad fan", kQuadText + "f 1 2 3 4\n", kQuad, {F(0, 1, 2), F(0, 2, 3)}, 0},
    {"slashes", kTriText + "f 1/7/9 2//8 3/1\n", kTri, {F(0, 1, 2)}, 0},
    {"negatives count from the vertices so far",
     kTriText + "f -3 -2 -1\nv 5 5 5\nv 6 6 6\nf -3 -2 -1\n",
     {kTri[0], kTri[1], kTri[2], V(5, 5, 5), V(6, 6, 6)},
     {F(0, 1, 2), F(2, 3, 4)},
     0},
    {"faces before vertices", "f 1 2 3\n" + kTriText, kTri, {F(0, 1, 2)}, 0},
    {"CR ends numbers", kQuadText + "f 1 2 3\r 4\n", kQuad, {F(0, 1, 2)}, 0},
    {"two corners and none", kTriText + "f 1 2\nf\nf \n", kTri, {}, 0},
    {"other keywords",
     "# 1 2 3\no a\ng b\ns 1\nusemtl r\n" + kTriText + "vt 1 1\nf 1 2 3",
     kTri,
     {F(0, 1, 2)},
     0},
    {"case sensitive", kTriText + "F 1 2 3\nV 1 1 1\n", kTri, {}, 0},
    {"word ends parse", "v 1 2 3\nv 4 x 6\nv 7 8 9\n", {V(1, 2, 3), V(4, 0, 0)}, {}, 0},
    {"numbers",
     "v +1.5 -.25 1e2\nv 2.E-1 0007 -0\n",
     {V(1.5f, -.25f, 100), V(.2f, 7, -0.f)},
     {},
     0},
    {"overflow ends parse", "v 1 1e39 3\nv 1 1 1\n", {V(1, 3.40282347e38f, 0)}, {}, 0},
    {"vertex line read as words", "v 0 0 0 v 1 0 0 v 0 1 0 f 1 2 3\n", kTri, {F(0, 1, 2)}, 0},
    {"corner past the vertices", kTriText + "f 1 2 3\nf 1 2 4\nf 1 2 9 3\n", kTri, {F(0, 1, 2)}, 1},
    {"token cut to nine",
     kTriText + "f 1 2 0000000037777\nf 1 2 3000000000000\n",
     kTri,
     {F(0, 1, 2)},
     1},
    {"word cut",
     std::string(300, 'v') + " 1 2 3\n" + kTriText + "f 1 2 3\n",
     kTri,
     {F(0, 1, 2)},
     0},
    {"line of 4094",
     kQuadText + "f 1 2 3" + std::string(4088, ' ') + "\nf 1 3 4\n",
     kQuad,
     {F(0, 1, 2), F(0, 2, 3)},
     0},
    {"line of 4095 ends parse",
     kQuadText + "f 1 2 3" + std::string(4089, ' ') + "\nf 1 3 4\n",
     kQuad,
     {F(0, 1, 2)},
     0},
    {"zero byte ends face line",
     kQuadText + std::string("f 1 2 3\0 4\nf 1 2 4", 18),
     kQuad,
     {F(0, 1, 2), F(0, 1, 3)},
     0}};

// Every case goes through both readers: the in-place scan of memory and the stream.
TEST(ObjReader, BothReadersAgreeWithTheTable) {
  for (const ObjCase& c : kCases) {
    for (int reader = 0; reader < 2; ++reader) {
      SCOPED_TRACE(std::string(c.name) + (reader == 0 ? " memory" : " stream"));
      ErrorLines errors;
      RecordingMesh mesh;
      mesh.set_vCoords({Vector3f(9, 9, 9)});
      IORet r;
      if (reader == 0) {
        r = read_obj_in_memory(bytes_of(c.text), mesh);
      } else {
        std::istringstream in(c.text);
        r = parse_obj_by_extraction(in, mesh);
      }
      EXPECT_EQ(r, IORET_OK);
      EXPECT_EQ(mesh.get_vCoords(), c.vertices);
      EXPECT_EQ(faces_of(mesh), c.faces);
      EXPECT_EQ(static_cast<int>(errors.lines().size()), c.dropped_lines);
      EXPECT_NE(mesh.calls.find("clear,set_vCoords("), std::string::npos);
    }
  }
}

TEST(ObjReader, EmptyStreamCallsTheOperationsWithEmptyLists) {
  RecordingMesh mesh;
  std::istringstream in("");
  EXPECT_EQ(parse_obj(in, mesh), IORET_OK);
  EXPECT_EQ(mesh.calls, "clear,set_vCoords(0),set_faces(0),");
}

// The parse ends at a failed extraction, which a caller's exception mask would raise. Both
// parsers, on a stream over memory (scanned in place) and on a string stream, still fill the
// mesh and give 0, and the stream keeps its mask and the flags the parse left.
TEST(ObjReader, StreamSetToRaiseParsesAsOneThatDoesNot) {
  using S = std::ios_base;
  const std::string text = kQuadText + "f 1 2 3 4\n";
  const std::vector<unsigned char> bytes = bytes_of(text);
  for (const S::iostate mask : {S::failbit, S::eofbit, S::failbit | S::eofbit | S::badbit}) {
    for (int kind = 0; kind < 4; ++kind) {
      boost::interprocess::basic_ibufferstream<char> memory(
          reinterpret_cast<const char*>(bytes.data()), bytes.size());
      static_cast<std::istream&>(memory).imbue(std::locale::classic());
      std::istringstream string_stream(text);
      std::istream& in = kind % 2 == 0 ? static_cast<std::istream&>(memory) : string_stream;
      in.exceptions(mask);
      RecordingMesh mesh;
      IORet result = IORET_FILE_NOT_FOUND;
      EXPECT_NO_THROW(result = kind < 2 ? parse_obj(in, mesh) : parse_obj_by_extraction(in, mesh));
      EXPECT_EQ(result, IORET_OK) << kind;
      EXPECT_EQ(mesh.calls, "clear,set_vCoords(4),set_faces(2),") << kind;
      EXPECT_EQ(faces_of(mesh), (std::vector<BaseTriFace>{F(0, 1, 2), F(0, 2, 3)})) << kind;
      EXPECT_EQ(in.exceptions(), mask) << kind;
      EXPECT_TRUE(in.fail() && in.eof()) << kind;
    }
  }
}

TEST(ObjReader, EmptyBufferIsSix) {
  RecordingMesh mesh;
  mesh.set_vCoords({Vector3f(1, 1, 1)});
  mesh.calls.clear();
  EXPECT_EQ(read_obj_in_memory({}, mesh), IORET_EMPTY_DATA);
  EXPECT_EQ(mesh.calls, "");
  EXPECT_EQ(mesh.get_vn(), 1u);
}

TEST(ObjReader, DroppedFacesAreCountedInOneLine) {
  ErrorLines errors;
  BaseTriMesh mesh;
  read_obj_in_memory(bytes_of(kTriText + "f 1 2 4\nf 5 6 7 8\nf 1 2 3\n"), mesh);
  ASSERT_EQ(errors.lines().size(), 1u);
  EXPECT_NE(errors.lines()[0].find(" 3 "), std::string::npos) << errors.lines()[0];
  EXPECT_EQ(mesh.get_fn(), 1u);
}

TEST(ObjReader, FileReader) {
  const std::string path =
      qxtest::write_temp("windows.obj",
                         "# made by hand\r\nv 0 0 0\r\nv 1 0 0\r\nv 1 1 0\r\nv 0 1 0\r\n"
                         "vn 0 0 1\r\nf 1//1 2//1 3//1 4//1\r\nf -4 -3 -1\r\n");
  BaseTriMesh mesh;
  EXPECT_EQ(read_obj_file(path, mesh), IORET_OK);
  EXPECT_EQ(mesh.get_vCoords(), kQuad);
  EXPECT_EQ(faces_of(mesh), (std::vector<BaseTriFace>{BaseTriFace(0, 1, 2), BaseTriFace(0, 2, 3),
                                                      BaseTriFace(0, 1, 3)}));
  EXPECT_EQ(mesh.get_fNrv(0), Vector3f(0, 0, 1));
}

// A folder of that name is no file either.
TEST(ObjReader, MissingFileIsTwoWithItsLine) {
  const std::string folder = qxtest::temp_path("folder.obj");
  std::filesystem::create_directories(folder);
  for (const std::string& path : {qxtest::temp_path("does_not_exist.obj"), folder}) {
    ErrorLines errors;
    BaseTriMesh mesh;
    EXPECT_EQ(read_obj_file(path, mesh), IORET_FILE_NOT_FOUND);
    ASSERT_EQ(errors.lines().size(), 1u);
    EXPECT_EQ(errors.lines()[0], "file " + path + " not exist!");
  }
}

}  // namespace
}  // namespace Quorvex
