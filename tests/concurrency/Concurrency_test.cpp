// Work that may run side by side. get_area_loop and is_widdershins are left out: their OpenMP
// region runs on the runtime's own threads, which ThreadSanitizer cannot see synchronise.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>

#include "quorvex/base/DataArchiveConfig.h"
#include "quorvex/baseType/Entity.h"
#include "quorvex/baseTypeIO/GCode.h"
#include "quorvex/baseTypeIO/MeshMemoryIO.h"
#include "quorvex/baseTypeIO/ReadTriMesh.h"
#include "quorvex/capture/TestBug.h"
#include "quorvex/fill/FillLine.h"
#include "quorvex/fill/FillLineOrder.h"
#include "quorvex/planeGeometry/QEMSimp.h"
#include "quorvex/planeGeometry/SimplifyDP.h"
#include "quorvex/planeGeometry/SimplifyDistance.h"
#include "quorvex/polygon/Clipper.h"
#include "quorvex/polygon/PolyTree.h"
#include "support/CaptureConfigGuard.h"
#include "support/MeshSamples.h"
#include "support/ModelSamples.h"
#include "support/PointEquality.h"

namespace Quorvex {
namespace {

using Pts = std::vector<Point2>;
using ConstLoops = std::vector<std::shared_ptr<Point2Vector const>>;

constexpr int kThreads = 4;  // overlap on two cores, few enough for ThreadSanitizer

// Worker i computes run(i) alone, then again on its own thread side by side with the others,
// and must end where it ended alone. Gives the lone results, to check that they are worth it.
template <class F>
auto expect_same_together(F run) {
  std::vector<decltype(run(0))> alone, got(kThreads);
  for (int i = 0; i < kThreads; ++i) alone.push_back(run(i));
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      ready.fetch_add(1);
      while (ready.load() < kThreads) std::this_thread::yield();  // start together
      got[i] = run(i);
    });
  }
  for (std::thread& t : threads) t.join();
  for (int i = 0; i < kThreads; ++i) EXPECT_TRUE(got[i] == alone[i]) << "worker " << i;
  return alone;
}

template <class L>
std::vector<Pts> flat(const std::vector<L>& loops) {
  std::vector<Pts> out;
  for (const auto& l : loops) out.emplace_back(l->begin(), l->end());
  return out;
}

std::shared_ptr<Point2Vector> wavy_loop(int n, float cx, float cy, float r) {
  auto p = std::make_shared<Point2Vector>();
  for (int i = 0; i < n; ++i) {
    const float a = 6.2831853f * i / n;
    const float rr = r * (1.0f + 0.1f * std::sin(7.0f * a)) + 0.01f * (i % 3);
    p->emplace_back(cx + rr * std::cos(a), cy + rr * std::sin(a));
  }
  return p;
}

TEST(ConcurrencyClipper, IndependentObjectsOnSharedLoops) {
  const ConstLoops subject = {wavy_loop(400, 0, 0, 50), wavy_loop(100, 0, 0, 10)};
  const ConstLoops clip = {wavy_loop(300, 30, 10, 40)};
  const ClipType types[kThreads] = {ctIntersection, ctUnion, ctDifference, ctXor};
  expect_same_together([&](int i) {  // a boolean, an offset and a tree: all the state changes
    Clipper c;
    c.set_paths(subject, ptSubject);
    c.set_paths(clip, ptClip);
    c.execute(types[i], pftNonZero, pftNonZero, 0, true);
    c.set_result_as_subject();
    c.offset(-1.5f, jtRound, etClosedPolygon, 2.0f, 2.5e5f, true);
    std::vector<std::shared_ptr<Point2Vector>> out;
    c.get_result(out, true);
    PolyTreeEx tree;
    c.set_result_as_subject();
    c.set_paths(clip, ptClip);
    c.execute(ctUnion, tree, pftNonZero, pftNonZero, 0);
    return flat(out);
  });
}

