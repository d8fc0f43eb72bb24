#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace QuorvexTool {

// Parses a whole number or a finite decimal; nothing for anything else.
std::optional<double> parse_number(const std::string& text);

// Writes `bytes` to `path` through a temporary file beside it, renamed into place at the
// end, so that a failure never leaves a partial file. False with `error` set on failure.
// `write` streams the content straight into the temporary file, so nothing is held twice;
// an exception it throws is caught and counts as a failure, with its message as `error`.
bool write_file_atomically(const std::string& path, const std::function<void(std::ostream&)>& write,
                           std::string& error);
bool write_file_atomically(const std::string& path, const std::string& bytes, std::string& error);
bool write_file_atomically(const std::string& path, const std::vector<std::string>& parts,
                           std::string& error);

// True when the two paths name one file: equal once made absolute with links and dot
// segments resolved (as far as the path exists), or, for files that exist, one file under
// two names.
bool same_file(const std::string& a, const std::string& b);

// `path` with its extension replaced (or added): "out/a.gcode", ".qxm" -> "out/a.qxm".
std::string replace_extension(const std::string& path, const std::string& extension);

// Lower-case extension without the dot, or "".
std::string extension_of(const std::string& path);

// A one-line progress bar on standard error, shown only when that is a terminal.
class ProgressBar {
 public:
  ProgressBar(std::string label, std::size_t total, bool enabled);
  ~ProgressBar();
  void update(std::size_t done);
  void finish();

 private:
  std::string label_;
  std::size_t total_;
  bool enabled_;
  bool finished_ = false;
  double start_ = 0;
  double last_draw_ = -1;
};

// True when standard error is a terminal.
bool stderr_is_terminal();

}  // namespace QuorvexTool
