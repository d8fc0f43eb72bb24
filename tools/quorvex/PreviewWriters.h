#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "quorvex/base/BaseTriMesh.h"
#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/Layer.h"

namespace QuorvexTool {

// Frame of a picture: the box of what is drawn, in model units.
struct ViewBox {
  float min_x = 0, min_y = 0, max_x = 1, max_y = 1;
};

// Box of the boundary, extra-shell and fill paths of the layers.
ViewBox layers_view_box(const std::vector<const Quorvex::Layer*>& layers);

// One layer as an SVG picture: boundaries, extra shells and fill in distinct colours, with
// a legend. y points up as in the model. `standalone` adds the XML prolog.
std::string layer_to_svg(const Quorvex::Layer& layer, const ViewBox& box, const std::string& title,
                         bool standalone);

// A self-contained HTML page: one SVG per layer and a slider to step through them. No
// external resource of any kind.
std::string layers_to_html(const std::vector<const Quorvex::Layer*>& layers,
                           const std::string& title);

// Binary little-endian PLY with per-vertex colours (0..1 floats mapped to bytes).
void write_mesh_ply(std::ostream& out, const Quorvex::BaseTriMesh& mesh);

struct PreviewCounts {
  std::size_t vertices = 0;
  std::size_t faces = 0;
};

// The coloured preview mesh of the print (convert_entity_to_baseTriMesh_with_color) as
// write_mesh_ply writes it, byte for byte, without ever holding the whole mesh: it is built
// one layer at a time, once to count for the header, once for the vertices and once for the
// faces. Only the largest layer's mesh is alive at any moment.
PreviewCounts write_preview_ply(std::ostream& out, const Quorvex::Entity& entity, float line_width);

}  // namespace QuorvexTool
