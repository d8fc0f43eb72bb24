// 3MF packages through read_TriMesh (lib3mf underneath, our placement of the build).
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "MeshCheck.h"
#include "quorvex/baseTypeIO/ReadTriMesh.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QuorvexFuzz::quiet_process();
  static const std::string path = QuorvexFuzz::scratch_dir() + "/input.3mf";
  if (!QuorvexFuzz::write_file(path, data, size)) return 0;
  Quorvex::BaseTriMesh mesh;
  Quorvex::read_TriMesh(path, mesh, 0.0f);
  QuorvexFuzz::check_mesh(mesh);
  return 0;
}
