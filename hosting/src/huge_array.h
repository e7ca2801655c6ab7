// Memory for large tables.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

namespace hosting {

/// Uninitialised numbers, in huge pages where the system gives them: tables that are read all over
/// the place spend much of their time finding small pages, and fresh ones much of it clearing them.
template <class T>
class HugeArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  explicit HugeArray(std::size_t count) {
    constexpr std::size_t kHugePage = std::size_t{2} << 20;
    const std::size_t size = (count * sizeof(T) + kHugePage - 1) / kHugePage * kHugePage;
    memory_.reset(static_cast<T*>(std::aligned_alloc(kHugePage, size)));
    if (!memory_) throw std::bad_alloc();
    madvise(memory_.get(), size, MADV_HUGEPAGE);  // a wish: its refusal does no harm
  }

  T& operator[](std::size_t i) { return memory_.get()[i]; }
  const T& operator[](std::size_t i) const { return memory_.get()[i]; }

 private:
  struct Free {
    void operator()(T* memory) const { std::free(memory); }
  };
  std::unique_ptr<T, Free> memory_;
};

}  // namespace hosting
