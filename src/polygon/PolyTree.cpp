#include "quorvex/polygon/PolyTree.h"

#include <cstdint>
#include <deque>
#include <functional>

#include "EngineTreeCount.h"
#include "quorvex/planeGeometry/BoundaryTransform.h"

namespace Quorvex {

namespace {
// The node list stops growing past this many entries; it is tested between levels only.
constexpr std::size_t kPolyTreeNodeLimit = 9999;
}  // namespace

// ---- PolyTree ----

const std::vector<ClipperLib::IntPoint>& PolyTree::Node::get_data() const {
  static const std::vector<ClipperLib::IntPoint> kNoContour;
  return poly_node != nullptr ? poly_node->Contour : kNoContour;
}

RetVal PolyTree::clear() {
  // The list first: it points into the engine tree.
  nodes.clear();
  engine_tree.Clear();
  return RETVAL_OK;
}

RetVal PolyTree::copy_from_tree() {
  const std::size_t total = count_engine_nodes(engine_tree);
  if (total == 0) {
    clear();
    return RETVAL_FAILED;
  }
  nodes.clear();
  // Links are raw pointers into the list: it is sized once and never reallocates.
  nodes.reserve(total);

  // The engine tree itself is the root that GetFirst() hangs from.
  const ClipperLib::PolyNode* root = &engine_tree;
  for (const ClipperLib::PolyNode* child : root->Childs) {
    Node node;
    node.poly_node = child;
    node.level_ = 0;
    nodes.push_back(node);
  }

  int level = 1;
  std::size_t level_begin = 0;
  for (;;) {
    const std::size_t level_end = nodes.size();
    for (std::size_t i = level_begin; i < level_end; ++i) {
      for (const ClipperLib::PolyNode* child : nodes[i].poly_node->Childs) {
        Node node;
        node.poly_node = child;
        node.level_ = level;
        node.father_ = &nodes[i];
        nodes.push_back(node);
        nodes[i].childs_.push_back(&nodes.back());
      }
    }
    ++level;
    if (nodes.size() > kPolyTreeNodeLimit) return RETVAL_BAD_INPUT;
    if (nodes.size() == level_end) return RETVAL_OK;
    level_begin = level_end;
  }
}

// ---- PolyTreeEx::Node ----

void PolyTreeEx::Node::set_deleted(bool value) {
  std::vector<Node*> pending{this};
  while (!pending.empty()) {
    Node* node = pending.back();
    pending.pop_back();
    node->deleted = value;
    for (Node* child : node->childs_) {
      if (child != nullptr) pending.push_back(child);
    }
  }
}

void PolyTreeEx::Node::init_bbox() {
  if (!path) return;
  get_boundary_bbox(path, bbox.min_x, bbox.min_y, bbox.max_x, bbox.max_y);
}

std::vector<std::shared_ptr<Point2Vector const>> PolyTreeEx::Node::dump() const {
  std::vector<std::shared_ptr<Point2Vector const>> loops;
  if (deleted) return loops;
  std::deque<const Node*> queue{this};
  while (!queue.empty()) {
    const Node* node = queue.front();
    queue.pop_front();
    if (node->path) loops.push_back(node->path);
    for (const Node* child : node->childs_) {
      if (child != nullptr && !child->deleted) queue.push_back(child);
    }
  }
  return loops;
}

// ---- PolyTreeEx ----

namespace {
// Index of `p` in [first, first + count), or count when it points elsewhere. Compares
// addresses through std::less, which orders unrelated pointers without undefined behaviour.
std::size_t index_in(const PolyTreeEx::Node* p, const PolyTreeEx::Node* first, std::size_t count) {
  std::less<const PolyTreeEx::Node*> before;
  if (p == nullptr || before(p, first) || !before(p, first + count)) return count;
  return static_cast<std::size_t>(p - first);
}
}  // namespace

PolyTreeEx::PolyTreeEx(const PolyTreeEx& other) { *this = other; }

PolyTreeEx& PolyTreeEx::operator=(const PolyTreeEx& other) {
  if (this == &other) return *this;
  const std::vector<Node>& src = other.nodes;
  std::vector<Node> copy;
  copy.reserve(src.size());
  for (const Node& s : src) {
    Node n;
    if (s.path) n.path = std::make_shared<Point2Vector const>(*s.path);
    n.level_ = s.level_;
    n.deleted = s.deleted;
    n.bbox = s.bbox;
    copy.push_back(std::move(n));
  }
  // Links are re-targeted by index; a link that does not lead into the source's own list
  // has no counterpart in the copy and is dropped.
  const Node* first = src.data();
  for (std::size_t i = 0; i < src.size(); ++i) {
    const std::size_t f = index_in(src[i].father_, first, src.size());
    copy[i].father_ = f < src.size() ? &copy[f] : nullptr;
    copy[i].childs_.reserve(src[i].childs_.size());
    for (const Node* child : src[i].childs_) {
      const std::size_t c = index_in(child, first, src.size());
      if (c < src.size()) copy[i].childs_.push_back(&copy[c]);
    }
  }
  nodes = std::move(copy);
  return *this;
}

}  // namespace Quorvex
