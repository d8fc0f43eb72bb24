// The quorvex command run as its users run it: as a process, judged by its files, its
// output and its exit status.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/ModelArchive.h"
#include "support/Files.h"

namespace {

namespace fs = std::filesystem;

struct CliRun {
  int status = -1;
  std::string output;  // standard output and standard error together
};

CliRun run(const std::string& args) {
  const std::string command = std::string("'") + QUORVEX_CLI + "' " + args + " 2>&1";
  CliRun r;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return r;
  std::array<char, 4096> buf;
  std::size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), pipe)) > 0) r.output.append(buf.data(), n);
  const int raw = pclose(pipe);
  r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return r;
}

std::string read_file(const fs::path& p) { return qxtest::read_file(p.string()); }

fs::path fresh_dir(const std::string& name) { return qxtest::fresh_dir("cli_" + name); }

std::size_t count(const std::string& text, const std::string& what) {
  std::size_t n = 0;
  for (auto p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) ++n;
  return n;
}

std::size_t lines(const std::string& text) { return count(text, "\n"); }

fs::path example(const char* name) { return fs::path(QUORVEX_SOURCE_DIR) / "examples" / name; }

TEST(CliDemo, WritesFilesThatParse) {
  const fs::path dir = fresh_dir("demo");
  const CliRun r = run("demo --out '" + dir.string() + "'");
  ASSERT_EQ(r.status, 0) << r.output;
  for (const char* f : {"demo.gcode", "demo.qxm", "demo.ply", "demo.svg"}) {
    EXPECT_TRUE(fs::exists(dir / f)) << f;
    EXPECT_NE(r.output.find((dir / f).string()), std::string::npos) << "summary names " << f;
  }

  // G-code: tags balance, and every move lies in the model's box plus a line width.
  const std::string gcode = read_file(dir / "demo.gcode");
  EXPECT_EQ(count(gcode, "(<layer> "), count(gcode, "(</layer>)"));
  EXPECT_EQ(count(gcode, "(<boundary "), count(gcode, "(</boundary>)"));
  EXPECT_EQ(count(gcode, "(<extrashell "), count(gcode, "(</extrashell>)"));
  EXPECT_EQ(count(gcode, "(<fill>)"), count(gcode, "(</fill>)"));
  EXPECT_GT(count(gcode, "(<fill>)"), 0u);
  EXPECT_GT(count(gcode, "(<colour> "), 0u);
  const std::regex move(R"(G1 X(-?[0-9.]+) Y(-?[0-9.]+))");
  std::size_t moves = 0;
  for (auto it = std::sregex_iterator(gcode.begin(), gcode.end(), move);
       it != std::sregex_iterator(); ++it) {
    const double x = std::stod((*it)[1]), y = std::stod((*it)[2]);
    EXPECT_GE(x, 20.0 - 0.2);
    EXPECT_LE(x, 75.0 + 0.2);
    EXPECT_GE(y, 62.0 - 0.2);
    EXPECT_LE(y, 70.0 + 0.2);
    ++moves;
  }
  EXPECT_GT(moves, 581u);

  // The archive reads back to the counts of the G-code.
  Quorvex::Entity entity;
  std::ifstream archive(dir / "demo.qxm", std::ios::binary);
  archive >> entity;
  ASSERT_TRUE(archive.good() || archive.eof());
  ASSERT_EQ(entity.get_layer_size(), 1u);
  const auto layer = entity.get_layer(0);
  EXPECT_EQ(layer->get_boundary_path_size(), count(gcode, "(<boundary "));
  EXPECT_EQ(layer->get_extraShell_path_size(), count(gcode, "(<extrashell "));
  EXPECT_EQ(layer->get_fill_path_size(), count(gcode, "(<fill>)"));

  // PLY: a binary little-endian header with coloured vertices, and as many bytes as it says.
  const std::string ply = read_file(dir / "demo.ply");
  ASSERT_EQ(ply.rfind("ply\nformat binary_little_endian 1.0\n", 0), 0u);
  const auto end = ply.find("end_header\n");
  ASSERT_NE(end, std::string::npos);
  std::smatch m;
  const std::string header = ply.substr(0, end);
  ASSERT_TRUE(std::regex_search(header, m, std::regex(R"(element vertex (\d+))")));
  const std::size_t vn = std::stoul(m[1]);
  ASSERT_TRUE(std::regex_search(header, m, std::regex(R"(element face (\d+))")));
  const std::size_t fn = std::stoul(m[1]);
  EXPECT_NE(header.find("property uchar red"), std::string::npos);
  EXPECT_GT(vn, 0u);
  EXPECT_EQ(ply.size(), end + 11 + vn * 15 + fn * 13);

  const std::string svg = read_file(dir / "demo.svg");
  EXPECT_EQ(svg.rfind("<?xml", 0), 0u);
  EXPECT_NE(svg.find("</svg>"), std::string::npos);
  for (const char* legend : {">boundary<", ">extra shell<", ">fill<"}) {
    EXPECT_NE(svg.find(legend), std::string::npos) << legend;
  }
}

