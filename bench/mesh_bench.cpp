// Mesh input and output against peers on the same bytes:
//  - OBJ of about a million triangles read from memory, against tinyobjloader;
//  - the binary STL image written by write_TriMesh_to_memory, and read back through
//    read_TriMesh_in_memory, against memcpy of the same number of bytes.
// Each pair checks once that both sides computed the same thing.

#include <benchmark/benchmark.h>

#include <boost/interprocess/streams/bufferstream.hpp>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "quorvex/base/BaseTriMesh.h"
#include "quorvex/baseTypeIO/MeshMemoryIO.h"
#include "quorvex/baseTypeIO/ReadTriMesh.h"

#ifdef QUORVEX_HAVE_TINYOBJLOADER
#include <tiny_obj_loader.h>
#endif

namespace {

using Quorvex::BaseTriFace;
using Quorvex::BaseTriMesh;
using Quorvex::Vector3f;

// A wavy grid of kSide x kSide cells, two triangles a cell: 999 698 triangles.
constexpr int kSide = 707;

const std::vector<unsigned char>& obj_bytes() {
  static const std::vector<unsigned char> bytes = [] {
    std::string text;
    text.reserve(45u << 20);
    text += "# generated grid\no grid\n";
    char line[96];
    for (int j = 0; j <= kSide; ++j) {
      for (int i = 0; i <= kSide; ++i) {
        const double x = i * 0.25, y = j * 0.25;
        const double z = 3.0 * std::sin(x * 0.05) * std::cos(y * 0.07);
        const int n = std::snprintf(line, sizeof line, "v %.4f %.4f %.5f\n", x, y, z);
        text.append(line, static_cast<std::size_t>(n));
      }
    }
    const int row = kSide + 1;
    for (int j = 0; j < kSide; ++j) {
      for (int i = 0; i < kSide; ++i) {
        const int a = j * row + i + 1, b = a + 1, c = a + row, d = c + 1;
        const int n =
            std::snprintf(line, sizeof line, "f %d %d %d\nf %d %d %d\n", a, b, d, a, d, c);
        text.append(line, static_cast<std::size_t>(n));
      }
    }
    return std::vector<unsigned char>(text.begin(), text.end());
  }();
  return bytes;
}

const BaseTriMesh& grid_mesh() {
  static const BaseTriMesh mesh = [] {
    BaseTriMesh m;
    if (Quorvex::read_TriMesh_in_memory(obj_bytes(), "OBJ", m) != 0) std::abort();
    return m;
  }();
  return mesh;
}

void BM_ObjFromMemory_Quorvex(benchmark::State& state) {
  const std::vector<unsigned char>& bytes = obj_bytes();
  for (auto _ : state) {
    BaseTriMesh mesh;
    benchmark::DoNotOptimize(Quorvex::read_TriMesh_in_memory(bytes, "OBJ", mesh));
    benchmark::DoNotOptimize(mesh.get_fn());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(bytes.size()));
  state.counters["triangles"] = static_cast<double>(grid_mesh().get_fn());
}
BENCHMARK(BM_ObjFromMemory_Quorvex)->Unit(benchmark::kMillisecond);

#ifdef QUORVEX_HAVE_TINYOBJLOADER
bool tinyobj_read(const std::vector<unsigned char>& bytes, tinyobj::attrib_t& attrib,
                  std::vector<tinyobj::shape_t>& shapes) {
  std::vector<tinyobj::material_t> materials;
  std::string warn, err;
  boost::interprocess::basic_ibufferstream<char> in(reinterpret_cast<const char*>(bytes.data()),
                                                    bytes.size());
  return tinyobj::LoadObj(&attrib, &shapes, &materials, &warn, &err, &in, nullptr, true);
}

// Same vertices (within one float step: the peer rounds through its own decimal
// arithmetic) and the same triangles.
bool tinyobj_agrees() {
  tinyobj::attrib_t attrib;
  std::vector<tinyobj::shape_t> shapes;
  if (!tinyobj_read(obj_bytes(), attrib, shapes) || shapes.size() != 1) return false;
  const BaseTriMesh& ours = grid_mesh();
  if (attrib.vertices.size() != 3 * ours.get_vn()) return false;
  std::size_t off_by_one_step = 0;
  for (std::size_t i = 0; i < ours.get_vn(); ++i) {
    for (int k = 0; k < 3; ++k) {
      const float theirs = static_cast<float>(attrib.vertices[3 * i + static_cast<std::size_t>(k)]);
      const float mine = ours.get_vCoord(i)[k];
      if (theirs == mine) continue;
      if (std::nextafter(mine, theirs) != theirs) return false;
      ++off_by_one_step;
    }
  }
  const std::vector<tinyobj::index_t>& idx = shapes[0].mesh.indices;
  if (idx.size() != 3 * ours.get_fn()) return false;
  for (std::size_t f = 0; f < ours.get_fn(); ++f) {
    for (int k = 0; k < 3; ++k) {
      if (idx[3 * f + static_cast<std::size_t>(k)].vertex_index != ours.get_face(f)[k])
        return false;
    }
  }
  if (off_by_one_step > 0) {
    std::fprintf(stderr, "tinyobjloader: %zu coordinates one float step apart\n", off_by_one_step);
  }
  return true;
}

void BM_ObjFromMemory_Tinyobjloader(benchmark::State& state) {
  if (!tinyobj_agrees()) {
    state.SkipWithError("tinyobjloader read the OBJ differently");
    return;
  }
  const std::vector<unsigned char>& bytes = obj_bytes();
  for (auto _ : state) {
    tinyobj::attrib_t attrib;
    std::vector<tinyobj::shape_t> shapes;
    benchmark::DoNotOptimize(tinyobj_read(bytes, attrib, shapes));
    benchmark::DoNotOptimize(shapes.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(bytes.size()));
}
BENCHMARK(BM_ObjFromMemory_Tinyobjloader)->Unit(benchmark::kMillisecond);
#endif

std::size_t image_size() { return 84 + 50 * grid_mesh().get_fn(); }

void BM_StlImageWrite_Quorvex(benchmark::State& state) {
  const BaseTriMesh& mesh = grid_mesh();
  std::vector<unsigned char> image;
  Quorvex::write_TriMesh_to_memory(image, mesh);
  // The image holds the mesh: every record's corners are the mesh's vertices.
  for (std::size_t f = 0; f < mesh.get_fn(); f += 9973) {
    float x;
    std::memcpy(&x, image.data() + 84 + 50 * f + 12, 4);
    if (x != mesh.get_vCoord(static_cast<std::size_t>(mesh.get_face(f)[0])).x()) {
      state.SkipWithError("image does not hold the mesh");
      return;
    }
  }
  for (auto _ : state) {
    Quorvex::write_TriMesh_to_memory(image, mesh);
    benchmark::DoNotOptimize(image.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(image.size()));
}
BENCHMARK(BM_StlImageWrite_Quorvex)->Unit(benchmark::kMillisecond);

void BM_StlImageRead_Quorvex(benchmark::State& state) {
  const BaseTriMesh& mesh = grid_mesh();
  std::vector<unsigned char> image;
  Quorvex::write_TriMesh_to_memory(image, mesh);
  {
    BaseTriMesh back;
    // The reader numbers vertices by first appearance: compare the faces' corners.
    bool same = Quorvex::read_TriMesh_in_memory(image, "STL", back) == 0 &&
                back.get_vn() == mesh.get_vn() && back.get_fn() == mesh.get_fn();
    for (std::size_t f = 0; same && f < mesh.get_fn(); ++f) {
      for (int k = 0; k < 3; ++k) {
        same = same && back.get_vCoord(static_cast<std::size_t>(back.get_face(f)[k])) ==
                           mesh.get_vCoord(static_cast<std::size_t>(mesh.get_face(f)[k]));
      }
    }
    if (!same) {
      state.SkipWithError("image does not read back as the mesh");
      return;
    }
  }
  for (auto _ : state) {
    BaseTriMesh back;
    benchmark::DoNotOptimize(Quorvex::read_TriMesh_in_memory(image, "STL", back));
    benchmark::DoNotOptimize(back.get_fn());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(image.size()));
}
BENCHMARK(BM_StlImageRead_Quorvex)->Unit(benchmark::kMillisecond);

void BM_StlImage_Memcpy(benchmark::State& state) {
  std::vector<unsigned char> source;
  Quorvex::write_TriMesh_to_memory(source, grid_mesh());
  std::vector<unsigned char> target(image_size());
  std::memcpy(target.data(), source.data(), source.size());
  if (target != source) {
    state.SkipWithError("memcpy copied something else");
    return;
  }
  for (auto _ : state) {
    std::memcpy(target.data(), source.data(), source.size());
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(source.size()));
}
BENCHMARK(BM_StlImage_Memcpy)->Unit(benchmark::kMillisecond);

}  // namespace
