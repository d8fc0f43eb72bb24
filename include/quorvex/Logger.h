#pragma once

#include "quorvex/Export.h"

namespace Quorvex {

// Starts the library's logging once per process; later calls keep the first settings.
// Every call writes the info line "qx logger init". Call it first, from one thread. In a
// program that started glog itself beforehand, the settings still apply but glog is not
// started again (it would abort): the log files keep that program's name, and glog is
// left for it to shut down.
//   min_level       lowest severity that is logged (0 info, 1 warning, 2 error)
//   log_dir         folder for the log files
//   to_stderr       log to standard error as well or instead
//   also_to_stderr  with to_stderr: true for "as well", false for "instead"
QX_EXPORT void qx_init_logger(int min_level, const char* log_dir, bool to_stderr,
                              bool also_to_stderr);

}  // namespace Quorvex
