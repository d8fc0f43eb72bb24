#pragma once

#include "quorvex/Export.h"
#include "quorvex/baseType/Entity.h"

namespace Quorvex {

// A ready-made print without a mesh: one layer of eleven outer loops, a frame with ten
// outlines inside it. Replaces the layers of `entity`; craft type and platform height
// stay as they were.
class QX_EXPORT QuorvexPrintModel {
 public:
  static void get_quorvex_entity(Entity& entity);
};

}  // namespace Quorvex
