#pragma once

// Builds expected byte images of the little-endian archive formats, field by field.

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace qxtest {

class ByteImage {
 public:
  ByteImage& i32(std::int32_t v) { return pod(v); }
  ByteImage& u32(std::uint32_t v) { return pod(v); }
  ByteImage& f32(float v) { return pod(v); }
  ByteImage& u64(std::uint64_t v) { return pod(v); }
  ByteImage& raw(const std::string& s) {
    bytes_ += s;
    return *this;
  }
  // i32 length, then the bytes.
  ByteImage& str(const std::string& s) {
    i32(static_cast<std::int32_t>(s.size()));
    return raw(s);
  }
  ByteImage& points(const std::vector<std::pair<float, float>>& pts) {
    i32(static_cast<std::int32_t>(pts.size()));
    for (const auto& p : pts) f32(p.first).f32(p.second);
    return *this;
  }
  const std::string& bytes() const { return bytes_; }
  std::size_t size() const { return bytes_.size(); }

 private:
  // Little-endian by shifting, so that the image does not lean on the host's byte order.
  template <class T>
  ByteImage& pod(T v) {
    static_assert(sizeof(T) == 4 || sizeof(T) == 8, "scalars of the formats");
    using U = typename std::conditional<sizeof(T) == 4, std::uint32_t, std::uint64_t>::type;
    U u = 0;
    std::memcpy(&u, &v, sizeof(T));
    for (std::size_t i = 0; i < sizeof(T); ++i)
      bytes_.push_back(static_cast<char>((u >> (8 * i)) & 0xFF));
    return *this;
  }
  std::string bytes_;
};

inline std::int32_t i32_at(const std::string& s, std::size_t off) {
  std::int32_t v = 0;
  std::memcpy(&v, s.data() + off, sizeof(v));
  return v;
}

inline std::uint64_t u64_at(const std::string& s, std::size_t off) {
  std::uint64_t v = 0;
  std::memcpy(&v, s.data() + off, sizeof(v));
  return v;
}

}  // namespace qxtest
