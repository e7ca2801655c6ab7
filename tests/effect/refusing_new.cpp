#include "refusing_new.h"

#include <cstdlib>
#include <new>

void* operator new(std::size_t size) {
  void* const memory = size == g_refused_size ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
