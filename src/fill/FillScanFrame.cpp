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

struct SinCos {
  float s;
  float c;
};

// Sine and cosine of an angle in radians, evaluated in double and narrowed.
SinCos sin_cos_narrowed(double radians) {
  return {static_cast<float>(std::sin(radians)), static_cast<float>(std::cos(radians))};
}

// Rotation of points in float: x' = x*c - y*s, y' = y*c + x*s.
Point2 rotate_f32(const Point2& p, const SinCos& r) {
  return Point2(p.x * r.c - p.y * r.s, p.y * r.c + p.x * r.s);
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

  // Step 1: the rotation into the scan frame.
  const SinCos to_scan = sin_cos_narrowed(static_cast<double>(angle / -180.0f) * kPi);
  // Step 2: the height direction, the normal of the fill direction, rotated like a point.
  const double a2 = static_cast<double>(angle) * kPi / 180.0;
  const float n_x = static_cast<float>(-std::sin(a2));
  const float n_y = static_cast<float>(std::cos(a2));
  const float h_x = n_x * to_scan.c - n_y * to_scan.s;
  const float h_y = n_x * to_scan.s + n_y * to_scan.c;

  // Steps 3 and 4: rotated rings and vertex heights.
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

  // Step 5.
  ZoneArrangement zones;
  zones.set_zoneInterval(kZoneInterval);
  zones.set_zoneSet(vertex_heights);

  // Steps 6 and 7: the band the lines may use, a thousandth of the spacing inside the
  // extreme heights.
  const double margin = 0.001 * static_cast<double>(spacing);
  const float m = static_cast<float>(static_cast<double>(min_h) + margin);
  const float big_m = static_cast<float>(static_cast<double>(max_h) - margin);
  if (spacing > big_m - m) return RETVAL_FAILED;

  // The line count follows from the band; refusing early keeps the loop below finite.
  const double expected_lines =
      (static_cast<double>(big_m) - static_cast<double>(m)) / static_cast<double>(spacing);
  if (!(expected_lines < static_cast<double>(kFillMaxScanLines - 2))) return RETVAL_BAD_INPUT;

  // Step 8: the grid is anchored at zero.
  const float first_index = std::ceil(m / spacing);
  if (!(first_index >= -2147483648.0f && first_index < 2147483648.0f)) return RETVAL_BAD_INPUT;
  float z = static_cast<float>(static_cast<int32_t>(first_index)) * spacing;

  std::vector<double>& heights = ctx.line_heights;
  heights.clear();
  // Step 9: a first line near the bottom when the grid leaves a wide gap there.
  if (std::fabs(m - z) > 0.1 * static_cast<double>(spacing)) {
    heights.push_back(static_cast<double>(m));
  }
  // Step 10: the grid lines, each stepped aside to a free zone if a vertex sits in its own.
  while (big_m >= z) {
    if (static_cast<int64_t>(heights.size()) >= kFillMaxScanLines - 1) return RETVAL_BAD_INPUT;
    heights.push_back(zones.getEmptyZ(static_cast<double>(z)));
    const float next_z = z + spacing;
    // Far from the origin a float step can vanish below half an ulp.
    if (!(next_z > z)) return RETVAL_BAD_INPUT;
    z = next_z;
  }
  // Step 11.
  if (heights.empty()) return RETVAL_BAD_INPUT;
  // Step 12: a last line near the top when the grid leaves a wide gap there.
  std::sort(heights.begin(), heights.end());
  if (static_cast<double>(big_m) - heights.back() > 0.1 * static_cast<double>(spacing)) {
    heights.push_back(static_cast<double>(big_m));
  }
  // Step 13 is left to the edge pass, which sizes the sets once it has counted.
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
