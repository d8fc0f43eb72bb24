#pragma once

#include <memory>
#include <polyclipping/clipper.hpp>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

class Clipper;

// The engine's nesting tree, kept alive, with a flat breadth-first list of nodes on top:
// a node's children stand behind it and every level is contiguous. Top-level loops have
// level 0. The nodes point into the engine tree, which owns the contours, so the whole
// structure can be neither copied nor moved.
//
// Data members whose names an accessor takes carry a trailing underscore.
class QX_EXPORT PolyTree {
 public:
  struct QX_EXPORT Node {
    const ClipperLib::PolyNode* poly_node = nullptr;  // not owning
    std::vector<Node*> childs_;                       // pointers into the node list
    Node* father_ = nullptr;                          // null for a top-level node
    int level_ = -1;

    // The fixed-point contour of the engine node; needs poly_node.
    const std::vector<ClipperLib::IntPoint>& get_data() const { return poly_node->Contour; }
    std::vector<Node*> childs() const { return childs_; }
    Node* father() const { return father_; }
    int level() const { return level_; }
  };

  PolyTree() = default;
  PolyTree(const PolyTree&) = delete;
  PolyTree& operator=(const PolyTree&) = delete;
  // The list goes before the engine tree it points into.
  ~PolyTree() = default;

  const Node* get_first() const { return nodes.empty() ? nullptr : &nodes.front(); }
  const std::vector<Node>& get_nodes() const { return nodes; }

 private:
  friend class Clipper;

  RetVal clear();
  RetVal copy_from_tree();

  ClipperLib::PolyTree engine_tree;
  std::vector<Node> nodes;
};

// A self-contained nesting tree in float units. nodes[0] is a root without a loop
// (level 0); outer loops have level 1, their holes 2, islands in those 3, and so on.
// Each node caches the box of its loop so callers can cull without touching points.
// Copies are deep: the loops are copied and the links point into the copy's own list.
class QX_EXPORT PolyTreeEx {
 public:
  struct QX_EXPORT Node {
    std::shared_ptr<Point2Vector const> path;  // empty for the root
    std::vector<Node*> childs_;                // pointers into the node list
    Node* father_ = nullptr;                   // null for the root
    int level_ = -1;
    bool deleted = false;
    AABB2D bbox;

    std::vector<Node*> childs() const { return childs_; }
    Node* father() const { return father_; }
    int level() const { return level_; }
    std::shared_ptr<Point2Vector const> get_path() const { return path; }
    AABB2D get_bbox() const { return bbox; }
    // Even levels other than the root's are holes; -1 (unset) is not.
    bool is_hole() const { return level_ % 2 == 0 && level_ != 0; }
    bool is_deleted() const { return deleted; }

    // Marks this node and its whole subtree, either way.
    void set_deleted(bool value);
    // Recomputes bbox from path; a node without a loop keeps its box.
    void init_bbox();
    // The live loops of the subtree, breadth-first; a deleted node hides its subtree.
    std::vector<std::shared_ptr<Point2Vector const>> dump() const;
  };

  PolyTreeEx() = default;
  PolyTreeEx(const PolyTreeEx& other);
  PolyTreeEx& operator=(const PolyTreeEx& other);
  // Moving a vector keeps its elements where they are, so the links stay valid.
  PolyTreeEx(PolyTreeEx&&) noexcept = default;
  PolyTreeEx& operator=(PolyTreeEx&&) noexcept = default;
  ~PolyTreeEx() = default;

  const Node* get_first() const { return nodes.empty() ? nullptr : &nodes.front(); }
  Node* get_first() { return nodes.empty() ? nullptr : &nodes.front(); }
  // Nodes may be edited in place (typically their deleted mark); appending would move
  // them and break the links.
  std::vector<Node>& get_nodes() { return nodes; }
  const std::vector<Node>& get_nodes() const { return nodes; }

 private:
  std::vector<Node> nodes;
};

}  // namespace Quorvex
