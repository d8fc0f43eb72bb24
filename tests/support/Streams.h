#pragma once

// Streams with the limits of pipes and the like, for the readers' and writers' tests.

#include <ios>
#include <iostream>
#include <memory>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace qxtest {

// Can neither seek nor tell: the reader cannot learn the size ahead.
class ForwardOnlyBuffer : public std::streambuf {
 public:
  explicit ForwardOnlyBuffer(std::string bytes) : bytes_(std::move(bytes)) {
    setg(&bytes_[0], &bytes_[0], &bytes_[0] + bytes_.size());
  }

 private:
  std::string bytes_;
};

// Seeking throws, as it does in buffers that decompress or filter what they read.
class ThrowingSeekBuffer : public ForwardOnlyBuffer {
 public:
  using ForwardOnlyBuffer::ForwardOnlyBuffer;

 protected:
  pos_type seekoff(off_type, std::ios_base::seekdir, std::ios_base::openmode) override {
    throw std::ios_base::failure("no random access");
  }
  pos_type seekpos(pos_type, std::ios_base::openmode) override {
    throw std::ios_base::failure("no random access");
  }
};

// Tells its position but cannot seek anywhere, its end included.
class TellOnlyBuffer : public ForwardOnlyBuffer {
 public:
  using ForwardOnlyBuffer::ForwardOnlyBuffer;

 protected:
  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) override {
    if (off == 0 && dir == std::ios_base::cur) return pos_type(gptr() - eback());
    return pos_type(off_type(-1));
  }
};

// Says it holds `extra` bytes more than it does, as a file cut while it is read would.
class OverstatingBuffer : public ForwardOnlyBuffer {
 public:
  OverstatingBuffer(std::string bytes, off_type extra)
      : ForwardOnlyBuffer(std::move(bytes)), extra_(extra) {}

 protected:
  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) override {
    const off_type at = gptr() - eback();
    const off_type size = egptr() - eback();
    const off_type to = dir == std::ios_base::cur   ? at + off
                        : dir == std::ios_base::end ? size + extra_ + off
                                                    : off;
    if (to >= 0 && to <= size) setg(eback(), eback() + to, egptr());
    return pos_type(to);
  }
  pos_type seekpos(pos_type to, std::ios_base::openmode which) override {
    return seekoff(off_type(to), std::ios_base::beg, which);
  }

 private:
  off_type extra_;
};

// Every kind of input stream the archive readers must take: one that can seek, and the
// three ways one can fail to.
inline std::vector<std::unique_ptr<std::streambuf>> every_kind_of_input(const std::string& bytes) {
  std::vector<std::unique_ptr<std::streambuf>> buffers;
  buffers.push_back(std::make_unique<std::stringbuf>(bytes, std::ios_base::in));
  buffers.push_back(std::make_unique<ForwardOnlyBuffer>(bytes));
  buffers.push_back(std::make_unique<ThrowingSeekBuffer>(bytes));
  buffers.push_back(std::make_unique<TellOnlyBuffer>(bytes));
  return buffers;
}

// Swallows what is printed to std::cout while it lives.
class SilenceCout {
 public:
  SilenceCout() : old_(std::cout.rdbuf(sink_.rdbuf())) {}
  ~SilenceCout() { std::cout.rdbuf(old_); }
  SilenceCout(const SilenceCout&) = delete;
  SilenceCout& operator=(const SilenceCout&) = delete;

 private:
  std::ostringstream sink_;
  std::streambuf* old_;
};

}  // namespace qxtest
