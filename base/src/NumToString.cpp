#include "quorvex/base/NumToString.h"

#include <charconv>

namespace Quorvex {

namespace {
constexpr int kMaxDecimals = 60;
}  // namespace

char* num_to_chars(char* first, float v, int decimal_place) {
  if (decimal_place < 0) decimal_place = 0;
  if (decimal_place > kMaxDecimals) decimal_place = kMaxDecimals;
  // 39 integer digits at most, a sign, a point and the decimals: always fits.
  return std::to_chars(first, first + kNumToCharsMax, v, std::chars_format::fixed, decimal_place)
      .ptr;
}

std::string num_to_string(float v, int decimal_place) {
  char buf[kNumToCharsMax];
  return std::string(buf, num_to_chars(buf, v, decimal_place));
}

}  // namespace Quorvex
