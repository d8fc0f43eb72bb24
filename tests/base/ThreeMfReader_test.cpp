#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

// lib3mf's C interface, only to write sample files.
#include <Model/COM/NMR_DLLInterfaces.h>

#include "quorvex/base/MeshReaders.h"
#include "support/LogLines.h"
#include "support/MeshSamples.h"

namespace Quorvex {
namespace {

using qxtest::temp_path;
using ErrorLog = qxtest::LogLines;

using NMR::PLib3MFBase;

class Handle {
 public:
  Handle() = default;
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() {
    if (p_ != nullptr) NMR::lib3mf_release(p_);
  }
  PLib3MFBase* get() const { return p_; }
  PLib3MFBase** out() { return &p_; }

 private:
  PLib3MFBase* p_ = nullptr;
};

NMR::MODELTRANSFORM affine(float s, float tx, float ty, float tz) {
  NMR::MODELTRANSFORM t{};
  t.m_fFields[0][0] = t.m_fFields[1][1] = t.m_fFields[2][2] = s;
  t.m_fFields[0][3] = tx;
  t.m_fFields[1][3] = ty;
  t.m_fFields[2][3] = tz;
  return t;
}

// Builds a 3MF model and writes it; every handle lives as long as the builder.
class ModelBuilder {
 public:
  ModelBuilder() { EXPECT_EQ(NMR::lib3mf_createmodel(model_.out()), LIB3MF_OK); }

  PLib3MFBase* add_mesh(const std::vector<Vector3f>& vertices,
                        const std::vector<std::array<DWORD, 3>>& triangles) {
    Handle& mesh = keep();
    EXPECT_EQ(NMR::lib3mf_model_addmeshobject(model_.get(), mesh.out()), LIB3MF_OK);
    std::vector<NMR::MODELMESHVERTEX> v(vertices.size());
    for (std::size_t i = 0; i < v.size(); ++i) {
      for (int k = 0; k < 3; ++k) v[i].m_fPosition[k] = vertices[i][k];
    }
    std::vector<NMR::MODELMESHTRIANGLE> t(triangles.size());
    for (std::size_t i = 0; i < t.size(); ++i) {
      for (int k = 0; k < 3; ++k) t[i].m_nIndices[k] = triangles[i][k];
    }
    EXPECT_EQ(NMR::lib3mf_meshobject_setgeometry(mesh.get(), v.data(), DWORD(v.size()), t.data(),
                                                 DWORD(t.size())),
              LIB3MF_OK);
    return mesh.get();
  }
  PLib3MFBase* add_components(
      const std::vector<std::pair<PLib3MFBase*, NMR::MODELTRANSFORM*>>& parts) {
    Handle& object = keep();
    EXPECT_EQ(NMR::lib3mf_model_addcomponentsobject(model_.get(), object.out()), LIB3MF_OK);
    for (const auto& [part, transform] : parts) {
      EXPECT_EQ(
          NMR::lib3mf_componentsobject_addcomponent(object.get(), part, transform, keep().out()),
          LIB3MF_OK);
    }
    return object.get();
  }
  void add_build_item(PLib3MFBase* object, NMR::MODELTRANSFORM* transform) {
    EXPECT_EQ(NMR::lib3mf_model_addbuilditem(model_.get(), object, transform, keep().out()),
              LIB3MF_OK);
  }
  void set_unit(NMR::eModelUnit unit) {
    EXPECT_EQ(NMR::lib3mf_model_setunit(model_.get(), unit), LIB3MF_OK);
  }
  void write(const std::string& path) {
    Handle writer;
    ASSERT_EQ(NMR::lib3mf_model_querywriter(model_.get(), "3mf", writer.out()), LIB3MF_OK);
    ASSERT_EQ(NMR::lib3mf_writer_writetofileutf8(writer.get(), path.c_str()), LIB3MF_OK);
  }

