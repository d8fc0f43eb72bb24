// The in-place scan of memory buffers must read any bytes exactly as the stream's own
// extraction operators do: same vertices bit for bit, same faces, same final stream state
// and position. Random OBJ-like text, with the hostile pieces that reach every branch of
// the number grammar, the word and line limits and the face-line scan.

#include <gtest/gtest.h>

#include <boost/interprocess/streams/bufferstream.hpp>
#include <cstring>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "quorvex/baseTypeIO/ObjReader.h"

namespace Quorvex {
namespace {

using namespace std::string_literals;

// Pieces of text: words, every form of number the grammar knows or nearly knows, and the
// white space and bytes that end them; some hold a zero byte on purpose.
std::vector<std::string> pieces() {
  std::vector<std::string> out;
  std::istringstream words(
      "v vt vn f F # o vv 1 -1 +2 0 -0 007 3.25 .5 -.5 5. . - + 1e5 1E-3 2e 2e+ 2e- 1e+9 1ee2 "
      "1.2.3 1e5.5 0x1A inf nan 1e39 -1e39 1e-39 1e-46 3.4028235e38 3.4028236e38 "
      "1.17549435e-38 123456789012 -123456789 99999999999999999999 1/2/3 1//3 / // -1/-1 +-1 "
      "-+1 a abc");
  for (std::string w; words >> w;) out.push_back(w);
  out.push_back("0." + std::string(47, '0') + "1");
  for (const std::string& s : {"v\0"s, "f\0x"s, "\xff\xfe"s, "\x80"s, " "s, "  "s, "\t"s, "\n"s,
                               "\r"s, "\r\n"s, "\v"s, "\f"s, "\n\n"s, "\0"s}) {
    out.push_back(s);
  }
  return out;
}
const std::vector<std::string> kPieces = pieces();

std::string random_text(std::mt19937& rng) {
  std::string text;
  const std::size_t pieces = std::uniform_int_distribution<std::size_t>(0, 60)(rng);
  const int n = static_cast<int>(kPieces.size());
  std::uniform_int_distribution<int> pick(0, n + 3);
  for (std::size_t i = 0; i < pieces; ++i) {
    const int k = pick(rng);
    if (k < n) {
      text += kPieces[static_cast<std::size_t>(k)];
    } else if (k == n) {
      // Runs that reach the word (127), token (9) and line (4094) limits.
      const std::size_t len = std::uniform_int_distribution<std::size_t>(120, 135)(rng);
      text.append(len, "vf1 "[std::uniform_int_distribution<int>(0, 2)(rng)]);
    } else if (k == n + 1) {
      const std::size_t len = std::uniform_int_distribution<std::size_t>(4085, 4100)(rng);
      text.append(len, " 1\t"[std::uniform_int_distribution<int>(0, 2)(rng)]);
    } else if (k == n + 2) {
      text.push_back(static_cast<char>(std::uniform_int_distribution<int>(0, 255)(rng)));
    } else {
      text += " ";
    }
  }
  return text;
}

// A plausible OBJ file with random damage: most lines good, so that the parse gets far.
std::string damaged_obj(std::mt19937& rng) {
  std::string text;
  std::uniform_real_distribution<float> coord(-100.0f, 100.0f);
  std::uniform_int_distribution<int> line_kind(0, 9);
  char number[64];
  for (int line = 0; line < 40; ++line) {
    const int kind = line_kind(rng);
    if (kind < 4) {
      text += "v";
      for (int i = 0; i < 3; ++i) {
        std::snprintf(number, sizeof number, " %.*g", 1 + line % 9,
                      static_cast<double>(coord(rng)));
        text += number;
      }
    } else if (kind < 8) {
      text += "f";
      const int corners = std::uniform_int_distribution<int>(0, 6)(rng);
      for (int i = 0; i < corners; ++i) {
        std::snprintf(number, sizeof number, " %d/%d",
                      std::uniform_int_distribution<int>(-12, 12)(rng), i);
        text += number;
      }
    } else {
      text += kPieces[std::uniform_int_distribution<std::size_t>(0, 40)(rng)];
    }
    text += (line % 3 == 0) ? "\r\n" : "\n";
  }
  // One random byte changed.
  if (!text.empty() && rng() % 2 == 0) {
    text[rng() % text.size()] = static_cast<char>(rng() % 256);
  }
  return text;
}

void expect_same_reading(const std::string& text) {
  std::istringstream reference(text);
  reference.imbue(std::locale::classic());
  BaseTriMesh expected;
  ASSERT_EQ(parse_obj_by_extraction(reference, expected), IORET_OK);
  boost::interprocess::basic_ibufferstream<char> in(text.data(), text.size());
  static_cast<std::istream&>(in).imbue(std::locale::classic());
  BaseTriMesh got;
  ASSERT_EQ(parse_obj(in, got), IORET_OK);
  ASSERT_EQ(got.get_vn(), expected.get_vn());
  if (got.get_vn() > 0) {
    EXPECT_EQ(std::memcmp(got.get_vCoords().data(), expected.get_vCoords().data(),
                          got.get_vn() * sizeof(Vector3f)),
              0);
  }
  EXPECT_EQ(got.get_faces(), expected.get_faces());
  EXPECT_EQ(in.rdstate(), reference.rdstate());
  in.clear();
  reference.clear();
  EXPECT_EQ(static_cast<long long>(in.tellg()), static_cast<long long>(reference.tellg()));
}

// Random pieces, with now and then a stray byte of any value.
TEST(ObjScanDifferential, RandomPieces) {
  std::mt19937 rng(20261123);
  for (int i = 0; i < 4000; ++i) {
    const std::string text = random_text(rng);
    SCOPED_TRACE(::testing::Message() << "case " << i);
    expect_same_reading(text);
    if (::testing::Test::HasFailure()) break;
  }
}

TEST(ObjScanDifferential, DamagedFiles) {
  std::mt19937 rng(7);
  for (int i = 0; i < 1500; ++i) {
    const std::string text = damaged_obj(rng);
    SCOPED_TRACE(::testing::Message() << "case " << i);
    expect_same_reading(text);
    if (::testing::Test::HasFailure()) break;
  }
}

TEST(ObjScanDifferential, ChosenEdges) {
  // Short texts, separated by '|'.
  std::vector<std::string> texts;
  std::istringstream list(
      "v|v |v 1|v 1 2|v 1 2 3|f|f |vt 1|vn 1 2|v 1e|v 1e+|v -|v +|v .|v 1 2 3e|v 1 2 3e-|"
      "v\v1\f2\r3|v 1 1 1\nf 1 1 1\v2|f\v1 2 3|f 1\v 2 3|v 1 1 1\nf \v1 \f1 1|"
      "v 1 1 1\nf +1 -0 1|v 1 1 1\nf 1 1 -000000001|v 00000000000000000000000000001.5 2 3");
  for (std::string t; std::getline(list, t, '|');) texts.push_back(t);
  // Words about the length limit of 127, lines about that of 4094.
  for (std::size_t n : {127, 128}) texts.push_back(std::string(n, 'x'));
  texts.push_back(std::string(127, 'x') + " ");
  for (std::size_t n : {4093, 4094, 4095, 4096}) {
    texts.push_back("x" + std::string(n, 'y'));
    texts.push_back("x" + std::string(n, 'y') + "\n");
  }
  texts.push_back("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3" + std::string(4090, ' '));
  texts.push_back("v 1" + std::string(400, '0') + " 2 3");
  texts.push_back("v 0." + std::string(400, '0') + "1 2 3");
  for (const std::string& text : texts) {
    SCOPED_TRACE(text.substr(0, 60));
    expect_same_reading(text);
  }
}

}  // namespace
}  // namespace Quorvex
