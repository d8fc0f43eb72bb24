#include "quorvex/baseTypeIO/GCode.h"

#include <gtest/gtest.h>

#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "quorvex/baseType/QuorvexPrintModel.h"
#include "quorvex/baseTypeIO/TextFileWriter.h"
#include "support/Files.h"
#include "support/ModelSamples.h"

namespace Quorvex {
namespace {

std::shared_ptr<Path> make_path(const std::vector<Point2>& pts, PathType type, float z = 0.2f) {
  return qxtest::make_path(pts, type, z);
}

std::string layer_text(const Layer& layer, std::vector<StructureType> seq, std::size_t decimals = 2,
                       bool colour = false) {
  GCode g(decimals, seq);
  g.set_assign_colour(colour);
  EXPECT_EQ(g.get_gcode_from_layer(layer), RETVAL_OK);
  EXPECT_EQ(g.get_outputs().size(), 1u);
  return g.get_outputs().empty() ? std::string() : g.get_outputs()[0];
}

std::size_t count(const std::string& text, const std::string& what) {
  std::size_t n = 0;
  for (std::size_t pos = text.find(what); pos != std::string::npos;
       pos = text.find(what, pos + 1)) {
    ++n;
  }
  return n;
}

TEST(GCode, DefaultSequenceGivesOnlyTheLayerLines) {
  Layer layer;
  layer.set_z(1.5f);
  layer.add_boundary_path(make_path({{0, 0}, {1, 0}}, PATH_TYPE_OUTER));
  layer.add_fill_path(make_path({{0, 0}, {1, 0}}, PATH_TYPE_FILL_SEGMENTS_0));
  GCode g;
  g.get_gcode_from_layer(layer);
  ASSERT_EQ(g.get_outputs().size(), 1u);
  EXPECT_EQ(g.get_outputs()[0], "(<layer> 1.5000)\n(</layer>)\n");
  EXPECT_EQ(g.get_decimal_place(), 4.0f);
}

TEST(GCode, FillPairsMatchTheWorkedExample) {
  Layer layer;
  layer.set_z(7.0f);  // the path's own height is emitted, not the layer's
  layer.add_fill_path(make_path({{0, 0}, {1, 0}, {1, 1}, {0, 1}}, PATH_TYPE_FILL_SEGMENTS_0, 0.2f));
  EXPECT_EQ(layer_text(layer, {STRUCTURE_FILL}),
            "(<layer> 7.00)\n(<fill>)\n"
            "M103\nG1 Z0.20\nG1 X0.00 Y0.00\nM101\n"
            "G1 X1.00 Y0.00 Z0.20\nM103\nG1 X1.00 Y1.00 Z0.20\nM101\n"
            "G1 X0.00 Y1.00 Z0.20\nM103\n(</fill>)\n(</layer>)\n");
}

// Per fill type: the text between the travel's "M101\n" and the final "M103\n".
TEST(GCode, FillWalksWriteTheStatedMoves) {
  const std::tuple<int, std::size_t, std::string> cases[] = {
      {3, 2, "G1 X1 Y0 Z1\n"},  // segments: pairs
      {4, 3, "G1 X1 Y0 Z1\nM103\nG1 X2 Y0 Z1\nM101\nG1 X2 Y0 Z1\n"},
      {6, 1, "G1 X0 Y0 Z1\n"},
      {8, 3, "G1 X1 Y0 Z1\nG1 X2 Y0 Z1\n"},  // polylines: every point
      {11, 2, "G1 X1 Y0 Z1\n"},
      {7, 3, ""},  // other fill and outer: the travel only
      {1, 3, ""}};
  const std::string head = "(<layer> 0)\n(<fill>)\nM103\nG1 Z1\nG1 X0 Y0\nM101\n";
  const std::string tail = "M103\n(</fill>)\n(</layer>)\n";
  for (const auto& [type, points, body] : cases) {
    std::vector<Point2> pts;
    for (std::size_t i = 0; i < points; ++i) pts.emplace_back(static_cast<float>(i), 0.0f);
    Layer layer;
    layer.set_z(0.0f);
    layer.add_fill_path(make_path(pts, static_cast<PathType>(type), 1.0f));
    EXPECT_EQ(layer_text(layer, {STRUCTURE_FILL}, 0), head + body + tail) << type;
  }
}

TEST(GCode, SequenceOrderRepeatsAndSkipsUnknownEntries) {
  Layer layer;
  layer.add_boundary_path(make_path({{0, 0}, {1, 0}}, PATH_TYPE_OUTER));
  layer.add_fill_path(make_path({{0, 0}, {1, 0}}, PATH_TYPE_FILL_POLYLINE_0));
  const std::string twice = layer_text(layer, {STRUCTURE_BOUNDARY, STRUCTURE_BOUNDARY});
  EXPECT_EQ(count(twice, "(<boundary outer>)"), 2u);
  const std::string fill_first =
      layer_text(layer, {STRUCTURE_FILL, static_cast<StructureType>(5), STRUCTURE_BOUNDARY});
  EXPECT_LT(fill_first.find("(<fill>)"), fill_first.find("(<boundary outer>)"));
  EXPECT_NE(fill_first.find("(<boundary outer>)"), std::string::npos);
}

// Opening, colour (none for rafts) and closing lines per structure and path type; every
// structure but the fill writes all points of a path of any type.
TEST(GCode, OpeningColourAndClosingLines) {
  const struct {
    StructureType structure;
    int type;
    const char *open, *colour, *close;
  } cases[] = {
      {STRUCTURE_BOUNDARY, 1, "(<boundary outer>)\n", "(<colour> black>)\n", "(</boundary>)\n"},
      {STRUCTURE_BOUNDARY, 2, "(<boundary inner>)\n", "(<colour> red>)\n", "(</boundary>)\n"},
      {STRUCTURE_BOUNDARY, 7, "(<boundary inner>)\n", "(<colour> red>)\n", "(</boundary>)\n"},
      {STRUCTURE_EXTRA_SHELL, 1, "(<extrashell outer>)\n", "(<colour> blue>)\n",
       "(</extrashell>)\n"},
      {STRUCTURE_EXTRA_SHELL, 0, "(<extrashell inner>)\n", "(<colour> blue>)\n",
       "(</extrashell>)\n"},
      {STRUCTURE_FILL, 8, "(<fill>)\n", "(<colour> green>)\n", "(</fill>)\n"},
      {STRUCTURE_SUPPORT, 25, "(<support top>)\n", "(<colour> orange>)\n", "(</support>)\n"},
      {STRUCTURE_SUPPORT, 26, "(<support middle>)\n", "(<colour> orange>)\n", "(</support>)\n"},
      {STRUCTURE_SUPPORT, 27, "(<support base>)\n", "(<colour> orange>)\n", "(</support>)\n"},
      {STRUCTURE_SUPPORT, 28, "(<support base surrounding>)\n", "(<colour> yellow>)\n",
       "(</support>)\n"},
      {STRUCTURE_SUPPORT, 29, "(<support base surrounding>)\n", "(<colour> orange>)\n",
       "(</support>)\n"},
      {STRUCTURE_RAFT, 30, "(<raft base>)\n", "", "(</raft>)\n"},
      {STRUCTURE_RAFT, 31, "(<raft first-interface>)\n", "", "(</raft>)\n"},
      {STRUCTURE_RAFT, 32, "(<raft second-interface>)\n", "", "(</raft>)\n"},
      {STRUCTURE_RAFT, 1, "(<raft base surrounding>)\n", "", "(</raft>)\n"}};
  const std::map<StructureType, void (Layer::*)(std::shared_ptr<Path>)> add = {
      {STRUCTURE_BOUNDARY, &Layer::add_boundary_path},
      {STRUCTURE_EXTRA_SHELL, &Layer::add_extraShell_path},
      {STRUCTURE_FILL, &Layer::add_fill_path},
      {STRUCTURE_SUPPORT, &Layer::add_support_path},
      {STRUCTURE_RAFT, &Layer::add_raft_path}};
  for (const auto& c : cases) {
    Layer layer;
    (layer.*add.at(c.structure))(make_path({{0, 0}, {1, 0}}, static_cast<PathType>(c.type)));
    const std::string walk = "M103\nG1 Z0.20\nG1 X0.00 Y0.00\nM101\nG1 X1.00 Y0.00 Z0.20\nM103\n";
    EXPECT_EQ(
        layer_text(layer, {c.structure}, 2, true),
        std::string("(<layer> -1.00)\n") + c.open + c.colour + walk + c.close + "(</layer>)\n")
        << c.open;
    EXPECT_EQ(layer_text(layer, {c.structure}, 2, false).find("(<colour> "), std::string::npos);
  }
}

TEST(GCode, PathWithoutPointsKeepsItsTagsAndTheWalkGoesOn) {
  Layer layer;
  auto empty = std::make_shared<Path>();
  empty->set_type(PATH_TYPE_OUTER);
  layer.add_boundary_path(empty);
  layer.add_boundary_path(make_path({}, PATH_TYPE_OUTER));
  layer.add_boundary_path(make_path({{0, 0}, {1, 0}}, PATH_TYPE_OUTER));
  const std::string text = layer_text(layer, {STRUCTURE_BOUNDARY}, 2, true);
  EXPECT_NE(text.find("(<boundary outer>)\n(<colour> black>)\n(</boundary>)\n(<boundary outer>)\n"
                      "(<colour> black>)\n(</boundary>)\n"),
            std::string::npos);
  EXPECT_EQ(count(text, "M101\n"), 1u);
}

TEST(GCode, TailsFromTheSecondPointOnAtThePathHeight) {
  Layer layer;
  auto p = make_path({{0, 0}, {1, 0}}, PATH_TYPE_OUTER, 3.0f);
  auto ext = std::make_shared<ExtendPathComponent>();
  ext->set_tails(std::make_shared<Point2Vector>(Point2Vector{{5, 5}, {6, 6}, {7, 7}}));
  ext->set_heads(std::make_shared<Point2Vector>(Point2Vector{{-1, -1}}));
  p->set_extend_path_component(ext);
  layer.add_boundary_path(p);
  const std::string text = layer_text(layer, {STRUCTURE_BOUNDARY}, 0);
  EXPECT_NE(text.find("G1 X1 Y0 Z3\nG1 X6 Y6 Z3\nG1 X7 Y7 Z3\nM103\n"), std::string::npos);
  EXPECT_EQ(text.find("X5 "), std::string::npos);
  EXPECT_EQ(text.find("X-1 "), std::string::npos);
  ext->set_tails(std::make_shared<Point2Vector>(Point2Vector{{5, 5}}));
  const std::string one = layer_text(layer, {STRUCTURE_BOUNDARY}, 0);
  EXPECT_NE(one.find("G1 X1 Y0 Z3\nM103\n"), std::string::npos);
}

TEST(GCode, DecimalPlaceIsTruncatedAndNeverNegative) {
  GCode g;
  g.set_decimal_place(2.9f);
  EXPECT_EQ(g.get_decimal_place(), 2.0f);
  g.set_decimal_place(-3.0f);
  EXPECT_EQ(g.get_decimal_place(), 0.0f);
  g.set_decimal_place(1e20f);  // beyond any count: the largest, and no undefined conversion
  EXPECT_EQ(g.get_decimal_place(), static_cast<float>(std::numeric_limits<std::size_t>::max()));
}

TEST(GCode, EntityGivesOneOutputPerLayerAndStartsOver) {
  Entity e;
  QuorvexPrintModel::get_quorvex_entity(e);
  e.add_layer(std::make_shared<Layer>());
  GCode g(4, {STRUCTURE_BOUNDARY});
  g.get_gcode_from_entity(e);
  EXPECT_EQ(g.get_outputs().size(), 2u);
  g.get_gcode_from_entity(e);
  EXPECT_EQ(g.get_outputs().size(), 2u);
  g.get_gcode_from_entity(Entity());
  EXPECT_TRUE(g.get_outputs().empty());
}

using qxtest::read_file;

// Files are replaced, lists joined without separator; a missing folder fails and creates
// nothing; a layer and a one-layer entity give the same bytes.
TEST(TextFileWriter, WritesReplacesAndFails) {
  const std::string dir = qxtest::fresh_dir("writer");
  EXPECT_EQ(write_common_file(dir + "/out.txt", std::string("first text\n")), RETVAL_OK);
  EXPECT_EQ(write_common_file(dir + "/out.txt", std::vector<std::string>{"a", "b"}), RETVAL_OK);
  EXPECT_EQ(read_file(dir + "/out.txt"), "ab");
  Entity e;
  QuorvexPrintModel::get_quorvex_entity(e);
  ASSERT_EQ(write_gcode(dir + "/e.gcode", e, 3, {STRUCTURE_BOUNDARY}, false), RETVAL_OK);
  ASSERT_EQ(write_gcode(dir + "/l.gcode", *e.get_layer(0), 3, {STRUCTURE_BOUNDARY}), RETVAL_OK);
  EXPECT_EQ(read_file(dir + "/e.gcode"), read_file(dir + "/l.gcode"));
  EXPECT_FALSE(read_file(dir + "/e.gcode").empty());
  ASSERT_EQ(write_gcode(dir + "/e.gcode", Entity(), 3, {STRUCTURE_BOUNDARY}, false), RETVAL_OK);
  EXPECT_EQ(read_file(dir + "/e.gcode"), "");
  const std::string missing = dir + "/no_such_folder";
  EXPECT_EQ(write_common_file(missing + "/x.txt", std::string("x")), RETVAL_FAILED);
  EXPECT_EQ(write_gcode(missing + "/x.gcode", e, 4, {STRUCTURE_BOUNDARY}, false), RETVAL_FAILED);
  EXPECT_EQ(write_gcode(missing + "/x.gcode", *e.get_layer(0), 4, {STRUCTURE_BOUNDARY}),
            RETVAL_FAILED);
  EXPECT_FALSE(std::ifstream(missing).is_open());
}

}  // namespace
}  // namespace Quorvex
