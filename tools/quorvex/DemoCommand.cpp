#include <cstddef>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Commands.h"
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
}  // namespace

int run_demo(const std::vector<std::string>& args) {
  std::string out_dir = "out";
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--out" && i + 1 < args.size()) {
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

  Quorvex::Entity entity;
  Quorvex::QuorvexPrintModel::get_quorvex_entity(entity);

  const std::vector<Quorvex::StructureType> sequence = {Quorvex::STRUCTURE_BOUNDARY};
  Quorvex::GCode gcode(4, sequence);
  gcode.get_gcode_from_entity(entity);
  const std::string gcode_path = (std::filesystem::path(out_dir) / "demo.gcode").string();
  if (Quorvex::write_common_file(gcode_path, gcode.get_outputs()) != Quorvex::RETVAL_OK) {
    std::cerr << "quorvex: cannot write '" << gcode_path << "'\n";
    return kExitFailure;
  }

  std::size_t paths = 0;
  for (std::size_t i = 0; i < entity.get_layer_size(); ++i) {
    paths += entity.get_layer(i)->get_boundary_path_size();
  }
  const GCodeCounts counts = count_gcode(gcode.get_outputs());
  std::cout << "quorvex demo: built-in model\n"
            << "  layers      " << entity.get_layer_size() << "\n"
            << "  paths       " << paths << "\n"
            << "  move lines  " << counts.moves << " (+" << counts.travels << " travels)\n"
            << "  bytes       " << counts.bytes << "\n"
            << "  G-code      " << gcode_path << "\n";
  return kExitOk;
}

}  // namespace QuorvexTool
