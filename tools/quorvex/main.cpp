#include <algorithm>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "Commands.h"
#include "quorvex/Logger.h"

namespace QuorvexTool {

void print_usage(std::ostream& out) {
  out << "usage: quorvex <command> [options]\n"
         "\n"
         "commands:\n"
         "  demo [--out DIR]        run the built-in model through the whole chain and write\n"
         "                          demo.gcode, demo.qxm, demo.ply and demo.svg into DIR\n"
         "                          (default: out)\n"
         "  slice MODEL [options]   slice an STL, OBJ or 3MF file into G-code, with the\n"
         "                          print-model archive (.qxm) and preview mesh (.ply) beside it\n"
         "      -o, --output FILE       G-code file (default: MODEL with .gcode)\n"
         "      --layer-height H        layer height in mm (default 0.2)\n"
         "      --line-width W          extrusion width in mm (default 0.4)\n"
         "      --shells N              extra shells inside the outline (default 2)\n"
         "      --infill-spacing S      distance of the fill lines in mm (default 2)\n"
         "      --infill-angle A        fill direction in degrees, turned by 90 every layer\n"
         "                              (default 45)\n"
         "      --preview FILE.html     a page with every layer and a slider\n"
         "      --threads N             worker threads (default: all cores)\n"
         "      -q, --quiet             no progress bar and no summary\n"
         "  gcode ARCHIVE.qxm [-o OUT.gcode]   G-code of a print-model archive\n"
         "  info FILE               describe a mesh (.stl .obj .3mf) or an archive (.qxm)\n"
         "\n"
         "options:\n"
         "  --verbose               show the library's own log lines on standard error, from\n"
         "                          information up (any command)\n"
         "  -h, --help              show this help\n"
         "  --version               show the version\n";
}

}  // namespace QuorvexTool

int main(int argc, char** argv) {
  using namespace QuorvexTool;
  std::vector<std::string> args(argv + 1, argv + argc);
  const auto verbose_flag = std::find(args.begin(), args.end(), "--verbose");
  const bool verbose = verbose_flag != args.end();
  if (verbose) args.erase(verbose_flag);
  if (args.empty()) {
    print_usage(std::cerr);
    return kExitUsage;
  }
  const std::string command = args.front();
  args.erase(args.begin());
  if (command == "-h" || command == "--help" || command == "help") {
    print_usage(std::cout);
    return kExitOk;
  }
  if (command == "--version") {
    std::cout << "quorvex " << QUORVEX_VERSION_STRING << "\n";
    return kExitOk;
  }
  // The command reports every failure in its own words, one line each; the library's
  // log lines would mostly repeat them, so they stay off unless asked for, and no log file
  // is written either way.
  Quorvex::qx_init_logger(verbose ? 0 : 3, "", true, false);
  // The commands report their own failures; what still escapes them (the library's
  // polygon engine and memory throw) is one line and a failure, not an abort.
  try {
    if (command == "demo") return run_demo(args);
    if (command == "slice") return run_slice(args);
    if (command == "gcode") return run_gcode(args);
    if (command == "info") return run_info(args);
  } catch (const std::exception& e) {
    std::cerr << "quorvex " << command << ": " << e.what() << "\n";
    return kExitFailure;
  } catch (...) {
    std::cerr << "quorvex " << command << ": unexpected failure\n";
    return kExitFailure;
  }
  std::cerr << "quorvex: unknown command '" << command << "'\n";
  print_usage(std::cerr);
  return kExitUsage;
}