 private:
  Handle& keep() { return *handles_.emplace_back(std::make_unique<Handle>()); }
  Handle model_;
  std::vector<std::unique_ptr<Handle>> handles_;
};

const std::vector<Vector3f> kTetra = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
const std::vector<std::array<DWORD, 3>> kTetraFaces = {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}};
const std::vector<Vector3f> kTriangle = {{5, 5, 5}, {6, 5, 5}, {5, 6, 5}};

std::vector<Vector3f> mapped(const std::vector<Vector3f>& vs, float s, const Vector3f& t) {
  std::vector<Vector3f> out;
  for (const Vector3f& v : vs) out.push_back(s * v + t);
  return out;
}

void expect_vertices_near(const BaseTriMesh& mesh, const std::vector<Vector3f>& expected) {
  ASSERT_EQ(mesh.get_vn(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_TRUE(mesh.get_vCoord(i).isApprox(expected[i], 1e-6f) ||
                (mesh.get_vCoord(i) - expected[i]).norm() < 1e-5f)
        << i << ": " << mesh.get_vCoord(i).transpose() << " vs " << expected[i].transpose();
  }
}

// World = build item x outer component x inner component x vertex: with a scale and
// translations that do not commute, any other order gives other positions.
TEST(ThreeMfReaderTest, NestedComponentsComposeTransformsOutsideIn) {
  ModelBuilder b;
  PLib3MFBase* tetra = b.add_mesh(kTetra, kTetraFaces);
  NMR::MODELTRANSFORM inner = affine(1, 10, 0, 0);
  NMR::MODELTRANSFORM outer = affine(2, 0, 0, 0);
  NMR::MODELTRANSFORM build = affine(1, 0, 5, 0);
  PLib3MFBase* shifted = b.add_components({{tetra, &inner}});
  PLib3MFBase* scaled = b.add_components({{shifted, &outer}});
  b.add_build_item(scaled, &build);
  const std::string path = temp_path("nested.3mf");
  b.write(path);
  BaseTriMesh mesh;
  ASSERT_EQ(read_3mf_mesh(path, mesh, true, true), 0);
  expect_vertices_near(mesh, mapped(kTetra, 2, Vector3f(20, 5, 0)));
  // Without transforms the object stands where its mesh was defined.
  ASSERT_EQ(read_3mf_mesh(path, mesh, false, true), 0);
  expect_vertices_near(mesh, kTetra);
}

TEST(ThreeMfReaderTest, BuildItemsAndComponentsAppendInOrder) {
  ModelBuilder b;
  PLib3MFBase* tetra = b.add_mesh(kTetra, kTetraFaces);
  PLib3MFBase* triangle = b.add_mesh(kTriangle, {{0, 1, 2}});
  NMR::MODELTRANSFORM up = affine(1, 0, 0, 7);
  PLib3MFBase* pair = b.add_components({{triangle, nullptr}, {tetra, &up}});
  b.add_build_item(tetra, nullptr);
  b.add_build_item(pair, nullptr);
  const std::string path = temp_path("two_items.3mf");
  b.write(path);
  BaseTriMesh mesh;
  ASSERT_EQ(read_3mf_mesh(path, mesh, true, true), 0);
  std::vector<Vector3f> expected = kTetra;
  expected.insert(expected.end(), kTriangle.begin(), kTriangle.end());
  const std::vector<Vector3f> lifted = mapped(kTetra, 1, Vector3f(0, 0, 7));
  expected.insert(expected.end(), lifted.begin(), lifted.end());
  expect_vertices_near(mesh, expected);
  ASSERT_EQ(mesh.get_fn(), 9u);
  for (std::size_t i = 0; i < kTetraFaces.size(); ++i) {
    for (int c = 0; c < 3; ++c) EXPECT_EQ(mesh.get_face(i)[c], int(kTetraFaces[i][c]));
  }
  EXPECT_EQ(mesh.get_face(4), BaseTriFace(4, 5, 6));
  EXPECT_EQ(mesh.get_face(5), BaseTriFace(7, 9, 8));
  EXPECT_TRUE(mesh.get_fNrv(0).isApprox(Vector3f(0, 0, -1)));
}

struct UnitCase {
  const char* name;
  NMR::eModelUnit unit;
  float millimetres;
};
void PrintTo(const UnitCase& c, std::ostream* os) { *os << c.name; }

class ThreeMfUnitTest : public ::testing::TestWithParam<UnitCase> {};

// The unit scales the translation of a transform as well as the vertices.
TEST_P(ThreeMfUnitTest, PositionsAndTranslationsComeOutInMillimetres) {
  ModelBuilder b;
  b.set_unit(GetParam().unit);
  NMR::MODELTRANSFORM shift = affine(1, 3, 0, 0);
  b.add_build_item(b.add_mesh(kTetra, kTetraFaces), &shift);
  const std::string path = temp_path(std::string("unit_") + GetParam().name + ".3mf");
  b.write(path);
  BaseTriMesh mesh;
  ASSERT_EQ(read_3mf_mesh(path, mesh, true, true), 0);
  const float s = GetParam().millimetres;
  expect_vertices_near(mesh, mapped(kTetra, s, Vector3f(3 * s, 0, 0)));
  // Asked not to convert, the reader keeps the file's unit.
  ASSERT_EQ(read_3mf_mesh(path, mesh, true, false), 0);
  expect_vertices_near(mesh, mapped(kTetra, 1, Vector3f(3, 0, 0)));
}

INSTANTIATE_TEST_SUITE_P(Units, ThreeMfUnitTest,
                         ::testing::Values(UnitCase{"Micron", NMR::MODELUNIT_MICROMETER, 0.001f},
                                           UnitCase{"Millimetre", NMR::MODELUNIT_MILLIMETER, 1},
                                           UnitCase{"Centimetre", NMR::MODELUNIT_CENTIMETER, 10},
                                           UnitCase{"Inch", NMR::MODELUNIT_INCH, 25.4f},
                                           UnitCase{"Metre", NMR::MODELUNIT_METER, 1000}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ThreeMfReaderTest, BuildWithoutMeshGivesFour) {
  ModelBuilder b;
  b.add_mesh(kTetra, kTetraFaces);  // a resource, but nothing of the build
  const std::string path = temp_path("no_build.3mf");
  b.write(path);
  BaseTriMesh mesh;
  mesh.add_vCoord(Vector3f(1, 1, 1));
  ErrorLog log;
  EXPECT_EQ(read_3mf_mesh(path, mesh, true, true), kBaseReadNoMesh);
  EXPECT_EQ(mesh.get_vn(), 0u);
  EXPECT_TRUE(log.has_line_with(path, "no mesh"));
}

// Each level places the one below twice: 2^16 copies of 4096 triangles from a file of some
// hundred kilobytes. The reader refuses from the counts alone instead of placing them.
// (Much deeper chains are not tried: lib3mf's own validation while reading walks every
// path of the component graph.)
TEST(ThreeMfReaderTest, ComponentBombIsRefusedWithoutExpanding) {
  std::vector<Vector3f> strip;
  std::vector<std::array<DWORD, 3>> faces;
  for (DWORD i = 0; i < 4098; ++i) strip.emplace_back(float(i), float(i % 2), 0);
  for (DWORD i = 0; i < 4096; ++i) faces.push_back({i, i + 1, i + 2});
  ModelBuilder b;
  PLib3MFBase* level = b.add_mesh(strip, faces);
  for (int i = 0; i < 16; ++i) level = b.add_components({{level, nullptr}, {level, nullptr}});
  b.add_build_item(level, nullptr);
  const std::string path = temp_path("bomb.3mf");
  b.write(path);
  BaseTriMesh mesh;
  ErrorLog log;
  EXPECT_EQ(read_3mf_mesh(path, mesh, true, true), kBaseReadCorrupt);
  EXPECT_EQ(mesh.get_vn(), 0u);
  EXPECT_TRUE(log.has_line_with(path, "beyond"));
}

TEST(ThreeMfReaderTest, MissingFileGivesTwo) {
  BaseTriMesh mesh;
  ErrorLog log;
  const std::string path = temp_path("missing.3mf");
  EXPECT_EQ(read_3mf_mesh(path, mesh, true, true), 2);
  EXPECT_TRUE(log.has_line_with(path, "not exist"));
}

std::string file_bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

class ThreeMfCorruptTest : public ::testing::TestWithParam<const char*> {};

TEST_P(ThreeMfCorruptTest, GivesThreeAndNamesTheFile) {
  ModelBuilder b;
  b.add_build_item(b.add_mesh(kTetra, kTetraFaces), nullptr);
  const std::string good = temp_path("good_for_corruption.3mf");
  b.write(good);
  const std::string bytes = file_bytes(good);
  ASSERT_GT(bytes.size(), 100u);
  const std::string kind = GetParam();
  std::string bad;
  if (kind == "Empty") {
    bad = "";
  } else if (kind == "NotZip") {
    bad = qxtest::ascii_stl({{kTetra[0], kTetra[1], kTetra[2]}});
  } else if (kind == "HalfZip") {
    bad = bytes.substr(0, bytes.size() / 2);
  } else {  // a zip whose compressed content is scrambled
    bad = bytes;
    for (std::size_t i = 60; i < bad.size() / 2; i += 7) bad[i] = static_cast<char>(bad[i] ^ 0x5a);
  }
  const std::string path = qxtest::write_temp(std::string("corrupt_") + GetParam() + ".3mf", bad);
  BaseTriMesh mesh;
  mesh.add_vCoord(Vector3f(1, 1, 1));
  ErrorLog log;
  EXPECT_EQ(read_3mf_mesh(path, mesh, true, true), kBaseReadCorrupt);
  EXPECT_EQ(mesh.get_vn(), 0u);
  EXPECT_TRUE(log.has_line_with(path));
}

INSTANTIATE_TEST_SUITE_P(Files, ThreeMfCorruptTest,
                         ::testing::Values("Empty", "NotZip", "HalfZip", "Scrambled"));

}  // namespace
}  // namespace Quorvex
