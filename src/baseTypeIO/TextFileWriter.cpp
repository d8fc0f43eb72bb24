#include "quorvex/baseTypeIO/TextFileWriter.h"

#include <fstream>

#include "quorvex/baseTypeIO/GCode.h"

namespace Quorvex {

RetVal write_common_file(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::out | std::ios::trunc);
  if (!out.is_open()) return RETVAL_FAILED;
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
  return RETVAL_OK;
}

RetVal write_common_file(const std::string& path, const std::vector<std::string>& texts) {
  std::ofstream out(path, std::ios::out | std::ios::trunc);
  if (!out.is_open()) return RETVAL_FAILED;
  for (const std::string& text : texts) {
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
  }
  return RETVAL_OK;
}

RetVal write_gcode(const std::string& path, const Entity& entity, std::size_t decimal_place,
                   const std::vector<StructureType>& sequence, bool assign_colour) {
  GCode gcode(decimal_place, sequence);
  gcode.set_assign_colour(assign_colour);
  gcode.get_gcode_from_entity(entity);
  return write_common_file(path, gcode.get_outputs());
}

RetVal write_gcode(const std::string& path, const Layer& layer, std::size_t decimal_place,
                   const std::vector<StructureType>& sequence) {
  GCode gcode(decimal_place, sequence);
  gcode.get_gcode_from_layer(layer);
  return write_common_file(path, gcode.get_outputs());
}

}  // namespace Quorvex
