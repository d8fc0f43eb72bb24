#pragma once

#include <ios>

namespace Quorvex {

// Lets a reader work on a caller's stream as if it raised nothing, whatever exception mask
// the caller gave it: reading to the end sets eofbit and failbit, which a mask would turn
// into an exception that skips the reader's own failure handling. The mask comes back when
// the pause ends, and the state flags stay as the reading left them.
//
// Putting the mask back makes the stream raise at once when its state already holds a bit
// of the mask (after any read to the end, if the mask holds eofbit or failbit). That is not
// let out: the reader reports through its value, and the caller finds the flags in the
// stream, whose next checked operation raises as the mask asks.
//
// quorvexBase keeps a copy of its own: neither library reaches into the other's sources.
class StreamExceptionPause {
 public:
  explicit StreamExceptionPause(std::ios& stream) : stream_(stream), saved_(stream.exceptions()) {
    stream_.exceptions(std::ios_base::goodbit);
  }
  ~StreamExceptionPause() {
    // The standard sets the mask before it checks the state, so it is back even when the
    // check raises. Caught as anything: libstdc++ has one ios_base::failure per ABI.
    try {
      stream_.exceptions(saved_);
    } catch (...) {
    }
  }
  StreamExceptionPause(const StreamExceptionPause&) = delete;
  StreamExceptionPause& operator=(const StreamExceptionPause&) = delete;

 private:
  std::ios& stream_;
  std::ios_base::iostate saved_;
};

}  // namespace Quorvex
