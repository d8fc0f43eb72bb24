#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <istream>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Point2.h"

// Byte sources and sinks under every binary archive of the library, and the primitive
// encodings the archives are made of. Values are stored as their little-endian memory
// image, with nothing between them.

namespace Quorvex {

// A byte source with a position.
class QX_EXPORT ReadAbleInterface {
 public:
  virtual ~ReadAbleInterface();
  // True when the call was made (or `count` is 0); a short read still answers true,
  // callers that care ask has_failed.
  virtual bool read(char* buffer, std::size_t count) = 0;
  virtual bool is_null();
  virtual std::int64_t tell() = 0;
  virtual void seek(std::int64_t position) = 0;
  virtual std::int64_t size() = 0;
  // True when any state flag of the stream is set: the end of the data counts too.
  virtual bool has_failed() = 0;
};

// A byte sink with a position.
class QX_EXPORT WriteAbleInterface {
 public:
  virtual ~WriteAbleInterface();
  virtual bool write(const char* buffer, std::size_t count) = 0;
  virtual bool is_null();
  virtual std::int64_t tell() = 0;
  virtual int seek(std::int64_t position) = 0;
};

// Stands for a file that did not open: delivers nothing and reports failure.
class QX_EXPORT NullReadAble : public ReadAbleInterface {
 public:
  bool read(char* buffer, std::size_t count) override;
  bool is_null() override;
  std::int64_t tell() override;
  void seek(std::int64_t position) override;
  std::int64_t size() override;
  bool has_failed() override;
};

class QX_EXPORT NullWriteAble : public WriteAbleInterface {
 public:
  bool write(const char* buffer, std::size_t count) override;
  bool is_null() override;
  std::int64_t tell() override;
  int seek(std::int64_t position) override;
};

namespace ReadInternal {

// Adapters on a caller's stream; they never own it.
class QX_EXPORT isCapture : public ReadAbleInterface {
 public:
  explicit isCapture(std::istream& stream) : stream_(&stream) {}
  bool read(char* buffer, std::size_t count) override;
  std::int64_t tell() override;
  void seek(std::int64_t position) override;
  std::int64_t size() override;
  bool has_failed() override;
  std::istream* stream() const { return stream_; }

 private:
  std::istream* stream_;
};

class QX_EXPORT ifsCapture : public ReadAbleInterface {
 public:
  explicit ifsCapture(std::ifstream& stream) : stream_(&stream) {}
  bool read(char* buffer, std::size_t count) override;
  std::int64_t tell() override;
  void seek(std::int64_t position) override;
  std::int64_t size() override;
  bool has_failed() override;
  std::istream* stream() const { return stream_; }

 private:
  std::ifstream* stream_;
};

}  // namespace ReadInternal

namespace WriteInternal {

class QX_EXPORT osCapture : public WriteAbleInterface {
 public:
  explicit osCapture(std::ostream& stream) : stream_(&stream) {}
  bool write(const char* buffer, std::size_t count) override;
  std::int64_t tell() override;
  int seek(std::int64_t position) override;

 private:
  std::ostream* stream_;
};

class QX_EXPORT ofsCapture : public WriteAbleInterface {
 public:
  explicit ofsCapture(std::ofstream& stream) : stream_(&stream) {}
  bool write(const char* buffer, std::size_t count) override;
  std::int64_t tell() override;
  int seek(std::int64_t position) override;

 private:
  std::ofstream* stream_;
};

}  // namespace WriteInternal

// Owner of an adapter shared by handle copies: a pointer and a separate heap use count,
// both set or both null. The count is not atomic: a handle and its copies belong to one
// thread at a time.
template <class T>
class CountedPtr {
 public:
  CountedPtr() = default;
  explicit CountedPtr(T* p) : ptr_(p) {
    try {
      count_ = new std::uint32_t(1);
    } catch (...) {
      delete p;
      ptr_ = nullptr;
      throw;
    }
  }
  CountedPtr(const CountedPtr& o) : ptr_(o.ptr_), count_(o.count_) {
    if (count_) ++*count_;
  }
  CountedPtr& operator=(const CountedPtr& o) {
    if (this != &o) {
      CountedPtr tmp(o);
      take_over(tmp);
    }
    return *this;
  }
  ~CountedPtr() { release(); }

  // Releases what this held, then takes pointer and count from `tmp`, leaving it empty.
  void take_over(CountedPtr& tmp) {
    release();
    ptr_ = tmp.ptr_;
    count_ = tmp.count_;
    tmp.ptr_ = nullptr;
    tmp.count_ = nullptr;
  }

