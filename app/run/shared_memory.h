#pragma once

#include <cstddef>
#include <span>

namespace app {

/// Zeroed memory that this process shares with those that it forks.
class SharedMemory {
 public:
  /// Throws std::bad_alloc.
  explicit SharedMemory(std::size_t size);
  ~SharedMemory();
  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;

  std::span<std::byte> bytes() const { return {static_cast<std::byte*>(memory_), size_}; }

 private:
  void* memory_;
  std::size_t size_;
};

}  // namespace app