TEST(ConcurrencyFill, FillLinesAndTheirOrderOnOneSharedRegion) {
  const ConstLoops region = {wavy_loop(500, 0, 0, 60),
                             qxtest::hole_rect(-9, -9, 9, 9)->get_points()};
  expect_same_together([&](int i) {
    std::vector<std::shared_ptr<Point2Vector>> lines, sorted, linked;
    const float angle = 15.0f * static_cast<float>(i);
    EXPECT_EQ(get_fill_line_from_loops(region, lines, 0.8f, angle, 0.5f, false), RETVAL_OK);
    EXPECT_EQ(sort_discontinued_fill_line(ConstLoops(lines.begin(), lines.end()), sorted, 2, 0.8f),
              RETVAL_OK);
    EXPECT_EQ(get_fill_line_from_loops(region, linked, 0.8f, angle, 0.5f, true), RETVAL_OK);
    return std::vector<std::vector<Pts>>{flat(lines), flat(sorted), flat(linked)};
  });
}

TEST(ConcurrencySimplify, EverySimplifierOnItsOwnCopy) {
  const Point2Vector source = *wavy_loop(2000, 5, 5, 80);
  expect_same_together([&](int i) {
    Pts loop = source;
    auto path = qxtest::make_path(source);
    path->set_colors(std::make_shared<ColorVector>(source.size(), Color3f(1, 0.5f, 0)));
    if (i == 0) get_simplified_loop_DP(loop, 0.05f);
    if (i == 1) get_simplified_loop_DP(loop, 0.05f, 3.0f);  // the form with a capture hook
    if (i == 2) get_simplified_loop(loop, 0.2f);
    if (i == 3) get_QEM_simplified_loop(loop, 0.05f);
    if (i % 2 == 0) get_simplified_path_with_colour(path, 0.2f, 0.1f);
    if (i % 2 == 1) get_QEM_simplified_loop_with_colour(path, 0.05f, 0.1f);
    return std::vector<Pts>{loop, *path->get_points()};
  });
}

// `regions` squares in a row, each with a hole, a fill stroke and a thin-wall stroke.
std::shared_ptr<Layer> make_layer(int id, float z, int regions) {
  auto layer = std::make_shared<Layer>();
  layer->set_id(id);
  layer->set_z(z);
  layer->set_thickness(0.2f);
  for (float x = 0; x < 30.0f * regions; x += 30) {
    layer->add_boundary_path(qxtest::outer_rect(x, 0, x + 20, 20));
    layer->add_boundary_path(qxtest::hole_rect(x + 8, 8, x + 12, 12));
    layer->add_fill_path(qxtest::stroke({x + 1, 1}));
    layer->add_thinWalledFill_path(qxtest::stroke({x + 20, 5}, PATH_TYPE_FILL_OTHER));
  }
  for (auto* list : qxtest::path_lists(*layer))
    for (auto& p : *list) p->set_width(0.4f);
  return layer;
}

std::shared_ptr<Entity> make_entity(int layers, int regions, float z0) {
  auto e = std::make_shared<Entity>();
  for (int i = 0; i < layers; ++i) e->add_layer(make_layer(i, z0 + 0.2f * i, regions));
  return e;
}

std::vector<std::vector<int>> ids_of(const Layer& l) {
  return {qxtest::ids_of(l.get_boundary_paths()), qxtest::ids_of(l.get_fill_paths()),
          qxtest::ids_of(l.get_thinWalledFill_paths())};
}

TEST(ConcurrencyGCode, ObjectsOnOneConstModel) {
  const std::shared_ptr<const Entity> model = make_entity(6, 3, 0.2f);
  expect_same_together([&](int) {
    GCode g(3, {STRUCTURE_BOUNDARY, STRUCTURE_EXTRA_SHELL, STRUCTURE_FILL, STRUCTURE_SUPPORT,
                STRUCTURE_RAFT});
    EXPECT_EQ(g.get_gcode_from_entity(*model), RETVAL_OK);
    return g.get_outputs();
  });
}

// Merges keep their running offset and id map per call.
TEST(ConcurrencyLayers, NumberingAndMergingDifferentLayers) {
  const std::vector<std::shared_ptr<Entity const>> sources = {
      make_entity(8, 3, 0.2f), make_entity(5, 2, 0.2f), make_entity(4, 4, 0.3f)};
  const auto alone = expect_same_together([&](int) {
    auto layer = make_layer(0, 0.2f, 5);
    EXPECT_TRUE(layer->number_region());
    auto merged = std::make_shared<Entity>();
    EXPECT_EQ(Entity::merge_entities(sources, merged), RETVAL_OK);
    std::vector<std::pair<float, std::vector<std::vector<int>>>> layers = {{0, ids_of(*layer)}};
    for (const auto& l : merged->get_layers()) layers.emplace_back(l->get_z(), ids_of(*l));
    return layers;
  });
  EXPECT_EQ(alone[0][0].second[0][2], 1);  // the outer loop of the second square
}

