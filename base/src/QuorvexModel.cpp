#include "quorvex/base/QuorvexModel.h"

namespace Quorvex {

void QuorvexModel::create_copy_right_file() {}

}  // namespace Quorvex
