#pragma once

#include <cstdint>
#include <fstream>
#include <ios>
#include <mutex>
#include <string>

#include "quorvex/Export.h"
#include "quorvex/base/DataArchiveConfig.h"
#include "quorvex/capture/ArchiveRecord.h"
#include "quorvex/capture/TestBug.h"

// Definition of the capture hook, for argument types beyond the ones the library
// instantiates: such a type needs its own ArchiveWriter::helper and ArchiveReader::helper.

namespace Quorvex {

namespace testbug_detail {

// Store folder, "/", and the call name dressed as gDAConfig says, with ".tb".
QX_EXPORT std::string capture_file_path(const char* call_name);
// Opens the file a replay of `call_name` reads: the bare name first, then with ".tb";
// by prefix when the captured names carry a time or thread. Only a regular file (or a
// link to one) counts: a folder of the bare name is passed over for the ".tb" file.
// Announces the file on std::cout. False when there is none.
QX_EXPORT bool open_replay_file(const char* call_name, std::ifstream& file);
// The head of a shared-stream record, with a zero size to be filled in; gives its start.
QX_EXPORT std::int64_t begin_stream_record(WriteAble& out, const char* call_name);
// Writes the record's size into its first field and flushes the stream.
QX_EXPORT void end_stream_record(WriteAble& out, std::ofstream& stream, std::int64_t start);

}  // namespace testbug_detail

template <class T>
void capture_parameter(const char* call_name, T& value, const char* parameter_name) {
  DataArchiveConfig& config = gDAConfig;
  if (!config.enabled) return;
  if (call_name == nullptr || parameter_name == nullptr) return;

  if (config.single_stream) {
    if (!config.stream.is_open()) return;
    std::lock_guard<std::mutex> lock(config.mutex);
    WriteAble out(config.stream);
    const std::int64_t start = testbug_detail::begin_stream_record(out, call_name);
    ArchiveWriter writer(out);
    writer.add_parameter(value, parameter_name);
    writer.write_header();
    writer.write_values();
    testbug_detail::end_stream_record(out, config.stream, start);
    return;
  }

  if (config.write_mode) {
    if (config.selected_only && !config.is_selected(call_name)) return;
    std::ofstream file(testbug_detail::capture_file_path(call_name),
                       std::ios::out | std::ios::binary | std::ios::trunc);
    if (!file.is_open()) return;
    ArchiveWriter writer{WriteAble(file)};
    writer.add_parameter(value, parameter_name);
    writer.write_all();
    return;
  }

  std::ifstream file;
  if (!testbug_detail::open_replay_file(call_name, file)) {
    config.replay_ok = false;
    return;
  }
  ArchiveReader reader{ReadAble(file)};
  reader.add_parameter(value, parameter_name);
  if (reader.read_header()) {
    reader.read_values();
    config.replay_ok = true;
  } else {
    config.replay_ok = false;
  }
  file.close();
}

}  // namespace Quorvex
