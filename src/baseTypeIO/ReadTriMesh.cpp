#include "quorvex/baseTypeIO/ReadTriMesh.h"

#include <glog/logging.h>

#include <cctype>
#include <utility>

#include "ReadStp.h"
#include "quorvex/base/MeshReaders.h"
#include "quorvex/baseTypeIO/MeshMemoryIO.h"
#include "quorvex/baseTypeIO/ObjReader.h"

namespace Quorvex {

namespace {

constexpr float kDefaultStepParameter = 0.004f;

std::string fold_upper(const std::string& text) {
  std::string folded(text);
  for (char& c : folded) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return folded;
}

IORet read_step(const std::string& file_name, BaseTriMesh& mesh, float step_parameter) {
  std::vector<Vector3f> vertices;
  // The step reader's verdict adds nothing: an empty list already says it all.
  (void)read_stp_vertices(file_name, vertices, step_parameter);
  return static_cast<IORet>(addFacesGivenVertexes(vertices, mesh));
}

IORet read_by_file_name(const std::string& file_name, BaseTriMesh& mesh, float step_parameter,
                        std::function<void(const int&)> progress) {
  std::string base;
  std::string ext;
  if (split_fileName(file_name, base, ext) != 0) return IORET_BAD_FORMAT;
  return read_TriMesh(file_name, mesh, fold_upper(ext), step_parameter, std::move(progress));
}

}  // namespace

IORet read_TriMesh(const std::string& file_name, BaseTriMesh& mesh, const std::string& extension,
                   float step_parameter, std::function<void(const int&)> progress) {
  const std::string folded = fold_upper(extension);
  if (folded == "STL")
    return static_cast<IORet>(read_stl_mesh(file_name, mesh, std::move(progress)));
  if (folded == "OBJ") return read_obj_file(file_name, mesh);
  if (folded == "3MF") return static_cast<IORet>(read_3mf_mesh(file_name, mesh, true, true));
  if (folded == "STP" || folded == "STEP") return read_step(file_name, mesh, step_parameter);
  LOG(ERROR) << "Should Input .STL , .3MF, .STP or .OBJ File! (" << extension << ")";
  return IORET_BAD_FORMAT;
}

IORet read_TriMesh(const std::string& file_name, BaseTriMesh& mesh, float step_parameter) {
  return read_by_file_name(file_name, mesh, step_parameter, nullptr);
}

IORet read_TriMesh(const std::string& file_name, BaseTriMesh& mesh,
                   std::function<void(const int&)> progress) {
  return read_by_file_name(file_name, mesh, kDefaultStepParameter, std::move(progress));
}

IORet read_TriMesh_in_memory(const std::vector<unsigned char>& data, const std::string& extension,
                             BaseTriMesh& mesh) {
  const std::string folded = fold_upper(extension);
  if (folded == "STL") return read_stl_in_memory(data, mesh);
  if (folded == "OBJ") return read_obj_in_memory(data, mesh);
  LOG(ERROR) << "Should Input .STL or .OBJ File!";
  return IORET_BAD_FORMAT;
}

}  // namespace Quorvex
