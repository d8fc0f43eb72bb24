// In-place scan of OBJ text in memory. It mirrors, step by step, what the stream
// extraction operators of the word-by-word reader do in the "C" locale (the sentry's
// space skipping, the width-limited word, num_get's float grammar, getline's limit), so
// that both readers give the same mesh for any bytes; the tests hold it to that.

#include <charconv>
#include <cstring>
#include <locale>
#include <sstream>
#include <string>

#include "ObjParse.h"

namespace Quorvex {
namespace obj_detail {

namespace {

inline bool is_c_space(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

inline bool is_digit(char c) { return c >= '0' && c <= '9'; }

inline bool ends_face_line(char c) { return c == '\n' || c == '\r' || c == '\0'; }

class Scanner {
 public:
  Scanner(const char* text, std::size_t size) : text_(text), size_(size) {}

  bool failed() const { return fail_; }
  bool at_eof() const { return eof_; }
  std::size_t position() const { return pos_; }

  // operator>>(char*) with a width of kWordBuffer. The word is returned as the C string
  // the buffer would hold: it ends at the first zero byte.
  bool read_word(const char*& word, std::size_t& length) {
    if (!skip_spaces()) return false;
    const std::size_t start = pos_;
    const std::size_t limit = kWordBuffer - 1;
    while (pos_ < size_ && pos_ - start < limit && !is_c_space(text_[pos_])) ++pos_;
    const std::size_t extracted = pos_ - start;
    if (extracted < limit && pos_ == size_) eof_ = true;
    word = text_ + start;
    const void* zero = std::memchr(word, '\0', extracted);
    length = zero ? static_cast<std::size_t>(static_cast<const char*>(zero) - word) : extracted;
    return true;
  }

  // operator>>(float&). On a failed conversion `value` receives what num_get stores;
  // when the sentry fails it stays untouched.
  void read_float(float& value) {
    if (!skip_spaces()) return;
    const std::size_t start = pos_;
    std::size_t p = pos_;
    if (p < size_ && (text_[p] == '+' || text_[p] == '-')) ++p;
    bool mantissa = false;
    while (p < size_ && text_[p] == '0') {
      mantissa = true;
      ++p;
    }
    bool decimal = false;
    bool exponent = false;
    while (p < size_) {
      const char c = text_[p];
      if (is_digit(c)) {
        mantissa = true;
      } else if (c == '.' && !decimal && !exponent) {
        decimal = true;
      } else if ((c == 'e' || c == 'E') && !exponent && mantissa) {
        exponent = true;
        ++p;
        if (p == size_) break;
        // A sign right after the exponent mark belongs to it; anything else is looked at
        // again as an ordinary character.
        if (text_[p] != '+' && text_[p] != '-') continue;
      } else {
        break;
      }
      ++p;
    }
    pos_ = p;
    if (p == size_) eof_ = true;
    convert(text_ + start, p - start, value);
  }

  // getline with a limit of kLineLimit; returns the characters stored (no newline).
  void read_line(const char*& line, std::size_t& length) {
    line = text_ + pos_;
    length = 0;
    if (eof_ || fail_) {
      fail_ = true;
      return;
    }
    const std::size_t room = kLineLimit - 1;
    const std::size_t available = size_ - pos_;
    const std::size_t span = available < room ? available : room;
    const void* newline = std::memchr(line, '\n', span);
    if (newline != nullptr) {
      length = static_cast<std::size_t>(static_cast<const char*>(newline) - line);
      pos_ += length + 1;
      return;
    }
    length = span;
    pos_ += span;
    if (pos_ == size_) {
      eof_ = true;
      if (span == 0) fail_ = true;
    } else if (text_[pos_] == '\n') {
      ++pos_;
    } else {
      fail_ = true;
    }
  }

 private:
  // The sentry of a formatted extraction.
  bool skip_spaces() {
    if (eof_ || fail_) {
      fail_ = true;
      return false;
    }
    while (pos_ < size_ && is_c_space(text_[pos_])) ++pos_;
    if (pos_ == size_) {
      eof_ = true;
      fail_ = true;
      return false;
    }
    return true;
  }

  // strtof's verdict on the collected characters, as num_get applies it: the whole text
  // must convert; overflow gives the largest float of that sign.
  void convert(const char* digits, std::size_t length, float& value) {
    const char* first = digits;
    const char* last = digits + length;
    if (first != last && *first == '+') ++first;
    float parsed = 0.0f;
    const std::from_chars_result r = std::from_chars(first, last, parsed);
    if (r.ec == std::errc() && r.ptr == last) {
      value = parsed;
      return;
    }
    // Rare: incomplete numbers, overflow and underflow. The stream itself decides, so the
    // edge cases cannot drift apart.
    std::istringstream exact(std::string(digits, length));
    exact.imbue(std::locale::classic());
    float result = 0.0f;
    exact >> result;
    value = result;
    if (exact.fail()) fail_ = true;
  }

  const char* text_;
  std::size_t size_;
  std::size_t pos_ = 0;
  bool eof_ = false;
  bool fail_ = false;
};

// atoi of at most the first kTokenBuffer - 1 characters of a token. A token holds no
// blank, tab, newline or carriage return, so of atoi's leading spaces only \v and \f remain.
std::int64_t token_to_int(const char* first, const char* last) {
  if (last - first > kTokenBuffer - 1) last = first + (kTokenBuffer - 1);
  while (first != last && (*first == '\v' || *first == '\f')) ++first;
  bool negative = false;
  if (first != last && (*first == '+' || *first == '-')) {
    negative = *first == '-';
    ++first;
  }
  std::int64_t v = 0;
  while (first != last && is_digit(*first)) v = v * 10 + (*first++ - '0');
  return negative ? -v : v;
}

void scan_face_line(const char* p, const char* end, ObjData& data,
                    std::vector<std::int64_t>& indices) {
  indices.clear();
  const auto stops = [end](const char* q) { return q == end || ends_face_line(*q); };
  for (;;) {
    while (p != end && *p != ' ' && *p != '\t') {
      if (ends_face_line(*p)) goto done;
      ++p;
    }
    if (p == end) break;
    while (p != end && (*p == ' ' || *p == '\t')) ++p;
    if (stops(p)) break;
    {
      const char* token = p;
      while (!stops(p) && *p != '/' && *p != ' ' && *p != '\t') ++p;
      indices.push_back(token_to_int(token, p));
    }
    if (stops(p)) break;
  }
done:
  append_polygon(indices, data);
}

}  // namespace

ScanEnd scan_obj_buffer(const char* text, std::size_t size, ObjData& data) {
  Scanner in(text, size);
  std::vector<std::int64_t> indices;
  const char* word = nullptr;
  std::size_t length = 0;
  in.read_word(word, length);
  while (!in.failed()) {
    if (length == 1 && word[0] == 'v') {
      float x = 0.0f, y = 0.0f, z = 0.0f;
      in.read_float(x);
      in.read_float(y);
      in.read_float(z);
      data.vertices.emplace_back(x, y, z);
    } else if (length == 2 && word[0] == 'v' && (word[1] == 't' || word[1] == 'n')) {
      float a = 0.0f;
      in.read_float(a);
      in.read_float(a);
      if (word[1] == 'n') in.read_float(a);
    } else {
      const char* line = nullptr;
      std::size_t line_length = 0;
      in.read_line(line, line_length);
      if (length == 1 && word[0] == 'f') scan_face_line(line, line + line_length, data, indices);
    }
    in.read_word(word, length);
  }
  return ScanEnd{in.position(), in.at_eof()};
}

}  // namespace obj_detail
}  // namespace Quorvex
