#pragma once

#include <memory>
#include <polyclipping/clipper.hpp>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Types.h"
#include "quorvex/polygon/PolyTree.h"
#include "quorvex/polygon/PolygonTypes.h"

namespace Quorvex {

// Float front of the polygon engine. It collects a subject and a clip set of loops as
// shared handles (no points copied), scales them to fixed point when an operation starts,
// runs one engine operation on a local engine object, keeps the result in fixed point and
// gives it back in floats on request.
//
// A filled fixed-point slot takes precedence over the float list of its side. Import fills
// only empty slots and every successful operation empties both again, so the next operation
// reads the float lists anew, unless set_result_as_subject/clip put a result there. That is
// how chains of operations hand results on without a round trip through floats.
//
// The engine's clipperException ("Coordinate outside allowed range") is not caught here:
// it reaches the caller with both input slots still filled.
class QX_EXPORT Clipper {
 public:
  explicit Clipper(bool strictly_simple = false);
  // Copies everything but the tree, which starts empty: its nodes point into an engine
  // tree that cannot be shared. The copies share the fixed-point sets.
  Clipper(const Clipper& other);
  Clipper& operator=(const Clipper& other);
  virtual ~Clipper();

  virtual RetVal clear();
  virtual RetVal clear_path(PolyType type);
  virtual RetVal clear_paths();

  RetVal add_path(const std::shared_ptr<Point2Vector const>& path, PolyType type);
  RetVal add_paths(const std::vector<std::shared_ptr<Point2Vector const>>& paths, PolyType type);
  RetVal set_paths(const std::vector<std::shared_ptr<Point2Vector const>>& paths, PolyType type);
  // Takes effect at the next import and the next conversion back.
  RetVal set_multiple(float multiple);
  RetVal set_result_as_subject();
  RetVal set_result_as_clip();

  // from_paths true reads fixed_result; false reads the tree and drops consecutive
  // points that coincide in float.
  RetVal get_result(std::vector<std::shared_ptr<Point2Vector>>& out, bool from_paths);

  // Boolean of the two sets into fixed_result; with closed_subject false the subject is
  // clipped as open polylines into the tree instead, without strict simplicity (the engine
  // cannot sweep open paths with it).
  RetVal execute(ClipType clip_type, PolyFillType subject_fill, PolyFillType clip_fill,
                 int init_options, bool closed_subject);
  // Boolean of the two sets into the caller's tree. An empty result is RETVAL_FAILED and
  // leaves the input slots filled.
  RetVal execute(ClipType clip_type, PolyTreeEx& result, PolyFillType subject_fill,
                 PolyFillType clip_fill, int init_options);

  // Offsets one set by delta (float units; arc_tolerance is in fixed-point units).
  // RETVAL_BAD_INPUT, with nothing changed, for a scaled distance that is not finite or is
  // beyond the engine's coordinate range, a NaN arc tolerance, and, with round joins or
  // ends, a distance so large against the arc tolerance that one full turn would take more
  // than 2^24 points (at the default tolerance of 0.25 units: a distance above about
  // 1.4e13 units, 1.4e6 float units at the default scale).
  RetVal offset(float delta, JoinType join_type, EndType end_type, float miter_limit,
                float arc_tolerance, bool use_subject);
  // Removes self-intersections from one set (strictly simple output).
  RetVal get_clipper_simplified_intersection_loops(bool use_subject, PolyFillType fill);

 protected:
  virtual RetVal import_data();

  RetVal convert_to_clipper(const std::vector<Point2>& in, std::vector<ClipperLib::IntPoint>& out);
  RetVal convert_to_clipper(const std::vector<std::shared_ptr<Point2Vector const>>& in,
                            std::shared_ptr<ClipperLib::Paths>& out);
  RetVal convert_from_clipper(std::shared_ptr<Point2Vector>& out,
                              const std::vector<ClipperLib::IntPoint>& in);
  RetVal convert_from_clipper(std::vector<std::shared_ptr<Point2Vector>>& out,
                              const std::shared_ptr<ClipperLib::Paths>& in);
  RetVal convert_from_clipper(std::vector<std::shared_ptr<Point2Vector>>& out, const PolyTree& in);

  RetVal execute_using_polytree(ClipType clip_type, PolyFillType subject_fill,
                                PolyFillType clip_fill, int init_options);

  RetVal simplify_polygons(const std::shared_ptr<ClipperLib::Paths>& in,
                           std::shared_ptr<ClipperLib::Paths>& out, PolyFillType fill);
  RetVal clean_polygon(std::vector<ClipperLib::IntPoint>& path, float distance);
  bool orientation(const std::vector<ClipperLib::IntPoint>& path);

  std::vector<std::shared_ptr<Point2Vector const>> subject_paths;
  std::vector<std::shared_ptr<Point2Vector const>> clip_paths;
  float multiple = 10000000.0f;
  std::shared_ptr<ClipperLib::Paths> fixed_subject;
  std::shared_ptr<ClipperLib::Paths> fixed_clip;
  std::shared_ptr<ClipperLib::Paths> fixed_result;
  PolyTree tree;
  bool strictly_simple = false;

 private:
  // The slot of the chosen side, given an empty set if it holds none.
  std::shared_ptr<ClipperLib::Paths>& chosen_input_slot(bool use_subject);
  void drop_input_slots();
};

}  // namespace Quorvex
