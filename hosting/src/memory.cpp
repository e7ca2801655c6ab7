#include "hosting/memory.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace hosting {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kHugePage = std::size_t{2} << 20;
// A frame's worlds and a layer's table, and one to spare.
constexpr std::size_t kKept = 5;

}  // namespace

void MemoryPool::GiveBack::operator()(std::byte* memory) const {
  if (!pool) return std::free(memory);
  const std::lock_guard lock(pool->mutex_);
  if (pool->free_.size() == kKept) pool->free_.erase(pool->free_.begin());
  pool->free_.push_back(Block(memory, GiveBack{nullptr, size}));
}

MemoryPool::Block MemoryPool::Take(const std::shared_ptr<MemoryPool>& pool, std::size_t size) {
  const std::size_t page = size < kHugePage ? kPage : kHugePage;
  size = (size + page - 1) / page * page;
  if (pool) {
    const std::lock_guard lock(pool->mutex_);
    const auto fits = [&](const Block& block) { return block.get_deleter().size == size; };
    const auto at = std::find_if(pool->free_.begin(), pool->free_.end(), fits);
    if (at != pool->free_.end()) {
      Block block(at->release(), GiveBack{pool, size});
      pool->free_.erase(at);
      return block;
    }
  }
  Block block(static_cast<std::byte*>(std::aligned_alloc(page, size)), GiveBack{pool, size});
  if (!block) throw std::bad_alloc();
  // Only a wish: its refusal does no harm.
  if (page == kHugePage) madvise(block.get(), size, MADV_HUGEPAGE);
  return block;
}

}  // namespace hosting
