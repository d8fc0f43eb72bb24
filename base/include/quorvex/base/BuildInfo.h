#pragma once

#include <string>

#include "quorvex/base/BaseExport.h"

namespace Quorvex {

// Version of the libraries, written into every testbug file. Mutable so that a host
// program can stamp its own.
QXB_EXPORT extern std::string gCommonVersionStr;
// Commit the libraries were built from; "unknown" when the build could not tell.
QXB_EXPORT extern std::string gGitCommitSHA1;

}  // namespace Quorvex
