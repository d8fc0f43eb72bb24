#include "quorvex/baseType/QuorvexPrintModel.h"

#include <array>

#include "quorvex/base/QuorvexModel.h"

namespace Quorvex {

namespace {
// Each loop's points, each followed by the end marker (which stands for no position).
const std::array<Point2, 592> kModelTable = {{
#include "QuorvexPrintModelData.inc"
}};

const Point2 kLoopMarker(2.7182817f, 3.1416f);
}  // namespace

void QuorvexPrintModel::get_quorvex_entity(Entity& entity) {
  std::vector<std::shared_ptr<Path>> paths;
  std::vector<Point2> loop;
  int id = 0;
  for (const Point2& p : kModelTable) {
    const float distance = (kLoopMarker - p).length();
    if (static_cast<double>(distance) < 1e-5) {
      loop.push_back(loop.front());
      auto path = std::make_shared<Path>();
      path->set_z(0.0f);
      path->set_id(id++);
      path->set_type(PATH_TYPE_OUTER);
      path->set_width(0.2f);
      path->set_points(std::make_shared<Point2Vector>(loop));
      paths.push_back(std::move(path));
      loop.clear();
    } else {
      loop.push_back(p);
    }
  }

  auto layer = std::make_shared<Layer>();
  layer->set_z(0.0f);
  layer->set_id(0);
  layer->set_thickness(0.2f);
  layer->set_boundary_paths(paths);

  entity.resize_layer_size(0);
  entity.resize_layer_size(1);
  entity.set_layer(layer, 0);

  QuorvexModel::create_copy_right_file();
}

}  // namespace Quorvex
