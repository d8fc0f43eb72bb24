// OBJ text from memory, through the dispatch of read_TriMesh_in_memory.
#include <cstdint>
#include <vector>

#include "FuzzSupport.h"
#include "MeshCheck.h"
#include "quorvex/baseTypeIO/ReadTriMesh.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QuorvexFuzz::quiet_process();
  const std::vector<unsigned char> bytes(data, data + size);
  Quorvex::BaseTriMesh mesh;
  Quorvex::read_TriMesh_in_memory(bytes, "obj", mesh);
  QuorvexFuzz::check_mesh(mesh);
  return 0;
}
