#pragma once

#include <memory>
#include <vector>

#include "quorvex/baseType/Layer.h"

namespace QuorvexTool {

// Settings of the per-layer chain the command runs on every slice.
struct LayerSettings {
  float line_width = 0.4f;        // width of every extruded line
  int shells = 2;                 // extra shells inside each region
  float infill_spacing = 2.0f;    // distance of neighbouring fill lines
  float infill_angle = 45.0f;     // direction of the fill lines, degrees
  float simplify_radius = 0.01f;  // tolerance of the shell simplification
};

// What the chain made of one slice, beside the layer itself.
struct LayerReport {
  std::size_t regions = 0;
  std::size_t shell_loops = 0;
  std::size_t fill_lines = 0;
  std::size_t refused_fills = 0;  // regions whose fill the library refused as too large
};

// Runs the chain on the closed loops of one slice: classify them into regions (even-odd),
// type the boundaries outer and inner, add `shells` inward offsets per region as extra
// shells, fill the innermost shells with connected lines, simplify the shells, number the
// regions. Paths carry a colour per point so the preview mesh can show them.
std::shared_ptr<Quorvex::Layer> build_layer(const std::vector<Quorvex::Point2Vector>& loops,
                                            const LayerSettings& settings, float z, float thickness,
                                            int id, LayerReport* report);

}  // namespace QuorvexTool
