#pragma once

// Tests that change the global capture configuration restore it on the way out, so
// that the order of tests does not matter.

#include <string>

#include "quorvex/base/BuildInfo.h"
#include "quorvex/base/DataArchiveConfig.h"

namespace qxtest {

class CaptureConfigGuard {
 public:
  CaptureConfigGuard()
      : enabled_(cfg().enabled),
        write_mode_(cfg().write_mode),
        name_with_time_(cfg().name_with_time),
        name_with_thread_(cfg().name_with_thread),
        encode_names_(cfg().encode_names),
        selected_only_(cfg().selected_only),
        single_stream_(cfg().single_stream),
        replay_ok_(cfg().replay_ok),
        inner_call_(Quorvex::gDebugDS.inner_call),
        store_path_(cfg().get_store_path()),
        version_(Quorvex::gCommonVersionStr),
        commit_(Quorvex::gGitCommitSHA1) {}

  ~CaptureConfigGuard() {
    cfg().enabled = enabled_;
    cfg().write_mode = write_mode_;
    cfg().name_with_time = name_with_time_;
    cfg().name_with_thread = name_with_thread_;
    cfg().encode_names = encode_names_;
    cfg().selected_only = selected_only_;
    cfg().single_stream = single_stream_;
    cfg().replay_ok = replay_ok_;
    if (cfg().stream.is_open()) cfg().stream.close();
    cfg().stream.clear();
    cfg().clear_selected();
    cfg().set_store_path(store_path_);
    Quorvex::gDebugDS.inner_call = inner_call_;
    Quorvex::gCommonVersionStr = version_;
    Quorvex::gGitCommitSHA1 = commit_;
  }

  CaptureConfigGuard(const CaptureConfigGuard&) = delete;
  CaptureConfigGuard& operator=(const CaptureConfigGuard&) = delete;

 private:
  static Quorvex::DataArchiveConfig& cfg() { return Quorvex::gDAConfig; }

  bool enabled_, write_mode_, name_with_time_, name_with_thread_, encode_names_, selected_only_,
      single_stream_, replay_ok_, inner_call_;
  std::string store_path_, version_, commit_;
};

}  // namespace qxtest
