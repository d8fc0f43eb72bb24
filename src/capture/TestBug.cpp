#include "quorvex/capture/TestBug.h"

#include <filesystem>
#include <iostream>
#include <sstream>
#include <system_error>
#include <thread>
#include <vector>

#include "quorvex/base/StringConvert.h"
#include "quorvex/base/WindowsFileOperator.h"
#include "quorvex/capture/CaptureHook.h"

namespace Quorvex {

namespace testbug_detail {

std::string capture_file_path(const char* call_name) {
  const DataArchiveConfig& config = gDAConfig;
  std::string name = call_name;
  if (gDebugDS.inner_call) name = "__inner_" + name;
  if (config.name_with_time) name += "." + DataArchiveConfig::get_current_ts_string();
  if (config.name_with_thread) {
    std::ostringstream id;
    id << std::dec << std::this_thread::get_id();
    name += "." + id.str();
  }
  if (config.encode_names) {
    std::string encoded;
    DataArchiveConfig::encode_file_name(name, encoded);
    name = std::move(encoded);
  }
  return config.get_store_path() + "/" + name + ".tb";
}

namespace {

// A folder (or a device) of the candidate's name opens as a stream on some systems and
// then reads nothing: only a regular file counts, so that the next candidate is tried.
bool open_regular_file(const std::string& path, std::ifstream& file) {
  std::error_code ec;
  // The narrow path as the stream below reads it, not as UTF-8: both must name one file.
  if (!std::filesystem::is_regular_file(std::filesystem::path(path), ec)) return false;
  file.clear();
  file.open(path, std::ios::in | std::ios::binary);
  return file.is_open();
}

}  // namespace

bool open_replay_file(const char* call_name, std::ifstream& file) {
  const DataArchiveConfig& config = gDAConfig;
  const std::string& dir = config.get_store_path();
  std::string path = dir + "/" + call_name;
  if (config.name_with_time || config.name_with_thread) {
    std::vector<std::wstring> names;
    WindowsFileOperator::get_file_in_dir_with_prefix(string_to_wstring(dir),
                                                     string_to_wstring(call_name), names);
    if (names.empty()) return false;
    path = dir + "/" + wstring_to_string(names.front());
  }
  if (!open_regular_file(path, file)) {
    path += ".tb";
    if (!open_regular_file(path, file)) return false;
  }
  std::cout << "Opened testbug file: " << path << std::endl;
  return true;
}

std::int64_t begin_stream_record(WriteAble& out, const char* call_name) {
  const std::int64_t start = out.tell();
  const std::string name = call_name;
  out << std::uint64_t{0} << static_cast<std::uint64_t>(name.size()) << name;
  return start;
}

void end_stream_record(WriteAble& out, std::ofstream& stream, std::int64_t start) {
  const std::int64_t end = out.tell();
  out.seek(start);
  out << static_cast<std::uint64_t>(end - start);
  out.seek(end);
  stream.flush();
}

}  // namespace testbug_detail

template QX_EXPORT void capture_parameter<std::vector<Point2>>(const char*, std::vector<Point2>&,
                                                               const char*);

}  // namespace Quorvex
