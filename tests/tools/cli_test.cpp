// The quorvex command run as a process, judged by its files, its output and its exit status.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

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

// A closed box of sx by sy by sz mm as ASCII STL, its top far corner written as `corner`
// when given: "10 10 nan" or "1e12 10 10" make inputs the library cannot take.
std::string box_stl(double sx, double sy, double sz, const std::string& corner = "") {
  auto xyz = [](double x, double y, double z) {
    char buf[96];
    std::snprintf(buf, sizeof buf, "%g %g %g", x, y, z);
    return std::string(buf);
  };
  const std::string v[8] = {xyz(0, 0, 0),
                            xyz(sx, 0, 0),
                            xyz(sx, sy, 0),
                            xyz(0, sy, 0),
                            xyz(0, 0, sz),
                            xyz(sx, 0, sz),
                            corner.empty() ? xyz(sx, sy, sz) : corner,
                            xyz(0, sy, sz)};
  const int faces[12][3] = {{0, 2, 1}, {0, 3, 2}, {4, 5, 6}, {4, 6, 7}, {0, 1, 5}, {0, 5, 4},
                            {1, 2, 6}, {1, 6, 5}, {2, 3, 7}, {2, 7, 6}, {3, 0, 4}, {3, 4, 7}};
  std::string stl = "solid box\n";
  for (const auto& f : faces) {
    stl += " facet normal 0 0 0\n  outer loop\n";
    for (int k : f) stl += "   vertex " + v[k] + "\n";
    stl += "  endloop\n endfacet\n";
  }
  return stl + "endsolid box\n";
}

std::string cube_stl(const std::string& corner = "") { return box_stl(10, 10, 10, corner); }

