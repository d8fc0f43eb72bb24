#pragma once

#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "quorvex/base/BaseExport.h"

namespace Quorvex {

// How the capture hooks of the slicer libraries store or replay the input of a call.
// The owner sets the fields before concurrent work begins; the hooks read them without
// a lock. `mutex` guards one record of the shared `stream`.
class QXB_EXPORT DataArchiveConfig {
 public:
  std::mutex mutex;
  bool enabled = false;
  bool write_mode = false;
  bool name_with_time = false;
  bool name_with_thread = false;
  bool encode_names = false;
  bool selected_only = false;
  bool single_stream = false;
  // The stream shared by all calls when `single_stream` is true, opened by the owner.
  // It must be a seekable file opened without std::ios::app: each record's size field is
  // written as zero and filled in afterwards by seeking back to it. In append mode that
  // write lands at the end instead, leaving the size zero and eight stray bytes before the
  // next record; on a pipe or a terminal the seek fails, the size stays zero and the
  // stream, its fail flag set, takes no further record.
  std::ofstream stream;
  bool replay_ok = false;

  // Folder of the testbug files, "." unless set. Trailing slashes are dropped, so that
  // callers can always append "/" and a name; an empty text means ".".
  void set_store_path(const std::string& path);
  const std::string& get_store_path() const { return store_path_; }

  // Names of the calls to capture when `selected_only` is true.
  void add_selected(const std::string& name);
  void clear_selected();
  bool is_selected(const std::string& name) const;

  // Spells every byte of `in` as two lower-case hexadecimal digits: reversible, distinct
  // for distinct names and made only of characters every file system accepts. Both this
  // and decode_file_name may be given the same string as `in` and `out`.
  static void encode_file_name(const std::string& in, std::string& out);
  // Inverse of encode_file_name; false (and `out` empty) for a text it cannot produce.
  static bool decode_file_name(const std::string& in, std::string& out);

  // Local time as YYYYMMDD-HHMMSS-mmm.
  static std::string get_current_ts_string();

  // Each boolean field by its name, as "0" or "1".
  std::map<std::string, std::string> gen_flag_map() const;

 private:
  std::string store_path_ = ".";
  std::set<std::string> selected_;
};

// Extra switches of the debug data sets.
struct QXB_EXPORT DebugDataSetConfig {
  // Set while a library calls itself, so that the inner call's testbug file gets its own
  // name ("__inner_" before the call name).
  bool inner_call = false;
};

QXB_EXPORT extern DataArchiveConfig gDAConfig;
QXB_EXPORT extern DebugDataSetConfig gDebugDS;

}  // namespace Quorvex
