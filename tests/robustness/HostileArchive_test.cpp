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

std::shared_ptr<Entity> sample_entity() {
  auto e = std::make_shared<Entity>();
  e->set_platform_height(0.5f);
  for (int i = 0; i < 3; ++i) {
    auto layer = std::make_shared<Layer>();
    layer->set_id(i);
    layer->set_z(0.2f * static_cast<float>(i + 1));
    for (int k = 0; k < 3; ++k) {
      const float y = static_cast<float>(k);
      auto p = qxtest::make_path({{0, y}, {1, y}, {2, y}, {3, y}, {4, y}}, PATH_TYPE_NONE, -1, k);
      if (k == 1) {
        p->set_colors(std::make_shared<ColorVector>(5, Color3f(0.1f, 0.2f, 0.3f)));
        p->set_extra_shell_component(std::make_shared<ExtraShellComponent>());
      }
      layer->add_boundary_path(p);
      layer->add_fill_path(p);
    }
    e->add_layer(layer);
  }
  return e;
}

std::string bytes_of(const Entity& e) {
  std::ostringstream out;
  out << e;
  return out.str();
}

// Everything a read produced must fit into what the stream held.
void expect_bounded(const Entity& e, std::size_t budget) {
  EXPECT_LE(e.get_layer_size(), budget);
  for (const auto& l : e.get_layers()) {
    for (const auto* list : {&l->get_boundary_paths(), &l->get_fill_paths(),
                             &l->get_small_region_paths(), &l->get_raft_paths()}) {
      EXPECT_LE(list->size(), budget);
      for (const auto& p : *list) {
        EXPECT_LE((p->get_points() ? p->get_points()->size() * 8 : 0), budget);
        EXPECT_LE((p->get_colors() ? p->get_colors()->size() * 12 : 0), budget);
      }
    }
  }
}

TEST(HostileModelArchive, EveryBitFlipReadsToABoundedModel) {
  const std::string good = bytes_of(*sample_entity());
  ASSERT_GT(good.size(), 300u);
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (int bit : {0, 6, 7}) {
      std::string bad = good;
      bad[at] = static_cast<char>(bad[at] ^ (1 << bit));
      boost::interprocess::basic_ibufferstream<char> in(bad.data(), bad.size());
      ReadAble h(in);
      Entity back;
      back.read_archive(h);
      expect_bounded(back, bad.size());
    }
  }
}

TEST(HostileModelArchive, CutAtEveryLengthOnAStreamThatCannotSeek) {
  const std::string good = bytes_of(*sample_entity());
  for (std::size_t len = 0; len < good.size(); len += 3) {
    const std::string cut = good.substr(0, len);
    ForwardOnlyBuffer buf(cut);
    std::istream in(&buf);
    ReadAble h(in);
    Entity back;
    back.read_archive(h);
    EXPECT_TRUE(h.has_failed()) << len;
    EXPECT_LT(back.get_layer_size(), 3u) << len;
    expect_bounded(back, len + 4096 * 12);  // one first chunk at most on an unseekable stream
  }
}

// ---- the stream primitives

struct HugeCase {
  const char* label;
  std::int32_t count;
  std::size_t tail;  // bytes behind the count
  std::size_t expected_points;
};

class HostileBulkVector : public ::testing::TestWithParam<HugeCase> {};

TEST_P(HostileBulkVector, KeepsOnlyWhatTheStreamHoldsBeyondThePaddingAllowance) {
  const HugeCase& c = GetParam();
  std::string bytes = ByteImage().i32(c.count).bytes() + std::string(c.tail, '\x01');
  for (bool seekable : {true, false}) {
    std::vector<Point2> v{{7, 7}};
    ForwardOnlyBuffer fwd(bytes);
    std::istream fwd_in(&fwd);
    std::istringstream seek_in(bytes);
    ReadAble h = seekable ? ReadAble(static_cast<std::istream&>(seek_in)) : ReadAble(fwd_in);
    h >> v;
    EXPECT_EQ(v.size(), c.expected_points) << c.label << " seekable " << seekable;
    EXPECT_EQ(h.has_failed(), static_cast<std::size_t>(c.count) * 8 > c.tail) << c.label;
  }
}

constexpr std::size_t kAllowancePoints = kMaxUndeliveredBytes / sizeof(Point2);

INSTANTIATE_TEST_SUITE_P(
    Cases, HostileBulkVector,
    ::testing::Values(
        // Whole blocks and short tails within the allowance: the stated count, padded.
        HugeCase{"whole", 3, 24, 3}, HugeCase{"short_tail", 3, 10, 3},
        HugeCase{"allowance_edge", static_cast<std::int32_t>(kAllowancePoints), 0,
                 kAllowancePoints},
        // Beyond the allowance the points held are all that is kept (none are whole here).
        HugeCase{"max_count_empty", 0x7FFFFFFF, 0, 0},
        HugeCase{"max_count_seven_bytes", 0x7FFFFFFF, 7, 0}),
    [](const ::testing::TestParamInfo<HugeCase>& i) { return std::string(i.param.label); });

