#include "quorvex/base/WindowsFileOperator.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "quorvex/base/StringConvert.h"

namespace Quorvex {

bool WindowsFileOperator::get_file_in_dir_with_prefix(const std::wstring& dir,
                                                      const std::wstring& prefix,
                                                      std::vector<std::wstring>& names) {
  namespace fs = std::filesystem;
  names.clear();
  // Compared and sorted as UTF-8 bytes: the order a byte-wise listing of the folder
  // would give, whatever the width of wchar_t.
  const std::string narrow_prefix = wstring_to_string(prefix);
  std::error_code ec;
  fs::directory_iterator it(fs::u8path(wstring_to_string(dir)), ec);
  if (ec) return false;
  std::vector<std::string> found;
  for (; it != fs::directory_iterator(); it.increment(ec)) {
    if (ec) break;
    std::error_code type_ec;
    if (!it->is_regular_file(type_ec) || type_ec) continue;
    std::string name = it->path().filename().u8string();
    if (name.compare(0, narrow_prefix.size(), narrow_prefix) == 0) {
      found.push_back(std::move(name));
    }
  }
  std::sort(found.begin(), found.end());
  names.reserve(found.size());
  for (const std::string& n : found) names.push_back(string_to_wstring(n));
  return !ec;
}

}  // namespace Quorvex
