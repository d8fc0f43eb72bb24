// Model work that may run side by side: G-code from one const model, region numbering of
// different layers, merges with per-call state, mesh readers into different meshes, and
// records of the shared capture stream written from several threads.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "ConcurrencyFixtures.h"
#include "quorvex/base/DataArchiveConfig.h"
#include "quorvex/baseTypeIO/GCode.h"
#include "quorvex/baseTypeIO/MeshMemoryIO.h"
#include "quorvex/baseTypeIO/ReadTriMesh.h"
#include "quorvex/capture/TestBug.h"
#include "support/CaptureConfigGuard.h"
#include "support/MeshSamples.h"

namespace qxconc {
namespace {

std::string temp_file(const std::string& name) {
  return ::testing::TempDir() + "/qx_conc_" + std::to_string(getpid()) + "_" + name;
}

TEST(ConcurrencyGCode, ObjectsOnOneConstModelAgree) {
  const std::shared_ptr<const Entity> model = make_entity(6, 3, 0.2f);
  const std::vector<StructureType> seq = {STRUCTURE_BOUNDARY, STRUCTURE_EXTRA_SHELL, STRUCTURE_FILL,
                                          STRUCTURE_SUPPORT, STRUCTURE_RAFT};
  GCode alone(3, seq);
  ASSERT_EQ(alone.get_gcode_from_entity(*model), RETVAL_OK);
  ASSERT_EQ(alone.get_outputs().size(), 6u);

  std::vector<std::string> got[kThreads];
  run_together([&](int i) {
    GCode g(3, seq);
    for (int round = 0; round < 3; ++round) g.get_gcode_from_entity(*model);
    got[i] = g.get_outputs();
  });
  for (const auto& out : got) EXPECT_EQ(out, alone.get_outputs());
}

std::vector<int> ids_of(const Layer& layer) {
  std::vector<int> ids;
  for (const auto* list :
       {&layer.get_boundary_paths(), &layer.get_fill_paths(), &layer.get_thinWalledFill_paths()}) {
    for (const auto& p : *list) ids.push_back(p->get_id());
  }
  return ids;
}

TEST(ConcurrencyRegionNumbering, DifferentLayersNumberedInParallel) {
  auto reference = make_layer(0, 0.2f, 5);
  ASSERT_TRUE(reference->number_region());
  const std::vector<int> expected = ids_of(*reference);
  ASSERT_EQ(expected[2], 1);  // the outer loop of the second square

  std::shared_ptr<Layer> layers[kThreads];
  for (auto& l : layers) l = make_layer(0, 0.2f, 5);
  run_together([&](int i) { layers[i]->number_region(); });
  for (const auto& l : layers) {
    EXPECT_TRUE(l->is_region_numbered());
    EXPECT_EQ(ids_of(*l), expected);
  }
}

TEST(ConcurrencyMerge, MergesOfTheSameSourcesInParallel) {
  const std::vector<std::shared_ptr<Entity const>> sources = {
      make_entity(8, 3, 0.2f), make_entity(5, 2, 0.2f), make_entity(4, 4, 0.3f)};
  auto reference = std::make_shared<Entity>();
  ASSERT_EQ(Entity::merge_entities(sources, reference), RETVAL_OK);
  ASSERT_GT(reference->get_layer_size(), 8u);

  std::shared_ptr<Entity> got[kThreads];
  run_together([&](int i) {
    got[i] = std::make_shared<Entity>();
    EXPECT_EQ(Entity::merge_entities(sources, got[i]), RETVAL_OK);
  });
  for (const auto& e : got) {
    ASSERT_EQ(e->get_layer_size(), reference->get_layer_size());
    for (std::size_t k = 0; k < e->get_layer_size(); ++k) {
      EXPECT_EQ(e->get_layer(k)->get_z(), reference->get_layer(k)->get_z()) << k;
      EXPECT_EQ(ids_of(*e->get_layer(k)), ids_of(*reference->get_layer(k))) << k;
    }
  }
}

std::string grid_obj(int n) {
  std::ostringstream s;
  for (int y = 0; y <= n; ++y) {
    for (int x = 0; x <= n; ++x) s << "v " << x << ' ' << y << ' ' << (x * y) % 3 << '\n';
  }
  for (int y = 0; y < n; ++y) {
    for (int x = 0; x < n; ++x) {
      const int a = y * (n + 1) + x + 1;
      s << "f " << a << ' ' << a + 1 << ' ' << a + n + 2 << ' ' << a + n + 1 << '\n';
    }
  }
  return s.str();
}

bool same_mesh(const BaseTriMesh& a, const BaseTriMesh& b) {
  return qxtest::vertices_of(a) == qxtest::vertices_of(b) &&
         qxtest::faces_of(a) == qxtest::faces_of(b);
}

TEST(ConcurrencyMeshReaders, ReadersIntoDifferentMeshes) {
  const std::string obj_text = grid_obj(30);
  const std::vector<unsigned char> obj = qxtest::bytes_of(obj_text);
  BaseTriMesh obj_alone, stl_alone;
  ASSERT_EQ(read_TriMesh_in_memory(obj, "obj", obj_alone), 0);
  ASSERT_EQ(obj_alone.get_fn(), 2u * 30 * 30);
  std::vector<unsigned char> stl;
  ASSERT_EQ(write_TriMesh_to_memory(stl, obj_alone), 0);
  ASSERT_EQ(read_TriMesh_in_memory(stl, "stl", stl_alone), 0);
  const std::string obj_path = qxtest::write_temp("conc_grid.obj", obj_text);
  const std::string stl_path =
      qxtest::write_temp("conc_grid.stl", std::string(stl.begin(), stl.end()));

  bool ok[kThreads] = {};
  run_together([&](int i) {
    BaseTriMesh a, b, c, d;
    ok[i] = read_TriMesh_in_memory(obj, "obj", a) == 0 &&
            read_TriMesh_in_memory(stl, "stl", b) == 0 && read_TriMesh(obj_path, c, 0.0f) == 0 &&
            read_TriMesh(stl_path, d, 0.0f) == 0 && same_mesh(a, obj_alone) &&
            same_mesh(b, stl_alone) && same_mesh(c, obj_alone) && same_mesh(d, stl_alone);
  });
  for (int i = 0; i < kThreads; ++i) EXPECT_TRUE(ok[i]) << i;
  std::remove(obj_path.c_str());
  std::remove(stl_path.c_str());
}

// ---- the shared capture stream

template <class T>
bool take(const std::string& bytes, std::size_t& at, T& v) {
  if (bytes.size() - at < sizeof(T)) return false;
  std::memcpy(&v, bytes.data() + at, sizeof(T));
  at += sizeof(T);
  return true;
}

// The loop a thread captures in its call number k: thread and call are in its points, and
// the sizes cover the empty vector and the one beyond the element-wise limit.
std::vector<Point2> captured_loop(int thread, int k) {
  static const int sizes[] = {0, 3, 17, 1001, 250};
  std::vector<Point2> loop(static_cast<std::size_t>(sizes[k % 5]));
  for (std::size_t j = 0; j < loop.size(); ++j) {
    loop[j] =
        Point2(static_cast<float>(thread), static_cast<float>(k * 10000 + static_cast<int>(j)));
  }
  return loop;
}

TEST(ConcurrencyCaptureStream, RecordsFromSeveralThreadsNeverInterleave) {
  qxtest::CaptureConfigGuard guard;
  const std::string path = temp_file("capture.stream");
  DataArchiveConfig& cfg = gDAConfig;
  cfg.stream.open(path, std::ios::out | std::ios::binary | std::ios::trunc);
  ASSERT_TRUE(cfg.stream.is_open());
  cfg.single_stream = true;
  cfg.enabled = true;
  constexpr int kCalls = 25;

  run_together([&](int i) {
    const std::string name = "ConcurrencyCall" + std::to_string(i);
    for (int k = 0; k < kCalls; ++k) {
      std::vector<Point2> loop = captured_loop(i, k);
      capture_parameter(name.c_str(), loop, "loop");
    }
  });
  cfg.enabled = false;
  cfg.stream.close();

  std::ifstream in(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::size_t at = 0;
  int records = 0;
  int next_call[kThreads] = {};
  while (at < bytes.size()) {
    const std::size_t start = at;
    std::uint64_t size = 0, name_len = 0, count = 0;
    std::int32_t name_len32 = 0, tag_len = 0, points = 0;
    ASSERT_TRUE(take(bytes, at, size));
    ASSERT_GE(size, 8u) << "record " << records;
    ASSERT_LE(size, bytes.size() - start) << "record " << records;
    ASSERT_TRUE(take(bytes, at, name_len) && take(bytes, at, name_len32));
    ASSERT_EQ(name_len, static_cast<std::uint64_t>(name_len32));
    const std::string name = bytes.substr(at, name_len);
    at += name_len;
    ASSERT_EQ(name.rfind("ConcurrencyCall", 0), 0u) << name;
    const int thread = std::stoi(name.substr(15));
    ASSERT_TRUE(thread >= 0 && thread < kThreads);
    for (int tag = 0; tag < 2; ++tag) {  // version and commit tags
      ASSERT_TRUE(take(bytes, at, tag_len));
      ASSERT_GE(tag_len, 0);
      at += static_cast<std::size_t>(tag_len);
    }
    ASSERT_TRUE(take(bytes, at, count));
    ASSERT_EQ(count, 1u);
    ASSERT_EQ(bytes.substr(at, 4), std::string("\x93\x90\x90\x8F"));  // "loop" inverted
    at += 4;
    ASSERT_TRUE(take(bytes, at, points));
    const std::vector<Point2> expected = captured_loop(thread, next_call[thread]++);
    ASSERT_EQ(points, static_cast<std::int32_t>(expected.size()));
    if (points <= 1000) {
      for (const Point2& want : expected) {
        Point2 p;
        ASSERT_TRUE(take(bytes, at, p));
        ASSERT_EQ(p.x, want.x);
        ASSERT_EQ(p.y, want.y);
      }
    }
    // The size field chains to the next record exactly.
    ASSERT_EQ(at, start + size) << "record " << records;
    ++records;
  }
  EXPECT_EQ(records, kThreads * kCalls);
  for (int n : next_call) EXPECT_EQ(n, kCalls);
  std::remove(path.c_str());
}

}  // namespace
}  // namespace qxconc
