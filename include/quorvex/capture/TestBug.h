#pragma once

#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Point2.h"

namespace Quorvex {

// Capture hook: at the entry of a library function, stores `value` in a testbug file,
// replaces it from one, or appends it to the shared capture stream, as gDAConfig says.
// Never reports anything to the caller. Instantiated for std::vector<Point2>.
//
// The shared capture stream (gDAConfig.stream) must be a seekable file that was not opened
// in append mode (std::ios::app): a record begins with its size, written as zero and filled
// in by seeking back once the record is complete. Append mode puts that size after the
// record instead, and a stream that cannot seek (a pipe) keeps the zero and fails, losing
// every later record. Neither is detected here.
template <class T>
void capture_parameter(const char* call_name, T& value, const char* parameter_name);

extern template QX_EXPORT void capture_parameter<std::vector<Point2>>(
    const char* call_name, std::vector<Point2>& value, const char* parameter_name);

}  // namespace Quorvex
