#include <glog/logging.h>

#include <cctype>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <ios>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "StlParse.h"
#include "StreamExceptionPause.h"
#include "VertexWelder.h"
#include "quorvex/base/MeshReaders.h"

namespace Quorvex {

namespace {

// Splits a stream into words separated by white space, reading it in blocks so that no
// line, however long, is held whole. A word longer than kMaxWord keeps only its first
// kMaxWord + 1 characters (the rest is skipped), enough to tell that it is no keyword or
// number of STL.
class WordReader {
 public:
  static constexpr std::size_t kBlock = 1 << 16;
  static constexpr std::size_t kMaxWord = 255;

  WordReader(std::istream& in, ProgressMeter& meter, std::uint64_t total)
      : in_(in), meter_(meter), total_(total), buf_(kBlock) {}

  // False at the end of the text.
  bool next(std::string_view& word) {
    if (!skip_while_space()) return false;
    word_.clear();
    for (;;) {
      while (pos_ < end_ && !is_space(buf_[pos_])) {
        if (word_.size() <= kMaxWord) word_.push_back(buf_[pos_]);
        ++pos_;
      }
      if (pos_ < end_ || !refill()) break;
    }
    word = word_;
    return true;
  }

  // Drops the rest of the current line (an object name, say).
  void skip_line() {
    for (;;) {
      const void* nl = std::memchr(buf_.data() + pos_, '\n', end_ - pos_);
      if (nl != nullptr) {
        pos_ = static_cast<std::size_t>(static_cast<const char*>(nl) - buf_.data()) + 1;
        return;
      }
      pos_ = end_;
      if (!refill()) return;
    }
  }

  std::uint64_t consumed() const { return consumed_ - (end_ - pos_); }

