// Parts of the quorvex command linked in directly: the atomic writer, the path comparison
// and the layer grid, at the edges a process test cannot reach or name exactly.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "CliSupport.h"
#include "MeshSlicer.h"
#include "support/Files.h"

namespace QuorvexTool {
namespace {

namespace fs = std::filesystem;

// A writer that throws half way: the target keeps its old content, no temporary stays.
TEST(WriteFileAtomically, AWriterThatThrowsLeavesTheOldFileAndNoTemporary) {
  const fs::path dir = qxtest::fresh_dir("atomic_throw");
  const std::string target = (dir / "out.gcode").string();
  std::ofstream(target) << "old";
  struct Case {
    const char* name;
    std::function<void(std::ostream&)> write;
    const char* error;
  };
  const Case cases[] = {
      {"runtime_error",
       [](std::ostream& out) {
         out << "partial";
         throw std::runtime_error("Coordinate outside allowed range");
       },
       "Coordinate outside allowed range"},
      {"bad_alloc",
       [](std::ostream& out) {
         out << "partial";
         throw std::bad_alloc();
       },
       "bad_alloc"},
      {"not an exception class",
       [](std::ostream& out) {
         out << "partial";
         throw 7;
       },
       "unexpected failure"},
  };
  for (const Case& c : cases) {
    std::string error;
    EXPECT_FALSE(write_file_atomically(target, c.write, error)) << c.name;
    EXPECT_NE(error.find(c.error), std::string::npos) << c.name << ": " << error;
    EXPECT_EQ(qxtest::read_file(target), "old") << c.name;
    EXPECT_FALSE(fs::exists(target + ".part")) << c.name;
  }
  // And a writer that does not throw still replaces it.
  std::string error;
  EXPECT_TRUE(write_file_atomically(target, std::string("new"), error)) << error;
  EXPECT_EQ(qxtest::read_file(target), "new");
}

TEST(SameFile, NamesOfOneFileMatchAndOthersDoNot) {
  const fs::path dir = qxtest::fresh_dir("same_file");
  fs::create_directories(dir / "sub");
  std::ofstream(dir / "a.gcode") << "x";
  fs::create_hard_link(dir / "a.gcode", dir / "hard.gcode");
  fs::create_directory_symlink(dir, dir / "link");
  const std::string d = dir.string();
  const struct {
    std::string a, b;
    bool same;
  } rows[] = {
      {d + "/a.gcode", d + "/a.gcode", true},
      {d + "/a.gcode", d + "/./sub/../a.gcode", true},
      {d + "/a.gcode", d + "/link/a.gcode", true},
      {d + "/a.gcode", d + "/hard.gcode", true},
      {d + "/none.qxm", d + "/sub/../none.qxm", true},  // neither exists yet
      {d + "/none.qxm", d + "/link/none.qxm", true},
      {d + "/a.gcode", d + "/a.qxm", false},
      {d + "/a.gcode", d + "/sub/a.gcode", false},
      {d + "/none.qxm", d + "/none.ply", false},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(same_file(r.a, r.b), r.same) << r.a << " vs " << r.b;
    EXPECT_EQ(same_file(r.b, r.a), r.same) << r.b << " vs " << r.a;
  }
  // A relative name against the absolute one.
  const fs::path cwd = fs::current_path();
  fs::current_path(dir);
  EXPECT_TRUE(same_file("a.gcode", d + "/a.gcode"));
  EXPECT_TRUE(same_file("new.ply", d + "/new.ply"));
  fs::current_path(cwd);
}

// Two triangles spanning the heights lo..hi (the grid reads heights only).
Quorvex::BaseTriMesh mesh_between(float lo, float hi) {
  Quorvex::BaseTriMesh mesh;
  mesh.set_vCoords({Quorvex::Vector3f(0, 0, lo), Quorvex::Vector3f(10, 0, lo),
                    Quorvex::Vector3f(0, 10, hi), Quorvex::Vector3f(10, 10, hi)});
  mesh.set_faces({Quorvex::BaseTriFace(0, 1, 2), Quorvex::BaseTriFace(1, 3, 2)});
  return mesh;
}

TEST(MakeSliceGrid, RefusesHeightsThatAreNotFiniteOrNeedTooManyLayers) {
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float big = std::numeric_limits<float>::max();
  const struct {
    float lo, hi, layer_height;
    GridStatus status;
    std::size_t layers;
  } rows[] = {
      {0, 10, 0.2f, GridStatus::kOk, 50},
      {0, 0, 0.2f, GridStatus::kOk, 1},              // flat: one cut through its middle
      {0, 1e6f, 1.0f, GridStatus::kOk, kMaxLayers},  // the cap itself is allowed
      {0, 1e6f + 1, 1.0f, GridStatus::kTooManyLayers, 0},
      {0, 10, 1e-9f, GridStatus::kTooManyLayers, 0},  // mistyped layer height
      {0, 1e30f, 0.2f, GridStatus::kTooManyLayers, 0},
      {-big, big, 1000.0f, GridStatus::kTooManyLayers, 0},
      {-big, big, std::numeric_limits<float>::min(), GridStatus::kTooManyLayers, 0},
      {0, inf, 0.2f, GridStatus::kNotFinite, 0},
      {-inf, 0, 0.2f, GridStatus::kNotFinite, 0},
      {0, nan, 0.2f, GridStatus::kNotFinite, 0},
      {nan, 10, 0.2f, GridStatus::kNotFinite, 0},
  };
  for (const auto& r : rows) {
    SliceGrid grid;
    grid.layer_count = 99;
    const GridStatus status = make_slice_grid(mesh_between(r.lo, r.hi), r.layer_height, grid);
    EXPECT_EQ(status, r.status) << r.lo << ".." << r.hi << " by " << r.layer_height;
    EXPECT_EQ(grid.layer_count, r.layers) << r.lo << ".." << r.hi << " by " << r.layer_height;
  }
}

TEST(FirstNonFiniteVertex, FindsAnyCoordinate) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  Quorvex::BaseTriMesh mesh = mesh_between(0, 10);
  EXPECT_EQ(first_non_finite_vertex(mesh), 4u);
  for (int axis = 0; axis < 3; ++axis) {
    for (float bad : {nan, inf, -inf}) {
      Quorvex::BaseTriMesh m = mesh_between(0, 10);
      std::vector<Quorvex::Vector3f> coords = m.get_vCoords();
      coords[2][axis] = bad;
      m.set_vCoords(coords);
      EXPECT_EQ(first_non_finite_vertex(m), 2u) << "axis " << axis << " value " << bad;
    }
  }
}

}  // namespace
}  // namespace QuorvexTool
