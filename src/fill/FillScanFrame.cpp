// Scan frame of fill-line generation: rotation of the outlines so that the fill direction
// becomes the x axis, the vertex heights and their zones, and the scan-line heights.
//
// Which operations are float and which double is deliberate throughout: the placement of
// scan lines against vertex heights decides the crossings, and results have to be
// reproducible to the bit.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "FillScanContext.h"
#include "SortedSearch.h"
#include "quorvex/fill/FillLine.h"
#include "quorvex/fill/ZoneArrangement.h"

namespace Quorvex {
namespace fill_internal {

namespace {

constexpr double kPi = 3.141592653589793;
constexpr float kFloatMax = 3.4028235e38f;
// Rotated coordinates stay below this, so that a difference of two of them, formed in
// float on an edge, is still finite.
constexpr float kMaxRotatedCoordinate = kFloatMax / 2.0f;
// Zones are this wide: far below any printable feature, far above float noise of the
// heights' own arithmetic.
constexpr double kZoneInterval = 1e-7;
// Zones are numbered by signed 64-bit indices; from 2^63 zones away from zero on, every
// height falls into one saturated zone, and all grid lines there would step to one height.
constexpr double kZoneIndexLimit = 9223372036854775808.0;

// Vertex heights farther than this from every grid line cannot change where a grid line
// steps to, unless the step is longer than half of it; see grid_heights_off_vertices.
constexpr double kZoneWindow = 1e-5;
// Below this magnitude cell indices of heights are exact to far below a cell, which the
// window argument relies on.
constexpr double kZoneWindowMaxHeight = 1e6;

struct SinCos {
  float s;
  float c;
};

// Sine and cosine of an angle in radians, evaluated in double and narrowed.
SinCos sin_cos_narrowed(double radians) {
  return {static_cast<float>(std::sin(radians)), static_cast<float>(std::cos(radians))};
}

// Whether a height has a zone of its own, by the same division that numbers the zones.
bool height_fits_zone_grid(float h) {
  return std::fabs(static_cast<double>(h) / kZoneInterval) < kZoneIndexLimit;
}

// Rotation of points in float: x' = x*c - y*s, y' = y*c + x*s.
Point2 rotate_f32(const Point2& p, const SinCos& r) {
  return Point2(p.x * r.c - p.y * r.s, p.y * r.c + p.x * r.s);
}

// Appends getEmptyZ of every grid height, with the
// zones of all vertex heights at interval 1e-7.
//
// Loading tens of thousands of heights into the zone set costs more than the rest of a
// plain fill, while a grid line only ever probes the cells next to it. So the set is loaded
// with the heights within kZoneWindow of some grid line only. Every cell a probe visits lies
// no farther from the grid height than the answer, so an answer within half the window has
// seen exactly the cells the full set holds there; any other answer is taken again from the
// full set.
void grid_heights_off_vertices(const std::vector<float>& grid,
                               const std::vector<double>& vertex_heights, float max_abs_height,
                               std::vector<double>& heights) {
  ZoneArrangement full;
  bool full_loaded = false;
  auto from_full = [&](double z) {
    if (!full_loaded) {
      full.set_zoneInterval(kZoneInterval);
      full.set_zoneSet(vertex_heights);
      full_loaded = true;
    }
    return full.getEmptyZ(z);
  };
  if (!(static_cast<double>(max_abs_height) < kZoneWindowMaxHeight)) {
    for (float z : grid) heights.push_back(from_full(static_cast<double>(z)));
    return;
  }
  std::vector<double> grid_d(grid.begin(), grid.end());
  std::vector<double> near;
  size_t hint = 0;
  for (double h : vertex_heights) {
    const size_t i = lower_bound_from(grid_d, h - kZoneWindow, hint);
    hint = i;
    if (i < grid_d.size() && grid_d[i] <= h + kZoneWindow) near.push_back(h);
  }
  ZoneArrangement zones;
  zones.set_zoneInterval(kZoneInterval);
  zones.set_zoneSet(near);
  for (double z : grid_d) {
    const double free_z = zones.getEmptyZ(z);
    heights.push_back(std::fabs(free_z - z) <= 0.5 * kZoneWindow ? free_z : from_full(z));
  }
}

}  // namespace

RetVal build_scan_frame(const std::vector<std::shared_ptr<const Point2Vector>>& loops,
                        FillScanContext& ctx) {
  const float spacing = ctx.line_spacing;
  const float angle = ctx.angle_degrees;

  int64_t vertex_total = 0;
  for (const auto& loop : loops) {
    if (!loop) continue;
    vertex_total += static_cast<int64_t>(loop->size());
    for (const Point2& p : *loop) {
      if (!std::isfinite(p.x) || !std::isfinite(p.y)) return RETVAL_BAD_INPUT;
    }
  }
  if (vertex_total > kFillMaxVertices) return RETVAL_BAD_INPUT;

  // The rotation into the scan frame.
  const SinCos to_scan = sin_cos_narrowed(static_cast<double>(angle / -180.0f) * kPi);
  // The height direction, the normal of the fill direction, rotated like a point.
  const double a2 = static_cast<double>(angle) * kPi / 180.0;
  const float n_x = static_cast<float>(-std::sin(a2));
  const float n_y = static_cast<float>(std::cos(a2));
  const float h_x = n_x * to_scan.c - n_y * to_scan.s;
  const float h_y = n_x * to_scan.s + n_y * to_scan.c;

  // Rotated rings and vertex heights.
  RingTable& rings = ctx.rings;
  rings.nodes.clear();
  rings.nodes.reserve(static_cast<size_t>(vertex_total));
  rings.first.assign(loops.size(), -1);
  rings.size.assign(loops.size(), 0);
  std::vector<double> vertex_heights;
  vertex_heights.reserve(static_cast<size_t>(vertex_total));
  float min_h = kFloatMax;
  float max_h = -kFloatMax;
  for (size_t r = 0; r < loops.size(); ++r) {
    if (!loops[r] || loops[r]->empty()) continue;
    const int32_t base = static_cast<int32_t>(rings.nodes.size());
    const int32_t n = static_cast<int32_t>(loops[r]->size());
    for (int32_t i = 0; i < n; ++i) {
      RingNode node;
      node.p = rotate_f32((*loops[r])[i], to_scan);
      if (!(std::fabs(node.p.x) <= kMaxRotatedCoordinate) ||
          !(std::fabs(node.p.y) <= kMaxRotatedCoordinate)) {
        return RETVAL_BAD_INPUT;
      }
      node.prev = base + (i == 0 ? n - 1 : i - 1);
      node.next = base + (i + 1 == n ? 0 : i + 1);
      rings.nodes.push_back(node);
      const float h = h_x * node.p.x + h_y * node.p.y;
      if (h < min_h) min_h = h;
      if (h > max_h) max_h = h;
      vertex_heights.push_back(static_cast<double>(h));
    }
    rings.first[r] = base;
    rings.size[r] = n;
  }

  // Zone numbers grow with the height, so the extremes decide for every vertex height.
  // Without any vertex they keep their start values, and the extent test below answers.
  if (min_h <= max_h && !(height_fits_zone_grid(min_h) && height_fits_zone_grid(max_h))) {
    return RETVAL_BAD_INPUT;
  }

  // The band the lines may use, a thousandth of the spacing inside the
  // extreme heights.
  const double margin = 0.001 * static_cast<double>(spacing);
  const float m = static_cast<float>(static_cast<double>(min_h) + margin);
  const float big_m = static_cast<float>(static_cast<double>(max_h) - margin);
  if (spacing > big_m - m) return RETVAL_FAILED;

  // The line count follows from the band; refusing early keeps the loop below finite.
  const double expected_lines =
      (static_cast<double>(big_m) - static_cast<double>(m)) / static_cast<double>(spacing);
  if (!(expected_lines < static_cast<double>(kFillMaxScanLines - 2))) return RETVAL_BAD_INPUT;

  // The grid is anchored at zero.
  const float first_index = std::ceil(m / spacing);
  if (!(first_index >= -2147483648.0f && first_index < 2147483648.0f)) return RETVAL_BAD_INPUT;
  float z = static_cast<float>(static_cast<int32_t>(first_index)) * spacing;

  std::vector<double>& heights = ctx.line_heights;
  heights.clear();
  // A first line near the bottom when the grid leaves a wide gap there.
  if (std::fabs(m - z) > 0.1 * static_cast<double>(spacing)) {
    heights.push_back(static_cast<double>(m));
  }
  // The grid lines, each stepped aside to a free zone if a vertex sits in its own.
  std::vector<float> grid;
  while (big_m >= z) {
    if (static_cast<int64_t>(heights.size() + grid.size()) >= kFillMaxScanLines - 1) {
      return RETVAL_BAD_INPUT;
    }
    // The grid stays within the vertex heights up to the rounding of its first line.
    if (!height_fits_zone_grid(z)) return RETVAL_BAD_INPUT;
    grid.push_back(z);
    const float next_z = z + spacing;
    // Far from the origin a float step can vanish below half an ulp.
    if (!(next_z > z)) return RETVAL_BAD_INPUT;
    z = next_z;
  }
  grid_heights_off_vertices(grid, vertex_heights, std::max(std::fabs(min_h), std::fabs(max_h)),
                            heights);
  if (heights.empty()) return RETVAL_BAD_INPUT;
  // A last line near the top when the grid leaves a wide gap there.
  std::sort(heights.begin(), heights.end());
  if (static_cast<double>(big_m) - heights.back() > 0.1 * static_cast<double>(spacing)) {
    heights.push_back(static_cast<double>(big_m));
  }
  // The crossing sets are sized by the edge pass once it has counted.
  return RETVAL_OK;
}

void rotate_results_back(FillScanContext& ctx) {
  const SinCos back = sin_cos_narrowed(static_cast<double>(ctx.angle_degrees / 180.0f) * kPi);
  for (const auto& line : ctx.results) {
    for (Point2& p : *line) p = rotate_f32(p, back);
  }
}

}  // namespace fill_internal
}  // namespace Quorvex
