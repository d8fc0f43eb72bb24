#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Entity.h"

namespace Quorvex {

// Writes text to `path` as it stands, replacing an existing file. RETVAL_FAILED if the
// file does not open (nothing is created then), RETVAL_OK otherwise.
QX_EXPORT RetVal write_common_file(const std::string& path, const std::string& text);
// The strings in order, with nothing between them.
QX_EXPORT RetVal write_common_file(const std::string& path, const std::vector<std::string>& texts);

// Runs a GCode over the print and writes its outputs.
QX_EXPORT RetVal write_gcode(const std::string& path, const Entity& entity,
                             std::size_t decimal_place, const std::vector<StructureType>& sequence,
                             bool assign_colour);
// The same for one layer, without colour lines.
QX_EXPORT RetVal write_gcode(const std::string& path, const Layer& layer, std::size_t decimal_place,
                             const std::vector<StructureType>& sequence);

}  // namespace Quorvex
