#include <gtest/gtest.h>

#include <deque>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

// lib3mf's C interface, only to write sample files.
#include <Model/COM/NMR_DLLInterfaces.h>

#include "quorvex/base/MeshReaders.h"
#include "support/LogLines.h"
#include "support/MeshSamples.h"

namespace Quorvex {
namespace {

using NMR::PLib3MFBase;
using Vertices = std::vector<NMR::MODELMESHVERTEX>;
using Triangles = std::vector<NMR::MODELMESHTRIANGLE>;

NMR::MODELTRANSFORM affine(float s, float tx, float ty, float tz) {
  NMR::MODELTRANSFORM t{};
  t.m_fFields[0][0] = t.m_fFields[1][1] = t.m_fFields[2][2] = s;
  t.m_fFields[0][3] = tx;
  t.m_fFields[1][3] = ty;
  t.m_fFields[2][3] = tz;
  return t;
}

// Builds a 3MF model and writes it; every lib3mf handle lives as long as the builder.
class ModelBuilder {
 public:
  ModelBuilder() { EXPECT_EQ(NMR::lib3mf_createmodel(keep()), LIB3MF_OK); }
  ~ModelBuilder() {
    for (auto h = handles_.rbegin(); h != handles_.rend(); ++h) NMR::lib3mf_release(*h);
  }
  PLib3MFBase* model() const { return handles_.front(); }
  PLib3MFBase* add_mesh(Vertices v, Triangles t) {
    PLib3MFBase** mesh = keep();
    EXPECT_EQ(NMR::lib3mf_model_addmeshobject(model(), mesh), LIB3MF_OK);
    EXPECT_EQ(NMR::lib3mf_meshobject_setgeometry(*mesh, v.data(), DWORD(v.size()), t.data(),
                                                 DWORD(t.size())),
              LIB3MF_OK);
    return *mesh;
  }
  PLib3MFBase* add_components(const std::vector<std::pair<PLib3MFBase*, NMR::MODELTRANSFORM*>>& p) {
    PLib3MFBase** object = keep();
    EXPECT_EQ(NMR::lib3mf_model_addcomponentsobject(model(), object), LIB3MF_OK);
    for (const auto& [part, transform] : p) {
      EXPECT_EQ(NMR::lib3mf_componentsobject_addcomponent(*object, part, transform, keep()),
                LIB3MF_OK);
    }
    return *object;
  }
  void add_build_item(PLib3MFBase* object, NMR::MODELTRANSFORM* transform = nullptr) {
    EXPECT_EQ(NMR::lib3mf_model_addbuilditem(model(), object, transform, keep()), LIB3MF_OK);
  }
  // Writes the model to a temporary file and gives its path.
  std::string write(const std::string& name) {
    const std::string path = qxtest::temp_path(name);
    PLib3MFBase** writer = keep();
    EXPECT_EQ(NMR::lib3mf_model_querywriter(model(), "3mf", writer), LIB3MF_OK);
    EXPECT_EQ(NMR::lib3mf_writer_writetofileutf8(*writer, path.c_str()), LIB3MF_OK);
    return path;
  }

