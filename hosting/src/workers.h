// Threads to share work among.
#pragma once

#include <functional>
#include <memory>

namespace hosting {

class Workers {
 public:
  /// 0: as many as the machine has.
  explicit Workers(int threads);
  ~Workers();

  int count() const { return count_; }
  /// Runs work on all threads at once and waits for it to end; with one thread, on the caller's.
  void Run(const std::function<void()>& work);

 private:
  struct Arena;

  int count_;
  std::unique_ptr<Arena> arena_;
};

}  // namespace hosting
