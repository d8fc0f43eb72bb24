#pragma once

// Keeps the log lines of one severity sent while it lives, so that tests can pin the
// exact text of warnings and errors.

#include <glog/logging.h>

#include <mutex>
#include <string>
#include <vector>

namespace qxtest {

class LogLines : public google::LogSink {
 public:
  explicit LogLines(google::LogSeverity severity = google::GLOG_ERROR) : severity_(severity) {
    google::AddLogSink(this);
  }
  ~LogLines() override { google::RemoveLogSink(this); }
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;

  // Runs under glog's lock.
  void send(google::LogSeverity severity, const char*, const char*, int,
            const google::LogMessageTime&, const char* message, size_t length) override {
    if (severity != severity_) return;
    std::lock_guard<std::mutex> lock(mutex_);
    lines_.emplace_back(message, length);
  }

  std::vector<std::string> lines() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
  }

  bool has_line_with(const std::string& a, const std::string& b = "") const {
    for (const std::string& l : lines()) {
      if (l.find(a) != std::string::npos && l.find(b) != std::string::npos) return true;
    }
    return false;
  }

 private:
  const google::LogSeverity severity_;
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace qxtest
