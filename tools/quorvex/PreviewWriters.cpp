#include "PreviewWriters.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <ostream>

#include "quorvex/base/NumToString.h"
#include "quorvex/baseTypeIO/EntityToMesh.h"

namespace QuorvexTool {

using Quorvex::Layer;
using Quorvex::Path;

namespace {

struct Style {
  const char* name;
  const char* colour;
  float width;  // stroke width relative to the picture's size
};

const Style kBoundary{"boundary", "#1f3b73", 0.0030f};
const Style kShell{"extra shell", "#d9822b", 0.0022f};
const Style kFill{"fill", "#3a9d5d", 0.0015f};

void extend(ViewBox& b, bool& any, const std::vector<std::shared_ptr<Path>>& paths) {
  for (const auto& p : paths) {
    if (!p || !p->get_points()) continue;
    for (const auto& q : *p->get_points()) {
      if (!std::isfinite(q.x) || !std::isfinite(q.y)) continue;
      if (!any) {
        b = ViewBox{q.x, q.y, q.x, q.y};
        any = true;
      }
      b.min_x = std::min(b.min_x, q.x);
      b.min_y = std::min(b.min_y, q.y);
      b.max_x = std::max(b.max_x, q.x);
      b.max_y = std::max(b.max_y, q.y);
    }
  }
}

std::string num(float v) { return Quorvex::num_to_string(v, 3); }

std::string escape(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '&':
        out += "&amp;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

// Paths as one SVG path element; y is flipped so that the model's y points up.
void append_paths(std::string& svg, const std::vector<std::shared_ptr<Path>>& paths,
                  const Style& style, float stroke, float flip_y, bool closed) {
  std::string d;
  for (const auto& p : paths) {
    if (!p || !p->get_points() || p->get_points()->empty()) continue;
    const auto& pts = *p->get_points();
    const int type = p->get_type();
    // Fill made of separate segments is drawn pair by pair.
    const bool pairs = type >= 3 && type <= 6;
    for (std::size_t i = 0; i < pts.size(); ++i) {
      const bool move = i == 0 || (pairs && i % 2 == 0);
      d += move ? 'M' : 'L';
      d += num(pts[i].x);
      d += ' ';
      d += num(flip_y - pts[i].y);
    }
    if (closed) d += 'Z';
  }
  if (d.empty()) return;
  svg += "<path class=\"";
  svg += style.name;
  svg += "\" fill=\"none\" stroke=\"";
  svg += style.colour;
  svg += "\" stroke-width=\"" + num(stroke) + "\" stroke-linejoin=\"round\" d=\"" + d + "\"/>\n";
}

}  // namespace

ViewBox layers_view_box(const std::vector<const Layer*>& layers) {
  ViewBox b;
  bool any = false;
  for (const Layer* l : layers) {
    extend(b, any, l->get_boundary_paths());
    extend(b, any, l->get_extraShell_paths());
    extend(b, any, l->get_fill_paths());
  }
  if (!any) return ViewBox{0, 0, 1, 1};
  if (b.max_x - b.min_x <= 0) b.max_x = b.min_x + 1;
  if (b.max_y - b.min_y <= 0) b.max_y = b.min_y + 1;
  return b;
}

std::string layer_to_svg(const Layer& layer, const ViewBox& box, const std::string& title,
                         bool standalone) {
  const float w = box.max_x - box.min_x;
  const float h = box.max_y - box.min_y;
  const float margin = 0.04f * std::max(w, h);
  const float legend = 0.09f * std::max(w, h);
  const float size = std::max(w, h);
  const float vx = box.min_x - margin;
  const float vy = box.min_y - margin;  // in flipped coordinates, below
  const float vw = w + 2 * margin;
  const float vh = h + 2 * margin + legend;
  const float flip = box.max_y + box.min_y;  // y' = flip - y maps [min,max] onto itself

  std::string svg;
  if (standalone) svg += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  svg += "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"" + num(vx) + " " + num(vy) + " " +
         num(vw) + " " + num(vh) + "\" width=\"960\" height=\"" +
         std::to_string(static_cast<int>(960.0f * vh / vw)) + "\">\n";
  svg += "<title>" + escape(title) + "</title>\n";
  svg += "<rect x=\"" + num(vx) + "\" y=\"" + num(vy) + "\" width=\"" + num(vw) + "\" height=\"" +
         num(vh) + "\" fill=\"#fbfbf8\"/>\n";
  append_paths(svg, layer.get_fill_paths(), kFill, kFill.width * size, flip, false);
  append_paths(svg, layer.get_extraShell_paths(), kShell, kShell.width * size, flip, true);
  append_paths(svg, layer.get_boundary_paths(), kBoundary, kBoundary.width * size, flip, true);

  // Legend below the drawing.
  const float font = 0.028f * size;
  float x = box.min_x;
  const float y = box.max_y + margin + legend * 0.55f;
  for (const Style* s : {&kBoundary, &kShell, &kFill}) {
    svg += "<line x1=\"" + num(x) + "\" y1=\"" + num(y - font * 0.35f) + "\" x2=\"" +
           num(x + font * 2) + "\" y2=\"" + num(y - font * 0.35f) + "\" stroke=\"" + s->colour +
           "\" stroke-width=\"" + num(font * 0.3f) + "\"/>\n";
    svg += "<text x=\"" + num(x + font * 2.5f) + "\" y=\"" + num(y) +
           "\" font-family=\"sans-serif\" font-size=\"" + num(font) + "\" fill=\"#222\">" +
           s->name + "</text>\n";
    x += font * 9.0f;
  }
  svg += "<text x=\"" + num(box.max_x) + "\" y=\"" + num(y) +
         "\" text-anchor=\"end\" font-family=\"sans-serif\" font-size=\"" + num(font) +
         "\" fill=\"#555\">" + escape(title) + "</text>\n";
  svg += "</svg>\n";
  return svg;
}

std::string layers_to_html(const std::vector<const Layer*>& layers, const std::string& title) {
  const ViewBox box = layers_view_box(layers);
  std::string html =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" +
      escape(title) +
      "</title>\n<style>\n"
      "body{font-family:sans-serif;margin:16px;background:#eee;color:#222}\n"
      ".layer{display:none}.layer.shown{display:block}\n"
      "svg{max-width:100%;height:auto;background:#fff;box-shadow:0 1px 4px #999}\n"
      "#bar{display:flex;gap:12px;align-items:center;margin:8px 0}\n"
      "#slider{flex:1}\n"
      "</style>\n</head>\n<body>\n<h1>" +
      escape(title) +
      "</h1>\n<div id=\"bar\"><input id=\"slider\" type=\"range\" min=\"0\" max=\"" +
      std::to_string(layers.empty() ? 0 : layers.size() - 1) +
      "\" value=\"0\"><span id=\"label\"></span></div>\n";
  for (std::size_t i = 0; i < layers.size(); ++i) {
    const std::string name = "layer " + std::to_string(i + 1) + " of " +
                             std::to_string(layers.size()) + ", z " +
                             Quorvex::num_to_string(layers[i]->get_z(), 3);
    html += "<div class=\"layer" + std::string(i == 0 ? " shown" : "") + "\" data-name=\"" +
            escape(name) + "\">\n" + layer_to_svg(*layers[i], box, name, false) + "</div>\n";
  }
  html +=
      "<script>\n"
      "const layers=document.querySelectorAll('.layer');\n"
      "const slider=document.getElementById('slider');\n"
      "const label=document.getElementById('label');\n"
      "function show(i){layers.forEach((l,k)=>l.classList.toggle('shown',k==i));"
      "label.textContent=layers.length?layers[i].dataset.name:'no layers';}\n"
      "slider.addEventListener('input',()=>show(+slider.value));\n"
      "document.addEventListener('keydown',e=>{let v=+slider.value;"
      "if(e.key=='ArrowUp'||e.key=='ArrowRight')v++;"
      "else if(e.key=='ArrowDown'||e.key=='ArrowLeft')v--;else return;"
      "v=Math.max(0,Math.min(layers.length-1,v));slider.value=v;show(v);});\n"
      "show(0);\n"
      "</script>\n</body>\n</html>\n";
  return html;
}

namespace {

static_assert(sizeof(float) == 4 && sizeof(std::int32_t) == 4, "PLY sizes");
// The body is the machine's memory image, which the header declares little-endian.
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "the PLY writer assumes a little-endian machine"
#endif

void write_ply_header(std::ostream& out, std::size_t vn, std::size_t fn) {
  out << "ply\nformat binary_little_endian 1.0\ncomment written by quorvex\nelement vertex " << vn
      << "\nproperty float x\nproperty float y\nproperty float z\nproperty uchar red\n"
         "property uchar green\nproperty uchar blue\nelement face "
      << fn << "\nproperty list uchar int vertex_indices\nend_header\n";
}

void write_ply_vertices(std::ostream& out, const Quorvex::BaseTriMesh& mesh) {
  auto to_byte = [](float c) {
    if (!(c > 0.0f)) return static_cast<char>(0);
    if (c >= 1.0f) return static_cast<char>(static_cast<unsigned char>(255));
    return static_cast<char>(static_cast<unsigned char>(std::lround(c * 255.0f)));
  };
  char record[15];
  for (std::size_t i = 0; i < mesh.get_vn(); ++i) {
    const auto& p = mesh.get_vCoord(i);
    const float xyz[3] = {p.x(), p.y(), p.z()};
    std::memcpy(record, xyz, sizeof xyz);
    record[12] = record[13] = record[14] = static_cast<char>(static_cast<unsigned char>(200));
    if (mesh.is_vColor_enabled()) {
      const auto& c = mesh.get_vColor(i);
      record[12] = to_byte(c.x());
      record[13] = to_byte(c.y());
      record[14] = to_byte(c.z());
    }
    out.write(record, sizeof record);
  }
}

// `offset` is the number of vertices written before this mesh's, so that the indices count
// from the start of the file as a whole mesh's would.
void write_ply_faces(std::ostream& out, const Quorvex::BaseTriMesh& mesh, std::size_t offset) {
  char face[13];
  face[0] = 3;
  for (std::size_t f = 0; f < mesh.get_fn(); ++f) {
    const auto& tri = mesh.get_face(f);
    std::int32_t idx[3];
    for (int k = 0; k < 3; ++k) {
      idx[k] = static_cast<std::int32_t>(static_cast<std::int64_t>(tri[k]) +
                                         static_cast<std::int64_t>(offset));
    }
    std::memcpy(face + 1, idx, sizeof idx);
    out.write(face, sizeof face);
  }
}

}  // namespace

void write_mesh_ply(std::ostream& out, const Quorvex::BaseTriMesh& mesh) {
  write_ply_header(out, mesh.get_vn(), mesh.get_fn());
  write_ply_vertices(out, mesh);
  write_ply_faces(out, mesh, 0);
}

PreviewCounts write_preview_ply(std::ostream& out, const Quorvex::Entity& entity,
                                float line_width) {
  // Each piece of path becomes its own quad, so the mesh of a layer does not depend on the
  // other layers: the conversion of a one-layer print gives exactly that layer's part of the
  // whole mesh, its vertices numbered from 0. The scratch mesh keeps its buffers from layer
  // to layer.
  Quorvex::BaseTriMesh part;
  Quorvex::Entity one;
  one.resize_layer_size(1);
  auto for_each_layer = [&](const std::function<void(const Quorvex::BaseTriMesh&)>& use) {
    for (const auto& layer : entity.get_layers()) {
      one.get_layers()[0] = layer;
      Quorvex::convert_entity_to_baseTriMesh_with_color(one, part, line_width, 0.0f);
      use(part);
    }
    one.get_layers()[0].reset();
  };
  PreviewCounts counts;
  for_each_layer([&](const Quorvex::BaseTriMesh& m) {
    counts.vertices += m.get_vn();
    counts.faces += m.get_fn();
  });
  write_ply_header(out, counts.vertices, counts.faces);
  for_each_layer([&](const Quorvex::BaseTriMesh& m) { write_ply_vertices(out, m); });
  std::size_t offset = 0;
  for_each_layer([&](const Quorvex::BaseTriMesh& m) {
    write_ply_faces(out, m, offset);
    offset += m.get_vn();
  });
  return counts;
}

}  // namespace QuorvexTool
