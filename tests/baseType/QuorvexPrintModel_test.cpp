#include "quorvex/baseType/QuorvexPrintModel.h"

#include <gtest/gtest.h>

#include <string>

#include "quorvex/baseTypeIO/GCode.h"
#include "quorvex/planeGeometry/BoundaryTransform.h"

namespace Quorvex {
namespace {

struct LoopBox {
  std::size_t points;
  float min_x, min_y, max_x, max_y;
};

// Point counts and boxes the model promises its callers.
const LoopBox kBoxes[] = {
    {5, 20, 62, 75, 70},
    {35, 67.627f, 63.633f, 71.213f, 68.484f},
    {58, 28.582f, 63.633f, 32.370f, 68.484f},
    {38, 47.972f, 63.633f, 51.959f, 68.484f},
    {39, 38.244f, 63.633f, 42.231f, 68.484f},
    {32, 68.692f, 63.899f, 70.482f, 68.212f},
    {83, 52.969f, 63.566f, 56.690f, 68.550f},
    {100, 23.918f, 63.566f, 27.240f, 68.550f},
    {146, 62.962f, 63.566f, 66.152f, 68.550f},
    {28, 34.044f, 63.633f, 36.702f, 68.484f},
    {28, 43.772f, 63.633f, 46.430f, 68.484f},
};

TEST(QuorvexPrintModel, OneLayerOfElevenClosedOuterLoops) {
  Entity e;
  e.add_layer(std::make_shared<Layer>());
  e.add_layer(std::make_shared<Layer>());
  e.set_platform_height(3.0f);
  QuorvexPrintModel::get_quorvex_entity(e);
  ASSERT_EQ(e.get_layer_size(), 1u);
  EXPECT_EQ(e.get_platform_height(), 3.0f);
  auto layer = e.get_layer(0);
  EXPECT_EQ(layer->get_z(), 0.0f);
  EXPECT_EQ(layer->get_id(), 0);
  EXPECT_EQ(layer->get_thickness(), 0.2f);
  ASSERT_EQ(layer->get_boundary_path_size(), 11u);
  EXPECT_EQ(layer->get_fill_path_size() + layer->get_extraShell_path_size() +
                layer->get_small_region_path_size() + layer->get_support_path_size() +
                layer->get_raft_path_size() + layer->get_thinWalledFill_path_size() +
                layer->get_sharpAngle_path_size(),
            0u);

  std::size_t total = 0;
  for (std::size_t i = 0; i < 11; ++i) {
    auto path = layer->get_boundary_path(i);
    SCOPED_TRACE(i);
    EXPECT_EQ(path->get_id(), static_cast<int>(i));
    EXPECT_EQ(path->get_type(), PATH_TYPE_OUTER);
    EXPECT_EQ(path->get_width(), 0.2f);
    EXPECT_EQ(path->get_z(), 0.0f);
    ASSERT_EQ(path->get_vn(), kBoxes[i].points);
    EXPECT_EQ(path->get_point(0).x, path->get_point(path->get_vn() - 1).x);
    EXPECT_EQ(path->get_point(0).y, path->get_point(path->get_vn() - 1).y);
    float x0, y0, x1, y1;
    get_boundary_bbox(path->get_points(), x0, y0, x1, y1);
    EXPECT_GE(x0, kBoxes[i].min_x);
    EXPECT_GE(y0, kBoxes[i].min_y);
    EXPECT_LE(x1, kBoxes[i].max_x);
    EXPECT_LE(y1, kBoxes[i].max_y);
    total += path->get_vn();
  }
  EXPECT_EQ(total, 592u);
  const Point2& first = layer->get_boundary_path(0)->get_point(0);
  EXPECT_EQ(first.x, 20.0f);
  EXPECT_EQ(first.y, 62.0f);
}

TEST(QuorvexPrintModel, BoundaryGCodeHas581MovesAndElevenTravels) {
  Entity e;
  QuorvexPrintModel::get_quorvex_entity(e);
  GCode g(4, {STRUCTURE_BOUNDARY});
  g.get_gcode_from_entity(e);
  ASSERT_EQ(g.get_outputs().size(), 1u);
  const std::string& text = g.get_outputs()[0];
  std::size_t moves = 0, travels = 0, pos = 0;
  while (pos < text.size()) {
    std::size_t end = text.find('\n', pos);
    const std::string line = text.substr(pos, end - pos);
    if (line.rfind("G1 X", 0) == 0) (line.find(" Z") != std::string::npos ? moves : travels)++;
    pos = end + 1;
  }
  EXPECT_EQ(moves, 581u);
  EXPECT_EQ(travels, 11u);
}

}  // namespace
}  // namespace Quorvex
