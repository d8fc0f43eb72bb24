#include <cstddef>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "CliSupport.h"
#include "Commands.h"
#include "LayerPipeline.h"
#include "PreviewWriters.h"
#include "quorvex/quorvex.h"

namespace QuorvexTool {

namespace {
struct GCodeCounts {
  std::size_t moves = 0;
  std::size_t travels = 0;
  std::size_t bytes = 0;
};

GCodeCounts count_gcode(const std::vector<std::string>& texts) {
  GCodeCounts counts;
  for (const std::string& text : texts) {
    counts.bytes += text.size();
    std::size_t start = 0;
    while (start < text.size()) {
      std::size_t end = text.find('\n', start);
      if (end == std::string::npos) end = text.size();
      const std::string_view line(text.data() + start, end - start);
      if (line.rfind("G1 X", 0) == 0) {
        if (line.find(" Z") != std::string_view::npos) {
          ++counts.moves;
        } else {
          ++counts.travels;
        }
      }
      start = end + 1;
    }
  }
  return counts;
}

bool write_or_complain(const std::string& path, const std::string& bytes) {
  std::string error;
  if (write_file_atomically(path, bytes, error)) return true;
  std::cerr << "quorvex: cannot write '" << path << "': " << error << "\n";
  return false;
}
}  // namespace

int run_demo(const std::vector<std::string>& args) {
  std::string out_dir = "out";
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--out") {
      if (i + 1 >= args.size()) {
        std::cerr << "quorvex demo: --out needs a value (the output folder)\n";
        print_usage(std::cerr);
        return kExitUsage;
      }
      out_dir = args[++i];
    } else if (args[i] == "-h" || args[i] == "--help") {
      print_usage(std::cout);
      return kExitOk;
    } else {
      std::cerr << "quorvex demo: unexpected argument '" << args[i] << "'\n";
      print_usage(std::cerr);
      return kExitUsage;
    }
  }

  std::error_code ec;
  std::filesystem::create_directories(out_dir, ec);
  if (ec || !std::filesystem::is_directory(out_dir)) {
    std::cerr << "quorvex: cannot create output folder '" << out_dir
              << "': " << (ec ? ec.message() : "not a folder") << "\n";
    return kExitFailure;
  }

  // The built-in model's loops, without the repeated closing point, go through the
  // same chain as every slice of a mesh.
  Quorvex::Entity entity;
  Quorvex::QuorvexPrintModel::get_quorvex_entity(entity);
  const auto source = entity.get_layer(0);
  std::vector<Quorvex::Point2Vector> loops;
  for (const auto& path : source->get_boundary_paths()) {
    Quorvex::Point2Vector loop = *path->get_points();
    if (loop.size() > 1 && loop.front().x == loop.back().x && loop.front().y == loop.back().y) {
      loop.pop_back();
    }
    loops.push_back(std::move(loop));
  }
  LayerSettings settings;
  settings.line_width = 0.2f;
  settings.shells = 2;
  settings.infill_spacing = 0.4f;
  settings.infill_angle = 45.0f;
  LayerReport report;
  auto layer = build_layer(loops, settings, source->get_z(), source->get_thickness(),
                           source->get_id(), &report);
  entity.set_layer(layer, 0);
  std::vector<std::vector<std::shared_ptr<Quorvex::Point2Vector>>> last_points;
  layer->get_last_points(last_points);

  const std::filesystem::path dir(out_dir);
  const std::string gcode_path = (dir / "demo.gcode").string();
  const std::string archive_path = (dir / "demo.qxm").string();
  const std::string ply_path = (dir / "demo.ply").string();
  const std::string svg_path = (dir / "demo.svg").string();

  Quorvex::GCode gcode(
      4, {Quorvex::STRUCTURE_BOUNDARY, Quorvex::STRUCTURE_EXTRA_SHELL, Quorvex::STRUCTURE_FILL});
  gcode.set_assign_colour(true);
  gcode.get_gcode_from_entity(entity);
  std::string error;
  if (!write_file_atomically(gcode_path, gcode.get_outputs(), error)) {
    std::cerr << "quorvex: cannot write '" << gcode_path << "': " << error << "\n";
    return kExitFailure;
  }
  if (!write_file_atomically(
          archive_path, [&entity](std::ostream& out) { out << entity; }, error)) {
    std::cerr << "quorvex: cannot write '" << archive_path << "': " << error << "\n";
    return kExitFailure;
  }
  PreviewCounts preview;
  if (!write_file_atomically(
          ply_path,
          [&](std::ostream& out) { preview = write_preview_ply(out, entity, settings.line_width); },
          error)) {
    std::cerr << "quorvex: cannot write '" << ply_path << "': " << error << "\n";
    return kExitFailure;
  }
  const ViewBox box = layers_view_box({layer.get()});
  if (!write_or_complain(svg_path, layer_to_svg(*layer, box, "quorvex demo, layer 1", true))) {
    return kExitFailure;
  }

  const GCodeCounts counts = count_gcode(gcode.get_outputs());
  std::cout << "quorvex demo: built-in model\n"
            << "  regions       " << report.regions << " (" << last_points.size()
            << " with innermost loops)\n"
            << "  paths         " << layer->get_boundary_path_size() << " boundary, "
            << layer->get_extraShell_path_size() << " extra shell, " << layer->get_fill_path_size()
            << " fill\n"
            << "  move lines    " << counts.moves << " (+" << counts.travels << " travels)\n"
            << "  G-code        " << gcode_path << " (" << counts.bytes << " bytes)\n"
            << "  archive       " << archive_path << "\n"
            << "  preview mesh  " << ply_path << " (" << preview.vertices << " vertices, "
            << preview.faces << " faces)\n"
            << "  picture       " << svg_path << "\n";
  return kExitOk;
}

}  // namespace QuorvexTool
