// Fill-line generation against the usual way of doing it with the polygon engine: clip
// the same scan lines, as open paths, against the region (even-odd) into a PolyTree.
//
// Region: an outline of 10 000 vertices with 50 holes of 40 vertices, filled with about
// 1 060 lines at 0 and 37 degrees.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <polyclipping/clipper.hpp>
#include <vector>

#include "quorvex/fill/FillLine.h"

namespace {

using Quorvex::Point2;
using Quorvex::Point2Vector;
using Loops = std::vector<std::shared_ptr<const Point2Vector>>;
using Lines = std::vector<std::shared_ptr<Point2Vector>>;

constexpr float kSpacing = 0.2f;
constexpr double kScale = 1e4;

Loops make_region() {
  Loops loops;
  auto outer = std::make_shared<Point2Vector>();
  const int n = 10000;
  for (int i = 0; i < n; ++i) {
    const double t = 2.0 * M_PI * i / n;
    const double r = 100.0 + 4.0 * std::sin(37.0 * t) + 2.0 * std::sin(91.0 * t);
    outer->emplace_back(static_cast<float>(r * std::cos(t)), static_cast<float>(r * std::sin(t)));
  }
  loops.push_back(outer);
  int holes = 0;
  for (int gy = 0; gy < 9 && holes < 50; ++gy) {
    for (int gx = 0; gx < 9 && holes < 50; ++gx) {
      const double cx = -68.0 + 17.0 * gx, cy = -68.0 + 17.0 * gy;
      if (std::hypot(cx, cy) + 6.0 > 90.0) continue;
      auto hole = std::make_shared<Point2Vector>();
      for (int i = 0; i < 40; ++i) {
        const double t = -2.0 * M_PI * i / 40;
        hole->emplace_back(static_cast<float>(cx + 5.0 * std::cos(t)),
                           static_cast<float>(cy + 5.0 * std::sin(t)));
      }
      loops.push_back(hole);
      ++holes;
    }
  }
  if (holes != 50) std::abort();
  return loops;
}

const Loops& region() {
  static const Loops r = make_region();
  return r;
}

// The peer: scan lines on the same zero-anchored grid, clipped as open paths.
std::vector<Point2Vector> peer_fill(const Loops& loops, float spacing, float angle) {
  const double a = angle * M_PI / 180.0;
  const double c = std::cos(a), s = std::sin(a);
  ClipperLib::Paths clip;
  clip.reserve(loops.size());
  double lo = 1e300, hi = -1e300, xlo = 1e300, xhi = -1e300;
  for (const auto& l : loops) {
    ClipperLib::Path p;
    p.reserve(l->size());
    for (const Point2& v : *l) {
      p.emplace_back(static_cast<ClipperLib::cInt>(std::llround(v.x * kScale)),
                     static_cast<ClipperLib::cInt>(std::llround(v.y * kScale)));
      const double h = -v.x * s + v.y * c;
      const double w = v.x * c + v.y * s;
      lo = std::min(lo, h);
      hi = std::max(hi, h);
      xlo = std::min(xlo, w);
      xhi = std::max(xhi, w);
    }
    clip.push_back(std::move(p));
  }
  ClipperLib::Paths subject;
  xlo -= 1.0;
  xhi += 1.0;
  // The same heights as the fill: the zero-anchored grid inside a band of a thousandth of
  // the spacing, with an extra first and last line where the grid leaves a wide gap.
  std::vector<double> heights;
  const double m = lo + 0.001 * spacing, big_m = hi - 0.001 * spacing;
  const double first = std::ceil(m / spacing) * spacing;
  if (std::fabs(m - first) > 0.1 * spacing) heights.push_back(m);
  for (double z = first; z <= big_m; z += spacing) heights.push_back(z);
  if (big_m - heights.back() > 0.1 * spacing) heights.push_back(big_m);
  for (double z : heights) {
    ClipperLib::Path line(2);
    line[0] = ClipperLib::IntPoint(
        static_cast<ClipperLib::cInt>(std::llround((xlo * c - z * s) * kScale)),
        static_cast<ClipperLib::cInt>(std::llround((xlo * s + z * c) * kScale)));
    line[1] = ClipperLib::IntPoint(
        static_cast<ClipperLib::cInt>(std::llround((xhi * c - z * s) * kScale)),
        static_cast<ClipperLib::cInt>(std::llround((xhi * s + z * c) * kScale)));
    subject.push_back(std::move(line));
  }
  ClipperLib::Clipper clipper;
  clipper.AddPaths(subject, ClipperLib::ptSubject, false);
  clipper.AddPaths(clip, ClipperLib::ptClip, true);
  ClipperLib::PolyTree tree;
  clipper.Execute(ClipperLib::ctIntersection, tree, ClipperLib::pftEvenOdd, ClipperLib::pftEvenOdd);
  ClipperLib::Paths open;
  ClipperLib::OpenPathsFromPolyTree(tree, open);
  std::vector<Point2Vector> out;
  out.reserve(open.size());
  for (const auto& p : open) {
    Point2Vector seg;
    seg.reserve(p.size());
    for (const auto& q : p) {
      seg.emplace_back(static_cast<float>(q.X / kScale), static_cast<float>(q.Y / kScale));
    }
    out.push_back(std::move(seg));
  }
  return out;
}

double total_length(const std::vector<Point2Vector>& segments) {
  double sum = 0.0;
  for (const auto& s : segments) {
    for (size_t i = 1; i < s.size(); ++i)
      sum += std::hypot(s[i].x - s[i - 1].x, s[i].y - s[i - 1].y);
  }
  return sum;
}

// Checked once per angle: both sides cut the same segments, and the linked fill carries
// every segment of the plain fill.
void check_same_result(float angle) {
  static bool checked[2] = {false, false};
  bool& done = checked[angle == 0.0f ? 0 : 1];
  if (done) return;
  done = true;
  Lines plain, linked;
  if (Quorvex::get_fill_line_from_loops(region(), plain, kSpacing, angle, 0.0f, false) !=
          Quorvex::RETVAL_OK ||
      Quorvex::get_fill_line_from_loops(region(), linked, kSpacing, angle, 0.0f, true) !=
          Quorvex::RETVAL_OK) {
    std::fprintf(stderr, "fill failed at %g degrees\n", angle);
    std::abort();
  }
  std::vector<Point2Vector> ours;
  size_t line_count = plain.size();
  for (const auto& l : plain) {
    for (size_t j = 0; j < l->size(); j += 2) ours.push_back(Point2Vector{(*l)[j], (*l)[j + 1]});
  }
  const std::vector<Point2Vector> theirs = peer_fill(region(), kSpacing, angle);
  const double la = total_length(ours), lb = total_length(theirs);
  std::fprintf(stderr, "angle %g: %zu lines, %zu segments (peer %zu), length %.3f (peer %.3f)\n",
               angle, line_count, ours.size(), theirs.size(), la, lb);
  if (ours.size() != theirs.size() || std::fabs(la - lb) > 1e-4 * lb) {
    std::fprintf(stderr, "ours and the peer disagree\n");
    std::abort();
  }
  std::vector<std::pair<float, float>> linked_points;
  for (const auto& l : linked) {
    for (const Point2& p : *l) linked_points.emplace_back(p.x, p.y);
  }
  std::sort(linked_points.begin(), linked_points.end());
  for (const auto& s : ours) {
    for (const Point2& p : s) {
      if (!std::binary_search(linked_points.begin(), linked_points.end(),
                              std::make_pair(p.x, p.y))) {
        std::fprintf(stderr, "linked fill misses a segment end\n");
        std::abort();
      }
    }
  }
}

void BM_FillPlain(benchmark::State& state) {
  const float angle = static_cast<float>(state.range(0));
  check_same_result(angle);
  for (auto _ : state) {
    Lines out;
    Quorvex::get_fill_line_from_loops(region(), out, kSpacing, angle, 0.0f, false);
    benchmark::DoNotOptimize(out.data());
  }
}

void BM_FillConnected(benchmark::State& state) {
  const float angle = static_cast<float>(state.range(0));
  check_same_result(angle);
  for (auto _ : state) {
    Lines out;
    Quorvex::get_fill_line_from_loops(region(), out, kSpacing, angle, 0.0f, true);
    benchmark::DoNotOptimize(out.data());
  }
}

void BM_PeerClipperOpenLines(benchmark::State& state) {
  const float angle = static_cast<float>(state.range(0));
  check_same_result(angle);
  for (auto _ : state) {
    std::vector<Point2Vector> out = peer_fill(region(), kSpacing, angle);
    benchmark::DoNotOptimize(out.data());
  }
}

BENCHMARK(BM_FillPlain)->Arg(0)->Arg(37)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FillConnected)->Arg(0)->Arg(37)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeerClipperOpenLines)->Arg(0)->Arg(37)->Unit(benchmark::kMillisecond);

}  // namespace
