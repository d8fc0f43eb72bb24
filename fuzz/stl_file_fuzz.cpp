// STL files (binary or ASCII, as the sniffing decides) through read_TriMesh.
#include <cstdint>
#include <functional>
#include <string>

#include "FuzzSupport.h"
#include "MeshCheck.h"
#include "quorvex/baseTypeIO/ReadTriMesh.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QuorvexFuzz::quiet_process();
  static const std::string path = QuorvexFuzz::scratch_dir() + "/input.stl";
  if (!QuorvexFuzz::write_file(path, data, size)) return 0;
  Quorvex::BaseTriMesh mesh;
  int last = -1;
  Quorvex::read_TriMesh(path, mesh, std::function<void(const int&)>([&](const int& p) {
                          // Progress rises and stays within 0..100.
                          if (p < last || p < 0 || p > 100) __builtin_trap();
                          last = p;
                        }));
  QuorvexFuzz::check_mesh(mesh);
  return 0;
}