std::vector<std::string> files_in(const fs::path& dir) {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

// Inputs the library throws on or that would need absurd memory: one line naming the model
// (and the layer where the chain failed), status 1, no abort, and no output nor temporary
// left beside the model, on one thread and on several.
TEST(CliSlice, InputsTheChainCannotTakeFailWithOneLineAndNoFiles) {
  const struct {
    const char* name;
    std::string stl;
    std::string options;
    std::vector<const char*> messages;
  } rows[] = {
      {"far",
       cube_stl("1e12 10 10"),
       "",
       {"layer 23 (z 4.7): Coordinate outside allowed range"}},  // the lowest failing layer
      {"nanz", cube_stl("10 10 nan"), "", {"vertex 6 (10 10 nan) is not a finite point"}},
      {"nanx", cube_stl("nan 10 10"), "", {"vertex 6 (nan 10 10) is not a finite point"}},
      {"infz", cube_stl("10 10 inf"), "", {"is not a finite point"}},
      {"tall", cube_stl("10 10 1e30"), "", {"need more than 1000000 layers"}},
      {"fine", cube_stl(), "--layer-height 1e-9", {"heights 0 to 10 at 1e-09 mm", "1000000"}},
  };
  for (const auto& c : rows) {
    for (const char* threads : {"1", "3"}) {
      const fs::path dir = qxtest::fresh_dir(std::string("cli_unsliceable_") + c.name);
      const fs::path model = dir / (std::string(c.name) + ".stl");
      std::ofstream(model, std::ios::binary) << c.stl;
      const CliRun r = run("slice " + q(model) + " -o " + q(dir / "m.gcode") + " --preview " +
                           q(dir / "m.html") + " --threads " + threads + " " + c.options);
      const std::string what = std::string(c.name) + " on " + threads + " threads\n" + r.output;
      EXPECT_EQ(r.status, 1) << what;
      EXPECT_EQ(count(r.output, "\n"), 1u) << what;
      EXPECT_EQ(r.output.rfind("quorvex: cannot slice '" + model.string() + "': ", 0), 0u) << what;
      for (const char* m : c.messages) EXPECT_NE(r.output.find(m), std::string::npos) << what;
      EXPECT_EQ(files_in(dir), std::vector<std::string>{model.filename().string()}) << what;
    }
  }
}

// Values that would reach the chain as no length, or a length it cannot use, are misuse:
// checked as the float the chain sees, so a tiny value that narrows to zero is refused too.
// An option without its value says so; outputs that are one file, or the model itself,
// are refused before anything is read or written.
TEST(CliStatus, MisuseIsNamedAndWritesNothing) {
  const fs::path dir = qxtest::fresh_dir("cli_misuse");
  const fs::path model = dir / "c.stl";
  std::ofstream(model, std::ios::binary) << cube_stl();
  fs::create_directory_symlink(dir, dir / "link");
  const std::string m = q(model), d = dir.string();
  std::ofstream(dir / "c.qxm") << "kept";  // an older archive that must survive
  const struct {
    std::string args;
    const char* message;
  } rows[] = {
      {"slice " + m + " --layer-height 1e-50", "--layer-height needs a positive number"},
      {"slice " + m + " --layer-height 1e-40", "--layer-height needs"},  // below normal floats
      {"slice " + m + " --layer-height 0", "--layer-height needs"},
      {"slice " + m + " --layer-height 1e300", "--layer-height needs"},
      {"slice " + m + " --layer-height nan", "--layer-height needs"},
      {"slice " + m + " --line-width 1e-50", "--line-width needs"},
      {"slice " + m + " --line-width inf", "--line-width needs"},
      {"slice " + m + " --infill-spacing 1e-50", "--infill-spacing needs a number of mm from 0.01"},
      {"slice " + m + " --infill-spacing 0.001", "--infill-spacing needs"},
      {"slice " + m + " --infill-spacing 1e7", "--infill-spacing needs"},
      {"slice " + m + " -o", "-o needs a value"},
      {"slice " + m + " --preview", "--preview needs a value"},
      {"gcode " + q(dir / "c.qxm") + " -o", "-o needs a value"},
      {"gcode " + q(dir / "c.qxm") + " --output", "--output needs a value"},
      {"gcode " + q(dir / "c.qxm") + " -o " + q(dir / "link" / "c.qxm"),
       "the G-code would overwrite the archive"},
      {"demo --out", "--out needs a value"},
      {"slice " + m + " -o " + q(dir / "c.qxm"),
       "the G-code and the archive would be the same file"},
      {"slice " + m + " -o " + q(dir / "c.ply"),
       "the G-code and the preview mesh would be the same file"},
      {"slice " + m + " --preview " + q(dir / "c.gcode"),
       "the G-code and the preview page would be the same file"},
      {"slice " + m + " --preview " + q(dir / "link" / "c.qxm"),
       "the archive and the preview page would be the same file"},
      {"slice " + m + " -o " + q(dir / "x.gcode") + " --preview " + q(dir / "sub/../x.ply"),
       "the preview mesh and the preview page would be the same file"},
      {"slice " + m + " -o " + m, "the G-code would overwrite the model"},
      {"slice " + q(dir / "c.obj") + " -o " + q(dir / "c.obj.gcode") + " --preview " +
           q(dir / "c.obj"),
       "the preview page would overwrite the model"},
  };
  for (const auto& c : rows) {
    const CliRun r = run(c.args);
    EXPECT_EQ(r.status, 2) << c.args << "\n" << r.output;
    EXPECT_NE(r.output.find(c.message), std::string::npos) << c.args << "\n" << r.output;
    EXPECT_NE(r.output.find("usage:"), std::string::npos) << c.args << "\n" << r.output;
  }
  EXPECT_EQ(files_in(dir), (std::vector<std::string>{"c.qxm", "c.stl", "link"}));
  EXPECT_EQ(read_file(dir / "c.qxm"), "kept");
  EXPECT_EQ(read_file(model), cube_stl());
  // The smallest allowed values still slice, and distinct outputs beside each other are fine.
  const CliRun ok = run("slice " + m + " -q --layer-height 5 --line-width 1e-3 --infill-spacing " +
                        "0.01 --preview " + q(dir / "c.html"));
  EXPECT_EQ(ok.status, 0) << ok.output;
  EXPECT_NE(read_file(dir / "c.qxm"), "kept");
}

// A region too wide for the fill at its spacing is sliced without fill, and said so.
TEST(CliSlice, ARefusedFillIsAWarning) {
  const fs::path dir = qxtest::fresh_dir("cli_refused_fill");
  // 20 m across at 0.01 mm is two million lines, past what the fill takes in one region.
  std::ofstream(dir / "wide.stl", std::ios::binary) << box_stl(20000, 20000, 1);
  const CliRun r =
      run("slice " + q(dir / "wide.stl") + " -q --shells 0 --layer-height 1 --infill-spacing 0.01");
  EXPECT_EQ(r.status, 0) << r.output;
  EXPECT_NE(r.output.find("warning: 1 layer has a region the fill refused"), std::string::npos)
      << r.output;
  EXPECT_EQ(count(read_file(dir / "wide.gcode"), "(<fill>)"), 0u);
}

}  // namespace
