#include "quorvex/Logger.h"

#include <glog/logging.h>

namespace Quorvex {

namespace {
// Constructed on the first call only; its destructor shuts logging down at exit.
struct LoggerStartup {
  LoggerStartup(int min_level, const char* log_dir, bool to_stderr, bool also_to_stderr) {
    FLAGS_log_dir = log_dir != nullptr ? log_dir : "";
    if (to_stderr) {
      if (also_to_stderr) {
        FLAGS_alsologtostderr = true;
      } else {
        FLAGS_logtostderr = true;
      }
    }
    FLAGS_minloglevel = min_level;
    FLAGS_logbuflevel = -1;
    // A host program may have started glog itself; starting it twice aborts.
    if (!google::IsGoogleLoggingInitialized()) {
      google::InitGoogleLogging("LOG");
      owns_ = true;
    }
  }
  ~LoggerStartup() {
    if (owns_) google::ShutdownGoogleLogging();
  }
  LoggerStartup(const LoggerStartup&) = delete;
  LoggerStartup& operator=(const LoggerStartup&) = delete;

 private:
  bool owns_ = false;
};
}  // namespace

void qx_init_logger(int min_level, const char* log_dir, bool to_stderr, bool also_to_stderr) {
  static LoggerStartup startup(min_level, log_dir, to_stderr, also_to_stderr);
  LOG(INFO) << "qx logger init";
}

}  // namespace Quorvex
