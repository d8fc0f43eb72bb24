// The quorvex command run as a process, judged by its files, its output and its exit status.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "support/Files.h"

namespace {

namespace fs = std::filesystem;

struct CliRun {
  int status = -1;
  std::string output;  // standard output and standard error together
};

CliRun run(const std::string& args) {
  CliRun r;
  FILE* pipe = popen((std::string("'") + QUORVEX_CLI + "' " + args + " 2>&1").c_str(), "r");
  if (!pipe) return r;
  char buf[4096];
  for (std::size_t n; (n = fread(buf, 1, sizeof buf, pipe)) > 0;) r.output.append(buf, n);
  const int raw = pclose(pipe);
  r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return r;
}

std::string read_file(const fs::path& p) { return qxtest::read_file(p.string()); }
std::string q(const fs::path& p) { return "'" + p.string() + "'"; }  // quoted for the shell
fs::path example(const char* name) { return fs::path(QUORVEX_SOURCE_DIR) / "examples" / name; }

std::size_t count(const std::string& text, const std::string& what) {
  std::size_t n = 0;
  for (auto p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) ++n;
  return n;
}

TEST(CliDemo, WritesFilesThatParse) {
  const fs::path dir = qxtest::fresh_dir("cli_demo");
  const CliRun r = run("demo --out " + q(dir));
  ASSERT_EQ(r.status, 0) << r.output;
  for (const char* f : {"demo.gcode", "demo.qxm", "demo.ply", "demo.svg"}) {
    EXPECT_NE(r.output.find((dir / f).string()), std::string::npos) << "summary names " << f;
  }
  // G-code: tags balance, and every move lies in the model's box plus a line width.
  const std::string gcode = read_file(dir / "demo.gcode");
  for (const char* tag : {"layer", "boundary", "extrashell", "fill"}) {
    EXPECT_EQ(count(gcode, std::string("(<") + tag), count(gcode, std::string("(</") + tag)) << tag;
  }
  EXPECT_TRUE(count(gcode, "(<fill>)") > 0 && count(gcode, "(<colour> ") > 0);
  const std::regex move(R"(G1 X(-?[0-9.]+) Y(-?[0-9.]+))");
  std::size_t moves = 0;
  for (auto it = std::sregex_iterator(gcode.begin(), gcode.end(), move);
       it != std::sregex_iterator(); ++it, ++moves) {
    const double x = std::stod((*it)[1]), y = std::stod((*it)[2]);
    EXPECT_TRUE(x >= 19.8 && x <= 75.2 && y >= 61.8 && y <= 70.2) << x << " " << y;
  }
  EXPECT_GT(moves, 581u);

  // PLY: binary little-endian with coloured vertices, and as many bytes as its header says.
  const std::string ply = read_file(dir / "demo.ply");
  const std::string header = ply.substr(0, ply.find("end_header\n") + 11);
  std::smatch m;
  ASSERT_TRUE(std::regex_match(
      header, m,
      std::regex("ply\nformat binary_little_endian 1.0\n[\\s\\S]*element vertex "
                 "(\\d+)\n[\\s\\S]*uchar red\n[\\s\\S]*element face (\\d+)\n[\\s\\S]*")));
  EXPECT_EQ(ply.size(), header.size() + std::stoul(m[1]) * 15 + std::stoul(m[2]) * 13);
  EXPECT_GT(std::stoul(m[1]), 0u);

  const std::string svg = read_file(dir / "demo.svg");
  EXPECT_EQ(svg.rfind("<?xml", 0), 0u);
  for (const char* part : {">boundary<", ">extra shell<", ">fill<", "</svg>"}) {
    EXPECT_NE(svg.find(part), std::string::npos) << part;
  }
}

// One model per reader; `gcode` re-emits the very G-code from the archive, `info` describes it.
TEST(CliSlice, ExamplesGiveTheExpectedLayersThroughSliceInfoAndGcode) {
  fs::path last;
  for (const auto& [model, layers] : {std::pair<const char*, int>{"calibration-cube.stl", 100},
                                      {"two-objects.3mf", 75},
                                      {"torus.obj", 50}}) {
    const fs::path dir = last = qxtest::fresh_dir(std::string("cli_slice_") + model);
    const CliRun r =
        run("slice " + q(example(model)) + " -o " + q(dir / "m.gcode") + " -q --threads 4");
    ASSERT_EQ(r.status, 0) << r.output;
    const std::string gcode = read_file(dir / "m.gcode");
    EXPECT_EQ(count(gcode, "(<layer> "), std::size_t(layers)) << model;
    EXPECT_GT(count(gcode, "(<fill>)"), 0u);
    const CliRun info = run("info " + q(dir / "m.qxm"));
    EXPECT_EQ(info.status, 0) << info.output;
    EXPECT_NE(info.output.find("layers        " + std::to_string(layers)), std::string::npos)
        << info.output;
    EXPECT_EQ(run("gcode " + q(dir / "m.qxm") + " -o " + q(dir / "again.gcode")).status, 0);
    EXPECT_TRUE(read_file(dir / "again.gcode") == gcode) << "re-emitted G-code differs";
  }
  // Whatever the thread count, the same files.
  const fs::path one = qxtest::fresh_dir("cli_one_thread");
  ASSERT_EQ(
      run("slice " + q(example("torus.obj")) + " -o " + q(one / "m.gcode") + " -q --threads 1")
          .status,
      0);
  EXPECT_EQ(read_file(one / "m.gcode"), read_file(last / "m.gcode"));
  EXPECT_EQ(read_file(one / "m.qxm"), read_file(last / "m.qxm"));
}

std::string tmp(const char* name) { return (fs::path(::testing::TempDir()) / name).string(); }

std::string make_file(const char* name, const std::string& bytes) {
  std::ofstream(tmp(name), std::ios::binary) << bytes;
  return q(tmp(name));
}

// Failures give one clear line and status 1 and leave no output behind; misuse gives the
// usage and status 2. An open mesh slices with a warning per layer.
TEST(CliStatus, OneClearLineAndTheStatus) {
  const std::string torus = q(example("torus.obj"));
  const struct {
    std::string args;
    int status;
    const char* message;
    std::string no_output;
  } rows[] = {
      {"slice /no/such/model.stl", 1, "/no/such/model.stl", ""},
      {"slice " + make_file("qx_model.txt", "hello"), 1, "unsupported", ""},
      {"slice " + make_file("qx_nofaces.obj", "v 0 0 0\nv 1 0 0\n") + " -o " +
           q(tmp("qx_nofaces.gcode")),
       1, "no faces", tmp("qx_nofaces.gcode")},
      {"slice " + make_file("qx_corrupt.stl", std::string(90, 'x')), 1, "qx_corrupt.stl", ""},
      {"slice " + torus + " -o /dev/null/x.gcode --quiet", 1, "/dev/null/x.gcode", ""},
      {"slice " + torus + " --layer-height -1", 2, "usage:", ""},
      {"slice " + torus + " --line-width 0", 2, "usage:", ""},
      {"slice " + torus + " --shells two", 2, "usage:", ""},
      {"gcode " + make_file("qx_cut.qxm", std::string("\0\0\0\0\0\0\0\0\5\0", 10)) + " -o " +
           q(tmp("qx_cut.gcode")),
       1, "qx_cut.qxm", tmp("qx_cut.gcode")},
      {"info " + make_file("qx_info.xyz", "1"), 1, "unsupported", ""},
      {"frobnicate", 2, "usage:", ""},
      {"slice -q " + make_file("qx_open.obj", "v 0 0 0\nv 10 0 0\nv 0 0 2\nf 1 2 3\n"), 0,
       "warning: layer 0", ""}};
  for (const auto& c : rows) {
    const CliRun r = run(c.args);
    EXPECT_EQ(r.status, c.status) << c.args << "\n" << r.output;
    EXPECT_NE(r.output.find(c.message), std::string::npos) << c.args << "\n" << r.output;
    if (c.status == 1) {
      EXPECT_EQ(count(r.output, "\n"), 1u) << c.args << "\n" << r.output;
    }
    if (!c.no_output.empty()) {
      EXPECT_FALSE(fs::exists(c.no_output) || fs::exists(c.no_output + ".part")) << c.no_output;
    }
  }
}

}  // namespace
