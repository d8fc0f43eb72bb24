#include "quorvex/base/DataArchiveConfig.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace Quorvex {

DataArchiveConfig gDAConfig;
DebugDataSetConfig gDebugDS;

void DataArchiveConfig::set_store_path(const std::string& path) {
  std::string p = path;
  // The root folder keeps its one slash: it has no other spelling.
  while (p.size() > 1 && (p.back() == '/' || p.back() == '\\')) p.pop_back();
  store_path_ = p.empty() ? std::string(".") : p;
}

void DataArchiveConfig::add_selected(const std::string& name) { selected_.insert(name); }

void DataArchiveConfig::clear_selected() { selected_.clear(); }

bool DataArchiveConfig::is_selected(const std::string& name) const {
  return selected_.count(name) != 0;
}

void DataArchiveConfig::encode_file_name(const std::string& in, std::string& out) {
  static const char kDigits[] = "0123456789abcdef";
  std::string r;
  r.reserve(in.size() * 2);
  for (unsigned char c : in) {
    r.push_back(kDigits[c >> 4]);
    r.push_back(kDigits[c & 15]);
  }
  out = std::move(r);
}

namespace {
int hex_digit_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Appends the bytes spelt by `hex` to `bytes`; false at the first pair that is no byte.
bool decode_hex(const std::string& hex, std::string& bytes) {
  if (hex.size() % 2 != 0) return false;
  bytes.reserve(bytes.size() + hex.size() / 2);
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    const int hi = hex_digit_value(hex[i]);
    const int lo = hex_digit_value(hex[i + 1]);
    if (hi < 0 || lo < 0) return false;
    bytes.push_back(static_cast<char>(hi * 16 + lo));
  }
  return true;
}
}  // namespace

bool DataArchiveConfig::decode_file_name(const std::string& in, std::string& out) {
  // Built aside and assigned at the end: `in` and `out` may be the same string.
  std::string r;
  const bool ok = decode_hex(in, r);
  if (!ok) r.clear();
  out = std::move(r);
  return ok;
}

std::string DataArchiveConfig::get_current_ts_string() {
  using namespace std::chrono;
  const system_clock::time_point now = system_clock::now();
  const std::time_t secs = system_clock::to_time_t(now);
  long long ms = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
  if (ms < 0) ms += 1000;
  std::tm local{};
#if defined(_WIN32)
  localtime_s(&local, &secs);
#else
  localtime_r(&secs, &local);
#endif
  char buf[64];
  std::snprintf(buf, sizeof(buf), "%04d%02d%02d-%02d%02d%02d-%03d", local.tm_year + 1900,
                local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(ms));
  return buf;
}

std::map<std::string, std::string> DataArchiveConfig::gen_flag_map() const {
  auto flag = [](bool b) { return std::string(b ? "1" : "0"); };
  return {{"enabled", flag(enabled)},
          {"write_mode", flag(write_mode)},
          {"name_with_time", flag(name_with_time)},
          {"name_with_thread", flag(name_with_thread)},
          {"encode_names", flag(encode_names)},
          {"selected_only", flag(selected_only)},
          {"single_stream", flag(single_stream)},
          {"replay_ok", flag(replay_ok)}};
}

}  // namespace Quorvex
