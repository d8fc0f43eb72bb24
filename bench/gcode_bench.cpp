// G-code emission of a large print: the library's GCode against a straightforward
// emitter that formats every number with snprintf("%.*f"). Both produce the same text.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "quorvex/baseTypeIO/GCode.h"

namespace {

using namespace Quorvex;

constexpr int kLayers = 100;
constexpr int kPathsPerLayer = 1000;
constexpr int kPointsPerPath = 50;
constexpr int kDecimals = 4;

const Entity& large_entity() {
  static const Entity entity = [] {
    Entity e;
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> coord(0.0f, 200.0f);
    for (int l = 0; l < kLayers; ++l) {
      auto layer = std::make_shared<Layer>();
      const float z = 0.2f * static_cast<float>(l + 1);
      layer->set_z(z);
      for (int p = 0; p < kPathsPerLayer; ++p) {
        auto path = std::make_shared<Path>();
        path->set_z(z);
        path->resize_vn(kPointsPerPath);
        for (auto& pt : *path->get_points()) pt = Point2(coord(rng), coord(rng));
        if (p % 2 == 0) {
          path->set_type(p % 4 == 0 ? PATH_TYPE_OUTER : PATH_TYPE_INNER);
          layer->add_boundary_path(path);
        } else {
          path->set_type(p % 4 == 1 ? PATH_TYPE_FILL_SEGMENTS_0 : PATH_TYPE_FILL_POLYLINE_0);
          layer->add_fill_path(path);
        }
      }
      e.add_layer(layer);
    }
    return e;
  }();
  return entity;
}

const std::vector<StructureType> kSequence = {STRUCTURE_BOUNDARY, STRUCTURE_FILL};

// The peer: the same text, numbers by snprintf.
class SnprintfEmitter {
 public:
  std::vector<std::string> outputs;

  void emit(const Entity& e) {
    outputs.clear();
    for (const auto& layer : e.get_layers()) {
      buf_.clear();
      buf_ += "(<layer> ";
      num(layer->get_z());
      buf_ += ")\n";
      for (const auto& p : layer->get_boundary_paths()) {
        buf_ += p->get_type() == PATH_TYPE_OUTER ? "(<boundary outer>)\n" : "(<boundary inner>)\n";
        path(*p, false);
        buf_ += "(</boundary>)\n";
      }
      for (const auto& p : layer->get_fill_paths()) {
        buf_ += "(<fill>)\n";
        path(*p, true);
        buf_ += "(</fill>)\n";
      }
      buf_ += "(</layer>)\n";
      outputs.push_back(buf_);
    }
  }

 private:
  void num(float v) {
    char tmp[64];
    const int n = std::snprintf(tmp, sizeof tmp, "%.*f", kDecimals, static_cast<double>(v));
    buf_.append(tmp, static_cast<std::size_t>(n));
  }
  void move(const Point2& p, float z) {
    buf_ += "G1 X";
    num(p.x);
    buf_ += " Y";
    num(p.y);
    buf_ += " Z";
    num(z);
    buf_ += "\n";
  }
  void path(const Path& p, bool fill) {
    const auto& pts = *p.get_points();
    const float z = p.get_z();
    buf_ += "M103\nG1 Z";
    num(z);
    buf_ += "\nG1 X";
    num(pts[0].x);
    buf_ += " Y";
    num(pts[0].y);
    buf_ += "\nM101\n";
    const int type = p.get_type();
    if (!fill || (type >= 8 && type <= 11)) {
      for (std::size_t i = 1; i < pts.size(); ++i) move(pts[i], z);
    } else if (type >= 3 && type <= 6) {
      for (std::size_t i = 1; i + 1 < pts.size(); i += 2) {
        move(pts[i], z);
        buf_ += "M103\n";
        move(pts[i + 1], z);
        buf_ += "M101\n";
      }
      move(pts.back(), z);
    }
    buf_ += "M103\n";
  }
  std::string buf_;
};

std::size_t total_bytes(const std::vector<std::string>& texts) {
  std::size_t n = 0;
  for (const auto& t : texts) n += t.size();
  return n;
}

void check_same_text_once() {
  static bool checked = false;
  if (checked) return;
  GCode ours(kDecimals, kSequence);
  ours.get_gcode_from_entity(large_entity());
  SnprintfEmitter peer;
  peer.emit(large_entity());
  if (ours.get_outputs() != peer.outputs) {
    std::fprintf(stderr, "gcode_bench: the two emitters disagree\n");
    std::abort();
  }
  checked = true;
}

void BM_GCode_Quorvex(benchmark::State& state) {
  check_same_text_once();
  const Entity& e = large_entity();
  GCode gcode(kDecimals, kSequence);
  std::size_t bytes = 0;
  for (auto _ : state) {
    gcode.get_gcode_from_entity(e);
    bytes = total_bytes(gcode.get_outputs());
    benchmark::DoNotOptimize(bytes);
  }
  state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
}
BENCHMARK(BM_GCode_Quorvex)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_GCode_SnprintfPeer(benchmark::State& state) {
  check_same_text_once();
  const Entity& e = large_entity();
  SnprintfEmitter peer;
  std::size_t bytes = 0;
  for (auto _ : state) {
    peer.emit(e);
    bytes = total_bytes(peer.outputs);
    benchmark::DoNotOptimize(bytes);
  }
  state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
}
BENCHMARK(BM_GCode_SnprintfPeer)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
