#include "quorvex/capture/ArchiveStream.h"

namespace Quorvex {

ReadAbleInterface::~ReadAbleInterface() = default;
bool ReadAbleInterface::is_null() { return false; }
WriteAbleInterface::~WriteAbleInterface() = default;
bool WriteAbleInterface::is_null() { return false; }

bool NullReadAble::read(char*, std::size_t) { return false; }
bool NullReadAble::is_null() { return true; }
std::int64_t NullReadAble::tell() { return 0; }
void NullReadAble::seek(std::int64_t) {}
std::int64_t NullReadAble::size() { return 0; }
bool NullReadAble::has_failed() { return true; }

bool NullWriteAble::write(const char*, std::size_t) { return false; }
bool NullWriteAble::is_null() { return true; }
std::int64_t NullWriteAble::tell() { return 0; }
int NullWriteAble::seek(std::int64_t) { return -1; }

namespace {

// The two input adapters differ only in the stream type they were built on.
bool stream_read(std::istream& s, char* buffer, std::size_t count) {
  if (count == 0) return true;
  if (buffer == nullptr) return false;
  s.read(buffer, static_cast<std::streamsize>(count));
  return true;
}

std::int64_t stream_size(std::istream& s) {
  const std::istream::pos_type here = s.tellg();
  s.seekg(0, std::ios_base::end);
  const std::istream::pos_type end = s.tellg();
  s.seekg(here);
  return static_cast<std::int64_t>(end);
}

// Asked of the stream's buffer, not the stream: tellg and seekg set failure flags when the
// buffer cannot seek, or turn its exception into bad(), and a reader that only wanted to
// bound its allocations would then read nothing at all (a stream that decompresses is one).
std::int64_t buffer_bytes_left(std::istream& s) {
  std::streambuf* buffer = s.rdbuf();
  if (!s.good() || buffer == nullptr) return -1;
  using Pos = std::streambuf::pos_type;
  const Pos failed = Pos(std::streambuf::off_type(-1));
  bool moved = false;
  try {
    const Pos here = buffer->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
    if (here == failed) return -1;
    const Pos end = buffer->pubseekoff(0, std::ios_base::end, std::ios_base::in);
    if (end == failed) return -1;
    moved = true;
    if (buffer->pubseekpos(here, std::ios_base::in) == here) {
      const std::int64_t left = static_cast<std::int64_t>(end) - static_cast<std::int64_t>(here);
      return left >= 0 ? left : -1;
    }
  } catch (...) {
    if (!moved) return -1;
  }
  s.setstate(std::ios_base::badbit);  // lost its place: reading on would give wrong data
  return -1;
}

bool stream_write(std::ostream& s, const char* buffer, std::size_t count) {
  if (count == 0) return true;
  if (buffer == nullptr) return false;
  s.write(buffer, static_cast<std::streamsize>(count));
  return true;
}

}  // namespace

namespace ReadInternal {

bool isCapture::read(char* buffer, std::size_t count) {
  return stream_read(*stream_, buffer, count);
}
std::int64_t isCapture::tell() { return static_cast<std::int64_t>(stream_->tellg()); }
void isCapture::seek(std::int64_t position) { stream_->seekg(position, std::ios_base::beg); }
std::int64_t isCapture::size() { return stream_size(*stream_); }
bool isCapture::has_failed() { return stream_->rdstate() != std::ios_base::goodbit; }

bool ifsCapture::read(char* buffer, std::size_t count) {
  return stream_read(*stream_, buffer, count);
}
std::int64_t ifsCapture::tell() { return static_cast<std::int64_t>(stream_->tellg()); }
void ifsCapture::seek(std::int64_t position) { stream_->seekg(position, std::ios_base::beg); }
std::int64_t ifsCapture::size() { return stream_size(*stream_); }
bool ifsCapture::has_failed() { return stream_->rdstate() != std::ios_base::goodbit; }

}  // namespace ReadInternal

namespace WriteInternal {

bool osCapture::write(const char* buffer, std::size_t count) {
  return stream_write(*stream_, buffer, count);
}
std::int64_t osCapture::tell() { return static_cast<std::int64_t>(stream_->tellp()); }
int osCapture::seek(std::int64_t position) {
  stream_->seekp(position);
  return 0;
}

bool ofsCapture::write(const char* buffer, std::size_t count) {
  return stream_write(*stream_, buffer, count);
}
std::int64_t ofsCapture::tell() { return static_cast<std::int64_t>(stream_->tellp()); }
int ofsCapture::seek(std::int64_t position) {
  stream_->seekp(position);
  return 0;
}

}  // namespace WriteInternal

// Every stream constructor starts from the null adapter and swaps in the stream adapter
// where the stream qualifies, so a handle always has an adapter.
ReadAble::ReadAble(std::istream& stream) : adapter_(new NullReadAble) {
  CountedPtr<ReadAbleInterface> tmp(new ReadInternal::isCapture(stream));
  adapter_.take_over(tmp);
}

ReadAble::ReadAble(std::ifstream& stream) : adapter_(new NullReadAble) {
  if (stream.is_open()) {
    CountedPtr<ReadAbleInterface> tmp(new ReadInternal::ifsCapture(stream));
    adapter_.take_over(tmp);
  }
}

ReadAble::~ReadAble() = default;

bool ReadAble::read(char* buffer, std::size_t count) {
  return adapter_.get() ? adapter_.get()->read(buffer, count) : false;
}
bool ReadAble::is_null() { return adapter_.get() ? adapter_.get()->is_null() : true; }
std::int64_t ReadAble::tell() { return adapter_.get() ? adapter_.get()->tell() : 0; }
void ReadAble::seek(std::int64_t position) {
  if (adapter_.get()) adapter_.get()->seek(position);
}
std::int64_t ReadAble::size() { return adapter_.get() ? adapter_.get()->size() : 0; }
bool ReadAble::has_failed() { return adapter_.get() ? adapter_.get()->has_failed() : true; }
std::istream* ReadAble::stream() const {
  const ReadAbleInterface* adapter = adapter_.get();
  if (auto* capture = dynamic_cast<const ReadInternal::isCapture*>(adapter)) {
    return capture->stream();
  }
  if (auto* capture = dynamic_cast<const ReadInternal::ifsCapture*>(adapter)) {
    return capture->stream();
  }
  return nullptr;
}

WriteAble::WriteAble(std::ostream& stream) : adapter_(new NullWriteAble) {
  CountedPtr<WriteAbleInterface> tmp(new WriteInternal::osCapture(stream));
  adapter_.take_over(tmp);
}

WriteAble::WriteAble(std::ofstream& stream) : adapter_(new NullWriteAble) {
  if (stream.is_open()) {
    CountedPtr<WriteAbleInterface> tmp(new WriteInternal::ofsCapture(stream));
    adapter_.take_over(tmp);
  }
}

WriteAble::~WriteAble() = default;

bool WriteAble::write(const char* buffer, std::size_t count) {
  return adapter_.get() ? adapter_.get()->write(buffer, count) : false;
}
bool WriteAble::is_null() { return adapter_.get() ? adapter_.get()->is_null() : true; }
std::int64_t WriteAble::tell() { return adapter_.get() ? adapter_.get()->tell() : 0; }
int WriteAble::seek(std::int64_t position) {
  return adapter_.get() ? adapter_.get()->seek(position) : -1;
}

std::int64_t bytes_left(ReadAble& in) {
  std::istream* s = in.stream();
  return s != nullptr ? buffer_bytes_left(*s) : -1;
}

std::int64_t bytes_ready(ReadAble& in) {
  std::istream* s = in.stream();
  std::streambuf* buffer = s != nullptr ? s->rdbuf() : nullptr;
  if (buffer == nullptr || !s->good()) return 0;
  try {
    const std::streamsize ready = buffer->in_avail();
    return ready > 0 ? static_cast<std::int64_t>(ready) : 0;
  } catch (...) {
    return 0;
  }
}

ReadAble operator>>(ReadAble in, std::vector<Point2>& v) {
  v.clear();
  std::int32_t n = 0;
  in.read(reinterpret_cast<char*>(&n), sizeof(n));
  if (n > 0) {
    v.resize(
        read_block_bounded(in, static_cast<std::size_t>(n), sizeof(Point2), [&](std::size_t k) {
          v.resize(k);
          return reinterpret_cast<char*>(v.data());
        }));
  }
  return in;
}

WriteAble operator<<(WriteAble out, const std::vector<Point2>& v) {
  const std::int32_t n = static_cast<std::int32_t>(v.size());
  out.write(reinterpret_cast<const char*>(&n), sizeof(n));
  if (n > 0) {
    out.write(reinterpret_cast<const char*>(v.data()),
              static_cast<std::size_t>(n) * sizeof(Point2));
  }
  return out;
}

}  // namespace Quorvex
