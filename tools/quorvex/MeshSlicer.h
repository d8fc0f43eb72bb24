#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "quorvex/base/BaseTriMesh.h"
#include "quorvex/baseType/Point2.h"

namespace QuorvexTool {

// The closed outlines of one horizontal cut through a mesh.
struct SliceLayer {
  float z = 0.0f;                            // height of the cutting plane
  std::vector<Quorvex::Point2Vector> loops;  // closed loops, no repeated closing point
  std::size_t open_chains = 0;               // cut chains that did not close (dropped)
};

struct SliceGrid {
  float z_min = 0.0f;
  float z_max = 0.0f;
  float layer_height = 0.2f;
  std::size_t layer_count = 0;
  // Height of the cut of layer i: the middle of the layer.
  float cut_height(std::size_t i) const {
    return static_cast<float>(static_cast<double>(z_min) +
                              (static_cast<double>(i) + 0.5) * layer_height);
  }
};

// The most layers one slice may have. Every layer holds its cut, its paths and its share
// of the outputs; beyond this a grid comes from a runaway height or a mistyped layer height
// rather than from a print, and is refused before anything is allocated for it.
constexpr std::size_t kMaxLayers = 1000000;

enum class GridStatus {
  kOk,
  kNotFinite,      // a vertex height is infinite or not a number
  kTooManyLayers,  // the height of the mesh needs more than kMaxLayers layers
};

// Index of the first vertex with a coordinate that is infinite or not a number, or the
// vertex count when every coordinate is finite.
std::size_t first_non_finite_vertex(const Quorvex::BaseTriMesh& mesh);

// Layers of the given height from the lowest to the highest vertex. A mesh without faces,
// or a layer height that is not positive, gives no layers. On refusal `grid` has no layers
// (its heights are set for kTooManyLayers, so that the caller can name them).
GridStatus make_slice_grid(const Quorvex::BaseTriMesh& mesh, float layer_height, SliceGrid& grid);

// Cuts the mesh at the middle of every layer of the grid. Loops are chained through the
// mesh's shared vertices and edges, with no tolerance: a crossing is named by the edge
// it lies on, and a vertex exactly on the plane counts as above it. Outer loops run
// counter-clockwise and holes clockwise when the faces' normals point outward.
// Layers are cut on `threads` threads (0: all cores); the result does not depend on it.
// `progress` (when set) is called with the number of layers done, from the calling thread.
// An exception of a worker (memory, mostly) stops the cutting and reaches the caller on the
// calling thread: the one of the lowest layer that failed.
std::vector<SliceLayer> slice_mesh(const Quorvex::BaseTriMesh& mesh, const SliceGrid& grid,
                                   unsigned threads,
                                   const std::function<void(std::size_t)>& progress);

}  // namespace QuorvexTool
