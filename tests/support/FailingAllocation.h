#pragma once

// Makes one chosen allocation through the global operator new throw std::bad_alloc, so that a
// test can check what a function leaves behind when any one of its allocations fails.
//
// The replacement operators are defined in the one source file of a test executable that
// defines QXTEST_DEFINE_FAILING_OPERATOR_NEW before including this header; other sources of
// the executable include it plainly. Unarmed, the operators allocate as the standard ones do.
// Aligned allocations are not counted.

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace qxtest {

// Allocations still to pass before the failing one; negative when unarmed.
inline std::atomic<long> gAllocationsBeforeFailure{-1};
inline std::atomic<bool> gAllocationFailed{false};

inline bool take_allocation_failure() {
  if (gAllocationsBeforeFailure.load(std::memory_order_relaxed) < 0) return false;
  if (gAllocationsBeforeFailure.fetch_sub(1) != 0) return false;
  gAllocationFailed = true;
  return true;
}

// While alive, the allocation `skip` allocations ahead (0: the next one) fails, once.
class FailAllocation {
 public:
  explicit FailAllocation(long skip) {
    gAllocationFailed = false;
    gAllocationsBeforeFailure = skip;
  }
  ~FailAllocation() { gAllocationsBeforeFailure = -1; }
  FailAllocation(const FailAllocation&) = delete;
  FailAllocation& operator=(const FailAllocation&) = delete;

  bool failed() const { return gAllocationFailed; }
};

// Calls prepare() and then call() once for each allocation that call() makes, with that
// allocation failing, and finally once with none failing. After each call that ended in
// std::bad_alloc, check_after_failure() runs. Returns the number of allocations call() made.
template <class Prepare, class Call, class Check>
long for_each_failing_allocation(Prepare prepare, Call call, Check check_after_failure) {
  for (long skip = 0;; ++skip) {
    prepare();
    bool threw = false;
    bool failed = false;
    {
      FailAllocation arm(skip);
      try {
        call();
      } catch (const std::bad_alloc&) {
        threw = true;
      }
      failed = arm.failed();
    }
    if (!failed) return skip;
    if (threw) check_after_failure();
  }
}

}  // namespace qxtest

#ifdef QXTEST_DEFINE_FAILING_OPERATOR_NEW

void* operator new(std::size_t size) {
  if (qxtest::take_allocation_failure()) throw std::bad_alloc();
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return ::operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return ::operator new(size, tag);
}
// Not inlined: where the compiler sees free() reach memory from operator new, it warns of a
// mismatch that the replacement pair rules out.
#define QXTEST_NOINLINE __attribute__((noinline))
QXTEST_NOINLINE void operator delete(void* p) noexcept { std::free(p); }
QXTEST_NOINLINE void operator delete[](void* p) noexcept { std::free(p); }
QXTEST_NOINLINE void operator delete(void* p, std::size_t) noexcept { std::free(p); }
QXTEST_NOINLINE void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
QXTEST_NOINLINE void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
QXTEST_NOINLINE void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }

#undef QXTEST_NOINLINE

#endif
