#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>

namespace Quorvex {

// Asks the system for 2 MiB pages for the whole large pages inside a block that is read at
// random all over, before its memory is first touched: with 4 KiB pages nearly every random
// read of a large block also misses the address translation cache. Blocks that hold no whole
// large page, and systems without the request, are left as they are.
inline void advise_large_pages(void* block, std::size_t bytes) {
  constexpr std::uintptr_t kPage = std::uintptr_t{2} << 20;
#ifdef MADV_HUGEPAGE
  if (block == nullptr || bytes < kPage) return;
  const std::uintptr_t begin = (reinterpret_cast<std::uintptr_t>(block) + kPage - 1) & ~(kPage - 1);
  const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(block) + bytes) & ~(kPage - 1);
  if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
  (void)block;
  (void)bytes;
  (void)kPage;
#endif
}

// Room for a fixed number of elements, left unconstructed, for working arrays that
// are read at random all over. Arrays of at least one large page (2 MiB) are aligned to it and
// offered to the system for large pages: on a million-vertex ring the quadrics, links and heap
// span a few hundred megabytes, and with 4 KiB pages nearly every random access would also
// miss the address translation cache. Smaller arrays come from the ordinary heap. The caller
// constructs each element in place before reading it; none is ever destroyed.
template <class T>
class LargePageArray {
  static_assert(std::is_trivially_destructible<T>::value, "elements are not destroyed");

 public:
  static constexpr std::size_t kLargePage = std::size_t{2} << 20;
  static constexpr std::size_t kCacheLine = 64;

  // The block starts on a cache line at least. `lead` spare bytes come before the first
  // element, so that a caller can choose where the elements fall within a cache line; it must
  // be a multiple of alignof(T).
  explicit LargePageArray(std::size_t count, std::size_t lead = 0) {
    const std::size_t bytes = lead + count * sizeof(T);
    alignment_ = bytes >= kLargePage ? kLargePage : kCacheLine;
    // Fails as a std::vector of this size would.
    void* p = ::operator new(bytes, std::align_val_t(alignment_));
    if (alignment_ == kLargePage) advise_large_pages(p, bytes);
    block_.reset(static_cast<unsigned char*>(p));
    block_.get_deleter().alignment = alignment_;
    data_ = reinterpret_cast<T*>(block_.get() + lead);
  }

  T* data() { return data_; }
  const T* data() const { return data_; }
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }

 private:
  struct Free {
    std::size_t alignment = 0;
    void operator()(unsigned char* p) const { ::operator delete(p, std::align_val_t(alignment)); }
  };

  std::unique_ptr<unsigned char, Free> block_;
  std::size_t alignment_ = 0;
  T* data_ = nullptr;
};

}  // namespace Quorvex
