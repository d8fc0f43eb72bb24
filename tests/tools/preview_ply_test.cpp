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

namespace QuorvexTool {
namespace {

using Quorvex::Point2;

// Colours spread over 0..1 and a little past both ends, so every byte mapping is used.
std::shared_ptr<Quorvex::Path> make_path(const std::vector<Point2>& points, float z,
                                         Quorvex::PathType type, int colours = -1) {
  auto path = std::make_shared<Quorvex::Path>();
  path->set_points(std::make_shared<Quorvex::Point2Vector>(points));
  auto c = std::make_shared<Quorvex::ColorVector>();
  const int n = colours < 0 ? static_cast<int>(points.size()) : colours;
  for (int i = 0; i < n; ++i) {
    c->push_back(Quorvex::Color3f(-0.1f + 0.3f * i, 1.1f - 0.25f * i, 0.5f));
  }
  path->set_colors(c);
  path->set_z(z);
  path->set_type(type);
  return path;
}

std::string whole_mesh_ply(const Quorvex::Entity& entity, float line_width) {
  Quorvex::BaseTriMesh mesh;
  Quorvex::convert_entity_to_baseTriMesh_with_color(entity, mesh, line_width, 0.0f);
  std::ostringstream out;
  write_mesh_ply(out, mesh);
  return out.str();
}

std::string layer_by_layer_ply(const Quorvex::Entity& entity, float line_width,
                               PreviewCounts& counts) {
  std::ostringstream out;
  counts = write_preview_ply(out, entity, line_width);
  return out.str();
}

TEST(PreviewPly, LayerByLayerEqualsTheWholeMeshByteForByte) {
  Quorvex::Entity entity;
  auto first = std::make_shared<Quorvex::Layer>();
  first->set_thickness(0.2f);
  first->add_boundary_path(
      make_path({{0, 0}, {4, 0}, {4, 3}, {0, 3}}, 0.1f, Quorvex::PATH_TYPE_OUTER));
  first->add_extraShell_path(
      make_path({{0.5f, 0.5f}, {3.5f, 0.5f}, {3.5f, 2.5f}}, 0.1f, Quorvex::PATH_TYPE_OUTER));
  first->add_fill_path(
      make_path({{1, 1}, {3, 1}, {3, 2}, {1, 2}}, 0.1f, Quorvex::PATH_TYPE_FILL_POLYLINE_0));
  entity.add_layer(first);
  entity.add_layer(nullptr);  // a layer slot left empty draws nothing
  entity.add_layer(std::make_shared<Quorvex::Layer>());
  auto last = std::make_shared<Quorvex::Layer>();
  last->set_thickness(0.25f);
  // Separate segments, one of them too short to draw, and a path whose colours do not pair
  // up with its points: both leave holes in the numbering that must not shift the faces.
  last->add_fill_path(make_path({{0, 0}, {2, 0}, {1, 1}, {1, 1}, {0, 2}, {2, 2.5f}}, 0.35f,
                                Quorvex::PATH_TYPE_FILL_SEGMENTS_1));
  last->add_extraShell_path(
      make_path({{0, 0}, {1, 0}, {1, 1}}, 0.35f, Quorvex::PATH_TYPE_OUTER, 2));
  last->add_boundary_path(make_path({{-1, -1}, {5, -1}, {2, 4}}, 0.35f, Quorvex::PATH_TYPE_INNER));
  entity.add_layer(last);

  PreviewCounts counts;
  const std::string streamed = layer_by_layer_ply(entity, 0.4f, counts);
  const std::string whole = whole_mesh_ply(entity, 0.4f);
  Quorvex::BaseTriMesh mesh;
  Quorvex::convert_entity_to_baseTriMesh_with_color(entity, mesh, 0.4f, 0.0f);
  ASSERT_GT(mesh.get_fn(), 0u);
  EXPECT_EQ(counts.vertices, mesh.get_vn());
  EXPECT_EQ(counts.faces, mesh.get_fn());
  EXPECT_EQ(streamed.size(), whole.size());
  EXPECT_TRUE(streamed == whole) << "the PLY files differ";
}

TEST(PreviewPly, PrintWithoutLayersGivesAnEmptyMesh) {
  Quorvex::Entity entity;
  PreviewCounts counts{7, 7};
  const std::string streamed = layer_by_layer_ply(entity, 0.4f, counts);
  EXPECT_EQ(counts.vertices, 0u);
  EXPECT_EQ(counts.faces, 0u);
  EXPECT_EQ(streamed, whole_mesh_ply(entity, 0.4f));
  EXPECT_NE(streamed.find("element vertex 0\n"), std::string::npos);
}

}  // namespace
}  // namespace QuorvexTool
