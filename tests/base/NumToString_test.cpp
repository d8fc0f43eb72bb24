#include "quorvex/base/NumToString.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace {

using Quorvex::num_to_string;

// printf is the reference for every decimal count it knows.
std::string printf_text(float v, int d) {
  char buf[512];
  std::snprintf(buf, sizeof buf, "%.*f", d, static_cast<double>(v));
  return buf;
}

TEST(NumToString, MatchesPrintfOnRandomFloatsForEveryDecimalPlace) {
  std::mt19937 rng(12345);
  std::uniform_int_distribution<uint32_t> bits;
  std::uniform_real_distribution<float> moderate(-1000.0f, 1000.0f);
  for (int i = 0; i < 200000; ++i) {
    float v = moderate(rng);
    if (i % 2 == 0) {
      const uint32_t b = bits(rng);
      std::memcpy(&v, &b, sizeof v);
      if (!std::isfinite(v)) continue;
    }
    const int d = i % 10;
    ASSERT_EQ(num_to_string(v, d), printf_text(v, d)) << "value bits of " << v;
  }
}

TEST(NumToString, MatchesPrintfOnHalfwayValuesAndExtremes) {
  // k + 0.5 at 0 decimals and k/8 at 2 decimals are exact binary halfway points.
  for (int k = -2000; k <= 2000; ++k) {
    ASSERT_EQ(num_to_string(k + 0.5f, 0), printf_text(k + 0.5f, 0));
    ASSERT_EQ(num_to_string(k / 8.0f, 2), printf_text(k / 8.0f, 2));
  }
  const float big = std::numeric_limits<float>::max();
  EXPECT_EQ(num_to_string(-big, 9), printf_text(-big, 9));
  const float tiny = std::numeric_limits<float>::denorm_min();
  EXPECT_EQ(num_to_string(tiny, 60), printf_text(tiny, 60));
  // Beyond the limit the text keeps 60 decimals; below zero means none.
  EXPECT_EQ(num_to_string(1.0f, 500), printf_text(1.0f, 60));
  EXPECT_EQ(num_to_string(1.0f, -3), "1");
  EXPECT_EQ(num_to_string(-0.0f, -1), "-0");
}

}  // namespace