TEST(HostileBulkVector, HugeCountKeepsTheWholePointsOfASeekableStream) {
  const std::string bytes = ByteImage().i32(0x40000000).f32(1).f32(2).f32(3).f32(4).bytes() + "xyz";
  std::istringstream in(bytes);
  std::vector<Point2> v;
  ReadAble h(in);
  h >> v;
  ASSERT_EQ(v.size(), 2u);
  EXPECT_EQ(v[1].y, 4.0f);
  EXPECT_TRUE(h.has_failed());
}

TEST(HostileString, HugeLengthAllocatesNoMoreThanTheStreamHolds) {
  const std::string bytes = ByteImage().i32(0x7FFFFFF0).raw("abc").bytes();
  std::istringstream in(bytes);
  std::string s = "old";
  ReadAble(in) >> s;
  EXPECT_EQ(s, "abc");
  EXPECT_LE(s.capacity(), 64u);
}

// ---- testbug files

class HostileTestbug : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = ::testing::TempDir() + "/qx_hostile_tb_" + std::to_string(getpid());
    std::filesystem::create_directories(dir_);
    gDAConfig.set_store_path(dir_);
    gDAConfig.name_with_time = gDAConfig.name_with_thread = gDAConfig.encode_names = false;
    gDAConfig.single_stream = gDAConfig.selected_only = false;
    gDAConfig.enabled = true;
    gDAConfig.write_mode = true;
    std::vector<Point2> loop{{1, 2}, {3, 4}, {5, 6}, {7, 8}};
    capture_parameter("hostile_call", loop, "loop");
    std::ifstream in(dir_ + "/hostile_call.tb", std::ios::binary);
    good_.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    gDAConfig.write_mode = false;
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  // Replays `bytes` as the file of the call; gives the argument afterwards.
  std::vector<Point2> replay(const std::string& bytes) {
    std::ofstream(dir_ + "/hostile_call.tb", std::ios::binary | std::ios::trunc) << bytes;
    std::vector<Point2> arg{{9, 9}};
    capture_parameter("hostile_call", arg, "loop");
    return arg;
  }

  qxtest::CaptureConfigGuard guard_;
  qxtest::SilenceCout quiet_;
  std::string dir_;
  std::string good_;
};

TEST_F(HostileTestbug, TheIntactFileReplays) {
  ASSERT_GT(good_.size(), 60u);
  const std::vector<Point2> arg = replay(good_);
  EXPECT_TRUE(gDAConfig.replay_ok);
  ASSERT_EQ(arg.size(), 4u);
  EXPECT_EQ(arg[3].y, 8.0f);
}

TEST_F(HostileTestbug, CutFilesReplayOrAreRefusedWithoutTouchingTheArgument) {
  for (std::size_t len = 0; len < good_.size(); ++len) {
    const std::vector<Point2> arg = replay(good_.substr(0, len));
    if (!gDAConfig.replay_ok) {
      ASSERT_EQ(arg.size(), 1u) << len;  // refused: the argument as it was
      EXPECT_EQ(arg[0].x, 9.0f) << len;
    } else {
      EXPECT_LE(arg.size(), 4u) << len;  // the stated count at most, padded with the origin
    }
  }
}

TEST_F(HostileTestbug, FlippedBitsNeverGrowTheArgumentBeyondTheAllowance) {
  for (std::size_t at = 0; at < good_.size(); ++at) {
    for (int bit : {0, 6, 7}) {
      std::string bad = good_;
      bad[at] = static_cast<char>(bad[at] ^ (1 << bit));
      const std::vector<Point2> arg = replay(bad);
      if (!gDAConfig.replay_ok) {
        EXPECT_EQ(arg.size(), 1u) << at << ":" << bit;
      } else {
        EXPECT_LE(arg.size(), kAllowancePoints + bad.size() / 8) << at << ":" << bit;
      }
    }
  }
}

TEST_F(HostileTestbug, AHugeStoredCountDoesNotAllocateItsPromise) {
  // A record without tags whose value promises 2^31 - 1 points and holds two.
  const std::vector<Point2> arg = replay(ByteImage()
                                             .u64(1)
                                             .raw("\x93\x90\x90\x8F")
                                             .i32(0x7FFFFFFF)
                                             .f32(1)
                                             .f32(2)
                                             .f32(3)
                                             .f32(4)
                                             .bytes());
  EXPECT_TRUE(gDAConfig.replay_ok);
  ASSERT_EQ(arg.size(), 2u);
  EXPECT_EQ(arg[1].x, 3.0f);
}

}  // namespace
}  // namespace Quorvex
