#pragma once

#include <string>
#include <vector>

#include "quorvex/base/BaseExport.h"

namespace Quorvex {

// Folder listing for the replay of testbug files (named after the platform it first
// served; it works wherever std::filesystem does).
class QXB_EXPORT WindowsFileOperator {
 public:
  // Replaces `names` by the bare names of the regular files in `dir` that begin with
  // `prefix`, sorted ascending by the bytes of their UTF-8 spelling, so that a replay
  // by prefix picks a predictable file. False, with `names` empty, if `dir` cannot be
  // listed.
  static bool get_file_in_dir_with_prefix(const std::wstring& dir, const std::wstring& prefix,
                                          std::vector<std::wstring>& names);
};

}  // namespace Quorvex
