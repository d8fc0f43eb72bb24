#pragma once

#include <cstdint>

#include "quorvex/base/MeshReaders.h"

namespace Quorvex {

// Hands whole percentages to a reader's callback: each value at most once and rising, so a
// reader reports at most 101 times however often it asks.
class ProgressMeter {
 public:
  explicit ProgressMeter(const Callback& callback) : callback_(callback) {}

  void report(int percent) {
    if (percent > 100) percent = 100;
    if (!callback_ || percent <= last_) return;
    last_ = percent;
    callback_(last_);
  }
  // `done` out of `total` units; a total of 0 reports nothing.
  void report_fraction(std::uint64_t done, std::uint64_t total) {
    if (total == 0 || !callback_) return;
    // 100 * done cannot overflow for any count that fits in memory.
    report(static_cast<int>(done * 100 / total));
  }
  void finish() { report(100); }

 private:
  const Callback& callback_;
  int last_ = -1;
};

}  // namespace Quorvex