 private:
  PLib3MFBase** keep() { return &handles_.emplace_back(nullptr); }
  std::deque<PLib3MFBase*> handles_;  // a deque keeps the addresses it handed out
};

const Vertices kTetra = {{{0, 0, 0}}, {{1, 0, 0}}, {{0, 1, 0}}, {{0, 0, 1}}};
const Triangles kTetraFaces = {{{0, 2, 1}}, {{0, 1, 3}}, {{1, 2, 3}}, {{0, 3, 2}}};
const Vertices kTriangle = {{{5, 5, 5}}, {{6, 5, 5}}, {{5, 6, 5}}};

// Appends the vertices `vs` placed as s * v + t.
void append(std::vector<Vector3f>& out, const Vertices& vs, float s = 1,
            const Vector3f& t = Vector3f::Zero()) {
  for (const auto& v : vs) {
    out.push_back(s * Vector3f(v.m_fPosition[0], v.m_fPosition[1], v.m_fPosition[2]) + t);
  }
}

void expect_vertices(const BaseTriMesh& mesh, const std::vector<Vector3f>& expected) {
  ASSERT_EQ(mesh.get_vn(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_LT((mesh.get_vCoord(i) - expected[i]).norm(), 1e-5f * (1 + expected[i].norm()))
        << i << ": " << mesh.get_vCoord(i).transpose() << " vs " << expected[i].transpose();
  }
}

// Build items and their components append in order. World = build item x outer component x
// inner component x vertex: with a scale and translations that do not commute, any other
// order gives other positions. The unit scales placed positions, translations included.
// Without transforms every object stands where it was defined; asked not to convert, the
// reader keeps the file's unit.
TEST(ThreeMfReaderTest, PlacesBuildItemsAndNestedComponentsInOrderInMillimetres) {
  const std::pair<NMR::eModelUnit, float> units[] = {{NMR::MODELUNIT_MICROMETER, 0.001f},
                                                     {NMR::MODELUNIT_MILLIMETER, 1},
                                                     {NMR::MODELUNIT_CENTIMETER, 10},
                                                     {NMR::MODELUNIT_INCH, 25.4f},
                                                     {NMR::MODELUNIT_METER, 1000}};
  for (const auto& [unit, s] : units) {
    ModelBuilder b;
    EXPECT_EQ(NMR::lib3mf_model_setunit(b.model(), unit), LIB3MF_OK);
    PLib3MFBase* tetra = b.add_mesh(kTetra, kTetraFaces);
    NMR::MODELTRANSFORM up = affine(1, 0, 0, 7), inner = affine(1, 10, 0, 0),
                        outer = affine(2, 0, 0, 0), build = affine(1, 0, 5, 0);
    b.add_build_item(tetra);
    b.add_build_item(
        b.add_components({{b.add_mesh(kTriangle, {{{0, 1, 2}}}), nullptr}, {tetra, &up}}));
    PLib3MFBase* shifted = b.add_components({{tetra, &inner}});
    b.add_build_item(b.add_components({{shifted, &outer}}), &build);
    const std::string path = b.write("placed" + std::to_string(unit) + ".3mf");
    BaseTriMesh mesh;
    ASSERT_EQ(read_3mf_mesh(path, mesh, true, true), 0);
    std::vector<Vector3f> expected;
    append(expected, kTetra, s);
    append(expected, kTriangle, s);
    append(expected, kTetra, s, s * Vector3f(0, 0, 7));
    append(expected, kTetra, 2 * s, s * Vector3f(20, 5, 0));
    expect_vertices(mesh, expected);
    ASSERT_EQ(mesh.get_fn(), 13u);
    EXPECT_EQ(mesh.get_face(1), BaseTriFace(0, 1, 3));
    EXPECT_EQ(mesh.get_face(4), BaseTriFace(4, 5, 6));
    EXPECT_EQ(mesh.get_face(5), BaseTriFace(7, 9, 8));
    EXPECT_TRUE(mesh.get_fNrv(0).isApprox(Vector3f(0, 0, -1)));
    ASSERT_EQ(read_3mf_mesh(path, mesh, false, false), 0);
    expected.clear();
    for (const Vertices* part : {&kTetra, &kTriangle, &kTetra, &kTetra}) append(expected, *part);
    expect_vertices(mesh, expected);
  }
}

// Missing (2), no readable 3MF (half a good file, 3), a build that places no mesh (4), and a
// component bomb (3): each level places the one below twice, 2^16 copies of 4096 triangles
// from a file of some hundred kilobytes, refused from the counts alone instead of placed.
// (Chains of more placements are refused before lib3mf reads them: ThreeMfComponentScan_test.)
TEST(ThreeMfReaderTest, FailuresKeepNothingAndNameTheFile) {
  ModelBuilder good, no_build, bomb;
  good.add_build_item(good.add_mesh(kTetra, kTetraFaces));
  no_build.add_mesh(kTetra, kTetraFaces);  // a resource, but nothing of the build
  Vertices strip;
  Triangles faces;
  for (DWORD i = 0; i < 4098; ++i) strip.push_back({{float(i), float(i % 2), 0}});
  for (DWORD i = 0; i < 4096; ++i) faces.push_back({{i, i + 1, i + 2}});
  PLib3MFBase* level = bomb.add_mesh(strip, faces);
  for (int i = 0; i < 16; ++i) level = bomb.add_components({{level, nullptr}, {level, nullptr}});
  bomb.add_build_item(level);
  std::ifstream in(good.write("good.3mf"), std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(in), {}};
  const std::tuple<std::string, int, const char*> cases[] = {
      {qxtest::temp_path("missing.3mf"), 2, "not exist"},
      {qxtest::write_temp("half.3mf", bytes.substr(0, bytes.size() / 2)), kBaseReadCorrupt,
       "unreadable"},
      {no_build.write("no_build.3mf"), kBaseReadNoMesh, "no mesh"},
      {bomb.write("bomb.3mf"), kBaseReadCorrupt, "beyond"}};
  for (const auto& [path, result, why] : cases) {
    BaseTriMesh mesh;
    mesh.add_vCoord(Vector3f(1, 1, 1));
    qxtest::LogLines log;
    EXPECT_EQ(read_3mf_mesh(path, mesh, true, true), result) << why;
    EXPECT_EQ(mesh.get_vn(), 0u) << why;
    EXPECT_TRUE(log.has_line_with(path, why));
  }
}

}  // namespace
}  // namespace Quorvex
