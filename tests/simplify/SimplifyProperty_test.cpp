// Properties every loop simplifier keeps: the survivors are input points in their order, and
// fewer than before.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "LoopFixtures.h"
#include "quorvex/planeGeometry/QEMSimp.h"
#include "quorvex/planeGeometry/SimplifyDP.h"
#include "quorvex/planeGeometry/SimplifyDistance.h"

namespace Quorvex {
namespace {

using test::Loop;

// Distance of q from the line through a and b, in double.
double line_distance(const Point2& a, const Point2& b, const Point2& q) {
  const double dx = double(b.x) - a.x, dy = double(b.y) - a.y, len = std::hypot(dx, dy);
  if (len == 0) return std::hypot(double(q.x) - a.x, double(q.y) - a.y);
  return std::fabs((double(q.x) - a.x) * dy - (double(q.y) - a.y) * dx) / len;
}

enum Kind { kDP, kDPEdges, kDistance, kQEM };

RetVal simplify(Kind kind, Loop& loop, float tolerance) {
  switch (kind) {
    case kDP:
      return get_simplified_loop_DP(loop, tolerance);
    case kDPEdges:
      return get_simplified_loop_DP(loop, tolerance, 1.5f);
    case kDistance:
      return get_simplified_loop(loop, tolerance);
    default:
      return get_QEM_simplified_loop(loop, tolerance);
  }
}

// Every vertex DP removes lies within radius of the chord of the survivors around it, and
// without the edge rule a second run changes nothing (thinning makes edges longer, so the
// edge rule may flag more the second time). Distance thinning leaves no neighbours, the
// closing pair included, closer than the tolerance.
TEST(SimplifyProperty, NoisyRingsKeepOrderAndEachSimplifiersBound) {
  const Loop original = test::noisy_ring(2000, 100, 1.0f, 1);
  for (Kind kind : {kDP, kDPEdges, kDistance, kQEM}) {
    for (float tol : {0.5f, 2.0f}) {
      SCOPED_TRACE(testing::Message() << "kind " << kind << " tolerance " << tol);
      Loop loop = original;
      EXPECT_EQ(simplify(kind, loop, tol), RETVAL_OK);
      ASSERT_GE(loop.size(), kind == kDistance || kind == kQEM ? 2u : 3u);
      ASSERT_LT(loop.size(), original.size());
      const std::vector<std::size_t> idx = test::subsequence_indices(loop, original);
      ASSERT_EQ(idx.size(), loop.size()) << "survivors are not the input in its order";
      for (std::size_t k = 0; k < idx.size() && (kind == kDP || kind == kDPEdges); ++k) {
        const Point2 &a = original[idx[k]], &b = original[idx[(k + 1) % idx.size()]];
        const std::size_t end = k + 1 < idx.size() ? idx[k + 1] : idx[0] + original.size();
        for (std::size_t i = idx[k] + 1; i < end; ++i) {
          EXPECT_LE(line_distance(a, b, original[i % original.size()]), tol * 1.0001 + 1e-4);
        }
      }
      for (std::size_t i = 0; i < loop.size() && kind == kDistance; ++i) {
        EXPECT_GE((loop[i] - loop[(i + 1) % loop.size()]).length(), tol) << i;
      }
      Loop again = loop;
      if (kind == kDP) simplify(kind, again, tol);
      EXPECT_EQ(again, loop);
    }
  }
}

}  // namespace
}  // namespace Quorvex
