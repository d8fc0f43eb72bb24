// Writing and reading a large print model through the binary archive, to and from
// memory streams, against memcpy of the same number of bytes in the same run.
// Goals: writing at least half of memcpy's bandwidth, reading at least a third. Reading
// builds a new model, so it is measured against memcpy into fresh memory as well as
// against memcpy into memory that is already mapped.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <boost/interprocess/streams/bufferstream.hpp>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/ModelArchive.h"

namespace {

using Quorvex::Entity;
using Quorvex::Layer;
using Quorvex::Path;
using Quorvex::Point2;
using Quorvex::Point2Vector;

constexpr std::size_t kTargetPointBytes = 200u << 20;  // about 200 MB of points
constexpr int kPathsPerLayer = 40;

// Layers of boundary and fill paths of 200 to 3000 points: a dense print.
std::shared_ptr<Entity> make_entity() {
  std::mt19937 rng(2024);
  std::uniform_int_distribution<int> length(200, 3000);
  std::uniform_real_distribution<float> coord(-100.0f, 100.0f);
  auto e = std::make_shared<Entity>();
  e->set_platform_height(0.3f);
  std::size_t bytes = 0;
  for (int li = 0; bytes < kTargetPointBytes; ++li) {
    auto layer = std::make_shared<Layer>();
    layer->set_id(li);
    layer->set_z(0.2f * li);
    layer->set_thickness(0.2f);
    for (int pi = 0; pi < kPathsPerLayer && bytes < kTargetPointBytes; ++pi) {
      auto p = std::make_shared<Path>();
      p->set_type(pi % 2 ? Quorvex::PATH_TYPE_FILL_OTHER : Quorvex::PATH_TYPE_OUTER);
      p->set_z(layer->get_z());
      p->set_width(0.4f);
      p->set_id(pi);
      auto pts = std::make_shared<Point2Vector>(static_cast<std::size_t>(length(rng)));
      for (Point2& q : *pts) q = Point2(coord(rng), coord(rng));
      bytes += pts->size() * sizeof(Point2);
      p->set_points(pts);
      if (pi % 2) {
        layer->add_fill_path(p);
      } else {
        layer->add_boundary_path(p);
      }
    }
    e->add_layer(layer);
  }
  return e;
}

struct Fixture {
  std::shared_ptr<Entity> entity = make_entity();
  std::size_t archive_size = 0;
  std::vector<char> archive;  // the entity's image, written once
  std::vector<char> sink;     // target of the timed writes and of memcpy
  bool same = false;

  Fixture() {
    std::ostringstream os;
    os << *entity;
    const std::string bytes = os.str();
    archive_size = bytes.size();
    archive.assign(bytes.begin(), bytes.end());
    sink.assign(archive_size, 0);  // touched, so no benchmark pays the page faults

    // Ours and memcpy must produce the same bytes, and reading must give the model back.
    std::memcpy(sink.data(), archive.data(), archive_size);
    const bool copy_ok = std::memcmp(sink.data(), archive.data(), archive_size) == 0;
    std::fill(sink.begin(), sink.end(), 0);
    boost::interprocess::basic_obufferstream<char> out(sink.data(), sink.size());
    out << *entity;
    const bool write_ok = std::memcmp(sink.data(), archive.data(), archive_size) == 0 &&
                          static_cast<std::size_t>(out.tellp()) == archive_size;
    Entity back;
    boost::interprocess::basic_ibufferstream<char> in(archive.data(), archive.size());
    in >> back;
    std::ostringstream again;
    again << back;
    same = copy_ok && write_ok && again.str() == bytes;
  }
};

Fixture& fixture() {
  static Fixture f;
  return f;
}

void BM_ArchiveWriteEntity(benchmark::State& state) {
  Fixture& f = fixture();
  if (!f.same) state.SkipWithError("archive and memcpy disagree");
  for (auto _ : state) {
    boost::interprocess::basic_obufferstream<char> out(f.sink.data(), f.sink.size());
    out << *f.entity;
    benchmark::DoNotOptimize(f.sink.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.archive_size));
}

// Reads into fresh memory: glibc hands the freed model back to the system between
// iterations, so every read also pays the page faults of 200 MB of new allocations.
void read_entity_loop(benchmark::State& state) {
  Fixture& f = fixture();
  if (!f.same) state.SkipWithError("archive and memcpy disagree");
  for (auto _ : state) {
    auto e = std::make_unique<Entity>();
    boost::interprocess::basic_ibufferstream<char> in(f.archive.data(), f.archive.size());
    in >> *e;
    benchmark::DoNotOptimize(e.get());
    state.PauseTiming();
    e.reset();  // freeing the model is not part of reading it
    state.ResumeTiming();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.archive_size));
}

// Reads into fresh memory: glibc hands the freed model back to the system between
// iterations, so every read also pays the page faults of 200 MB of new allocations.
void BM_ArchiveReadEntity(benchmark::State& state) { read_entity_loop(state); }

// The same with the heap kept by the process, as in a long-running host that reads one
// model after another: memcpy writes into memory that is already mapped, and so does this.
void BM_ArchiveReadEntityWarmHeap(benchmark::State& state) {
  constexpr int kDefaultTrimThreshold = 128 * 1024;
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  {
    Fixture& f = fixture();
    Entity warm;  // maps the heap once, untimed
    boost::interprocess::basic_ibufferstream<char> in(f.archive.data(), f.archive.size());
    in >> warm;
  }
  read_entity_loop(state);
  mallopt(M_TRIM_THRESHOLD, kDefaultTrimThreshold);
  malloc_trim(0);
}

void BM_MemcpyPeer(benchmark::State& state) {
  Fixture& f = fixture();
  for (auto _ : state) {
    std::memcpy(f.sink.data(), f.archive.data(), f.archive_size);
    benchmark::DoNotOptimize(f.sink.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.archive_size));
}

// The fair peer of reading into fresh memory: memcpy into memory just allocated and not yet
// touched, so that it pays the same page faults as a model read into a fresh heap.
void BM_MemcpyFreshPeer(benchmark::State& state) {
  Fixture& f = fixture();
  for (auto _ : state) {
    std::unique_ptr<char[]> fresh(new char[f.archive_size]);
    std::memcpy(fresh.get(), f.archive.data(), f.archive_size);
    benchmark::DoNotOptimize(fresh.get());
    benchmark::ClobberMemory();
    state.PauseTiming();
    fresh.reset();  // as for the model, freeing is not timed
    state.ResumeTiming();
  }
  std::unique_ptr<char[]> fresh(new char[f.archive_size]);
  std::memcpy(fresh.get(), f.archive.data(), f.archive_size);
  if (std::memcmp(fresh.get(), f.archive.data(), f.archive_size) != 0) {
    state.SkipWithError("memcpy copied something else");
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.archive_size));
}

BENCHMARK(BM_MemcpyPeer)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ArchiveWriteEntity)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ArchiveReadEntity)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ArchiveReadEntityWarmHeap)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MemcpyFreshPeer)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
