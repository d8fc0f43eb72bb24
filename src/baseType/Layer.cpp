#include "quorvex/baseType/Layer.h"

namespace Quorvex {

Layer::~Layer() = default;

void Layer::clear_all_paths() {
  boundary_paths_.clear();
  extraShell_paths_.clear();
  fill_paths_.clear();
  thinWalledFill_paths_.clear();
  sharpAngle_paths_.clear();
  support_paths_.clear();
  raft_paths_.clear();
}

}  // namespace Quorvex