  T* get() const { return ptr_; }
  std::uint32_t use_count() const { return count_ ? *count_ : 0u; }

 private:
  void release() {
    if (count_ && --*count_ == 0) {
      delete ptr_;
      delete count_;
    }
    ptr_ = nullptr;
    count_ = nullptr;
  }

  T* ptr_ = nullptr;
  std::uint32_t* count_ = nullptr;
};

// Value-like handle on a byte source: copies share one adapter. The stream must outlive
// every copy. A handle without adapter answers like the null adapter.
class QX_EXPORT ReadAble : public ReadAbleInterface {
 public:
  explicit ReadAble(std::istream& stream);
  // The null adapter when the file is not open, for good: opening it later changes nothing.
  explicit ReadAble(std::ifstream& stream);
  ReadAble(const ReadAble& other) = default;
  ReadAble& operator=(const ReadAble& other) = default;
  ~ReadAble() override;

  bool read(char* buffer, std::size_t count) override;
  bool is_null() override;
  std::int64_t tell() override;
  void seek(std::int64_t position) override;
  std::int64_t size() override;
  bool has_failed() override;

  std::uint32_t use_count() const { return adapter_.use_count(); }
  // The stream the adapter reads; null for the null adapter.
  std::istream* stream() const;

 private:
  CountedPtr<ReadAbleInterface> adapter_;
};

class QX_EXPORT WriteAble : public WriteAbleInterface {
 public:
  explicit WriteAble(std::ostream& stream);
  explicit WriteAble(std::ofstream& stream);
  WriteAble(const WriteAble& other) = default;
  WriteAble& operator=(const WriteAble& other) = default;
  ~WriteAble() override;

  bool write(const char* buffer, std::size_t count) override;
  bool is_null() override;
  std::int64_t tell() override;
  int seek(std::int64_t position) override;

  std::uint32_t use_count() const { return adapter_.use_count(); }

