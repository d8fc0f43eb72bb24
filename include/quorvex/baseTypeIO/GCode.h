#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Entity.h"

namespace Quorvex {

// Turns layers into G-code text: one string per layer, with moves, the extruder
// switches M101/M103 and parenthesised structure comments.
class QX_EXPORT GCode {
 public:
  GCode() = default;
  GCode(std::size_t decimal_place, const std::vector<StructureType>& sequence);

  // Stored truncated toward zero; a negative or non-finite value stores 0.
  void set_decimal_place(float decimal_place);
  float get_decimal_place() const { return static_cast<float>(decimal_place_); }
  void set_structSequence(const std::vector<StructureType>& sequence) {
    struct_sequence_ = sequence;
  }
  const std::vector<StructureType>& get_struct_sequence() const { return struct_sequence_; }
  void set_assign_colour(bool on) { assign_colour_ = on; }
  const std::vector<std::string>& get_outputs() const { return outputs_; }

  // Both discard earlier outputs and always return RETVAL_OK.
  RetVal get_gcode_from_entity(const Entity& entity);
  RetVal get_gcode_from_layer(const Layer& layer);

 private:
  RetVal get_layer_gcode(const Layer& layer);
  RetVal get_path_gcode(const Path& path, StructureType& structure);
  void emit_list(const std::vector<std::shared_ptr<Path>>& paths, StructureType structure);
  // The decimal place as num_to_string takes it; counts beyond its limit stay at the limit.
  int decimals() const { return decimal_place_ > 60 ? 60 : static_cast<int>(decimal_place_); }
  void append_number(float v);
  void append_move(const Point2& p, const char* z_text, std::size_t z_len);

  std::size_t decimal_place_ = 4;
  std::vector<StructureType> struct_sequence_;
  std::string buffer_;
  std::vector<std::string> outputs_;
  bool assign_colour_ = false;
};

}  // namespace Quorvex
