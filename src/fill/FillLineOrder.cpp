#include "quorvex/fill/FillLineOrder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace Quorvex {

namespace {

constexpr float kFloatMax = 3.4028235e38f;

struct ColumnSegment {
  Point2 start;
  Point2 end;
  int32_t column = 0;
};

struct ColumnSummary {
  Point2 exit_point;
  Point2 first_start;
  Point2 first_end;
  Point2 last_start;
  Point2 last_end;
  int32_t index = 0;
};

float distance_f32(const Point2& a, const Point2& b) { return (a - b).length(); }

float dot_f32(const Point2& a, const Point2& b) { return a.x * b.x + a.y * b.y; }

// The share of segment (a, b) that lies over segment (pa, pb), as a fraction of its
// own length projected on (pa, pb); 0 when they lie apart or off each other's line by more
// than max_line_offset, negative when they run against each other.
float overlap_f32(const Point2& a, const Point2& b, const Point2& pa, const Point2& pb,
                  float max_line_offset) {
  const Point2 d = pb - pa;
  const float len = d.length();
  // A segment of zero length has no direction to project on.
  if (len == 0.0f) return 0.0f;
  const float ta = dot_f32(a - pa, d) / len;
  const float tb = dot_f32(b - pa, d) / len;
  if (std::min(ta, tb) > len || std::max(ta, tb) < 0.0f) return 0.0f;
  const float r = (a - pa).length();
  const float h = std::sqrt(r * r - ta * ta);
  if (h > max_line_offset) return 0.0f;
  float s[4] = {ta, tb, 0.0f, len};
  std::sort(s, s + 4);
  return (s[2] - s[1]) / (tb - ta);
}

struct Pair {
  Point2 a;
  Point2 b;
};

// Numbers for the pairs of the current line from the pairs of the line
// before it and their numbers.
std::vector<int32_t> reassign_columns(const Point2Vector& current, const Point2Vector& previous,
                                      const std::vector<int32_t>& previous_numbers,
                                      int32_t& highest, float max_link_distance,
                                      float max_line_offset) {
  const size_t pairs = current.size() / 2;
  const size_t previous_pairs = previous.size() / 2;
  std::vector<int32_t> numbers;
  numbers.reserve(pairs);
  size_t matched = 0;
  int32_t last_given = -1;
  for (size_t i = 0; i < pairs; ++i) {
    const Point2& a = current[2 * i];
    const Point2& b = current[2 * i + 1];
    float best_overlap = -kFloatMax;
    float nearest = kFloatMax;
    int32_t best = -1;
    int32_t near = -1;
    if (matched < previous_pairs) {
      for (size_t j = 0; j < previous_pairs; ++j) {
        const int32_t number = previous_numbers[j];
        if (number == last_given) continue;
        const Point2& pa = previous[2 * j];
        const Point2& pb = previous[2 * j + 1];
        const float w = overlap_f32(a, b, pa, pb, max_line_offset);
        if (w > 0.0f) {
          if (w > best_overlap) {
            best_overlap = w;
            best = number;
          }
        } else {
          const float d = std::min(std::min(distance_f32(b, pb), distance_f32(b, pa)),
                                   std::min(distance_f32(a, pb), distance_f32(a, pa)));
          if (d < max_link_distance && d < nearest) {
            nearest = d;
            near = number;
          }
        }
      }
    }
    int32_t given;
    if (best >= 0) {
      given = best;
      ++matched;
    } else if (near >= 0) {
      given = near;
      ++matched;
    } else {
      given = ++highest;
    }
    numbers.push_back(given);
    last_given = given;
  }
  return numbers;
}

bool all_finite(const Point2Vector& line) {
  for (const Point2& p : line) {
    if (!std::isfinite(p.x) || !std::isfinite(p.y)) return false;
  }
  return true;
}

}  // namespace