struct SliceCase {
  const char* model;
  std::size_t layers;
};

class CliSliceExamples : public ::testing::TestWithParam<SliceCase> {};

TEST_P(CliSliceExamples, GivesTheExpectedLayers) {
  const fs::path dir = fresh_dir(std::string("slice_") + GetParam().model);
  const fs::path out = dir / "model.gcode";
  const CliRun r =
      run("slice '" + example(GetParam().model).string() + "' -o '" + out.string() + "' --quiet");
  ASSERT_EQ(r.status, 0) << r.output;
  const std::string gcode = read_file(out);
  EXPECT_EQ(count(gcode, "(<layer> "), GetParam().layers);
  EXPECT_EQ(count(gcode, "(<layer> "), count(gcode, "(</layer>)"));
  EXPECT_GT(count(gcode, "(<fill>)"), 0u);
  EXPECT_TRUE(fs::exists(dir / "model.qxm"));
  EXPECT_TRUE(fs::exists(dir / "model.ply"));

  // The archive is what `gcode` re-emits and `info` describes.
  const CliRun info = run("info '" + (dir / "model.qxm").string() + "'");
  EXPECT_EQ(info.status, 0) << info.output;
  EXPECT_NE(info.output.find("layers        " + std::to_string(GetParam().layers)),
            std::string::npos)
      << info.output;
  const CliRun again = run("gcode '" + (dir / "model.qxm").string() + "' -o '" +
                           (dir / "again.gcode").string() + "'");
  EXPECT_EQ(again.status, 0) << again.output;
  EXPECT_EQ(count(read_file(dir / "again.gcode"), "(<layer> "), GetParam().layers);
}

INSTANTIATE_TEST_SUITE_P(Examples, CliSliceExamples,
                         ::testing::Values(SliceCase{"calibration-cube.stl", 100},
                                           SliceCase{"torus.obj", 50},
                                           SliceCase{"two-objects.3mf", 75}));

TEST(CliSlice, SameOutputWhateverTheThreadCount) {
  const fs::path dir = fresh_dir("threads");
  const std::string model = example("torus.obj").string();
  ASSERT_EQ(
      run("slice '" + model + "' -o '" + (dir / "one.gcode").string() + "' --threads 1 --quiet")
          .status,
      0);
  ASSERT_EQ(
      run("slice '" + model + "' -o '" + (dir / "four.gcode").string() + "' --threads 4 --quiet")
          .status,
      0);
  EXPECT_EQ(read_file(dir / "one.gcode"), read_file(dir / "four.gcode"));
  EXPECT_EQ(read_file(dir / "one.qxm"), read_file(dir / "four.qxm"));
}

