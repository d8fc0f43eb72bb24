#include "quorvex/baseType/QuorvexPrintModel.h"

#include <gtest/gtest.h>

#include "support/ModelSamples.h"

namespace Quorvex {
namespace {

TEST(QuorvexPrintModel, OneLayerOfElevenClosedOuterLoops) {
  Entity e;
  e.add_layer(std::make_shared<Layer>());
  e.set_platform_height(3.0f);
  QuorvexPrintModel::get_quorvex_entity(e);
  ASSERT_EQ(e.get_layer_size(), 1u);
  EXPECT_EQ(e.get_platform_height(), 3.0f);
  auto layer = e.get_layer(0);
  EXPECT_EQ(layer->get_z(), 0.0f);
  EXPECT_EQ(layer->get_id(), 0);
  EXPECT_EQ(layer->get_thickness(), 0.2f);
  EXPECT_EQ(qxtest::path_counts(*layer), "11,0,0,0,0,0,0,0");
  // Point counts the model promises its callers.
  const std::size_t points[11] = {5, 35, 58, 38, 39, 32, 83, 100, 146, 28, 28};
  for (std::size_t i = 0; i < 11; ++i) {
    const Path& p = *layer->get_boundary_path(i);
    EXPECT_TRUE(p.get_id() == int(i) && p.get_type() == PATH_TYPE_OUTER && p.get_width() == 0.2f &&
                p.get_z() == 0.0f)
        << i;
    ASSERT_EQ(p.get_vn(), points[i]);
    EXPECT_TRUE(p.get_point(0).x == p.get_point(p.get_vn() - 1).x &&
                p.get_point(0).y == p.get_point(p.get_vn() - 1).y)
        << i;  // closed
  }
  const Point2& first = layer->get_boundary_path(0)->get_point(0);
  EXPECT_EQ(first.x, 20.0f);
  EXPECT_EQ(first.y, 62.0f);
}

}  // namespace
}  // namespace Quorvex
