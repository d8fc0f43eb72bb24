#pragma once

#include "quorvex/base/BaseExport.h"

namespace Quorvex {

// Hook of the built-in demonstration model. It has no observable effect: it writes no
// file and keeps no state.
class QXB_EXPORT QuorvexModel {
 public:
  static void create_copy_right_file();
};

}  // namespace Quorvex
