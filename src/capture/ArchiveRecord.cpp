#include "quorvex/capture/ArchiveRecord.h"

#include <cstring>
#include <iostream>
#include <typeinfo>

#include "quorvex/base/BuildInfo.h"
#include "quorvex/base/DataArchiveConfig.h"

namespace Quorvex {

namespace {

constexpr std::uint64_t splitmix64_next(std::uint64_t& state) {
  state += 0x9E3779B97F4A7C15ull;
  std::uint64_t z = state;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

constexpr std::array<std::uint64_t, 100> make_tail_key_table() {
  std::array<std::uint64_t, 100> t{};
  std::uint64_t state = 0x51C0FFEE7E57B06ull;
  for (std::size_t i = 0; i < t.size(); ++i) t[i] = splitmix64_next(state);
  return t;
}

const char kVersionTag[] = "TESTBUG VERSION: ";
const char kCommitTag[] = "LAST COMMIT: ";
// Longest tag string taken for a tag; anything longer is left for the table check.
constexpr std::uint64_t kMaxTagLength = 60;

std::string invert_bytes(std::string s) {
  for (char& c : s) c = static_cast<char>(~static_cast<unsigned char>(c));
  return s;
}

// Exactly `len` bytes into a zeroed buffer, cut at the first zero byte: a stream that
// ends early gives an empty or short name.
std::string read_stored_name(ReadAble& in, std::size_t len) {
  std::string buf(len, '\0');
  if (len > 0) in.read(&buf[0], len);
  const std::size_t zero = buf.find('\0');
  if (zero != std::string::npos) buf.resize(zero);
  return buf;
}

std::string joined(const std::vector<std::string>& names) {
  std::string all;
  for (const std::string& n : names) all += n;
  return all;
}

void print_name_mismatch(const std::vector<std::string>& expected,
                         const std::vector<std::string>& stored) {
  std::cout << "Error! Parameter Unmatch! " << std::endl;
  std::cout << "Expect parameters: " << std::endl;
  std::cout << joined(expected) << std::endl;
  std::cout << "Read File parameters: " << std::endl;
  std::cout << joined(stored) << std::endl;
}

std::string point_vector_type_name() {
  return std::string("std::vector") + "<" + typeid(Point2).name() + ">";
}

}  // namespace

const std::array<std::uint64_t, 100> tail_key_table = make_tail_key_table();

void scramble_tail_string(std::string& s) {
  if (s.size() < 8) return;
  for (std::size_t i = 0; i + 8 <= s.size(); ++i) {
    std::uint64_t w = 0;
    for (int b = 7; b >= 0; --b) w = (w << 8) | static_cast<unsigned char>(s[i + b]);
    w ^= tail_key_table[i % tail_key_table.size()];
    for (int b = 0; b < 8; ++b) s[i + b] = static_cast<char>((w >> (8 * b)) & 0xFF);
  }
}

// ---- writer

ArchiveWriter::Interface::~Interface() = default;

ArchiveWriter::ArchiveWriter(WriteAble out) : stream(out) {}

bool ArchiveWriter::write_header() {
  std::vector<std::string> names;
  names.reserve(helpers.size());
  for (const auto& h : helpers) names.push_back(h->name());
  stream << (kVersionTag + gCommonVersionStr) << (kCommitTag + gGitCommitSHA1)
         << static_cast<std::uint64_t>(names.size());
  for (const std::string& n : names) {
    const std::string inv = invert_bytes(n);
    stream.write(inv.data(), inv.size());
  }
  return true;
}

bool ArchiveWriter::write_values() {
  const bool compact = gDAConfig.single_stream;
  for (const auto& h : helpers) {
    if (!(compact ? h->write_compact(stream) : h->write(stream))) return false;
  }
  return true;
}

bool ArchiveWriter::write_tail() {
  std::pair<std::vector<std::string>, std::vector<std::string>> lists;
  for (const auto& h : helpers) {
    lists.first.push_back(h->type_name());
    lists.second.push_back(h->name());
  }
  for (std::string& s : lists.first) scramble_tail_string(s);
  for (std::string& s : lists.second) scramble_tail_string(s);
  const std::uint64_t table_start = static_cast<std::uint64_t>(stream.tell());
  stream << lists << table_start;
  // The position just behind this last field: the size of a complete file.
  const std::uint64_t end = static_cast<std::uint64_t>(stream.tell() + 8);
  stream << end;
  return true;
}

bool ArchiveWriter::write_all() { return write_header() && write_values() && write_tail(); }

// ---- reader

ArchiveReader::Interface::~Interface() = default;

ArchiveReader::ArchiveReader(ReadAble in) : stream(in), flags(gDAConfig.gen_flag_map()) {}

void ArchiveReader::skip_tag(const std::string& tag) {
  const std::int64_t pos = stream.tell();
  std::int32_t len = 0;
  stream.read(reinterpret_cast<char*>(&len), sizeof(len));
  stream.seek(pos);
  // Compared unsigned after sign extension: a negative length is far too long.
  const std::uint64_t ulen = static_cast<std::uint64_t>(static_cast<std::int64_t>(len));
  if (ulen > kMaxTagLength || ulen <= tag.size()) return;
  std::string text;
  stream >> text;
  if (text.compare(0, tag.size(), tag) != 0) stream.seek(pos);
}

bool ArchiveReader::check_current_table(const std::vector<std::string>& expected) {
  std::uint64_t count = 0;
  stream.read(reinterpret_cast<char*>(&count), sizeof(count));
  if (count != expected.size()) {
    std::cout << "Error! Parameter Unmatch!" << std::endl;
    std::cout << "Expect parameters number: " << expected.size() << std::endl;
    std::cout << "Read File parameters number: " << count << std::endl;
    return false;
  }
  std::vector<std::string> stored;
  for (const std::string& want : expected) {
    stored.push_back(invert_bytes(read_stored_name(stream, want.size())));
    if (stored.back() != want) {
      print_name_mismatch(expected, stored);
      return false;
    }
  }
  return true;
}

bool ArchiveReader::check_old_table(const std::vector<std::string>& expected) {
  std::int32_t count = -1;
  stream.read(reinterpret_cast<char*>(&count), sizeof(count));
  if (count < 0 || static_cast<std::uint64_t>(count) != expected.size()) {
    std::cout << "Try oldVersion: Error! Parameter Unmatch!" << std::endl;
    std::cout << "Try oldVersion: Expect parameters number: " << expected.size() << std::endl;
    std::cout << "Try oldVersion: Read File parameters number: " << count << std::endl;
    return false;
  }
  for (const std::string& want : expected) {
    if (read_stored_name(stream, want.size()) != want) {
      print_name_mismatch(expected, {});
      return false;
    }
  }
  return true;
}

bool ArchiveReader::read_header() {
  std::vector<std::string> expected;
  expected.reserve(helpers.size());
  for (const auto& h : helpers) expected.push_back(h->name());
  skip_tag(kVersionTag);
  skip_tag(kCommitTag);
  const std::int64_t pos = stream.tell();
  if (check_current_table(expected)) return true;
  stream.seek(pos);
  return check_old_table(expected);
}

bool ArchiveReader::read_values() {
  const bool compact = gDAConfig.single_stream;
  for (const auto& h : helpers) {
    if (!(compact ? h->read_compact(stream) : h->read(stream, flags))) return false;
  }
  return true;
}

// ---- helpers for point vectors

bool ArchiveWriter::helper<std::vector<Point2>>::write(WriteAble out) {
  out << *value_;
  return true;
}
bool ArchiveWriter::helper<std::vector<Point2>>::write_compact(WriteAble out) {
  write_point_vector_compact(out, *value_);
  return true;
}
std::string ArchiveWriter::helper<std::vector<Point2>>::name() { return name_; }
std::string ArchiveWriter::helper<std::vector<Point2>>::type_name() {
  return point_vector_type_name();
}

bool ArchiveReader::helper<std::vector<Point2>>::read(ReadAble in,
                                                      std::map<std::string, std::string>) {
  in >> *value_;
  return true;
}
bool ArchiveReader::helper<std::vector<Point2>>::read_compact(ReadAble in) {
  read_point_vector_compact(in, *value_);
  return true;
}
std::string ArchiveReader::helper<std::vector<Point2>>::name() { return name_; }
std::string ArchiveReader::helper<std::vector<Point2>>::type_name() {
  return point_vector_type_name();
}

}  // namespace Quorvex
