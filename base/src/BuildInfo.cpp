#include "quorvex/base/BuildInfo.h"

namespace Quorvex {

namespace {
#if defined(QUORVEX_VERSION_STRING)
constexpr const char kVersion[] = QUORVEX_VERSION_STRING;
#else
constexpr const char kVersion[] = "0.0.0";
#endif
#if defined(QUORVEX_GIT_SHA1_STRING)
constexpr const char kCommit[] = QUORVEX_GIT_SHA1_STRING;
#else
constexpr const char kCommit[] = "";
#endif

// An empty commit id would make the commit tag of a testbug file too short to be
// recognised on replay, so a build that cannot tell says so in words.
std::string initial_commit() { return kCommit[0] != '\0' ? kCommit : "unknown"; }
}  // namespace

std::string gCommonVersionStr = kVersion;
std::string gGitCommitSHA1 = initial_commit();

}  // namespace Quorvex
