#include "allocations.h"

#include <link.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace validate::allocations {
namespace {

// Written while one thread runs, read by operator new on any.
std::uintptr_t g_begin = 0;  // of the library's code; nothing is watched while it is 0
std::uintptr_t g_end = 0;
Failing g_failing;
std::atomic<std::uint64_t> g_made{0};

struct Range {
  std::uintptr_t of;
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
};

int FindLibrary(dl_phdr_info* info, std::size_t, void* data) {
  auto& range = *static_cast<Range*>(data);
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const auto& part = info->dlpi_phdr[i];
    if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0) continue;
    const std::uintptr_t begin = info->dlpi_addr + part.p_vaddr;
    if (range.of >= begin && range.of < begin + part.p_memsz) {
      range.begin = begin;
      range.end = begin + part.p_memsz;
      return 1;
    }
  }
  return 0;
}

/// Whether the allocation that returns there must fail.
bool Refused(const void* caller) {
  const auto at = reinterpret_cast<std::uintptr_t>(caller);
  if (at < g_begin || at >= g_end) return false;
  const std::uint64_t made = ++g_made;
  return made == g_failing.at ||
         (g_failing.at != 0 && g_failing.from_then_on && made > g_failing.at);
}

void* Allocate(std::size_t size, const void* caller) {
  void* const memory = Refused(caller) ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void Watch(PF_MainEntry entry) {
  Range range{reinterpret_cast<std::uintptr_t>(entry)};
  dl_iterate_phdr(FindLibrary, &range);
  g_begin = range.begin;
  g_end = range.end;
}

void Plan(Failing failing) {
  g_failing = failing;
  g_made = 0;
}

std::uint64_t Made() { return g_made; }

}  // namespace validate::allocations

__attribute__((visibility("default"))) void* operator new(std::size_t size) {
  return validate::allocations::Allocate(size, __builtin_return_address(0));
}
__attribute__((visibility("default"))) void* operator new[](std::size_t size) {
  return validate::allocations::Allocate(size, __builtin_return_address(0));
}
// Who asks for no exception is ready for a failure, and is not watched.
__attribute__((visibility("default"))) void* operator new(std::size_t size,
                                                          const std::nothrow_t&) noexcept {
  return std::malloc(size == 0 ? 1 : size);
}
__attribute__((visibility("default"))) void* operator new[](std::size_t size,
                                                            const std::nothrow_t&) noexcept {
  return std::malloc(size == 0 ? 1 : size);
}
__attribute__((visibility("default"))) void operator delete(void* memory) noexcept {
  std::free(memory);
}
__attribute__((visibility("default"))) void operator delete[](void* memory) noexcept {
  std::free(memory);
}
__attribute__((visibility("default"))) void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
__attribute__((visibility("default"))) void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}
__attribute__((visibility("default"))) void operator delete(void* memory,
                                                            const std::nothrow_t&) noexcept {
  std::free(memory);
}
__attribute__((visibility("default"))) void operator delete[](void* memory,
                                                              const std::nothrow_t&) noexcept {
  std::free(memory);
}
