#include "quorvex/polygon/Clipper.h"

#include <cmath>

#include "quorvex/polygon/FixedPointScale.h"

namespace Quorvex {

Clipper::Clipper(bool strictly_simple_) : strictly_simple(strictly_simple_) {}

Clipper::Clipper(const Clipper& other)
    : subject_paths(other.subject_paths),
      clip_paths(other.clip_paths),
      multiple(other.multiple),
      fixed_subject(other.fixed_subject),
      fixed_clip(other.fixed_clip),
      fixed_result(other.fixed_result),
      strictly_simple(other.strictly_simple) {}

Clipper& Clipper::operator=(const Clipper& other) {
  if (this == &other) return *this;
  subject_paths = other.subject_paths;
  clip_paths = other.clip_paths;
  multiple = other.multiple;
  fixed_subject = other.fixed_subject;
  fixed_clip = other.fixed_clip;
  fixed_result = other.fixed_result;
  tree.clear();
  strictly_simple = other.strictly_simple;
  return *this;
}

Clipper::~Clipper() = default;

RetVal Clipper::clear() {
  subject_paths.clear();
  clip_paths.clear();
  fixed_subject.reset();
  fixed_clip.reset();
  fixed_result.reset();
  tree.clear();
  return RETVAL_OK;
}

RetVal Clipper::clear_path(PolyType type) {
  if (type == ptSubject) {
    subject_paths.clear();
    fixed_subject.reset();
  } else if (type == ptClip) {
    clip_paths.clear();
    fixed_clip.reset();
  }
  return RETVAL_OK;
}

RetVal Clipper::clear_paths() {
  subject_paths.clear();
  clip_paths.clear();
  drop_input_slots();
  return RETVAL_OK;
}

RetVal Clipper::add_path(const std::shared_ptr<Point2Vector const>& path, PolyType type) {
  if (type == ptSubject) {
    subject_paths.push_back(path);
  } else if (type == ptClip) {
    clip_paths.push_back(path);
  }
  return RETVAL_OK;
}

RetVal Clipper::add_paths(const std::vector<std::shared_ptr<Point2Vector const>>& paths,
                          PolyType type) {
  if (type == ptSubject) {
    subject_paths.insert(subject_paths.end(), paths.begin(), paths.end());
  } else if (type == ptClip) {
    clip_paths.insert(clip_paths.end(), paths.begin(), paths.end());
  }
  return RETVAL_OK;
}

RetVal Clipper::set_paths(const std::vector<std::shared_ptr<Point2Vector const>>& paths,
                          PolyType type) {
  if (type == ptSubject) {
    subject_paths = paths;
  } else if (type == ptClip) {
    clip_paths = paths;
  }
  return RETVAL_OK;
}

RetVal Clipper::set_multiple(float multiple_) {
  multiple = multiple_;
  return RETVAL_OK;
}

RetVal Clipper::set_result_as_subject() {
  fixed_subject.swap(fixed_result);
  return RETVAL_OK;
}

RetVal Clipper::set_result_as_clip() {
  fixed_clip.swap(fixed_result);
  return RETVAL_OK;
}

std::shared_ptr<ClipperLib::Paths>& Clipper::chosen_input_slot(bool use_subject) {
  std::shared_ptr<ClipperLib::Paths>& slot = use_subject ? fixed_subject : fixed_clip;
  if (!slot) slot = std::make_shared<ClipperLib::Paths>();
  return slot;
}

void Clipper::drop_input_slots() {
  fixed_subject.reset();
  fixed_clip.reset();
}

// ---- conversions ----

RetVal Clipper::convert_to_clipper(const std::vector<Point2>& in,
                                   std::vector<ClipperLib::IntPoint>& out) {
  out.clear();
  out.reserve(in.size());
  for (const Point2& p : in) {
    out.emplace_back(scale_to_fixed_f32(p.x, multiple), scale_to_fixed_f32(p.y, multiple));
  }
  return RETVAL_OK;
}

RetVal Clipper::convert_to_clipper(const std::vector<std::shared_ptr<Point2Vector const>>& in,
                                   std::shared_ptr<ClipperLib::Paths>& out) {
  // Filled aside and installed whole: a slot that is set counts as imported, so an
  // allocation failing half way must not leave part of the set in it.
  out.reset();
  auto paths = std::make_shared<ClipperLib::Paths>();
  paths->reserve(in.size());
  for (const auto& loop : in) {
    if (!loop) return RETVAL_BAD_INPUT;
    paths->emplace_back();
    convert_to_clipper(*loop, paths->back());
  }
  out = std::move(paths);
  return RETVAL_OK;
}

RetVal Clipper::convert_from_clipper(std::shared_ptr<Point2Vector>& out,
                                     const std::vector<ClipperLib::IntPoint>& in) {
  out = std::make_shared<Point2Vector>();
  out->reserve(in.size());
  for (const ClipperLib::IntPoint& p : in) {
    out->emplace_back(scale_from_fixed_f32(p.X, multiple), scale_from_fixed_f32(p.Y, multiple));
  }
  return RETVAL_OK;
}

RetVal Clipper::convert_from_clipper(std::vector<std::shared_ptr<Point2Vector>>& out,
                                     const std::shared_ptr<ClipperLib::Paths>& in) {
  if (!in) return RETVAL_BAD_INPUT;
  out.clear();
  out.reserve(in->size());
  for (const ClipperLib::Path& path : *in) {
    std::shared_ptr<Point2Vector> loop;
    convert_from_clipper(loop, path);
    out.push_back(std::move(loop));
  }
  return RETVAL_OK;
}

RetVal Clipper::import_data() {
  if (!fixed_subject) {
    const RetVal code = convert_to_clipper(subject_paths, fixed_subject);
    if (code != RETVAL_OK) return code;
  }
  if (!fixed_clip) return convert_to_clipper(clip_paths, fixed_clip);
  return RETVAL_OK;
}

// ---- booleans ----

RetVal Clipper::execute(ClipType clip_type, PolyFillType subject_fill, PolyFillType clip_fill,
                        int init_options, bool closed_subject) {
  const RetVal code = import_data();
  if (code != RETVAL_OK) return code;

  ClipperLib::Clipper engine(init_options);
  // The constructor's choice wins over the flag in init_options.
  engine.StrictlySimple(strictly_simple);
  fixed_result = std::make_shared<ClipperLib::Paths>();
  chosen_input_slot(true);
  chosen_input_slot(false);

  // Either AddPaths may raise "Coordinate outside allowed range"; the slots then stay
  // filled and fixed_result is the new empty set.
  engine.AddPaths(*fixed_clip, ClipperLib::ptClip, true);
  if (closed_subject) {
    engine.AddPaths(*fixed_subject, ClipperLib::ptSubject, true);
    engine.Execute(to_engine(clip_type), *fixed_result, to_engine(subject_fill),
                   to_engine(clip_fill));
  } else {
    // polyclipping 6.4.2 follows a null edge in ProcessHorizontal when it sweeps open
    // paths with strict simplicity on (open paths along a horizontal that meet the clip's
    // vertices suffice). Strict simplicity shapes closed output only, which an open subject
    // yields just for union and xor: those closed loops may touch themselves at a vertex.
    engine.StrictlySimple(false);
    engine.AddPaths(*fixed_subject, ClipperLib::ptSubject, false);
    // The engine leaves its tree alone when its sweep fails, and a rerun frees the engine
    // nodes the list points at: start both empty so neither old contours nor dangling
    // pointers survive.
    tree.clear();
    engine.Execute(to_engine(clip_type), tree.engine_tree, to_engine(subject_fill),
                   to_engine(clip_fill));
  }

  drop_input_slots();
  return RETVAL_OK;
}

RetVal Clipper::get_result(std::vector<std::shared_ptr<Point2Vector>>& out, bool from_paths) {
  out.clear();
  if (from_paths) {
    if (fixed_result) convert_from_clipper(out, fixed_result);
    return RETVAL_OK;
  }

  convert_from_clipper(out, tree);
  // Consecutive points that became one float pair on the way back are dropped; each point
  // is compared with the last one kept. The last and the first are not compared.
  for (auto& loop : out) {
    if (loop->size() < 2) continue;
    std::size_t kept = 0;
    for (std::size_t i = 1; i < loop->size(); ++i) {
      const float dx = (*loop)[i].x - (*loop)[kept].x;
      const float dy = (*loop)[i].y - (*loop)[kept].y;
      if (std::fabs(dx) < 1e-14 && std::fabs(dy) < 1e-14) continue;
      (*loop)[++kept] = (*loop)[i];
    }
    loop->resize(kept + 1);
  }
  return RETVAL_OK;
}

}  // namespace Quorvex
