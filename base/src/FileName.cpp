#include <string>
#include <utility>

#include "quorvex/base/MeshReaders.h"

namespace Quorvex {

int split_fileName(const std::string& path, std::string& base, std::string& ext) {
  // Only the last component of the path can hold the extension: "dir.v2/model" has none.
  const std::size_t name_start = path.find_last_of("/\\");
  const std::size_t first = name_start == std::string::npos ? 0 : name_start + 1;
  const std::size_t dot = path.find_last_of('.');
  if (dot == std::string::npos || dot < first || dot + 1 == path.size()) {
    base.clear();
    ext.clear();
    return 1;
  }
  // Through locals: the caller may pass `path` itself as `base` or `ext`.
  std::string new_base = path.substr(0, dot);
  std::string new_ext = path.substr(dot + 1);
  base = std::move(new_base);
  ext = std::move(new_ext);
  return 0;
}

}  // namespace Quorvex
