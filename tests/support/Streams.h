#pragma once

// Streams with the limits of pipes and the like, for the readers' and writers' tests.

#include <iostream>
#include <sstream>
#include <streambuf>
#include <string>

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
