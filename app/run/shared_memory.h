#pragma once

#include <array>
#include <atomic>
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

/// The most processes that render at a time.
inline constexpr int kMostJobs = 256;

inline constexpr int kNoShot = -1;

/// What all processes of a run see at once.
struct SharedStatus {
  /// What one process is at.
  struct Place {
    std::atomic<int> shot;    // that is being rendered, an index of the plan's, or kNoShot
    std::atomic<float> part;  // of that shot that is done: 0 to 1
  };
  static_assert(std::atomic<float>::is_always_lock_free);

  std::atomic<bool> stop;  // no frame is wanted any more
  std::array<Place, kMostJobs> places;
};

}  // namespace app
