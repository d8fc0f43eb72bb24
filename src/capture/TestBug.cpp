#include "quorvex/capture/TestBug.h"

namespace Quorvex {

// Placeholder until the capture configuration exists: the hook does nothing.
template <class T>
void capture_parameter(const char*, T&, const char*) {}

template QX_EXPORT void capture_parameter<std::vector<Point2>>(const char*, std::vector<Point2>&,
                                                               const char*);

}  // namespace Quorvex
