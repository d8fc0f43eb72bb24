#include "quorvex/baseTypeIO/GCode.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "quorvex/base/NumToString.h"

namespace Quorvex {

namespace {
template <std::size_t N>
inline void append_literal(std::string& out, const char (&text)[N]) {
  out.append(text, N - 1);
}

const char* opening_line(StructureType structure, PathType type) {
  switch (structure) {
    case STRUCTURE_BOUNDARY:
      return type == PATH_TYPE_OUTER ? "(<boundary outer>)\n" : "(<boundary inner>)\n";
    case STRUCTURE_EXTRA_SHELL:
      return type == PATH_TYPE_OUTER ? "(<extrashell outer>)\n" : "(<extrashell inner>)\n";
    case STRUCTURE_FILL:
      return "(<fill>)\n";
    case STRUCTURE_SUPPORT:
      switch (type) {
        case PATH_TYPE_SUPPORT_TOP:
          return "(<support top>)\n";
        case PATH_TYPE_SUPPORT_MIDDLE:
          return "(<support middle>)\n";
        case PATH_TYPE_SUPPORT_BASE:
          return "(<support base>)\n";
        default:
          return "(<support base surrounding>)\n";
      }
    case STRUCTURE_RAFT:
      switch (type) {
        case PATH_TYPE_RAFT_BASE:
          return "(<raft base>)\n";
        case PATH_TYPE_RAFT_FIRST_INTERFACE:
          return "(<raft first-interface>)\n";
        case PATH_TYPE_RAFT_SECOND_INTERFACE:
          return "(<raft second-interface>)\n";
        default:
          return "(<raft base surrounding>)\n";
      }
  }
  return "";
}

// nullptr where the structure has no colour line (the raft).
const char* colour_line(StructureType structure, PathType type) {
  switch (structure) {
    case STRUCTURE_BOUNDARY:
      return type == PATH_TYPE_OUTER ? "(<colour> black>)\n" : "(<colour> red>)\n";
    case STRUCTURE_EXTRA_SHELL:
      return "(<colour> blue>)\n";
    case STRUCTURE_FILL:
      return "(<colour> green>)\n";
    case STRUCTURE_SUPPORT:
      return type == PATH_TYPE_SUPPORT_BASE_SURROUNDING ? "(<colour> yellow>)\n"
                                                        : "(<colour> orange>)\n";
    case STRUCTURE_RAFT:
      return nullptr;
  }
  return nullptr;
}

const char* closing_line(StructureType structure) {
  switch (structure) {
    case STRUCTURE_BOUNDARY:
      return "(</boundary>)\n";
    case STRUCTURE_EXTRA_SHELL:
      return "(</extrashell>)\n";
    case STRUCTURE_FILL:
      return "(</fill>)\n";
    case STRUCTURE_SUPPORT:
      return "(</support>)\n";
    case STRUCTURE_RAFT:
      return "(</raft>)\n";
  }
  return "";
}
}  // namespace

GCode::GCode(std::size_t decimal_place, const std::vector<StructureType>& sequence)
    : decimal_place_(decimal_place), struct_sequence_(sequence) {}

void GCode::set_decimal_place(float decimal_place) {
  // Truncation toward zero; what has no count (negative, NaN, infinite) becomes 0. A count
  // beyond the largest size has no conversion and stays at the largest; any count past 60
  // writes 60 decimals anyway.
  if (!(decimal_place >= 0.0f) || std::isinf(decimal_place)) {
    decimal_place_ = 0;
    return;
  }
  constexpr std::size_t kLargest = std::numeric_limits<std::size_t>::max();
  decimal_place_ = decimal_place >= static_cast<float>(kLargest)
                       ? kLargest
                       : static_cast<std::size_t>(decimal_place);
}

RetVal GCode::get_gcode_from_entity(const Entity& entity) {
  outputs_.clear();
  buffer_.clear();
  outputs_.reserve(entity.get_layer_size());
  for (std::size_t i = 0; i < entity.get_layer_size(); ++i) get_layer_gcode(*entity.get_layer(i));
  return RETVAL_OK;
}

RetVal GCode::get_gcode_from_layer(const Layer& layer) {
  outputs_.clear();
  buffer_.clear();
  get_layer_gcode(layer);
  return RETVAL_OK;
}

void GCode::append_number(float v) {
  char text[kNumToCharsMax];
  const char* end = num_to_chars(text, v, decimals());
  buffer_.append(text, static_cast<std::size_t>(end - text));
}

void GCode::append_move(const Point2& p, const char* z_text, std::size_t z_len) {
  // One line is assembled on the stack and appended once.
  char line[3 * kNumToCharsMax + 16];
  char* o = line;
  std::memcpy(o, "G1 X", 4);
  o = num_to_chars(o + 4, p.x, decimals());
  std::memcpy(o, " Y", 2);
  o = num_to_chars(o + 2, p.y, decimals());
  std::memcpy(o, " Z", 2);
  o += 2;
  std::memcpy(o, z_text, z_len);
  o += z_len;
  *o++ = '\n';
  buffer_.append(line, static_cast<std::size_t>(o - line));
}

RetVal GCode::get_layer_gcode(const Layer& layer) {
  append_literal(buffer_, "(<layer> ");
  append_number(layer.get_z());
  append_literal(buffer_, ")\n");
  for (StructureType structure : struct_sequence_) {
    switch (structure) {
      case STRUCTURE_BOUNDARY:
        emit_list(layer.get_boundary_paths(), structure);
        break;
      case STRUCTURE_EXTRA_SHELL:
        emit_list(layer.get_extraShell_paths(), structure);
        break;
      case STRUCTURE_FILL:
        emit_list(layer.get_fill_paths(), structure);
        break;
      case STRUCTURE_SUPPORT:
        emit_list(layer.get_support_paths(), structure);
        break;
      case STRUCTURE_RAFT:
        emit_list(layer.get_raft_paths(), structure);
        break;
      default:
        break;  // not a path list: skipped without a word
    }
  }
  append_literal(buffer_, "(</layer>)\n");
  outputs_.push_back(buffer_);
  buffer_.clear();  // keeps its capacity for the next layer
  return RETVAL_OK;
}

void GCode::emit_list(const std::vector<std::shared_ptr<Path>>& paths, StructureType structure) {
  for (const auto& path : paths) {
    const PathType type = path->get_type();
    buffer_.append(opening_line(structure, type));
    if (assign_colour_) {
      if (const char* colour = colour_line(structure, type)) buffer_.append(colour);
    }
    get_path_gcode(*path, structure);
    buffer_.append(closing_line(structure));
  }
}

RetVal GCode::get_path_gcode(const Path& path, StructureType& structure) {
  const auto points_handle = path.get_points();
  if (!points_handle || points_handle->empty()) return RETVAL_BAD_INPUT;
  const Point2Vector& pts = *points_handle;
  const std::size_t n = pts.size();

  // Every move line of the path carries the same height text.
  char z_text[kNumToCharsMax];
  const std::size_t z_len =
      static_cast<std::size_t>(num_to_chars(z_text, path.get_z(), decimals()) - z_text);

  append_literal(buffer_, "M103\nG1 Z");
  buffer_.append(z_text, z_len);
  append_literal(buffer_, "\nG1 X");
  append_number(pts[0].x);
  append_literal(buffer_, " Y");
  append_number(pts[0].y);
  append_literal(buffer_, "\nM101\n");

  const PathType type = path.get_type();
  const bool polyline = structure != STRUCTURE_FILL || (type >= 8 && type <= 11);
  if (polyline) {
    for (std::size_t i = 1; i < n; ++i) append_move(pts[i], z_text, z_len);
  } else if (type >= 3 && type <= 6) {
    // Pairs of points, each an extruded line, with travel between the pairs.
    for (std::size_t i = 1; i + 1 < n; i += 2) {
      append_move(pts[i], z_text, z_len);
      append_literal(buffer_, "M103\n");
      append_move(pts[i + 1], z_text, z_len);
      append_literal(buffer_, "M101\n");
    }
    append_move(pts[n - 1], z_text, z_len);
  }
  // Any other fill type contributes its travel only.

  const auto extend = path.get_extend_path_component();
  if (extend) {
    const auto tails = extend->get_tails();
    if (tails) {
      for (std::size_t i = 1; i < tails->size(); ++i) append_move((*tails)[i], z_text, z_len);
    }
  }
  append_literal(buffer_, "M103\n");
  return RETVAL_OK;
}

}  // namespace Quorvex
