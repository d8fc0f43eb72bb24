#include "LayerPipeline.h"

#include <cmath>

#include "quorvex/fill/FillLine.h"
#include "quorvex/planeGeometry/LoopPredicates.h"
#include "quorvex/quorvex.h"

namespace QuorvexTool {

using namespace Quorvex;

namespace {

const Color3f kOuterColour(0.10f, 0.10f, 0.12f);
const Color3f kInnerColour(0.80f, 0.15f, 0.15f);
const Color3f kShellColour(0.15f, 0.35f, 0.85f);
const Color3f kFillColour(0.20f, 0.65f, 0.30f);

std::shared_ptr<Path> make_path(std::shared_ptr<Point2Vector> points, PathType type, float z,
                                float width, const Color3f& colour) {
  auto path = std::make_shared<Path>();
  path->set_points(points);
  path->set_type(type);
  path->set_z(z);
  path->set_width(width);
  path->set_colors(std::make_shared<ColorVector>(points->size(), colour));
  return path;
}

std::vector<std::shared_ptr<Point2Vector const>> const_loops(
    const std::vector<std::shared_ptr<Point2Vector>>& loops) {
  return ptr_vector_to_const_ptr_vector(loops);
}

// Inward offset of a region (outer loop and holes together) by `distance`.
std::vector<std::shared_ptr<Point2Vector>> inset(
    const std::vector<std::shared_ptr<Point2Vector>>& region, float distance) {
  Clipper clipper;
  clipper.add_paths(const_loops(region), ptSubject);
  std::vector<std::shared_ptr<Point2Vector>> out;
  if (clipper.offset(-distance, jtMiter, etClosedPolygon, 2.0f, 0.0f, true) != RETVAL_OK) {
    return out;
  }
  clipper.get_result(out, true);
  return out;
}

}  // namespace

std::shared_ptr<Layer> build_layer(const std::vector<Point2Vector>& loops,
                                   const LayerSettings& settings, float z, float thickness, int id,
                                   LayerReport* report) {
  auto layer = std::make_shared<Layer>();
  layer->set_z(z);
  layer->set_thickness(thickness);
  layer->set_id(id);

  std::vector<std::shared_ptr<Point2Vector const>> input;
  input.reserve(loops.size());
  for (const auto& l : loops) input.push_back(std::make_shared<Point2Vector>(l));
  std::vector<std::vector<std::shared_ptr<Point2Vector>>> regions;
  get_classified_region(input, regions, pftEvenOdd);

  LayerReport local;
  for (const auto& region : regions) {
    if (region.empty()) continue;
    ++local.regions;
    for (std::size_t k = 0; k < region.size(); ++k) {
      const bool outer = k == 0;
      layer->add_boundary_path(make_path(region[k], outer ? PATH_TYPE_OUTER : PATH_TYPE_INNER, z,
                                         settings.line_width, outer ? kOuterColour : kInnerColour));
    }

    std::vector<std::shared_ptr<Point2Vector>> innermost = region;
    for (int s = 0; s < settings.shells; ++s) {
      auto shell = inset(region, settings.line_width * static_cast<float>(s + 1));
      if (shell.empty()) break;
      innermost = shell;
      for (auto& loop : shell) {
        get_simplified_loop_DP(*loop, settings.simplify_radius);
        if (loop->size() < 3) continue;
        const PathType type = get_area_loop(*loop) > 0 ? PATH_TYPE_OUTER : PATH_TYPE_INNER;
        auto path = make_path(loop, type, z, settings.line_width, kShellColour);
        auto component = std::make_shared<ExtraShellComponent>();
        component->set_extraShell_id(s);
        path->set_extra_shell_component(component);
        layer->add_extraShell_path(path);
        ++local.shell_loops;
      }
    }

    // Fill inside the innermost shell, half a line further in.
    auto fill_area = inset(innermost, settings.line_width * 0.5f);
    if (fill_area.empty()) continue;
    std::vector<std::shared_ptr<Point2Vector>> lines;
    const RetVal filled =
        get_fill_line_from_loops(const_loops(fill_area), lines, settings.infill_spacing,
                                 settings.infill_angle, settings.line_width, true);
    // A region narrower than the spacing has no line (failed); bad input here means more
    // lines than the fill takes, which the caller should hear about.
    if (filled == RETVAL_BAD_INPUT) ++local.refused_fills;
    if (filled != RETVAL_OK) continue;
    for (auto& line : lines) {
      if (line->size() < 2) continue;
      layer->add_fill_path(
          make_path(line, PATH_TYPE_FILL_POLYLINE_0, z, settings.line_width, kFillColour));
      ++local.fill_lines;
    }
  }

  layer->number_region();
  if (report) *report = local;
  return layer;
}

}  // namespace QuorvexTool
