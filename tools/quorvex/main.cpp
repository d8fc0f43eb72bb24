#include <iostream>
#include <string>
#include <vector>

#include "Commands.h"

namespace QuorvexTool {

void print_usage(std::ostream& out) {
  out << "usage: quorvex <command> [options]\n"
         "\n"
         "commands:\n"
         "  demo [--out DIR]   run the built-in model through the library and write\n"
         "                     DIR/demo.gcode (default DIR: out)\n"
         "\n"
         "options:\n"
         "  -h, --help         show this help\n"
         "  --version          show the version\n";
}

}  // namespace QuorvexTool

int main(int argc, char** argv) {
  using namespace QuorvexTool;
  std::vector<std::string> args(argv + 1, argv + argc);
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
  if (command == "demo") return run_demo(args);
  std::cerr << "quorvex: unknown command '" << command << "'\n";
  print_usage(std::cerr);
  return kExitUsage;
}
