// Binary STL reading of quorvexBase against memcpy of the same bytes, in one run.
//
// The sample is a wavy height field of about a million triangles whose corners are shared
// as in a real model, so the reader's vertex welding does its full work.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "quorvex/base/MeshReaders.h"

namespace {

using Quorvex::BaseTriMesh;
using Quorvex::Vector3f;

constexpr int kGrid = 708;  // 2 * 708 * 708 = 1 002 528 triangles

void put_f32(std::vector<unsigned char>& out, float f) {
  std::uint32_t bits;
  std::memcpy(&bits, &f, 4);
  for (int k = 0; k < 4; ++k) out.push_back(static_cast<unsigned char>(bits >> (8 * k)));
}

const std::vector<unsigned char>& sample_image() {
  static const std::vector<unsigned char> image = [] {
    std::vector<unsigned char> out(80, ' ');
    const std::uint32_t n = 2u * kGrid * kGrid;
    for (int k = 0; k < 4; ++k) out.push_back(static_cast<unsigned char>(n >> (8 * k)));
    out.reserve(84 + 50ull * n);
    const auto at = [](int i, int j) {
      const float x = 0.1f * float(i), y = 0.1f * float(j);
      return Vector3f(x, y, std::sin(x) * std::cos(y));
    };
    for (int i = 0; i < kGrid; ++i) {
      for (int j = 0; j < kGrid; ++j) {
        const Vector3f quad[2][3] = {{at(i, j), at(i + 1, j), at(i + 1, j + 1)},
                                     {at(i, j), at(i + 1, j + 1), at(i, j + 1)}};
        for (const auto& tri : quad) {
          for (int k = 0; k < 3; ++k) put_f32(out, 0.0f);
          for (const Vector3f& v : tri) {
            for (int k = 0; k < 3; ++k) put_f32(out, v[k]);
          }
          out.push_back(0);
          out.push_back(0);
        }
      }
    }
    return out;
  }();
  return image;
}

const std::string& sample_path() {
  static const std::string path = [] {
    const std::string p = "/tmp/quorvex_mesh_base_bench.stl";
    std::ofstream f(p, std::ios::binary | std::ios::trunc);
    const auto& image = sample_image();
    f.write(reinterpret_cast<const char*>(image.data()), std::streamsize(image.size()));
    return p;
  }();
  return path;
}

// The reader must hold exactly the corners the bytes hold, face by face, and the unit
// normal of each face; checked once.
bool mesh_matches_bytes(const BaseTriMesh& mesh, const std::vector<unsigned char>& bytes) {
  const std::size_t n = (bytes.size() - 84) / 50;
  if (mesh.get_fn() != n) return false;
  for (std::size_t f = 0; f < n; ++f) {
    Vector3f corners[3];
    for (int c = 0; c < 3; ++c) {
      corners[c] = mesh.get_vCoord(std::size_t(mesh.get_face(f)[c]));
      if (std::memcmp(corners[c].data(), bytes.data() + 84 + 50 * f + 12 + 12 * c, 12) != 0) {
        return false;
      }
    }
    const Vector3f normal = Quorvex::triangle_unit_normal(corners[0], corners[1], corners[2]);
    if (std::memcmp(normal.data(), mesh.get_fNrv(f).data(), 12) != 0) return false;
  }
  return mesh.get_vn() == std::size_t(kGrid + 1) * (kGrid + 1);
}

void BM_Memcpy(benchmark::State& state) {
  const auto& image = sample_image();
  std::vector<unsigned char> copy(image.size());
  for (auto _ : state) {
    std::memcpy(copy.data(), image.data(), image.size());
    benchmark::DoNotOptimize(copy.data());
    benchmark::ClobberMemory();
  }
  if (std::memcmp(copy.data(), image.data(), image.size()) != 0) state.SkipWithError("bad copy");
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(image.size()));
}
BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond);

void BM_AddFacesGivenBinary(benchmark::State& state) {
  const auto& image = sample_image();
  BaseTriMesh mesh;
  for (auto _ : state) {
    if (Quorvex::addFacesGivenBinary(image.data(), image.size(), mesh, nullptr) != 0) {
      state.SkipWithError("read failed");
      break;
    }
    benchmark::DoNotOptimize(mesh.get_fn());
  }
  if (!mesh_matches_bytes(mesh, image)) state.SkipWithError("mesh differs from the bytes");
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(image.size()));
}
BENCHMARK(BM_AddFacesGivenBinary)->Unit(benchmark::kMillisecond);

// What any reader of these bytes must do short of welding: every corner loaded, every face
// normal computed, vertices, faces and normals stored, each corner its own vertex, into
// memory that is already mapped, as memcpy's is. No exact weld, which adds one table lookup
// per corner and allocates its mesh anew, can be faster: this row bounds it from below.
void BM_StlWithoutWeld(benchmark::State& state) {
  const auto& image = sample_image();
  const std::size_t n = (image.size() - 84) / 50;
  std::vector<Vector3f> vertices(3 * n);
  std::vector<Quorvex::BaseTriFace> faces(n);
  std::vector<Vector3f> normals(n);
  for (auto _ : state) {
    vertices.clear();
    faces.clear();
    normals.clear();
    const unsigned char* record = image.data() + 84;
    for (std::size_t f = 0; f < n; ++f, record += 50) {
      Vector3f c[3];
      std::memcpy(c[0].data(), record + 12, 12);
      std::memcpy(c[1].data(), record + 24, 12);
      std::memcpy(c[2].data(), record + 36, 12);
      const int first = static_cast<int>(vertices.size());
      for (const Vector3f& v : c) vertices.push_back(v);
      faces.emplace_back(first, first + 1, first + 2);
      normals.push_back(Quorvex::triangle_unit_normal(c[0], c[1], c[2]));
    }
    benchmark::DoNotOptimize(normals.data());
    benchmark::ClobberMemory();
  }
  if (faces.size() != n || vertices.size() != 3 * n) state.SkipWithError("wrong counts");
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(image.size()));
}
BENCHMARK(BM_StlWithoutWeld)->Unit(benchmark::kMillisecond);

void BM_ReadStlFile(benchmark::State& state) {
  const auto& image = sample_image();
  const std::string& path = sample_path();
  BaseTriMesh mesh;
  for (auto _ : state) {
    if (Quorvex::read_stl_mesh(path, mesh, nullptr) != 0) {
      state.SkipWithError("read failed");
      break;
    }
    benchmark::DoNotOptimize(mesh.get_fn());
  }
  if (!mesh_matches_bytes(mesh, image)) state.SkipWithError("mesh differs from the bytes");
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(image.size()));
}
BENCHMARK(BM_ReadStlFile)->Unit(benchmark::kMillisecond);

}  // namespace