 private:
  static bool is_space(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

  bool skip_while_space() {
    for (;;) {
      while (pos_ < end_ && is_space(buf_[pos_])) ++pos_;
      if (pos_ < end_) return true;
      if (!refill()) return false;
    }
  }

  bool refill() {
    if (in_.eof() || in_.fail()) return false;
    in_.read(buf_.data(), static_cast<std::streamsize>(buf_.size()));
    const auto got = static_cast<std::size_t>(in_.gcount());
    pos_ = 0;
    end_ = got;
    consumed_ += got;
    meter_.report_fraction(consumed_, total_);
    return got > 0;
  }

  std::istream& in_;
  ProgressMeter& meter_;
  std::uint64_t total_;
  std::vector<char> buf_;
  std::size_t pos_ = 0;
  std::size_t end_ = 0;
  std::uint64_t consumed_ = 0;
  std::string word_;
};

bool equals_folded(std::string_view word, const char* keyword) {
  const std::size_t n = std::strlen(keyword);
  if (word.size() != n) return false;
  for (std::size_t i = 0; i < n; ++i) {
    if (std::tolower(static_cast<unsigned char>(word[i])) != keyword[i]) return false;
  }
  return true;
}

// The whole word must be a number. Values beyond float range read as strtof reads them
// (infinity, zero or a subnormal) rather than failing the file.
bool parse_float(std::string_view word, float& value) {
  if (word.size() > WordReader::kMaxWord) return false;  // cut, so not the number written
  if (!word.empty() && word.front() == '+') word.remove_prefix(1);
  if (word.empty()) return false;
  const char* last = word.data() + word.size();
  const auto [ptr, ec] = std::from_chars(word.data(), last, value);
  if (ptr != last) return false;
  if (ec == std::errc()) return true;
  if (ec != std::errc::result_out_of_range) return false;
  const std::string copy(word);
  value = std::strtof(copy.c_str(), nullptr);
  return true;
}

}  // namespace

std::uint64_t stream_remaining_bytes(std::istream& in) {
  // Asked of the stream's buffer, not the stream: tellg and seekg set the fail flag when the
  // buffer cannot seek, or turn its exception into the bad flag, and the text would then
  // not be read at all (a stream that decompresses is one).
  std::streambuf* buffer = in.rdbuf();
  if (!in.good() || buffer == nullptr) return 0;
  using Pos = std::streambuf::pos_type;
  const Pos failed = Pos(std::streambuf::off_type(-1));
  bool moved = false;
  try {
    const Pos start = buffer->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
    if (start == failed) return 0;
    const Pos end = buffer->pubseekoff(0, std::ios_base::end, std::ios_base::in);
    if (end == failed) return 0;
    moved = true;
    if (buffer->pubseekpos(start, std::ios_base::in) == start) {
      const std::streamoff left = end - start;
      return left > 0 ? static_cast<std::uint64_t>(left) : 0;
    }
  } catch (...) {
    if (!moved) return 0;
  }
  in.setstate(std::ios_base::badbit);  // lost its place: reading on would give wrong text
  return 0;
}

int parse_stl_ascii(std::istream& in, std::uint64_t total_bytes, BaseTriMesh& mesh,
                    ProgressMeter& meter, const std::string& what) {
  WordReader reader(in, meter, total_bytes);
  VertexWelder welder(1024);
  std::vector<BaseTriFace> faces;
  Vector3f corner[3];
  int corners = 0;
  bool in_facet = false;

  const auto fail = [&](const std::string& why) {
    LOG(ERROR) << what << ": ASCII STL " << why << " near byte " << reader.consumed();
    mesh.clear();
    return kBaseReadCorrupt;
  };

  std::string_view word;
  while (reader.next(word)) {
    if (equals_folded(word, "vertex")) {
      if (!in_facet) return fail("has a vertex outside a facet");
      if (corners == 3) return fail("has a facet of more than three vertices");
      for (int k = 0; k < 3; ++k) {
        if (!reader.next(word) || !parse_float(word, corner[corners][k])) {
          return fail("has a vertex without three numbers");
        }
      }
      ++corners;
    } else if (equals_folded(word, "facet")) {
      if (in_facet) return fail("opens a facet inside a facet");
      in_facet = true;
      corners = 0;
    } else if (equals_folded(word, "normal")) {
      // The stored normal is not trusted: the mesh derives its own from the corners.
      float ignored;
      for (int k = 0; k < 3; ++k) {
        if (!reader.next(word) || !parse_float(word, ignored)) {
          return fail("has a normal without three numbers");
        }
      }
    } else if (equals_folded(word, "endfacet")) {
      if (!in_facet || corners != 3) return fail("closes a facet that has not three vertices");
      int index[3];
      for (int c = 0; c < 3; ++c) {
        index[c] = welder.weld(corner[c].data());
        if (index[c] < 0) return fail("has more distinct vertices than a mesh can index");
      }
      faces.emplace_back(index[0], index[1], index[2]);
      in_facet = false;
    } else if (equals_folded(word, "solid") || equals_folded(word, "endsolid")) {
      if (in_facet) return fail("ends a solid inside a facet");
      reader.skip_line();
    } else if (!equals_folded(word, "outer") && !equals_folded(word, "loop") &&
               !equals_folded(word, "endloop")) {
      // Shown in part, with bytes that are no printable text replaced: it may be binary junk.
      std::string shown(word.substr(0, 32));
      for (char& ch : shown) {
        if (!std::isprint(static_cast<unsigned char>(ch))) ch = '?';
      }
      return fail("has the unexpected word \"" + shown + "\"");
    }
  }
  if (in.bad()) return fail("could not be read to its end");
  if (in_facet) return fail("ends inside a facet");
  store_welded_mesh(mesh, welder.vertices(), faces);
  return 0;
}

int addFacesGivenAscii(std::istream& in, BaseTriMesh& mesh, const int& mode, Callback progress) {
  // Only mode 0 is defined; the value is reserved for later variants of the text.
  static_cast<void>(mode);
  // The caller's stream may be set to raise; the reader ends in a value either way.
  const StreamExceptionPause pause(in);
  ProgressMeter meter(progress);
  meter.report(0);
  const std::uint64_t total = progress ? stream_remaining_bytes(in) : 0;
  const int result = parse_stl_ascii(in, total, mesh, meter, "STL stream");
  meter.finish();
  return result;
}

}  // namespace Quorvex
