// Archives and testbug files that were cut short, had bits flipped, or promise far more
// than they hold. Each read ends, allocates no more than the bytes in hand (plus the
// documented padding allowance), and leaves the stated result.

#include <gtest/gtest.h>
#include <unistd.h>

#include <boost/interprocess/streams/bufferstream.hpp>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "quorvex/base/DataArchiveConfig.h"
#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/ModelArchive.h"
#include "quorvex/capture/ArchiveRecord.h"
#include "quorvex/capture/TestBug.h"
#include "support/ByteImage.h"
#include "support/CaptureConfigGuard.h"
#include "support/ModelSamples.h"
#include "support/Streams.h"

namespace Quorvex {
namespace {

using qxtest::ByteImage;
using qxtest::ForwardOnlyBuffer;

constexpr std::size_t kAllowancePoints = kMaxUndeliveredBytes / sizeof(Point2);

// Three layers of three paths in two lists; one path a layer has colours and an extra shell.
std::string sample_model_bytes() {
  Entity e;
  e.set_platform_height(0.5f);
  for (int i = 0; i < 3; ++i) {
    auto layer = std::make_shared<Layer>();
    layer->set_id(i);
    layer->set_z(0.2f * static_cast<float>(i + 1));
    for (int k = 0; k < 3; ++k) {
      const float y = static_cast<float>(k);
      auto p = qxtest::make_path({{0, y}, {1, y}, {2, y}, {3, y}, {4, y}}, PATH_TYPE_NONE, -1, k);
      if (k == 1) p->set_colors(std::make_shared<ColorVector>(5, Color3f(0.1f, 0.2f, 0.3f)));
      if (k == 1) p->set_extra_shell_component(std::make_shared<ExtraShellComponent>());
      layer->add_boundary_path(p);
      layer->add_fill_path(p);
    }
    e.add_layer(layer);
  }
  std::ostringstream out;
  out << e;
  return out.str();
}

// Reads `bytes` cut or with a bit flipped: everything read must fit into what the stream held
// (plus `slack`), and a cut archive fails.
void expect_bounded_read(const std::string& bytes, bool seekable, std::size_t slack) {
  ForwardOnlyBuffer fwd(bytes);
  std::istream fwd_in(&fwd);
  boost::interprocess::basic_ibufferstream<char> seek_in(bytes.data(), bytes.size());
  ReadAble h = seekable ? ReadAble(static_cast<std::istream&>(seek_in)) : ReadAble(fwd_in);
  Entity e;
  e.read_archive(h);
  const std::size_t budget = bytes.size() + slack;
  EXPECT_LE(e.get_layer_size(), budget);
  for (const auto& l : e.get_layers()) {
    for (auto* list : qxtest::path_lists(*l)) {
      EXPECT_LE(list->size(), budget);
      for (const auto& p : *list) {
        EXPECT_LE((p->get_points() ? p->get_points()->size() * 8 : 0), budget);
        EXPECT_LE((p->get_colors() ? p->get_colors()->size() * 12 : 0), budget);
      }
    }
  }
  EXPECT_TRUE(seekable || (h.has_failed() && e.get_layer_size() < 3)) << bytes.size();
}

TEST(HostileModelArchive, EveryBitFlipAndCutReadsToABoundedModel) {
  const std::string good = sample_model_bytes();
  ASSERT_GT(good.size(), 300u);
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (int bit : {0, 6, 7}) {
      std::string bad = good;
      bad[at] = static_cast<char>(bad[at] ^ (1 << bit));
      expect_bounded_read(bad, true, 0);
    }
  }
  // One first chunk at most on a stream that cannot seek.
  for (std::size_t len = 0; len < good.size(); len += 3) {
    expect_bounded_read(good.substr(0, len), false, 4096 * 12);
  }
}

// A point count with `tail` bytes behind it: within the padding allowance the stated count,
// padded; beyond it only the whole points held (none here), on either kind of stream.
TEST(HostileBulkVector, KeepsOnlyWhatTheStreamHoldsBeyondThePaddingAllowance) {
  const struct {
    std::int32_t count;
    std::size_t tail, expected_points;
  } rows[] = {{3, 24, 3},
              {3, 10, 3},
              {static_cast<std::int32_t>(kAllowancePoints), 0, kAllowancePoints},
              {0x7FFFFFFF, 0, 0},
              {0x7FFFFFFF, 7, 0}};
  for (const auto& r : rows) {
    const std::string bytes = ByteImage().i32(r.count).bytes() + std::string(r.tail, '\x01');
    for (bool seekable : {true, false}) {
      std::vector<Point2> v{{7, 7}};
      ForwardOnlyBuffer fwd(bytes);
      std::istream fwd_in(&fwd);
      std::istringstream seek_in(bytes);
      ReadAble h = seekable ? ReadAble(static_cast<std::istream&>(seek_in)) : ReadAble(fwd_in);
      h >> v;
      EXPECT_EQ(v.size(), r.expected_points) << r.count << " " << r.tail << " " << seekable;
      EXPECT_EQ(h.has_failed(), static_cast<std::size_t>(r.count) * 8 > r.tail) << r.count;
    }
  }
  // On a seekable stream a huge count keeps the whole points there are.
  std::istringstream in(ByteImage().i32(0x40000000).f32(1).f32(2).f32(3).f32(4).bytes() + "xyz");
  std::vector<Point2> v;
  ReadAble h(in);
  h >> v;
  ASSERT_EQ(v.size(), 2u);
  EXPECT_EQ(v[1].y, 4.0f);
  EXPECT_TRUE(h.has_failed());
}

TEST(HostileString, HugeLengthAllocatesNoMoreThanTheStreamHolds) {
  std::istringstream in(ByteImage().i32(0x7FFFFFF0).raw("abc").bytes());
  std::string s = "old";
  ReadAble(in) >> s;
  EXPECT_EQ(s, "abc");
  EXPECT_LE(s.capacity(), 64u);
}

// A testbug file cut, with bits flipped, or promising 2^31 - 1 points and holding two: the
// replay is refused and leaves the argument as it was, or stays within the allowance.
TEST(HostileTestbug, DamagedFilesReplayBoundedOrAreRefused) {
  qxtest::CaptureConfigGuard guard;
  qxtest::SilenceCout quiet;
  const std::string dir = ::testing::TempDir() + "/qx_hostile_tb_" + std::to_string(getpid());
  const std::string file = dir + "/hostile_call.tb";
  std::filesystem::create_directories(dir);
  gDAConfig.set_store_path(dir);
  gDAConfig.enabled = gDAConfig.write_mode = true;
  std::vector<Point2> loop{{1, 2}, {3, 4}, {5, 6}, {7, 8}};
  capture_parameter("hostile_call", loop, "loop");
  std::ifstream in(file, std::ios::binary);
  const std::string good{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  ASSERT_GT(good.size(), 60u);
  gDAConfig.write_mode = false;
  const auto replay = [&](const std::string& bytes) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
    std::vector<Point2> arg{{9, 9}};
    capture_parameter("hostile_call", arg, "loop");
    EXPECT_TRUE(gDAConfig.replay_ok || (arg.size() == 1 && arg[0].x == 9.0f)) << bytes.size();
    return gDAConfig.replay_ok ? arg : std::vector<Point2>{};
  };
  for (std::size_t len = 0; len < good.size(); ++len) {
    EXPECT_LE(replay(good.substr(0, len)).size(), 4u) << len;  // the stated count, padded
  }
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (int bit : {0, 6, 7}) {
      std::string bad = good;
      bad[at] = static_cast<char>(bad[at] ^ (1 << bit));
      EXPECT_LE(replay(bad).size(), kAllowancePoints + bad.size() / 8) << at << ":" << bit;
    }
  }
  std::vector<Point2> arg = replay(good);
  ASSERT_EQ(arg.size(), 4u);
  EXPECT_EQ(arg[3].y, 8.0f);
  arg = replay(ByteImage()
                   .u64(1)
                   .raw("\x93\x90\x90\x8F")
                   .i32(0x7FFFFFFF)
                   .f32(1)
                   .f32(2)
                   .f32(3)
                   .f32(4)
                   .bytes());
  ASSERT_EQ(arg.size(), 2u);  // a record without tags
  EXPECT_EQ(arg[1].x, 3.0f);
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace Quorvex
