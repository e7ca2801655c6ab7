#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace app {

/// Hands values from one thread to another, in order, keeping at most one that waits to be taken.
template <class T>
class Channel {
 public:
  void WaitForRoom() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !value_; });
  }

  /// Waits until there is room.
  void Put(T value) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !value_; });
    value_ = std::move(value);
    changed_.notify_all();
  }

  /// Waits for a value; nothing when the channel was closed and all have been taken.
  std::optional<T> Take() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return value_ || closed_; });
    changed_.notify_all();
    return std::exchange(value_, std::nullopt);
  }

  /// No more values will come.
  void Close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<T> value_;
  bool closed_ = false;
};

}  // namespace app
