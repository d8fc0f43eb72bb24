#include <gtest/gtest.h>

#include <ios>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "quorvex/base/MeshReaders.h"
#include "quorvex/base/StlSniff.h"
#include "support/LogLines.h"
#include "support/MeshSamples.h"
#include "support/Streams.h"

namespace Quorvex {
namespace {

using qxtest::binary_stl;
using qxtest::faces_of;
using qxtest::Triangle;
using qxtest::vertices_of;
using qxtest::write_temp;

const Vector3f kA(0, 0, 0), kB(1, 0, 0), kC(1, 1, 0), kD(0, 1, 0), kNegZero(-0.0f, 0, 0),
    kTwos(2, 2, 2), kTinyZ(0, 0, 1e-20f), kTinyXZ(1e-20f, 0, 1e-20f), kTinyYZ(0, 1e-20f, 1e-20f);
// Two triangles sharing the edge A-C (a reader that does not weld gives 6 vertices), one
// degenerate with -0.0 (not welded to 0.0) and one whose float normal underflows.
const std::vector<Triangle> kSample = {
    {kA, kB, kC}, {kA, kC, kD}, {kNegZero, kTwos, kTwos}, {kTinyZ, kTinyXZ, kTinyYZ}};

int read_binary(const std::string& image, BaseTriMesh& mesh) {
  return addFacesGivenBinary(reinterpret_cast<const unsigned char*>(image.data()), image.size(),
                             mesh, nullptr);
}

// Whole percentages, each at most once, rising from 0 to 100.
void expect_progress(const std::vector<int>& calls, std::size_t at_least) {
  ASSERT_GE(calls.size(), at_least);
  EXPECT_EQ(calls.front(), 0);
  EXPECT_EQ(calls.back(), 100);
  for (std::size_t i = 1; i < calls.size(); ++i) EXPECT_LT(calls[i - 1], calls[i]);
}

// Sees the content through the virtual operations, as a class of a host program would.
struct RecordingMesh : BaseTriMesh {
  void set_vCoords(const std::vector<Vector3f>& coords) override {
    ++calls;
    BaseTriMesh::set_vCoords(coords);
  }
  void set_faces(const std::vector<BaseTriFace>& faces) override {
    ++calls;
    BaseTriMesh::set_faces(faces);
  }
  int calls = 0;
};

// A plain mesh takes the welded sequences over without the virtual calls; a derived one gets
// them through its overrides. Both end with the same content whatever they held before, and
// normals derived from the corners (not the 9s stored in binary records).
TEST(StlReaderTest, EveryFormatWeldsCornersInOrderOfFirstAppearance) {
  const std::string images[] = {
      qxtest::ascii_stl(kSample), qxtest::ascii_stl(kSample, "\r\n"), binary_stl(kSample),
      // A header that begins with the word that ASCII files begin with.
      binary_stl(kSample, "solid part exported as binary\n"),
      // Capitals, signs and exponents.
      "SOLID X\nFACET NORMAL 0 0 1\nOUTER LOOP\nVERTEX +0 0 0\nVERTEX 1E0 0 0\nVERTEX 1 .1e1 0\n"
      "ENDLOOP\nENDFACET\nFACET NORMAL 0 0 1 OUTER LOOP VERTEX 0 0 0 VERTEX 1.0e+00 1 0\n"
      "VERTEX 0 1 0 ENDLOOP ENDFACET facet normal 0 0 0 outer loop vertex -0 0 0 vertex 2 2 2\n"
      "vertex 2 2 2 endloop endfacet facet normal 0 0 0 outer loop vertex 0 0 1E-20\n"
      "vertex 1e-20 0 1e-20 vertex 0 1e-20 1e-20 endloop endfacet ENDSOLID X\n"};
  const std::vector<Vector3f> vertices = {kA,    kB,     kC,      kD,     kNegZero,
                                          kTwos, kTinyZ, kTinyXZ, kTinyYZ};
  const std::vector<BaseTriFace> faces = {{0, 1, 2}, {0, 2, 3}, {4, 5, 5}, {6, 7, 8}};
  for (int i = 0; i < 5; ++i) {
    const std::string path = write_temp("sample" + std::to_string(i) + ".stl", images[i]);
    BaseTriMesh plain;
    plain.add_vCoord(Vector3f(5, 5, 5));  // old content that must go
    plain.add_face(BaseTriFace(0, 0, 0));
    plain.enable_vColor();
    RecordingMesh derived;
    ASSERT_EQ(read_stl_mesh(path, plain, nullptr), 0) << i;
    ASSERT_EQ(read_stl_mesh(path, derived, nullptr), 0) << i;
    EXPECT_EQ(derived.calls, 2);
    for (const BaseTriMesh* m : {&plain, static_cast<BaseTriMesh*>(&derived)}) {
      EXPECT_EQ(vertices_of(*m), vertices) << i;
      EXPECT_EQ(faces_of(*m), faces) << i;
      for (int f = 0; f < 4; ++f) EXPECT_EQ(m->get_fNrv(f), Vector3f(0, 0, f != 2)) << i << f;
    }
    EXPECT_EQ(plain.get_vColor(8), Vector3f::Zero());  // colours stay on for new vertices
  }
}

TEST(StlReaderTest, VertexSoupMergesOnlyIdenticalBitsAndDropsLeftOverCorners) {
  // A NaN merges with the very same NaN bits.
  const Vector3f nan(std::numeric_limits<float>::quiet_NaN(), 0, 0);
  BaseTriMesh mesh;
  ASSERT_EQ(addFacesGivenVertexes({kA, kB, nan, kNegZero, kB, nan, kC}, mesh), 0);
  EXPECT_EQ(mesh.get_vn(), 4u);
  EXPECT_EQ(faces_of(mesh), (std::vector<BaseTriFace>{{0, 1, 2}, {3, 1, 2}}));
}

// Enough faces to grow the weld table several times and to read a file in many chunks;
// chunk borders change neither the mesh nor the steady rise of progress.
TEST(StlReaderTest, LargeGridWeldsEveryInnerVertexAndReportsProgress) {
  constexpr int kN = 120;
  std::vector<Triangle> tris;
  for (float i = 0; i < kN; ++i) {
    for (float j = 0; j < kN; ++j) {
      tris.push_back({Vector3f(i, j, 0), Vector3f(i + 1, j, 0), Vector3f(i + 1, j + 1, 0)});
      tris.push_back({Vector3f(i, j, 0), Vector3f(i + 1, j + 1, 0), Vector3f(i, j + 1, 0)});
    }
  }
  const std::string image = binary_stl(tris);
  BaseTriMesh memory;
  ASSERT_EQ(read_binary(binary_stl({}), memory), 0);  // no face at all is an empty mesh
  EXPECT_EQ(memory.get_fn(), 0u);
  ASSERT_EQ(read_binary(image + "bytes after the last face", memory), 0);
  ASSERT_EQ(memory.get_vn(), std::size_t{(kN + 1) * (kN + 1)});
  ASSERT_EQ(memory.get_fn(), tris.size());
  for (std::size_t f = 0; f < tris.size(); ++f) {
    for (int c = 0; c < 3; ++c) ASSERT_EQ(memory.get_vCoord(memory.get_face(f)[c]), tris[f][c]);
  }
  for (const std::string& file : {image, qxtest::ascii_stl(tris)}) {
    std::vector<int> calls;
    BaseTriMesh mesh;
    const std::string path = write_temp("grid.stl", file);
    ASSERT_EQ(read_stl_mesh(path, mesh, [&](const int& p) { calls.push_back(p); }), 0);
    EXPECT_EQ(vertices_of(mesh), vertices_of(memory));
    EXPECT_EQ(faces_of(mesh), faces_of(memory));
    expect_progress(calls, 11);
  }
}

// Missing (2); shorter than the header, or than the faces the header counts (3), from a file
// and from memory. The log names the file, nothing is kept and progress still ends.
TEST(StlReaderTest, MissingOrShortBinaryFileLeavesMeshEmpty) {
  const std::string images[] = {"", binary_stl({}).substr(0, 83), binary_stl(kSample, "", 5)};
  for (int i = 0; i < 3; ++i) {
    const std::string name = "short" + std::to_string(i) + ".stl";
    const std::string path = i == 0 ? qxtest::temp_path(name) : write_temp(name, images[i]);
    BaseTriMesh mesh;
    mesh.add_vCoord(kA);
    std::vector<int> calls;
    qxtest::LogLines log;
    EXPECT_EQ(read_stl_mesh(path, mesh, [&](const int& p) { calls.push_back(p); }),
              i == 0 ? 2 : kBaseReadCorrupt);
    EXPECT_TRUE(log.has_line_with(path, i == 0 ? "not exist" : "")) << i;
    EXPECT_EQ(mesh.get_vn(), 0u);
    expect_progress(calls, 2);
    mesh.add_vCoord(kA);
    EXPECT_EQ(read_binary(images[i], mesh), kBaseReadCorrupt);
    EXPECT_EQ(mesh.get_vn(), 0u);
  }
}

// One text per way it can break: corrupt, nothing kept, one log line that says why.
TEST(StlReaderTest, BadTextIsCorruptAndSaysWhy) {
  const std::string head = "solid t\nfacet normal 0 0 1\nouter loop\n", v = "vertex 0 0 0\n";
  const std::pair<std::string, const char*> cases[] = {
      {head + v + v + "endloop\nendfacet\n", "not three vertices"},
      {head + v + v + v + v, "more than three vertices"},
      {head + "vertex 0 0 1.5x\n", "without three numbers"},
      // Cut to a shorter run of digits it would read as a number; it must not.
      {head + "vertex 0 0 " + std::string(100000, '1') + "\n", "without three numbers"},
      {head + v + v + v, "ends inside a facet"},
      {"solid t\n" + v, "outside a facet"},
      {head + v + "bogus\n", "unexpected word \"bogus\""},
      {"solid t\nfacet normal x\n", "normal without three numbers"}};
  for (const auto& [text, why] : cases) {
    std::istringstream in(text);
    BaseTriMesh mesh;
    mesh.add_vCoord(kA);
    qxtest::LogLines log;
    EXPECT_EQ(addFacesGivenAscii(in, mesh, 0, nullptr), kBaseReadCorrupt) << why;
    EXPECT_EQ(mesh.get_vn(), 0u) << why;
    ASSERT_EQ(log.lines().size(), 1u) << why;
    EXPECT_TRUE(log.has_line_with(why)) << log.lines()[0];
  }
}

// Hands out its bytes, then raises where a plain buffer would report the end.
class RaisingAtEndBuffer : public qxtest::ForwardOnlyBuffer {
 public:
  using ForwardOnlyBuffer::ForwardOnlyBuffer;