TEST(CliSlice, OpenMeshStillSlicesWithAWarningPerLayer) {
  const fs::path dir = fresh_dir("open");
  // A box with its top face missing: every layer cuts closed loops except none; a box
  // with one side wall missing leaves open chains on the layers it spans.
  std::ofstream obj(dir / "open.obj");
  obj << "v 0 0 0\nv 10 0 0\nv 10 10 0\nv 0 10 0\nv 0 0 2\nv 10 0 2\nv 10 10 2\nv 0 10 2\n"
         "f 1 3 2\nf 1 4 3\nf 5 6 7\nf 5 7 8\nf 1 2 6\nf 1 6 5\nf 2 3 7\nf 2 7 6\n"
         "f 3 4 8\nf 3 8 7\n";  // the wall at x = 0 is missing
  obj.close();
  const CliRun r = run("slice '" + (dir / "open.obj").string() + "' --quiet");
  EXPECT_EQ(r.status, 0) << r.output;
  EXPECT_NE(r.output.find("warning: layer 0"), std::string::npos) << r.output;
  EXPECT_TRUE(fs::exists(dir / "open.gcode"));
}

struct ErrorCase {
  const char* name;
  std::string args;
  int status;
  const char* message;    // part of the one error line
  std::string no_output;  // a file that must not be left behind, or ""
};

void PrintTo(const ErrorCase& c, std::ostream* os) { *os << c.name; }
void PrintTo(const SliceCase& c, std::ostream* os) { *os << c.model; }

class CliErrors : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(CliErrors, OneClearLineAndTheStatus) {
  const ErrorCase& c = GetParam();
  const CliRun r = run(c.args);
  EXPECT_EQ(r.status, c.status) << r.output;
  EXPECT_NE(r.output.find(c.message), std::string::npos) << r.output;
  if (c.status == 1) {
    EXPECT_EQ(lines(r.output), 1u) << r.output;
  }
  if (!c.no_output.empty()) {
    EXPECT_FALSE(fs::exists(c.no_output)) << c.no_output;
    EXPECT_FALSE(fs::exists(c.no_output + ".part")) << c.no_output;
  }
}

std::string tmp(const char* name) { return (fs::path(::testing::TempDir()) / name).string(); }

std::string make_file(const char* name, const std::string& bytes) {
  const std::string p = tmp(name);
  std::ofstream(p, std::ios::binary) << bytes;
  return p;
}

INSTANTIATE_TEST_SUITE_P(
    Table, CliErrors,
    ::testing::Values(
        ErrorCase{"MissingModel", "slice /no/such/model.stl", 1, "/no/such/model.stl", ""},
        ErrorCase{"UnsupportedExtension", "slice '" + make_file("qx_model.txt", "hello") + "'", 1,
                  "unsupported", ""},
        ErrorCase{"MeshWithoutFaces",
                  "slice '" + make_file("qx_nofaces.obj", "v 0 0 0\nv 1 0 0\n") + "' -o '" +
                      tmp("qx_nofaces.gcode") + "'",
                  1, "no faces", tmp("qx_nofaces.gcode")},
        ErrorCase{"CorruptStl", "slice '" + make_file("qx_corrupt.stl", std::string(90, 'x')) + "'",
                  1, "qx_corrupt.stl", ""},
        ErrorCase{"UnwritableOutput",
                  "slice '" + example("torus.obj").string() + "' -o /dev/null/x.gcode --quiet", 1,
                  "/dev/null/x.gcode", ""},
        ErrorCase{"NegativeLayerHeight",
                  "slice '" + example("torus.obj").string() + "' --layer-height -1", 2,
                  "usage:", ""},
        ErrorCase{"ZeroLineWidth", "slice '" + example("torus.obj").string() + "' --line-width 0",
                  2, "usage:", ""},
        ErrorCase{"NotANumber", "slice '" + example("torus.obj").string() + "' --shells two", 2,
                  "usage:", ""},
        ErrorCase{"TruncatedArchive",
                  "gcode '" + make_file("qx_cut.qxm", std::string("\0\0\0\0\0\0\0\0\5\0", 10)) +
                      "' -o '" + tmp("qx_cut.gcode") + "'",
                  1, "qx_cut.qxm", tmp("qx_cut.gcode")},
        ErrorCase{"InfoUnknownType", "info '" + make_file("qx_info.xyz", "1") + "'", 1,
                  "unsupported", ""},
        ErrorCase{"UnknownCommand", "frobnicate", 2, "usage:", ""}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
