#include "ReadStp.h"

#include <glog/logging.h>

namespace Quorvex {

bool read_stp_vertices(const std::string& /*file_name*/, std::vector<Vector3f>& /*vertices*/,
                       float /*step_parameter*/) {
  LOG(ERROR) << ".stp not supported";
  return false;
}

}  // namespace Quorvex
