#include "quorvex/baseTypeIO/EntityToMesh.h"

#include <cmath>

#include "quorvex/baseType/Layer.h"
#include "quorvex/baseType/Path.h"

namespace Quorvex {

namespace {

struct Corner {
  Vector3f position;
  Vector3f color;
};

// Four vertices in the order given, then the faces (V1, V2, V3) and (V1, V3, V4).
void add_quad(BaseTriMesh& mesh, const Corner (&corners)[4]) {
  int index[4];
  for (int k = 0; k < 4; ++k) {
    const std::size_t i = mesh.add_vCoord(corners[k].position);
    mesh.set_vColor(i, corners[k].color);
    index[k] = static_cast<int>(i);
  }
  mesh.add_face(BaseTriFace(index[0], index[1], index[2]));
  mesh.add_face(BaseTriFace(index[0], index[2], index[3]));
}

Vector3f color_of(const Path& path, std::size_t i) { return path.get_color(i); }

// The points and colours of a drawable path, or null when they don't pair up.
bool drawable(const Path& path) {
  const auto points = path.get_points();
  const auto colors = path.get_colors();
  return points && colors && points->size() == colors->size();
}

void add_wall(BaseTriMesh& mesh, const Path& path, std::size_t i, std::size_t j, float low,
              float high) {
  const Point2Vector& pts = *path.get_points();
  const Point2& p = pts[i];
  const Point2& q = pts[j];
  const Vector3f cp = color_of(path, i);
  const Vector3f cq = color_of(path, j);
  add_quad(mesh, {{Vector3f(p.x, p.y, low), cp},
                  {Vector3f(q.x, q.y, low), cq},
                  {Vector3f(q.x, q.y, high), cq},
                  {Vector3f(p.x, p.y, high), cp}});
}

void add_ribbon(BaseTriMesh& mesh, const Path& path, std::size_t i, std::size_t j,
                float line_width) {
  const Point2Vector& pts = *path.get_points();
  const Point2& p = pts[i];
  const Point2& q = pts[j];
  const float dx = q.x - p.x;
  const float dy = q.y - p.y;
  const float len = std::sqrt(dx * dx + dy * dy);
  if (static_cast<double>(len) < 0.00001) return;
  const auto s = static_cast<float>(static_cast<double>(line_width) * 0.5 / len);
  // Half the width to the right of the direction of travel; the height offset is 0 * s so
  // that all four corners lie at the path's height.
  const float ox = dy * s;
  const float oy = -dx * s;
  const float oz = 0.0f * s;
  const float z = path.get_z();
  const Vector3f cp = color_of(path, i);
  const Vector3f cq = color_of(path, j);
  add_quad(mesh, {{Vector3f(p.x + ox, p.y + oy, z + oz), cp},
                  {Vector3f(q.x + ox, q.y + oy, z + oz), cq},
                  {Vector3f(q.x - ox, q.y - oy, z - oz), cq},
                  {Vector3f(p.x - ox, p.y - oy, z - oz), cp}});
}

void add_boundary(BaseTriMesh& mesh, const Path& path, float thickness) {
  const auto w = static_cast<float>(static_cast<double>(thickness) * 1.2);
  const float z = path.get_z();
  const auto low = static_cast<float>(static_cast<double>(z) - static_cast<double>(w) * 0.5);
  const auto high = static_cast<float>(static_cast<double>(z) + static_cast<double>(w) * 0.5);
  const std::size_t n = path.get_points()->size();
  for (std::size_t i = 0; i < n; ++i) add_wall(mesh, path, i, (i + 1) % n, low, high);
}

void add_extra_shell(BaseTriMesh& mesh, const Path& path, float line_width) {
  const std::size_t n = path.get_points()->size();
  for (std::size_t i = 0; i < n; ++i) add_ribbon(mesh, path, i, (i + 1) % n, line_width);
}

void add_fill(BaseTriMesh& mesh, const Path& path, float line_width) {
  const PathType type = path.get_type();
  // Segment fills hold separate point pairs; every other fill is one polyline.
  const std::size_t step =
      (type >= PATH_TYPE_FILL_SEGMENTS_0 && type <= PATH_TYPE_FILL_SEGMENTS_3) ? 2 : 1;
  const std::size_t n = path.get_points()->size();
  for (std::size_t i = 0; i + 1 < n; i += step) add_ribbon(mesh, path, i, i + 1, line_width);
}

}  // namespace

RetVal convert_entity_to_baseTriMesh_with_color(const Entity& entity, BaseTriMesh& mesh,
                                                float line_width, float /*unused*/) {
  mesh.clear();
  mesh.enable_vColor();
  for (std::size_t l = 0; l < entity.get_layer_size(); ++l) {
    const std::shared_ptr<Layer const> layer = entity.get_layer(l);
    if (!layer) continue;
    for (std::size_t k = 0; k < layer->get_boundary_path_size(); ++k) {
      const auto path = layer->get_boundary_path(k);
      if (path && drawable(*path)) add_boundary(mesh, *path, layer->get_thickness());
    }
    for (std::size_t k = 0; k < layer->get_extraShell_path_size(); ++k) {
      const auto path = layer->get_extraShell_path(k);
      if (path && drawable(*path)) add_extra_shell(mesh, *path, line_width);
    }
    for (std::size_t k = 0; k < layer->get_fill_path_size(); ++k) {
      const auto path = layer->get_fill_path(k);
      if (path && drawable(*path)) add_fill(mesh, *path, line_width);
    }
  }
  return RETVAL_OK;
}

}  // namespace Quorvex
