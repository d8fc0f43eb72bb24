// Replay of a testbug file: capture_parameter in replay mode reads the fuzz bytes as the
// stored input of a call. The first byte picks how the file is looked up.
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "quorvex/base/DataArchiveConfig.h"
#include "quorvex/baseType/Point2.h"
#include "quorvex/capture/TestBug.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QuorvexFuzz::quiet_process();
  if (size < 1) return 0;
  Quorvex::DataArchiveConfig& config = Quorvex::gDAConfig;
  config.enabled = true;
  config.write_mode = false;
  config.single_stream = false;
  // By prefix when a captured name could carry a time or a thread.
  config.name_with_time = (data[0] & 1) != 0;
  config.name_with_thread = false;
  config.set_store_path(QuorvexFuzz::scratch_dir());
  const std::string path = QuorvexFuzz::scratch_dir() + "/fuzz_replay_call.tb";
  if (!QuorvexFuzz::write_file(path, data + 1, size - 1)) return 0;

  std::vector<Quorvex::Point2> loop{{1.0f, 2.0f}, {3.0f, 4.0f}};
  Quorvex::capture_parameter("fuzz_replay_call", loop, "loop");
  // Whatever the file held, a failed replay leaves the argument as it was.
  if (!config.replay_ok && loop.size() != 2) __builtin_trap();
  config.enabled = false;
  return 0;
}