// Workers 0 and 1 read the OBJ and STL images from memory, 2 and 3 from files.
TEST(ConcurrencyMeshReaders, ReadersIntoDifferentMeshes) {
  std::ostringstream text;  // a 30 x 30 grid of quads
  for (int v = 0; v < 31 * 31; ++v) text << "v " << v % 31 << ' ' << v / 31 << ' ' << v % 3 << '\n';
  for (int a = 1; a < 31 * 30; a += a % 31 == 30 ? 2 : 1) {
    text << "f " << a << ' ' << a + 1 << ' ' << a + 32 << ' ' << a + 31 << '\n';
  }
  const std::vector<unsigned char> obj = qxtest::bytes_of(text.str());
  BaseTriMesh grid;
  ASSERT_EQ(read_TriMesh_in_memory(obj, "obj", grid), 0);
  std::vector<unsigned char> stl;
  ASSERT_EQ(write_TriMesh_to_memory(stl, grid), 0);
  const std::string paths[] = {qxtest::write_temp("conc_grid.obj", text.str()),
                               qxtest::write_temp("conc_grid.stl", {stl.begin(), stl.end()})};
  expect_same_together([&](int i) {
    BaseTriMesh mesh;
    EXPECT_EQ(i > 1 ? read_TriMesh(paths[i % 2], mesh, 0.0f)
                    : read_TriMesh_in_memory(i ? stl : obj, i ? "stl" : "obj", mesh),
              0);
    return std::make_pair(qxtest::vertices_of(mesh), qxtest::faces_of(mesh));
  });
  for (const auto& path : paths) std::remove(path.c_str());
}

// Records of the shared capture stream are whole and each thread's come in its order, byte
// for byte as when the threads write one after the other.
TEST(ConcurrencyCaptureStream, RecordsFromSeveralThreadsNeverInterleave) {
  qxtest::CaptureConfigGuard guard;
  const std::string path = ::testing::TempDir() + "/qx_conc_" + std::to_string(getpid());
  gDAConfig.stream.open(path, std::ios::out | std::ios::binary | std::ios::trunc);
  ASSERT_TRUE(gDAConfig.stream.is_open());
  gDAConfig.single_stream = gDAConfig.enabled = true;
  constexpr int kCalls = 25;
  expect_same_together([](int thread) {
    const std::string name = "ConcurrencyCall" + std::to_string(thread);
    for (int k = 0; k < kCalls; ++k) {  // sizes up to beyond the element-wise limit
      Pts loop(static_cast<std::size_t>(std::vector<int>{0, 3, 17, 1001, 250}[k % 5]));
      for (std::size_t j = 0; j < loop.size(); ++j) loop[j] = Point2(thread, k * 10000.0f + j);
      capture_parameter(name.c_str(), loop, "loop");
    }
    return 0;
  });
  gDAConfig.stream.close();
  std::ifstream in(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  std::remove(path.c_str());
  std::vector<std::string> records;  // split by the leading size of each record
  for (std::uint64_t at = 0, size = 0; at < bytes.size(); at += size) {
    std::memcpy(&size, bytes.data() + at, std::min<std::size_t>(8, bytes.size() - at));
    ASSERT_TRUE(size >= 8 && size <= bytes.size() - at) << "record " << records.size();
    records.push_back(bytes.substr(at, size));
  }
  ASSERT_EQ(records.size(), std::size_t{2 * kThreads * kCalls});  // alone, then together
  int next[kThreads] = {};
  for (std::size_t r = kThreads * kCalls; r < records.size(); ++r) {
    int t = 0;
    while (t < kThreads && (next[t] == kCalls || records[r] != records[t * kCalls + next[t]])) ++t;
    ASSERT_LT(t, kThreads) << "record " << r << " is no thread's next call";
    ++next[t];
  }
}

}  // namespace
}  // namespace Quorvex
