// Parts of the quorvex command linked in directly: the atomic writer, the path comparison
// at the edges a process test cannot reach or name exactly.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>

#include "CliSupport.h"
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

}  // namespace
}  // namespace QuorvexTool
