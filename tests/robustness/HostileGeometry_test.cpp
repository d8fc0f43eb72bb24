// Loops that collapse to one point a million times over, coordinates at the edge of the
// polygon engine's range, and inputs the fuzz targets found crashing: each call ends with its
// stated result.

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <polyclipping/clipper.hpp>
#include <vector>

#include "quorvex/baseType/Path.h"
#include "quorvex/fill/FillLine.h"
#include "quorvex/fill/FillLineOrder.h"
#include "quorvex/planeGeometry/QEMSimp.h"
#include "quorvex/planeGeometry/SimplifyDP.h"
#include "quorvex/planeGeometry/SimplifyDistance.h"
#include "quorvex/polygon/Clipper.h"
#include "quorvex/polygon/RegionBoolean.h"
#include "support/ModelSamples.h"

namespace Quorvex {
namespace {

constexpr std::size_t kMillion = 1000000;
using Pts = std::vector<Point2>;
using ConstLoops = std::vector<std::shared_ptr<const Point2Vector>>;
using Loops = std::vector<std::shared_ptr<Point2Vector>>;

// Coordinates as x, y pairs, as the fuzzer printed them.
std::shared_ptr<Point2Vector const> loop(std::initializer_list<float> xy) {
  auto pts = std::make_shared<Point2Vector>();
  for (auto it = xy.begin(); it != xy.end(); it += 2) pts->emplace_back(it[0], it[1]);
  return pts;
}

TEST(HostileMillionPoints, EveryConsumerEnds) {
  const Pts same(kMillion, Point2(3, 4));
  Pts dp = same, distance = same, qem = same;
  EXPECT_EQ(get_simplified_loop_DP(dp, 0.01f), RETVAL_OK);
  EXPECT_TRUE(dp.empty());
  EXPECT_EQ(get_simplified_loop(distance, 0.01f), RETVAL_OK);
  EXPECT_TRUE(distance.size() <= 2 && distance.back().x == 3.0f);
  EXPECT_EQ(get_QEM_simplified_loop(qem, 0.01f), RETVAL_OK);
  EXPECT_EQ(qem.size(), 2u);
  std::shared_ptr<Path> paths[2] = {qxtest::make_path(same), qxtest::make_path(same)};
  for (auto& p : paths) p->set_colors(std::make_shared<ColorVector>(kMillion, Color3f(1, 0, 0)));
  EXPECT_EQ(get_simplified_path_with_colour(paths[0], 0.01f, 0.1f), RETVAL_OK);
  EXPECT_LE(paths[0]->get_points()->size(), 2u);
  EXPECT_EQ(paths[0]->get_colors()->size(), paths[0]->get_points()->size());
  get_QEM_simplified_loop_with_colour(paths[1], 0.01f, 0.1f);
  EXPECT_EQ(paths[1]->get_points()->size(), 2u);

  const ConstLoops loops = {std::make_shared<Point2Vector>(Pts(kMillion, Point2(3, 4)))};
  Loops lines{std::make_shared<Point2Vector>()};
  EXPECT_EQ(get_fill_line_from_loops(loops, lines, 0.5f, 30.0f, 0.1f, true), RETVAL_FAILED);
  EXPECT_EQ(lines.size(), 1u);  // untouched
  Clipper c;
  c.set_paths(loops, ptSubject);
  EXPECT_EQ(c.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_OK);
  EXPECT_EQ(c.get_result(lines, true), RETVAL_OK);
  EXPECT_TRUE(lines.empty());
  std::vector<Loops> regions;
  EXPECT_EQ(get_classified_region(loops, regions, pftNonZero), RETVAL_OK);
  EXPECT_TRUE(regions.empty());
  // One scan line of a million coincident segments, twice.
  auto line = std::make_shared<Point2Vector>(kMillion / 2, Point2(1, 1));
  EXPECT_EQ(sort_discontinued_fill_line({line, line}, lines, 1.0f, 1.0f), RETVAL_OK);
  std::size_t points = 0;
  for (const auto& s : lines) points += s->size();
  EXPECT_EQ(points, kMillion);
}

// The engine's range: |scaled coordinate| below 0x4000000000000000. Beyond it the engine
// throws (its message is pinned by the Clipper tests), and the stateless helpers, which
// scale in double by the same 1e7, share the limit.
TEST(HostileRange, TheEngineRefusesBeyondItsRangeWithItsException) {
  for (float x : {4.0e11f, 4.7e11f}) {
    const ConstLoops loops = {loop({0, 0, 10, 0, 10, 10, 0, 10}),
                              loop({x, 0, x + 1, 0, x + 1, 1, x, 1})};
    Clipper clipper;
    clipper.set_paths(loops, ptSubject);
    Loops out;
    if (x > 4.5e11f) {
      EXPECT_THROW(clipper.execute(ctUnion, pftNonZero, pftNonZero, 0, true),
                   ClipperLib::clipperException);
      EXPECT_THROW(
          get_clipper_boolean_operation_result(loops, out, ctUnion, {}, pftNonZero, pftNonZero),
          ClipperLib::clipperException);
      continue;
    }
    EXPECT_EQ(clipper.execute(ctUnion, pftNonZero, pftNonZero, 0, true), RETVAL_OK);
    EXPECT_EQ(clipper.get_result(out, true), RETVAL_OK);
    EXPECT_FALSE(out.empty());
    get_clipper_boolean_operation_result(loops, out, ctUnion, {}, pftNonZero, pftNonZero);
    EXPECT_FALSE(out.empty());
  }
}

// clipper_fuzz: open subjects running along a horizontal and back, meeting clip vertices,
// with strict simplicity asked for both by the constructor and by init_options. The engine
// followed a null edge in ProcessHorizontal; now the open sweep runs without strict
// simplicity and the call ends with RETVAL_OK.
TEST(FuzzRegression, OpenSubjectWithStrictSimplicityEnds) {
  const struct {
    const char* label;
    ConstLoops subject, clip;
    ClipType type;
  } rows[] = {
      {"horizontal spike on a clip vertex",
       {loop({-997.624023f, -61.7773438f, -616.008789f, -616.008789f, -616.000977f, -616.008789f,
              -616.008789f, -616.008789f})},
       {loop({-616.008789f, -616.008789f, -528.147461f, 735.866211f, -988.59082f, -669.02832f,
              -712.008789f, 469.119141f})},
       ctDifference},
      {"spikes in both directions",
       {loop({140.952148f, 556.950195f, 556.950195f, 556.950195f}),
        loop({556.950195f, 556.950195f, 556.950195f, -999.293945f, 556.950195f, 556.950195f,
              556.950195f, 556.78125f, 556.950195f, 556.950195f, 556.950195f, 556.93457f,
              556.950195f, 556.950195f, 556.950195f, 557.950195f, 556.950195f, 556.950195f}),
        loop({556.950195f, 556.950195f, 556.950195f, 524.950195f, 556.950195f, 556.950195f,
              556.78125f, 556.950195f, 556.950195f, 556.950195f, 556.93457f, 556.950195f,
              556.950195f, 828.955078f, 556.90918f, 888.724609f, -614.823242f, -467.803711f})},
       {loop({906.236328f, -985.321289f, -732.871094f, 432.163086f, 667.001953f,
              99.4169922f, 115.414062f,  115.414062f,  115.414062f, 115.451172f,
              556.950195f, 556.950195f,  556.950195f,  741.482422f, 741.482422f,
              741.482422f, 732.949219f,  556.950195f,  556.950195f, 556.950195f}),
        loop({556.950195f, 556.950195f, 556.78125f, 556.950195f})},
       ctXor},
  };
  for (const auto& r : rows) {
    Clipper clipper(true);
    clipper.set_paths(r.subject, ptSubject);
    clipper.set_paths(r.clip, ptClip);
    EXPECT_EQ(clipper.execute(r.type, pftNegative, pftNegative, 3, false), RETVAL_OK) << r.label;
    std::vector<std::shared_ptr<Point2Vector>> out;
    EXPECT_EQ(clipper.get_result(out, false), RETVAL_OK) << r.label;
    for (const auto& piece : out) EXPECT_GE(piece->size(), 1u) << r.label;
  }
}

}  // namespace
}  // namespace Quorvex
