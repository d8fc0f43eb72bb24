#include <cstddef>
#include <fstream>
#include <functional>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

#include "CliSupport.h"
#include "Commands.h"
#include "quorvex/quorvex.h"

namespace QuorvexTool {

namespace {

// Reads a print-model archive; false with a message when the file is missing or ends
// before the archive does.
bool read_archive_file(const std::string& path, Quorvex::Entity& entity) {
  std::ifstream in(path, std::ios::binary);
  if (!in.is_open()) {
    std::cerr << "quorvex: cannot read '" << path << "': file not found or not readable\n";
    return false;
  }
  in.seekg(0, std::ios::end);
  const auto size = static_cast<long long>(in.tellg());
  in.seekg(0, std::ios::beg);
  in >> entity;
  // A complete archive is consumed exactly: a short read leaves the stream failed.
  if (!in || static_cast<long long>(in.tellg()) != size) {
    std::cerr << "quorvex: cannot read '" << path
              << "': not a complete print-model archive (truncated or damaged)\n";
    return false;
  }
  return true;
}

int usage_error(const char* command, const std::string& message) {
  std::cerr << "quorvex " << command << ": " << message << "\n";
  print_usage(std::cerr);
  return kExitUsage;
}

}  // namespace

int run_gcode(const std::vector<std::string>& args) {
  std::string input, output;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "-o" || args[i] == "--output") {
      if (i + 1 >= args.size()) {
        return usage_error("gcode", args[i] + " needs a value (the G-code file)");
      }
      output = args[++i];
    } else if (args[i] == "-h" || args[i] == "--help") {
      print_usage(std::cout);
      return kExitOk;
    } else if (!args[i].empty() && args[i][0] == '-') {
      return usage_error("gcode", "unknown option '" + args[i] + "'");
    } else if (input.empty()) {
      input = args[i];
    } else {
      return usage_error("gcode", "unexpected argument '" + args[i] + "'");
    }
  }
  if (input.empty()) return usage_error("gcode", "no archive given");
  if (output.empty()) output = replace_extension(input, ".gcode");
  if (same_file(input, output)) {
    return usage_error("gcode", "the G-code would overwrite the archive '" + output + "'");
  }
  Quorvex::Entity entity;
  if (!read_archive_file(input, entity)) return kExitFailure;
  Quorvex::GCode gcode(
      4, {Quorvex::STRUCTURE_BOUNDARY, Quorvex::STRUCTURE_EXTRA_SHELL, Quorvex::STRUCTURE_FILL,
          Quorvex::STRUCTURE_SUPPORT, Quorvex::STRUCTURE_RAFT});
  gcode.get_gcode_from_entity(entity);
  std::string error;
  if (!write_file_atomically(output, gcode.get_outputs(), error)) {
    std::cerr << "quorvex: cannot write '" << output << "': " << error << "\n";
    return kExitFailure;
  }
  std::cout << "quorvex gcode: " << entity.get_layer_size() << " layers to " << output << "\n";
  return kExitOk;
}

int run_info(const std::vector<std::string>& args) {
  if (args.size() != 1 || (!args[0].empty() && args[0][0] == '-')) {
    if (args.size() == 1 && (args[0] == "-h" || args[0] == "--help")) {
      print_usage(std::cout);
      return kExitOk;
    }
    return usage_error("info", "give exactly one file");
  }
  const std::string& path = args[0];
  const std::string ext = extension_of(path);
  if (ext == "qxm") {
    Quorvex::Entity entity;
    if (!read_archive_file(path, entity)) return kExitFailure;
    std::size_t counts[8] = {};
    std::size_t points = 0;
    float z_lo = std::numeric_limits<float>::max(), z_hi = -z_lo;
    for (const auto& layer : entity.get_layers()) {
      z_lo = std::min(z_lo, layer->get_z());
      z_hi = std::max(z_hi, layer->get_z());
      const std::vector<std::shared_ptr<Quorvex::Path>>* lists[8] = {
          &layer->get_boundary_paths(),       &layer->get_extraShell_paths(),
          &layer->get_fill_paths(),           &layer->get_small_region_paths(),
          &layer->get_thinWalledFill_paths(), &layer->get_sharpAngle_paths(),
          &layer->get_support_paths(),        &layer->get_raft_paths()};
      for (int k = 0; k < 8; ++k) {
        counts[k] += lists[k]->size();
        for (const auto& p : *lists[k]) points += p->get_points() ? p->get_points()->size() : 0;
      }
    }
    std::cout << path << ": print-model archive\n"
              << "  layers        " << entity.get_layer_size() << "\n"
              << "  paths         " << counts[0] << " boundary, " << counts[1] << " extra shell, "
              << counts[2] << " fill, " << counts[3] << " small region, " << counts[4]
              << " thin-wall fill, " << counts[5] << " sharp angle, " << counts[6] << " support, "
              << counts[7] << " raft\n"
              << "  points        " << points << "\n";
    if (entity.get_layer_size() > 0) {
      std::cout << "  heights       " << z_lo << " to " << z_hi << "\n";
    }
    return kExitOk;
  }
  if (ext == "stl" || ext == "obj" || ext == "3mf") {
    Quorvex::BaseTriMesh mesh;
    const Quorvex::IORet r = Quorvex::read_TriMesh(path, mesh, std::function<void(const int&)>());
    if (r != Quorvex::IORET_OK) {
      std::cerr << "quorvex: cannot read '" << path << "': "
                << (r == 2 ? "file not found or not readable" : "corrupt or unreadable mesh")
                << " (code " << r << ")\n";
      return kExitFailure;
    }
    std::cout << path << ": mesh\n"
              << "  vertices      " << mesh.get_vn() << "\n"
              << "  faces         " << mesh.get_fn() << "\n";
    if (mesh.get_vn() > 0) {
      Quorvex::Bbox3 box;
      box.calc_from_coords(mesh.get_vCoords());
      std::cout << "  bounding box  " << box.xMin() << " " << box.yMin() << " " << box.zMin()
                << " to " << box.xMax() << " " << box.yMax() << " " << box.zMax() << "\n";
    }
    return kExitOk;
  }
  std::cerr << "quorvex: cannot describe '" << path
            << "': unsupported file type (use .stl, .obj, .3mf or .qxm)\n";
  return kExitFailure;
}

}  // namespace QuorvexTool
