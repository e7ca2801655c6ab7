// Large pieces of memory, lent again and again.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace hosting {

/// Keeps the blocks that were given back last, for whoever asks for the same size again: fresh
/// pages cost a frame more than all that it writes into them. Its blocks may outlive it and may be
/// given back on any thread.
class MemoryPool {
 public:
  struct GiveBack {
    std::shared_ptr<MemoryPool> pool;  // null: the system gets it
    std::size_t size = 0;
    void operator()(std::byte* memory) const;
  };
  using Block = std::unique_ptr<std::byte, GiveBack>;

  MemoryPool() = default;
  MemoryPool(const MemoryPool&) = delete;
  MemoryPool& operator=(const MemoryPool&) = delete;

  /// At least size bytes of any content, aligned to a page; large ones in huge pages where the
  /// system has them. Without a pool always fresh. Throws std::bad_alloc.
  static Block Take(const std::shared_ptr<MemoryPool>& pool, std::size_t size);

 private:
  std::mutex mutex_;
  std::vector<Block> free_;  // the latest last
};

}  // namespace hosting