 private:
  CountedPtr<WriteAbleInterface> adapter_;
};

// Bulk point vector: an i32 count, then the points as one block. A count of 0 or less
// stands alone. Reading resizes to the stored count and reads the block in one call;
// points the stream does not deliver stay at (0, 0), unless they would take more than
// kMaxUndeliveredBytes: such a count is damage, not a short tail, and the vector keeps only
// the points the stream holds (read_block_bounded).
QX_EXPORT ReadAble operator>>(ReadAble in, std::vector<Point2>& v);
QX_EXPORT WriteAble operator<<(WriteAble out, const std::vector<Point2>& v);

// ---- Primitive encodings used inside the library's archives (header-only, not exported).
// Undelivered bytes a block read may still stand for by padding. A stored count is only a
// promise: a damaged or hostile stream can promise gigabytes in four bytes, and a reader
// must not allocate on its word alone.
constexpr std::size_t kMaxUndeliveredBytes = std::size_t{1} << 20;

// Bytes left behind the position of `in`, or -1 when the stream cannot tell (not seekable,
// or already failed). Asked of the stream's buffer, which may have to seek to its end and
// back; the stream's state and position stay as they were, so a reader may ask any stream.
QX_EXPORT std::int64_t bytes_left(ReadAble& in);
// Bytes `in` is sure to deliver, as its buffer tells them without seeking (in_avail), 0 when
// it cannot tell. A block no larger than that arrives whole.
QX_EXPORT std::int64_t bytes_ready(ReadAble& in);

// Reads `count` elements of `elem_size` bytes into storage that `grow(k)` makes room for
// (k elements in all, new ones set to the caller's fill value, returning the start of the
// storage),
// and gives the number of elements the caller keeps. When the stream holds the whole block,
// or lacks at most kMaxUndeliveredBytes of it, that is `count`, and what the stream does not
// deliver keeps the fill value. Beyond that only the elements the stream holds are kept
// (for a stream that cannot tell its size: the complete chunks it delivered), and the
// stream is left at its end with its failure flags set.
template <class Grow>
std::size_t read_block_bounded(ReadAble& in, std::size_t count, std::size_t elem_size, Grow grow);

// Above this many points the element-wise encoding keeps only the count.
constexpr std::int32_t kCompactPointLimit = 1000;

// A 4-byte scalar; it stays 0 when the stream does not deliver it.
inline ReadAble operator>>(ReadAble in, int& v) {
  v = 0;
  in.read(reinterpret_cast<char*>(&v), sizeof(v));
  return in;
}

// Any 8-byte scalar (64-bit integers, double, Point2) as its memory image. Pointers are
// not values of an archive.
template <class T, typename std::enable_if<sizeof(T) == 8 && std::is_trivially_copyable<T>::value &&
                                               !std::is_pointer<T>::value,
                                           int>::type = 0>
inline WriteAble operator<<(WriteAble out, const T& v) {
  out.write(reinterpret_cast<const char*>(&v), sizeof(T));
  return out;
}

// String: i32 length, then the bytes with no terminator.
inline WriteAble operator<<(WriteAble out, const std::string& s) {
  const std::int32_t n = static_cast<std::int32_t>(s.size());
  out.write(reinterpret_cast<const char*>(&n), sizeof(n));
  if (n > 0) out.write(s.data(), static_cast<std::size_t>(n));
  return out;
}

// Bytes the stream does not deliver stay newlines, within the bound of read_block_bounded.
inline ReadAble operator>>(ReadAble in, std::string& s) {
  s.clear();
  std::int32_t n = 0;
  in.read(reinterpret_cast<char*>(&n), sizeof(n));
  if (n <= 0) return in;
  std::string tmp;
  tmp.resize(read_block_bounded(in, static_cast<std::size_t>(n), 1, [&](std::size_t k) {
    tmp.resize(k, '\n');
    return &tmp[0];
  }));
  s = std::move(tmp);
  return in;
}

// Two string vectors, first member then second: each an i32 count and that many strings.
inline WriteAble operator<<(
    WriteAble out, const std::pair<std::vector<std::string>, std::vector<std::string>>& p) {
  for (const std::vector<std::string>* list : {&p.first, &p.second}) {
    const std::int32_t n = static_cast<std::int32_t>(list->size());
    out.write(reinterpret_cast<const char*>(&n), sizeof(n));
    for (const std::string& s : *list) out << s;
  }
  return out;
}

// Element-wise point vector: i32 count, then each point by its own call, but only for at
// most kCompactPointLimit points; a longer vector keeps only its length.
inline WriteAble write_point_vector_compact(WriteAble out, const std::vector<Point2>& v) {
  const std::int32_t n = static_cast<std::int32_t>(v.size());
  out.write(reinterpret_cast<const char*>(&n), sizeof(n));
  if (n <= kCompactPointLimit) {
    for (std::int32_t i = 0; i < n; ++i) {
      out.write(reinterpret_cast<const char*>(&v[static_cast<std::size_t>(i)]), sizeof(Point2));
    }
  }
  return out;
}

// A stored count above the limit gives that many default points and consumes no element.
inline ReadAble read_point_vector_compact(ReadAble in, std::vector<Point2>& v) {
  v.clear();
  std::int32_t n = 0;
  in.read(reinterpret_cast<char*>(&n), sizeof(n));
  if (n < 0) return in;
  v.resize(static_cast<std::size_t>(n));
  if (n > kCompactPointLimit) return in;
  for (Point2& p : v) in.read(reinterpret_cast<char*>(&p), sizeof(Point2));
  return in;
}

template <class Grow>
std::size_t read_block_bounded(ReadAble& in, std::size_t count, std::size_t elem_size, Grow grow) {
  if (count == 0) return 0;
  const std::size_t slack = kMaxUndeliveredBytes / elem_size;
  // Within the padding a short stream may leave, every stream gets the whole count: the
  // size, which may cost the stream's buffer a seek to its end and back, is not needed.
  if (count <= slack) {
    in.read(grow(count), count * elem_size);
    return count;
  }
  const std::int64_t left = bytes_left(in);
  if (left >= 0) {
    const std::size_t held = static_cast<std::size_t>(left) / elem_size;
    if (count <= held || count - held <= slack) {
      in.read(grow(count), count * elem_size);
      return count;
    }
    if (held > 0) in.read(grow(held), held * elem_size);
    char scratch[16];
    in.read(scratch, static_cast<std::size_t>(left) - held * elem_size + 1);  // sets the flags
    return held;
  }
  // Unknown size: chunks that double, each read only after the one before arrived whole.
  std::size_t done = 0;
  std::size_t chunk = slack > 0 ? slack : 1;
  while (done < count) {
    const std::size_t n = chunk < count - done ? chunk : count - done;
    char* base = grow(done + n);
    in.read(base + done * elem_size, n * elem_size);
    if (in.has_failed()) {
      if (count - done <= slack) {
        grow(count);
        return count;
      }
      return done;
    }
    done += n;
    chunk *= 2;
  }
  return count;
}

}  // namespace Quorvex
