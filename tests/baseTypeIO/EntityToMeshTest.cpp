#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/Layer.h"
#include "quorvex/baseType/Path.h"
#include "quorvex/baseTypeIO/EntityToMesh.h"

namespace Quorvex {
namespace {

// A path with one distinct colour per point: colour i is (i, 10 + i, 20 + i).
std::shared_ptr<Path> make_path(const std::vector<Point2>& points, float z,
                                PathType type = PATH_TYPE_OUTER, int colours = -1) {
  auto path = std::make_shared<Path>();
  path->set_points(std::make_shared<Point2Vector>(points));
  auto c = std::make_shared<ColorVector>();
  const int n = colours < 0 ? static_cast<int>(points.size()) : colours;
  for (int i = 0; i < n; ++i) c->push_back(Color3f(float(i), 10.0f + i, 20.0f + i));
  path->set_colors(c);
  path->set_z(z);
  path->set_type(type);
  return path;
}

Vector3f colour(int i) { return Vector3f(float(i), 10.0f + i, 20.0f + i); }

struct Fixture {
  Entity entity;
  std::shared_ptr<Layer> layer = std::make_shared<Layer>();
  BaseTriMesh mesh;
  explicit Fixture(float thickness = 0.2f) {
    layer->set_thickness(thickness);
    entity.add_layer(layer);
  }
  RetVal run(float width = 0.4f, float fourth = 0.0f) {
    return convert_entity_to_baseTriMesh_with_color(entity, mesh, width, fourth);
  }
};

TEST(EntityToMesh, NoLayersClearsAndEnablesColours) {
  Entity entity;
  BaseTriMesh mesh;
  mesh.set_vCoords({Vector3f(1, 1, 1)});
  mesh.set_faces({BaseTriFace(0, 0, 0)});
  EXPECT_EQ(convert_entity_to_baseTriMesh_with_color(entity, mesh, 0.4f, 0.0f), RETVAL_OK);
  EXPECT_EQ(mesh.get_vn() + mesh.get_fn(), 0u);
  EXPECT_TRUE(mesh.is_vColor_enabled());
}

// One quad per edge, the closing one too, 1.2 layer thicknesses high about the path's height.
TEST(EntityToMesh, BoundaryTriangleMakesThreeClosedWalls) {
  Fixture f(0.25f);
  f.layer->add_boundary_path(make_path({Point2(0, 0), Point2(2, 0), Point2(0, 3)}, 1.0f));
  EXPECT_EQ(f.run(), RETVAL_OK);
  ASSERT_EQ(f.mesh.get_vn(), 12u);
  ASSERT_EQ(f.mesh.get_fn(), 6u);
  const auto w = static_cast<float>(0.25f * 1.2);
  const auto low = static_cast<float>(1.0f - static_cast<double>(w) * 0.5);
  const auto high = static_cast<float>(1.0f + static_cast<double>(w) * 0.5);
  const std::vector<Vector3f> closing(f.mesh.get_vCoords().begin() + 8, f.mesh.get_vCoords().end());
  EXPECT_EQ(closing, (std::vector<Vector3f>{{0, 3, low}, {0, 0, low}, {0, 0, high}, {0, 3, high}}));
  for (std::size_t i = 8; i < 12; ++i)
    EXPECT_EQ(f.mesh.get_vColor(i), colour(i == 8 || i == 11 ? 2 : 0));
  for (int q = 0; q < 3; ++q) {
    EXPECT_EQ(f.mesh.get_face(2 * q), BaseTriFace(4 * q, 4 * q + 1, 4 * q + 2));
    EXPECT_EQ(f.mesh.get_face(2 * q + 1), BaseTriFace(4 * q, 4 * q + 2, 4 * q + 3));
  }
}

// Half the width right of the direction of travel, in the float steps of the offset, the
// faces turning counter-clockwise; the fourth argument changes nothing.
TEST(EntityToMesh, RibbonOffsetFollowsTheFloatSteps) {
  Fixture f, g;
  for (Fixture* x : {&f, &g}) {
    x->layer->add_fill_path(
        make_path({Point2(0.1f, 0.2f), Point2(3.7f, -1.3f)}, 0.3f, PATH_TYPE_FILL_POLYLINE_0));
  }
  f.run(0.45f);
  g.run(0.45f, 123.0f);
  const float dx = 3.7f - 0.1f, dy = -1.3f - 0.2f;
  const float len = std::sqrt(dx * dx + dy * dy);
  const auto s = static_cast<float>(static_cast<double>(0.45f) * 0.5 / len);
  EXPECT_EQ(f.mesh.get_vCoord(0), Vector3f(0.1f + dy * s, 0.2f + -dx * s, 0.3f));
  EXPECT_EQ(f.mesh.get_vCoord(2), Vector3f(3.7f - dy * s, -1.3f - -dx * s, 0.3f));
  EXPECT_EQ(f.mesh.get_vColor(0), colour(0));
  EXPECT_EQ(f.mesh.get_vColor(2), colour(1));
  EXPECT_GT(f.mesh.get_fNrv(0).z(), 0.0f);
  EXPECT_EQ(f.mesh.get_vCoords(), g.mesh.get_vCoords());
}

// Segment fills take pairs, other fills every piece; shells are closed loops; pieces of zero
// length and fills of fewer than two points add nothing.
TEST(EntityToMesh, RibbonsPerPathKind) {
  const std::vector<Point2> pts = {Point2(0, 0), Point2(1, 0), Point2(1, 1), Point2(2, 1),
                                   Point2(2, 2)};
  const std::vector<Point2> dup = {Point2(0, 0), Point2(0, 0), Point2(1, 0)};
  const struct {
    bool shell;
    PathType type;
    std::vector<Point2> points;
    std::size_t ribbons;
    int first_colour;
  } cases[] = {{false, PATH_TYPE_FILL_SEGMENTS_0, pts, 2, 0},
               {false, PATH_TYPE_FILL_SEGMENTS_3, pts, 2, 0},
               {false, PATH_TYPE_FILL_OTHER, pts, 4, 0},
               {false, PATH_TYPE_FILL_POLYLINE_0, pts, 4, 0},
               {false, PATH_TYPE_OUTER, pts, 4, 0},
               {false, PATH_TYPE_FILL_POLYLINE_0, {Point2(0, 0)}, 0, 0},
               {true, PATH_TYPE_OUTER, {Point2(1, 1)}, 0, 0},
               {true, PATH_TYPE_OUTER, dup, 2, 1}};
  for (const auto& c : cases) {
    Fixture f;
    auto path = make_path(c.points, 0.5f, c.type);
    c.shell ? f.layer->add_extraShell_path(path) : f.layer->add_fill_path(path);
    f.run();
    ASSERT_EQ(f.mesh.get_fn(), 2 * c.ribbons) << c.type << " " << c.shell;
    if (c.ribbons > 0) {
      EXPECT_EQ(f.mesh.get_vColor(0), colour(c.first_colour));
    }
    if (c.ribbons == 2 && !c.shell) {  // the second pair is (2, 3); point 4 is nobody's
      EXPECT_EQ(f.mesh.get_vColor(4), colour(2));
      EXPECT_EQ(f.mesh.get_vColor(5), colour(3));
    }
  }
}

// Paths whose colours do not pair up with their points are skipped; walls, shells, then fills
// of each layer in turn; support and raft paths are not drawn.
TEST(EntityToMesh, SkippedPathsAndGroupOrder) {
  Fixture f;
  const std::vector<Point2> two = {Point2(0, 0), Point2(1, 0)};
  f.layer->add_boundary_path(make_path(two, 0.0f, PATH_TYPE_OUTER, 1));
  auto no_colours = make_path(two, 0.0f);
  no_colours->set_colors(nullptr);
  f.layer->add_boundary_path(no_colours);
  auto no_points = make_path({}, 0.0f);
  no_points->set_points(nullptr);
  f.layer->add_boundary_path(no_points);
  f.layer->add_fill_path(make_path(two, 3.0f, PATH_TYPE_FILL_POLYLINE_0));
  f.layer->add_extraShell_path(make_path(two, 2.0f));
  f.layer->add_boundary_path(make_path(two, 1.0f));
  f.layer->add_support_path(make_path(two, 9.0f));
  f.layer->add_raft_path(make_path(two, 9.0f));
  auto second = std::make_shared<Layer>();
  second->add_fill_path(make_path(two, 4.0f, PATH_TYPE_FILL_POLYLINE_0));
  f.entity.add_layer(second);
  f.run();
  // Walls (2 quads), shell ribbons (2), fill (1), then the second layer's fill (1).
  ASSERT_EQ(f.mesh.get_vn(), 24u);
  EXPECT_NEAR(f.mesh.get_vCoord(0).z(), 1.0f, 0.2f);
  EXPECT_EQ(f.mesh.get_vCoord(8).z(), 2.0f);
  EXPECT_EQ(f.mesh.get_vCoord(16).z(), 3.0f);
  EXPECT_EQ(f.mesh.get_vCoord(20).z(), 4.0f);
}

}  // namespace
}  // namespace Quorvex
