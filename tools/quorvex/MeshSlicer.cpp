#include "MeshSlicer.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <limits>
#include <mutex>
#include <thread>
#include <unordered_map>

namespace QuorvexTool {

using Quorvex::BaseTriMesh;
using Quorvex::Point2;
using Quorvex::Point2Vector;

std::size_t first_non_finite_vertex(const BaseTriMesh& mesh) {
  for (std::size_t i = 0; i < mesh.get_vn(); ++i) {
    const auto& v = mesh.get_vCoord(i);
    if (!std::isfinite(v.x()) || !std::isfinite(v.y()) || !std::isfinite(v.z())) return i;
  }
  return mesh.get_vn();
}

GridStatus make_slice_grid(const BaseTriMesh& mesh, float layer_height, SliceGrid& grid) {
  grid = SliceGrid();
  grid.layer_height = layer_height;
  if (mesh.get_vn() == 0 || mesh.get_fn() == 0 || !(layer_height > 0.0f)) {
    return GridStatus::kOk;
  }
  float lo = std::numeric_limits<float>::max();
  float hi = -std::numeric_limits<float>::max();
  for (std::size_t i = 0; i < mesh.get_vn(); ++i) {
    const float z = mesh.get_vCoord(i).z();
    // min and max would pass over a NaN without a trace.
    if (!std::isfinite(z)) return GridStatus::kNotFinite;
    lo = std::min(lo, z);
    hi = std::max(hi, z);
  }
  grid.z_min = lo;
  grid.z_max = hi;
  // Finite floats differ by a finite double, and the layer height is positive: the
  // quotient is a number, compared before it becomes a count.
  const double layers = (static_cast<double>(hi) - lo) / layer_height;
  if (!(layers <= static_cast<double>(kMaxLayers))) return GridStatus::kTooManyLayers;
  // A part thinner than one layer still gets one cut through its middle.
  grid.layer_count = std::max<std::size_t>(1, static_cast<std::size_t>(std::ceil(layers - 1e-6)));
  return GridStatus::kOk;
}

namespace {

struct Segment {
  std::uint64_t start_key;  // edge whose crossing starts the segment
  std::uint64_t end_key;
  Point2 start;
};

std::uint64_t edge_key(int a, int b) {
  const auto lo = static_cast<std::uint32_t>(std::min(a, b));
  const auto hi = static_cast<std::uint32_t>(std::max(a, b));
  return (static_cast<std::uint64_t>(hi) << 32) | lo;
}

// Crossing of the plane with the edge between a below and a above the plane. Computed
// from the edge's two vertices in a fixed order, so both faces of an edge get the same
// point.
Point2 crossing(const Quorvex::Vector3f& below, const Quorvex::Vector3f& above, double h) {
  const double t = (h - below.z()) / (static_cast<double>(above.z()) - below.z());
  return Point2(static_cast<float>(below.x() + t * (static_cast<double>(above.x()) - below.x())),
                static_cast<float>(below.y() + t * (static_cast<double>(above.y()) - below.y())));
}

SliceLayer cut_layer(const BaseTriMesh& mesh, const std::vector<std::uint32_t>& faces, float z) {
  SliceLayer layer;
  layer.z = z;
  const double h = z;
  std::vector<Segment> segments;
  segments.reserve(faces.size());
  for (std::uint32_t f : faces) {
    const Quorvex::BaseTriFace& face = mesh.get_face(f);
    int idx[3] = {face[0], face[1], face[2]};
    bool above[3];
    for (int k = 0; k < 3; ++k)
      above[k] = mesh.get_vCoord(static_cast<std::size_t>(idx[k])).z() >= h;
    if (above[0] == above[1] && above[1] == above[2]) continue;
    // Walking the face's edges in order, one edge goes down through the plane and one
    // goes up; the segment runs from the first crossing to the second, which puts the
    // material on the left for outward normals.
    Segment s{};
    bool have_start = false, have_end = false;
    for (int k = 0; k < 3; ++k) {
      const int a = idx[k], b = idx[(k + 1) % 3];
      const bool aa = above[k], ab = above[(k + 1) % 3];
      if (aa == ab) continue;
      const auto& va = mesh.get_vCoord(static_cast<std::size_t>(a));
      const auto& vb = mesh.get_vCoord(static_cast<std::size_t>(b));
      if (aa && !ab) {
        s.start_key = edge_key(a, b);
        s.start = crossing(vb, va, h);
        have_start = true;
      } else {
        s.end_key = edge_key(a, b);
        have_end = true;
      }
    }
    if (have_start && have_end) segments.push_back(s);
  }

  std::unordered_map<std::uint64_t, std::uint32_t> by_start;
  by_start.reserve(segments.size() * 2);
  for (std::uint32_t i = 0; i < segments.size(); ++i) by_start.emplace(segments[i].start_key, i);

  std::vector<char> used(segments.size(), 0);
  for (std::uint32_t first = 0; first < segments.size(); ++first) {
    if (used[first]) continue;
    Point2Vector loop;
    std::uint32_t cur = first;
    bool closed = false;
    while (true) {
      used[cur] = 1;
      const Point2& p = segments[cur].start;
      if (loop.empty() || loop.back().x != p.x || loop.back().y != p.y) loop.push_back(p);
      auto it = by_start.find(segments[cur].end_key);
      if (it == by_start.end()) break;
      if (it->second == first) {
        closed = true;
        break;
      }
      if (used[it->second]) break;
      cur = it->second;
    }
    while (loop.size() > 1 && loop.back().x == loop.front().x && loop.back().y == loop.front().y) {
      loop.pop_back();
    }
    if (closed && loop.size() >= 3) {
      layer.loops.push_back(std::move(loop));
    } else if (!closed) {
      ++layer.open_chains;
    }
  }
  return layer;
}

}  // namespace

std::vector<SliceLayer> slice_mesh(const BaseTriMesh& mesh, const SliceGrid& grid, unsigned threads,
                                   const std::function<void(std::size_t)>& progress) {
  const std::size_t n = grid.layer_count;
  std::vector<SliceLayer> layers(n);
  if (n == 0) return layers;

  // Each face goes to the layers whose cut height lies within its z range.
  std::vector<std::vector<std::uint32_t>> buckets(n);
  const double z0 = grid.z_min;
  const double dz = grid.layer_height;
  for (std::size_t f = 0; f < mesh.get_fn(); ++f) {
    const Quorvex::BaseTriFace& face = mesh.get_face(f);
    float lo = std::numeric_limits<float>::max(), hi = -lo;
    for (int k = 0; k < 3; ++k) {
      const float z = mesh.get_vCoord(static_cast<std::size_t>(face[k])).z();
      lo = std::min(lo, z);
      hi = std::max(hi, z);
    }
    const double first = std::ceil((lo - z0) / dz - 0.5);
    const double last = std::floor((hi - z0) / dz - 0.5);
    const auto i0 = static_cast<std::size_t>(std::max(0.0, first - 1));
    const auto i1 =
        static_cast<std::size_t>(std::min<double>(static_cast<double>(n) - 1, last + 1));
    for (std::size_t i = i0; i <= i1 && i < n; ++i)
      buckets[i].push_back(static_cast<std::uint32_t>(f));
  }

  if (threads == 0) threads = std::max(1u, std::thread::hardware_concurrency());
  threads = static_cast<unsigned>(std::min<std::size_t>(threads, n));
  if (threads == 1) {
    for (std::size_t i = 0; i < n; ++i) {
      layers[i] = cut_layer(mesh, buckets[i], grid.cut_height(i));
      if (progress) progress(i + 1);
    }
    return layers;
  }
  std::atomic<std::size_t> next{0};
  std::atomic<std::size_t> done{0};
  std::mutex m;
  std::condition_variable cv;
  // An exception must not leave a worker (that would end the process): it is kept and
  // handed to the caller. Layers are taken in order, so skipping those above a failure
  // still runs every layer below it, and the one kept is that of the lowest failing layer
  // whatever the thread count.
  std::atomic<std::size_t> failed_layer{n};
  std::exception_ptr failure;
  auto worker = [&] {
    for (std::size_t i = next++; i < n; i = next++) {
      if (i < failed_layer.load()) {
        try {
          layers[i] = cut_layer(mesh, buckets[i], grid.cut_height(i));
          std::vector<std::uint32_t>().swap(buckets[i]);
        } catch (...) {
          std::lock_guard<std::mutex> lock(m);
          if (i < failed_layer.load()) {
            failed_layer.store(i);
            failure = std::current_exception();
          }
        }
      }
      ++done;
      cv.notify_one();
    }
  };
  std::vector<std::thread> pool;
  for (unsigned t = 0; t < threads; ++t) pool.emplace_back(worker);
  {
    std::size_t reported = 0;
    std::unique_lock<std::mutex> lock(m);
    while (reported < n) {
      cv.wait_for(lock, std::chrono::milliseconds(100));
      const std::size_t now = done.load();
      if (now != reported) {
        reported = now;
        if (progress && !failure) progress(reported);
      }
    }
  }
  for (auto& t : pool) t.join();
  if (failure) std::rethrow_exception(failure);
  return layers;
}

}  // namespace QuorvexTool