 protected:
  int_type underflow() override { throw std::runtime_error("device gone"); }
};

// A caller's stream may be set to raise on any flag, and reading to the end sets eofbit and
// failbit. Its buffer may be unable to seek, which the size that scales progress must not
// turn into a failed stream. The reader ends in its value all the same, on every kind of
// stream, with and without progress: a valid text reads, one cut inside a facet or one whose
// buffer raises gives 3 and an empty mesh. The stream keeps its mask and the flags the
// reading set.
TEST(StlReaderTest, StreamSetToRaiseOrUnableToSeekReadsInFull) {
  using S = std::ios_base;
  const std::string good = qxtest::ascii_stl(kSample);
  const std::string cut = good.substr(0, good.rfind("endloop"));
  for (const S::iostate mask :
       {S::goodbit, S::failbit, S::eofbit, S::badbit, S::failbit | S::eofbit | S::badbit}) {
    for (const bool with_progress : {false, true}) {
      for (const std::string* text : {&good, &cut}) {
        for (const auto& buffer : qxtest::every_kind_of_input(*text)) {
          std::istream in(buffer.get());
          in.exceptions(mask);
          BaseTriMesh mesh;
          mesh.add_vCoord(kA);
          std::vector<int> calls;
          Callback progress;
          if (with_progress) progress = [&](const int& p) { calls.push_back(p); };
          qxtest::LogLines log;
          int result = -1;
          EXPECT_NO_THROW(result = addFacesGivenAscii(in, mesh, 0, progress));
          if (text == &good) {
            EXPECT_EQ(result, 0);
            EXPECT_EQ(faces_of(mesh).size(), kSample.size());
            EXPECT_EQ(mesh.get_vn(), 9u);
            EXPECT_TRUE(in.eof());
          } else {
            EXPECT_EQ(result, kBaseReadCorrupt);
            EXPECT_TRUE(log.has_line_with("ends inside a facet"));
            EXPECT_EQ(mesh.get_vn(), 0u);
          }
          EXPECT_EQ(in.exceptions(), mask);
          if (with_progress) expect_progress(calls, 2);
        }
      }
    }
    RaisingAtEndBuffer raising(good);
    std::istream in(&raising);
    in.exceptions(mask);
    BaseTriMesh mesh;
    mesh.add_vCoord(kA);
    qxtest::LogLines log;
    int result = -1;
    EXPECT_NO_THROW(result = addFacesGivenAscii(in, mesh, 0, nullptr));
    EXPECT_EQ(result, kBaseReadCorrupt);
    EXPECT_TRUE(log.has_line_with("could not be read to its end"));
    EXPECT_EQ(mesh.get_vn(), 0u);
    EXPECT_TRUE(in.bad());
    EXPECT_EQ(in.exceptions(), mask);
  }
}

// The sniff answers as documented on such a stream too: a first line that overflows its
// buffer sets the fail flag and is binary, a text that ends after "solid" is binary.
TEST(StlReaderTest, SniffOnStreamSetToRaiseAnswersWithoutRaising) {
  const std::string texts[] = {"solid " + std::string(300, 'x') + "\nfacet\n", "solid t",
                               "solid t\n\n\n", "solid t\nfacet normal 0 0 1\n"};
  for (int i = 0; i < 4; ++i) {
    std::istringstream in(texts[i]);
    const auto mask = std::ios_base::failbit | std::ios_base::eofbit | std::ios_base::badbit;
    in.exceptions(mask);
    bool ascii = false;
    EXPECT_NO_THROW(ascii = stl_stream_is_ascii(in)) << i;
    EXPECT_EQ(ascii, i == 3) << i;
    EXPECT_EQ(in.exceptions(), mask);
  }
}

TEST(SplitFileNameTest, SplitsAtLastDotOfLastComponent) {
  // Gives 1 and empty parts when the last component has no extension.
  const std::string cases[][3] = {{"part.tar.3MF", "part.tar", "3MF"},
                                  {"C:\\models\\part.Obj", "C:\\models\\part", "Obj"},
                                  {".stl", "", "stl"},
                                  {"dir.v2/part", "", ""},
                                  {"part.", "", ""},
                                  {"", "", ""}};
  for (const auto& [path, want_base, want_ext] : cases) {
    std::string base = "old", ext = "old";
    EXPECT_EQ(split_fileName(path, base, ext), want_ext.empty() ? 1 : 0) << path;
    EXPECT_EQ(base, want_base) << path;
    EXPECT_EQ(ext, want_ext) << path;
  }
  std::string path = "a/b.stl", ext;  // the output may alias the input
  EXPECT_EQ(split_fileName(path, path, ext), 0);
  EXPECT_EQ(path, "a/b");
  EXPECT_EQ(ext, "stl");
}

}  // namespace
}  // namespace Quorvex
