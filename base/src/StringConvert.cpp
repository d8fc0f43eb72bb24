#include "quorvex/base/StringConvert.h"

#include <cstdint>

namespace Quorvex {

namespace {

constexpr char32_t kEscapeBase = 0xDC80;  // lone low surrogates carry undecodable bytes
constexpr char32_t kReplacement = 0xFFFD;

void append_wide(std::wstring& out, char32_t cp) {
  if (sizeof(wchar_t) >= 4 || cp < 0x10000) {
    out.push_back(static_cast<wchar_t>(cp));
  } else {
    cp -= 0x10000;
    out.push_back(static_cast<wchar_t>(0xD800 + (cp >> 10)));
    out.push_back(static_cast<wchar_t>(0xDC00 + (cp & 0x3FF)));
  }
}

// Length of the valid UTF-8 sequence at s[i], with its code point, or 0 if none starts
// there (overlong forms, surrogates and values past U+10FFFF are not valid).
std::size_t decode_utf8(const std::string& s, std::size_t i, char32_t& cp) {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
  const unsigned char b0 = byte(i);
  std::size_t len;
  char32_t min;
  if (b0 < 0x80) {
    cp = b0;
    return 1;
  } else if ((b0 & 0xE0) == 0xC0) {
    len = 2, cp = b0 & 0x1F, min = 0x80;
  } else if ((b0 & 0xF0) == 0xE0) {
    len = 3, cp = b0 & 0x0F, min = 0x800;
  } else if ((b0 & 0xF8) == 0xF0) {
    len = 4, cp = b0 & 0x07, min = 0x10000;
  } else {
    return 0;
  }
  if (s.size() - i < len) return 0;
  for (std::size_t k = 1; k < len; ++k) {
    const unsigned char b = byte(i + k);
    if ((b & 0xC0) != 0x80) return 0;
    cp = (cp << 6) | (b & 0x3F);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
  return len;
}

void append_utf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

}  // namespace

std::wstring string_to_wstring(const std::string& s) {
  std::wstring out;
  out.reserve(s.size());
  std::size_t i = 0;
  while (i < s.size()) {
    char32_t cp = 0;
    const std::size_t len = decode_utf8(s, i, cp);
    if (len == 0) {
      append_wide(out, kEscapeBase + static_cast<unsigned char>(s[i]) - 0x80);
      ++i;
    } else {
      append_wide(out, cp);
      i += len;
    }
  }
  return out;
}

std::string wstring_to_string(const std::wstring& s) {
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size(); ++i) {
    char32_t cp = static_cast<char32_t>(static_cast<std::uint32_t>(s[i]));
    if (sizeof(wchar_t) < 4) cp &= 0xFFFF;
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < s.size()) {
      const char32_t lo = static_cast<char32_t>(static_cast<std::uint32_t>(s[i + 1]));
      if (lo >= 0xDC00 && lo <= 0xDFFF) {
        append_utf8(out, 0x10000 + ((cp - 0xD800) << 10) + (lo - 0xDC00));
        ++i;
        continue;
      }
    }
    if (cp >= kEscapeBase && cp <= kEscapeBase + 0x7F) {
      out.push_back(static_cast<char>(cp - kEscapeBase + 0x80));
    } else if ((cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) {
      append_utf8(out, kReplacement);
    } else {
      append_utf8(out, cp);
    }
  }
  return out;
}

}  // namespace Quorvex
