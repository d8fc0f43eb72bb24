// Inputs the fuzz targets found crashing, kept as ordinary cases.

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "quorvex/polygon/Clipper.h"
#include "quorvex/polygon/PolyTree.h"

namespace Quorvex {
namespace {

using Loops = std::vector<std::shared_ptr<Point2Vector const>>;

// Coordinates as x, y pairs, as the fuzzer printed them.
std::shared_ptr<Point2Vector const> loop(std::initializer_list<float> xy) {
  auto pts = std::make_shared<Point2Vector>();
  for (auto it = xy.begin(); it != xy.end(); it += 2) pts->emplace_back(it[0], it[1]);
  return pts;
}

struct OpenClipCase {
  const char* label;
  Loops subject;
  Loops clip;
  ClipType type;
  PolyFillType fill;
};

// clipper_fuzz: open subjects running along a horizontal and back, meeting clip vertices,
// with strict simplicity asked for both by the constructor and by init_options. The engine
// followed a null edge in ProcessHorizontal; now the open sweep runs without strict
// simplicity and the call ends with RETVAL_OK.
class FuzzRegressionOpenClip : public ::testing::TestWithParam<OpenClipCase> {};

TEST_P(FuzzRegressionOpenClip, OpenSubjectWithStrictSimplicityEnds) {
  const OpenClipCase& c = GetParam();
  Clipper clipper(true);
  clipper.set_paths(c.subject, ptSubject);
  clipper.set_paths(c.clip, ptClip);
  EXPECT_EQ(clipper.execute(c.type, c.fill, c.fill, 3, false), RETVAL_OK);
  std::vector<std::shared_ptr<Point2Vector>> out;
  EXPECT_EQ(clipper.get_result(out, false), RETVAL_OK);
  for (const auto& piece : out) EXPECT_GE(piece->size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FuzzRegressionOpenClip,
    ::testing::Values(
        OpenClipCase{"horizontal_spike_on_clip_vertex",
                     {loop({-997.624023f, -61.7773438f, -616.008789f, -616.008789f, -616.000977f,
                            -616.008789f, -616.008789f, -616.008789f})},
                     {loop({-616.008789f, -616.008789f, -528.147461f, 735.866211f, -988.59082f,
                            -669.02832f, -712.008789f, 469.119141f})},
                     ctDifference,
                     pftNegative},
        OpenClipCase{
            "spikes_in_both_directions",
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
            ctXor,
            pftNegative}),
    [](const ::testing::TestParamInfo<OpenClipCase>& i) { return std::string(i.param.label); });

}  // namespace
}  // namespace Quorvex
