#include <iostream>

#include <quorvex/quorvex.h>

int main() {
  Quorvex::Entity entity;
  Quorvex::QuorvexPrintModel::get_quorvex_entity(entity);
  Quorvex::GCode gcode(3, {Quorvex::STRUCTURE_BOUNDARY});
  gcode.get_gcode_from_entity(entity);
  std::cout << "layers " << entity.get_layer_size() << " paths "
            << entity.get_layer(0)->get_boundary_path_size() << " bytes "
            << gcode.get_outputs().at(0).size() << "\n";
  return gcode.get_outputs().size() == 1 ? 0 : 1;
}
