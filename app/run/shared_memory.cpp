#include "shared_memory.h"

#include <sys/mman.h>

#include <new>

namespace app {

SharedMemory::SharedMemory(std::size_t size)
    : memory_(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)),
      size_(size) {
  if (memory_ == MAP_FAILED) throw std::bad_alloc();
}

SharedMemory::~SharedMemory() { munmap(memory_, size_); }

}  // namespace app