RetVal sort_discontinued_fill_line(
    const std::vector<std::shared_ptr<const Point2Vector>>& fill_lines,
    std::vector<std::shared_ptr<Point2Vector>>& sorted_lines, float max_link_distance,
    float max_line_offset) {
  if (fill_lines.empty()) return RETVAL_BAD_INPUT;
  bool has_even_line = false;
  for (const auto& line : fill_lines) {
    if (!line) continue;
    if (!all_finite(*line)) return RETVAL_BAD_INPUT;
    if (!line->empty() && line->size() % 2 == 0) has_even_line = true;
  }
  if (!has_even_line) return RETVAL_BAD_INPUT;

  // Column assignment, line by line. Lines of odd count are skipped, the first even one opens the
  // columns, and a change of count is judged against the last line that was used.
  std::vector<std::vector<ColumnSegment>> groups;
  std::vector<int32_t> assignment;
  const Point2Vector* previous = nullptr;
  size_t remembered = 0;
  int32_t highest = -1;
  for (const auto& line_ptr : fill_lines) {
    if (!line_ptr || line_ptr->empty() || line_ptr->size() % 2 != 0) continue;
    const Point2Vector& line = *line_ptr;
    if (previous == nullptr) {
      remembered = line.size();
      const int32_t pairs = static_cast<int32_t>(line.size() / 2);
      assignment.resize(static_cast<size_t>(pairs));
      for (int32_t i = 0; i < pairs; ++i) assignment[static_cast<size_t>(i)] = i;
      highest = pairs - 1;
    } else if (line.size() != remembered) {
      assignment = reassign_columns(line, *previous, assignment, highest, max_link_distance,
                                    max_line_offset);
      remembered = line.size();
    }
    std::vector<ColumnSegment> group(line.size() / 2);
    for (size_t i = 0; i < group.size(); ++i) {
      group[i].start = line[2 * i];
      group[i].end = line[2 * i + 1];
      group[i].column = assignment[i];
    }
    groups.push_back(std::move(group));
    previous = &line;
  }

  // Chaining and output: the pairs of each column in line order. The result is built aside
  // and handed over at the end, so that a failed allocation leaves `sorted_lines` as it was.
  std::vector<Point2Vector> columns;
  for (const auto& group : groups) {
    for (const ColumnSegment& seg : group) {
      const size_t c = static_cast<size_t>(seg.column);
      if (columns.size() <= c) columns.resize(c + 1);
      columns[c].push_back(seg.start);
      columns[c].push_back(seg.end);
    }
  }

  // Every number handed out belongs to a pair, so no column is empty.
  std::vector<ColumnSummary> summaries(columns.size());
  for (size_t c = 0; c < columns.size(); ++c) {
    const Point2Vector& p = columns[c];
    const size_t n = p.size();
    ColumnSummary& s = summaries[c];
    s.first_start = p[0];
    s.first_end = p[1];
    s.last_start = p[n - 2];
    s.last_end = p[n - 1];
    s.exit_point = (n / 2) % 2 == 1 ? p[n - 1] : p[n - 2];
    s.index = static_cast<int32_t>(c);
  }

  // The reference point stays at column 0's exit, so picking the nearest
  // remaining column over and over, ties to the lower number, is a stable sort by each
  // column's nearest corner.
  const Point2 reference = summaries[0].exit_point;
  std::vector<std::pair<float, int32_t>> order;
  order.reserve(summaries.size());
  for (size_t c = 1; c < summaries.size(); ++c) {
    const ColumnSummary& s = summaries[c];
    const float d = std::min(
        std::min(distance_f32(reference, s.first_start), distance_f32(reference, s.first_end)),
        std::min(distance_f32(reference, s.last_start), distance_f32(reference, s.last_end)));
    order.emplace_back(d, s.index);
  }
  std::sort(order.begin(), order.end());
  std::vector<int32_t> chain;
  chain.reserve(summaries.size());
  chain.push_back(0);
  for (const auto& entry : order) chain.push_back(entry.second);

  // The zigzag of each column.
  std::vector<std::shared_ptr<Point2Vector>> result;
  result.reserve(chain.size());
  for (int32_t c : chain) {
    const Point2Vector& p = columns[static_cast<size_t>(c)];
    auto zigzag = std::make_shared<Point2Vector>();
    zigzag->reserve(p.size());
    for (size_t i = 0; i + 1 < p.size(); i += 2) {
      if ((i / 2) % 2 == 0) {
        zigzag->push_back(p[i]);
        zigzag->push_back(p[i + 1]);
      } else {
        zigzag->push_back(p[i + 1]);
        zigzag->push_back(p[i]);
      }
    }
    result.push_back(std::move(zigzag));
  }
  sorted_lines.swap(result);
  return RETVAL_OK;
}

}  // namespace Quorvex
