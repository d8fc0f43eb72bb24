// Parts of the quorvex command linked in directly: the atomic writer and the layer grid, at
// the edges a process test cannot reach or name exactly.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
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
      {-big, big, 1000.0f, GridStatus::kTooManyLayers, 0},
      {0, inf, 0.2f, GridStatus::kNotFinite, 0},
      {0, nan, 0.2f, GridStatus::kNotFinite, 0},
  };
  for (const auto& r : rows) {
    SliceGrid grid;
    grid.layer_count = 99;
    const GridStatus status = make_slice_grid(mesh_between(r.lo, r.hi), r.layer_height, grid);
    EXPECT_EQ(status, r.status) << r.lo << ".." << r.hi << " by " << r.layer_height;
    EXPECT_EQ(grid.layer_count, r.layers) << r.lo << ".." << r.hi << " by " << r.layer_height;
  }
}

}  // namespace
}  // namespace QuorvexTool
