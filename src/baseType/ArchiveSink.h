#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ios>
#include <limits>
#include <ostream>
#include <streambuf>

#include "StreamingCopy.h"
#include "quorvex/capture/ArchiveStream.h"

namespace Quorvex {

// The writing side of one write_archive call. The fields of a path (type, z, width, id,
// counts, colours, components) are a few bytes each; handing each one to the stream costs a
// call through the handle, the adapter and the stream's sentry, about as much as copying a
// hundred bytes. They are gathered here and go out together with the next block of points,
// which goes out in one call of its own as before. The bytes and their order are those of
// one write per field.
//
// When the handle was made for a standard stream here, the sink also knows that stream, and
// a large block that fits in the stream's buffer as it stands is copied there directly, as
// the stream's own write would, but with streaming stores once the output has outgrown the
// cache (see streaming_copy). A stream in memory over a large fixed buffer takes a whole
// model this way.
class ArchiveSink {
 public:
  explicit ArchiveSink(WriteAble& out, std::ostream* stream = nullptr)
      : out_(out), stream_(stream) {}
  // Whatever is still gathered is dropped: the writer flushes at its end, so that an
  // exception of a failing stream reaches the caller rather than a destructor, and a write
  // that failed part way does not go on writing while the exception unwinds.
  ~ArchiveSink() = default;
  ArchiveSink(const ArchiveSink&) = delete;
  ArchiveSink& operator=(const ArchiveSink&) = delete;

  void put_i32(std::int32_t v) { put(&v, sizeof(v)); }
  void put_f32(float v) { put(&v, sizeof(v)); }

  // A field or a block of fields: gathered while it fits.
  void put(const void* data, std::size_t count) {
    if (count > kBytes - used_) {
      flush();
      if (count > kBytes) {
        out_.write(static_cast<const char*>(data), count);
        written_ += count;
        return;
      }
    }
    std::memcpy(buffer_ + used_, data, count);
    used_ += count;
  }

  // A block of points or offsets: large ones go to the stream directly, after whatever was
  // gathered before them.
  void put_block(const void* data, std::size_t count) {
    if (count <= kSmallBlock) {
      put(data, count);
      return;
    }
    flush();
    if (!put_directly(static_cast<const char*>(data), count)) {
      out_.write(static_cast<const char*>(data), count);
    }
    written_ += count;
  }

  void flush() {
    if (used_ == 0) return;
    const std::size_t count = used_;
    used_ = 0;  // first: a stream that throws must not get these bytes again
    if (!put_directly(buffer_, count)) out_.write(buffer_, count);
    written_ += count;
  }

 private:
  // The put area of a stream buffer, which only the buffer's own class may reach by name.
  // Going through a pointer to member named by a derived class is the standard's way around.
  struct PutArea : std::streambuf {
    static char* next(std::streambuf& b) { return (b.*&PutArea::pptr)(); }
    static char* end(std::streambuf& b) { return (b.*&PutArea::epptr)(); }
    static void advance(std::streambuf& b, int n) { (b.*&PutArea::pbump)(n); }
  };

  // What std::ostream::write does when the buffer has room, without its per-call checks
  // beyond the ones that could change the outcome: a stream in a good state, not tied to
  // another one and not flushed after every output. Anything else takes the stream's write.
  bool put_directly(const char* data, std::size_t count) {
    if (stream_ == nullptr || !stream_->good() || stream_->tie() != nullptr ||
        (stream_->flags() & std::ios_base::unitbuf) != 0) {
      return false;
    }
    std::streambuf* buffer = stream_->rdbuf();
    if (buffer == nullptr) return false;
    char* to = PutArea::next(*buffer);
    if (to == nullptr || static_cast<std::size_t>(PutArea::end(*buffer) - to) < count) {
      return false;
    }
    if (count >= kStreamBlock && written_ >= kStreamAfter) {
      streaming_copy(to, data, count);
    } else {
      std::memcpy(to, data, count);
    }
    for (std::size_t left = count; left > 0;) {
      const int step =
          static_cast<int>(left < static_cast<std::size_t>(std::numeric_limits<int>::max())
                               ? left
                               : static_cast<std::size_t>(std::numeric_limits<int>::max()));
      PutArea::advance(*buffer, step);
      left -= static_cast<std::size_t>(step);
    }
    return true;
  }

  static constexpr std::size_t kBytes = 4096;
  // Below this a block is cheaper to copy once more than to hand over in a call of its own.
  static constexpr std::size_t kSmallBlock = 256;
  // Output beyond this has pushed the start of the archive out of the caches anyway.
  static constexpr std::size_t kStreamAfter = std::size_t{8} << 20;
  // Streaming stores pay off for whole lines; the gathered fields stay in the cache.
  static constexpr std::size_t kStreamBlock = 1024;

  WriteAble& out_;
  std::ostream* stream_;
  std::size_t written_ = 0;  // bytes handed on so far
  std::size_t used_ = 0;
  char buffer_[kBytes];
};

// One write through a sink: `write(sink)`, then what it gathered goes out.
template <class Write>
void write_gathered(WriteAble& out, std::ostream* stream, Write write) {
  ArchiveSink sink(out, stream);
  write(sink);
  sink.flush();
}

}  // namespace Quorvex
