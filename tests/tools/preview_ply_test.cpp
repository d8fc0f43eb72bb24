#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "PreviewWriters.h"
#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/Layer.h"
#include "quorvex/baseType/Path.h"
#include "quorvex/baseTypeIO/EntityToMesh.h"

namespace Quorvex {
namespace {

// Colours spread over 0..1 and a little past both ends, so every byte mapping is used.
std::shared_ptr<Path> make_path(const std::vector<Point2>& points, float z, PathType type,
                                int colours = -1) {
  auto path = std::make_shared<Path>();
  path->set_points(std::make_shared<Point2Vector>(points));
  auto c = std::make_shared<ColorVector>();
  for (int i = 0; i < (colours < 0 ? static_cast<int>(points.size()) : colours); ++i)
    c->push_back(Color3f(-0.1f + 0.3f * i, 1.1f - 0.25f * i, 0.5f));
  path->set_colors(c);
  path->set_z(z);
  path->set_type(type);
  return path;
}

// Gives the number of faces.
std::size_t expect_same_as_whole_mesh(const Entity& entity) {
  BaseTriMesh mesh;
  convert_entity_to_baseTriMesh_with_color(entity, mesh, 0.4f, 0.0f);
  std::ostringstream whole, streamed;
  QuorvexTool::write_mesh_ply(whole, mesh);
  const QuorvexTool::PreviewCounts counts = QuorvexTool::write_preview_ply(streamed, entity, 0.4f);
  EXPECT_EQ(counts.vertices, mesh.get_vn());
  EXPECT_EQ(counts.faces, mesh.get_fn());
  EXPECT_TRUE(streamed.str() == whole.str()) << "the PLY files differ";
  return mesh.get_fn();
}

TEST(PreviewPly, LayerByLayerEqualsTheWholeMeshByteForByte) {
  Entity entity;
  EXPECT_EQ(expect_same_as_whole_mesh(entity), 0u);  // no layers: an empty mesh
  auto first = std::make_shared<Layer>();
  first->set_thickness(0.2f);
  first->add_boundary_path(make_path({{0, 0}, {4, 0}, {4, 3}, {0, 3}}, 0.1f, PATH_TYPE_OUTER));
  first->add_extraShell_path(
      make_path({{0.5f, 0.5f}, {3.5f, 0.5f}, {3.5f, 2.5f}}, 0.1f, PATH_TYPE_OUTER));
  first->add_fill_path(
      make_path({{1, 1}, {3, 1}, {3, 2}, {1, 2}}, 0.1f, PATH_TYPE_FILL_POLYLINE_0));
  entity.add_layer(first);
  entity.add_layer(nullptr);  // a layer slot left empty draws nothing
  entity.add_layer(std::make_shared<Layer>());
  auto last = std::make_shared<Layer>();
  last->set_thickness(0.25f);
  // Separate segments, one too short to draw, and colours that do not pair up with the
  // points: both leave holes in the numbering that must not shift the faces.
  last->add_fill_path(make_path({{0, 0}, {2, 0}, {1, 1}, {1, 1}, {0, 2}, {2, 2.5f}}, 0.35f,
                                PATH_TYPE_FILL_SEGMENTS_1));
  last->add_extraShell_path(make_path({{0, 0}, {1, 0}, {1, 1}}, 0.35f, PATH_TYPE_OUTER, 2));
  last->add_boundary_path(make_path({{-1, -1}, {5, -1}, {2, 4}}, 0.35f, PATH_TYPE_INNER));
  entity.add_layer(last);
  EXPECT_GT(expect_same_as_whole_mesh(entity), 0u);
}

}  // namespace
}  // namespace Quorvex
