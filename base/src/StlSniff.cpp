#include "quorvex/base/StlSniff.h"

#include <cctype>
#include <cstring>

#include "StreamExceptionPause.h"

namespace Quorvex {

namespace {

constexpr std::streamsize kSniffLineLimit = 255;

// Reads one line into `buf` (C-string semantics: text after a NUL byte is not looked at)
// and folds it to upper case.
void read_folded_line(std::istream& in, char (&buf)[256]) {
  std::memset(buf, 0, sizeof(buf));
  in.getline(buf, kSniffLineLimit);
  for (char* p = buf; *p != '\0'; ++p) {
    *p = static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
  }
}

}  // namespace

bool stl_stream_is_ascii(std::istream& in) {
  // A first line too long for the buffer sets the fail flag, which must answer false and
  // not raise through a mask of the caller's.
  const StreamExceptionPause pause(in);
  char buf[256];
  read_folded_line(in, buf);
  if (std::strstr(buf, "SOLID") == nullptr) return false;
  if (in.fail() || in.bad()) return false;
  for (;;) {
    read_folded_line(in, buf);
    if (buf[0] != '\0') break;
    if (in.fail() || in.bad()) return false;
  }
  return std::strstr(buf, "FACET") != nullptr;
}

}  // namespace Quorvex
