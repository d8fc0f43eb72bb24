#include <deque>
#include <utility>

#include "EngineTreeCount.h"
#include "quorvex/planeGeometry/BoundaryTransform.h"
#include "quorvex/polygon/Clipper.h"

namespace Quorvex {

RetVal Clipper::execute_using_polytree(ClipType clip_type, PolyFillType subject_fill,
                                       PolyFillType clip_fill, int init_options) {
  const RetVal code = import_data();
  if (code != RETVAL_OK) return code;

  ClipperLib::Clipper engine(init_options);
  engine.StrictlySimple(strictly_simple);
  tree.clear();
  engine.AddPaths(*chosen_input_slot(true), ClipperLib::ptSubject, true);
  engine.AddPaths(*chosen_input_slot(false), ClipperLib::ptClip, true);
  engine.Execute(to_engine(clip_type), tree.engine_tree, to_engine(subject_fill),
                 to_engine(clip_fill));
  // The caller judges the outcome by the nodes: a truncated list is what it gets.
  tree.copy_from_tree();

  drop_input_slots();
  return RETVAL_OK;
}

RetVal Clipper::execute(ClipType clip_type, PolyTreeEx& result, PolyFillType subject_fill,
                        PolyFillType clip_fill, int init_options) {
  const RetVal code = import_data();
  if (code != RETVAL_OK) return code;

  ClipperLib::Clipper engine(init_options);
  engine.StrictlySimple(strictly_simple);
  engine.AddPaths(*chosen_input_slot(true), ClipperLib::ptSubject, true);
  engine.AddPaths(*chosen_input_slot(false), ClipperLib::ptClip, true);
  ClipperLib::PolyTree engine_tree;
  engine.Execute(to_engine(clip_type), engine_tree, to_engine(subject_fill), to_engine(clip_fill));

  std::vector<PolyTreeEx::Node>& nodes = result.get_nodes();
  const std::size_t total = count_engine_nodes(engine_tree);
  if (total == 0) {
    nodes.clear();
    return RETVAL_FAILED;
  }
  nodes.clear();
  // The links between nodes are raw pointers into this list: it must never reallocate
  // during the walk, so room for all of it, the root included, is made first.
  nodes.reserve(total + 1);

  PolyTreeEx::Node root;
  root.level_ = 0;
  nodes.push_back(std::move(root));

  std::deque<std::pair<const ClipperLib::PolyNode*, PolyTreeEx::Node*>> queue;
  queue.emplace_back(&engine_tree, &nodes.front());
  int level = 1;
  while (!queue.empty()) {
    for (std::size_t n = queue.size(); n > 0; --n) {
      const ClipperLib::PolyNode* engine_node = queue.front().first;
      PolyTreeEx::Node* father = queue.front().second;
      queue.pop_front();
      for (const ClipperLib::PolyNode* engine_child : engine_node->Childs) {
        nodes.emplace_back();
        PolyTreeEx::Node& node = nodes.back();
        node.father_ = father;
        node.level_ = level;
        node.deleted = false;
        std::shared_ptr<Point2Vector> loop;
        convert_from_clipper(loop, engine_child->Contour);
        node.path = loop;
        get_boundary_bbox(node.path, node.bbox.min_x, node.bbox.min_y, node.bbox.max_x,
                          node.bbox.max_y);
        father->childs_.push_back(&node);
        queue.emplace_back(engine_child, &node);
      }
    }
    ++level;
  }

  drop_input_slots();
  return RETVAL_OK;
}

RetVal Clipper::convert_from_clipper(std::vector<std::shared_ptr<Point2Vector>>& out,
                                     const PolyTree& in) {
  std::shared_ptr<ClipperLib::Paths> paths = std::make_shared<ClipperLib::Paths>();
  ClipperLib::PolyTreeToPaths(in.engine_tree, *paths);
  return convert_from_clipper(out, paths);
}

}  // namespace Quorvex
