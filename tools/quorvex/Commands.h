#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace QuorvexTool {

// Exit statuses of the command line.
constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;  // the work could not be done (files, input)
constexpr int kExitUsage = 2;    // the command line itself was wrong

void print_usage(std::ostream& out);

// Each command takes the arguments after its name and returns the exit status.
int run_demo(const std::vector<std::string>& args);
int run_slice(const std::vector<std::string>& args);
int run_gcode(const std::vector<std::string>& args);
int run_info(const std::vector<std::string>& args);

}  // namespace QuorvexTool
