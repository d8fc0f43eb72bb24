#pragma once

#include <cstdint>
#include <polyclipping/clipper.hpp>

namespace Quorvex {

// These enumerations carry the engine's numeric values so that every operation hands
// them to the engine by a plain cast. The asserts below keep the two in step.

enum PolyType : int32_t { ptSubject = 0, ptClip = 1 };

enum ClipType : int32_t { ctIntersection = 0, ctUnion = 1, ctDifference = 2, ctXor = 3 };

enum PolyFillType : int32_t { pftEvenOdd = 0, pftNonZero = 1, pftPositive = 2, pftNegative = 3 };

enum JoinType : int32_t { jtSquare = 0, jtRound = 1, jtMiter = 2 };

enum EndType : int32_t {
  etClosedPolygon = 0,
  etClosedLine = 1,
  etOpenButt = 2,
  etOpenSquare = 3,
  etOpenRound = 4,
};

static_assert(static_cast<int>(ptSubject) == static_cast<int>(ClipperLib::ptSubject), "");
static_assert(static_cast<int>(ptClip) == static_cast<int>(ClipperLib::ptClip), "");

static_assert(static_cast<int>(ctIntersection) == static_cast<int>(ClipperLib::ctIntersection), "");
static_assert(static_cast<int>(ctUnion) == static_cast<int>(ClipperLib::ctUnion), "");
static_assert(static_cast<int>(ctDifference) == static_cast<int>(ClipperLib::ctDifference), "");
static_assert(static_cast<int>(ctXor) == static_cast<int>(ClipperLib::ctXor), "");

static_assert(static_cast<int>(pftEvenOdd) == static_cast<int>(ClipperLib::pftEvenOdd), "");
static_assert(static_cast<int>(pftNonZero) == static_cast<int>(ClipperLib::pftNonZero), "");
static_assert(static_cast<int>(pftPositive) == static_cast<int>(ClipperLib::pftPositive), "");
static_assert(static_cast<int>(pftNegative) == static_cast<int>(ClipperLib::pftNegative), "");

static_assert(static_cast<int>(jtSquare) == static_cast<int>(ClipperLib::jtSquare), "");
static_assert(static_cast<int>(jtRound) == static_cast<int>(ClipperLib::jtRound), "");
static_assert(static_cast<int>(jtMiter) == static_cast<int>(ClipperLib::jtMiter), "");

static_assert(static_cast<int>(etClosedPolygon) == static_cast<int>(ClipperLib::etClosedPolygon),
              "");
static_assert(static_cast<int>(etClosedLine) == static_cast<int>(ClipperLib::etClosedLine), "");
static_assert(static_cast<int>(etOpenButt) == static_cast<int>(ClipperLib::etOpenButt), "");
static_assert(static_cast<int>(etOpenSquare) == static_cast<int>(ClipperLib::etOpenSquare), "");
static_assert(static_cast<int>(etOpenRound) == static_cast<int>(ClipperLib::etOpenRound), "");

static_assert(sizeof(PolyType) == 4 && sizeof(ClipType) == 4 && sizeof(PolyFillType) == 4 &&
                  sizeof(JoinType) == 4 && sizeof(EndType) == 4,
              "the polygon enumerations are 32-bit");

// The engine's flags for init_options.
enum InitOptionFlag : int32_t {
  INIT_REVERSE_SOLUTION = ClipperLib::ioReverseSolution,
  INIT_STRICTLY_SIMPLE = ClipperLib::ioStrictlySimple,
  INIT_PRESERVE_COLLINEAR = ClipperLib::ioPreserveCollinear,
};

inline ClipperLib::ClipType to_engine(ClipType v) { return static_cast<ClipperLib::ClipType>(v); }
inline ClipperLib::PolyFillType to_engine(PolyFillType v) {
  return static_cast<ClipperLib::PolyFillType>(v);
}
inline ClipperLib::JoinType to_engine(JoinType v) { return static_cast<ClipperLib::JoinType>(v); }
inline ClipperLib::EndType to_engine(EndType v) { return static_cast<ClipperLib::EndType>(v); }

}  // namespace Quorvex
