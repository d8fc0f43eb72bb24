#include "CliSupport.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace QuorvexTool {

std::optional<double> parse_number(const std::string& text) {
  if (text.empty()) return std::nullopt;
  char* end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  if (end != text.c_str() + text.size() || !std::isfinite(v)) return std::nullopt;
  return v;
}

bool write_file_atomically(const std::string& path, const std::function<void(std::ostream&)>& write,
                           std::string& error) {
  namespace fs = std::filesystem;
  const fs::path target(path);
  const fs::path tmp = target.string() + ".part";
  {
    std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
    if (!out.is_open()) {
      error = "cannot open for writing";
      return false;
    }
    // What the writer throws (the library's polygon engine, memory) ends this file like a
    // failed write: the temporary goes, the target stays as it was.
    bool ok = false;
    try {
      write(out);
      out.flush();
      ok = static_cast<bool>(out);
      if (!ok) error = "write failed";
    } catch (const std::exception& e) {
      error = e.what();
    } catch (...) {
      error = "unexpected failure";
    }
    if (!ok) {
      out.close();
      std::error_code ec;
      fs::remove(tmp, ec);
      return false;
    }
  }
  std::error_code ec;
  fs::rename(tmp, target, ec);
  if (ec) {
    error = ec.message();
    fs::remove(tmp, ec);
    return false;
  }
  return true;
}

bool write_file_atomically(const std::string& path, const std::vector<std::string>& parts,
                           std::string& error) {
  return write_file_atomically(
      path,
      [&parts](std::ostream& out) {
        for (const std::string& p : parts) {
          out.write(p.data(), static_cast<std::streamsize>(p.size()));
        }
      },
      error);
}

bool write_file_atomically(const std::string& path, const std::string& bytes, std::string& error) {
  return write_file_atomically(
      path,
      [&bytes](std::ostream& out) {
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
      },
      error);
}

bool same_file(const std::string& a, const std::string& b) {
  namespace fs = std::filesystem;
  std::error_code ec;
  if (fs::equivalent(a, b, ec) && !ec) return true;
  auto resolved = [](const std::string& p) {
    std::error_code e;
    fs::path r = fs::absolute(p, e);
    if (e) return fs::path(p).lexically_normal();
    fs::path c = fs::weakly_canonical(r, e);
    return e ? r.lexically_normal() : c;
  };
  return resolved(a) == resolved(b);
}

std::string replace_extension(const std::string& path, const std::string& extension) {
  return std::filesystem::path(path).replace_extension(extension).string();
}

std::string extension_of(const std::string& path) {
  std::string ext = std::filesystem::path(path).extension().string();
  if (!ext.empty() && ext[0] == '.') ext.erase(0, 1);
  std::transform(ext.begin(), ext.end(), ext.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext;
}

bool stderr_is_terminal() { return isatty(STDERR_FILENO) != 0; }

namespace {
double now_seconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}
}  // namespace

ProgressBar::ProgressBar(std::string label, std::size_t total, bool enabled)
    : label_(std::move(label)),
      total_(total),
      enabled_(enabled && total > 0),
      start_(now_seconds()) {}

ProgressBar::~ProgressBar() { finish(); }

void ProgressBar::update(std::size_t done) {
  if (!enabled_ || finished_) return;
  const double t = now_seconds();
  if (done < total_ && t - last_draw_ < 0.1) return;
  last_draw_ = t;
  const double fraction = std::min(1.0, static_cast<double>(done) / static_cast<double>(total_));
  const int width = 30;
  const int filled = static_cast<int>(fraction * width);
  std::string bar(static_cast<std::size_t>(filled), '#');
  bar.resize(width, '-');
  char eta[32] = "";
  const double elapsed = t - start_;
  if (done > 0 && done < total_) {
    std::snprintf(eta, sizeof eta, " ~%.0fs left",
                  elapsed / static_cast<double>(done) * static_cast<double>(total_ - done));
  }
  std::fprintf(stderr, "\r%s [%s] %zu/%zu layers%s   ", label_.c_str(), bar.c_str(), done, total_,
               eta);
  std::fflush(stderr);
}

void ProgressBar::finish() {
  if (!enabled_ || finished_) return;
  update(total_);
  std::fputc('\n', stderr);
  finished_ = true;
}

}  // namespace QuorvexTool
