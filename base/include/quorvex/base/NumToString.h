#pragma once

#include <cstddef>
#include <string>

#include "quorvex/base/BaseExport.h"

namespace Quorvex {

// Fixed-point text of v with exactly `decimal_place` digits after the point, correctly
// rounded: the text printf("%.*f", decimal_place, (double)v) gives. A negative
// decimal place counts as 0, one above 60 as 60.
QXB_EXPORT std::string num_to_string(float v, int decimal_place);

// Room num_to_chars needs at most.
constexpr std::size_t kNumToCharsMax = 112;

// The same text written to `first` (at least kNumToCharsMax bytes), for emitters that
// build large texts without a temporary string. Returns the end of the text.
QXB_EXPORT char* num_to_chars(char* first, float v, int decimal_place);

}  // namespace Quorvex
