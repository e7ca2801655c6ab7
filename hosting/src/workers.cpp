#include "workers.h"

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>

#include <mutex>
#include <optional>

namespace hosting {

struct Workers::Arena {
  explicit Arena(int count) : arena(count) {}
  tbb::task_arena arena;
};

Workers::Workers(int threads) : count_(threads > 0 ? threads : tbb::info::default_concurrency()) {
  if (count_ > 1) arena_ = std::make_unique<Arena>(count_);
}

Workers::~Workers() = default;

void Workers::Run(const std::function<void()>& work) {
  if (!arena_) return work();
  // More threads than cores must be real ones too.
  std::optional<tbb::global_control> limit;
  if (count_ > tbb::info::default_concurrency()) {
    limit.emplace(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(count_));
  }
  // The scheduler hands work over safely, but in ways that ThreadSanitizer cannot see into: this
  // file is built without it, and the mutex, which it does see, orders the threads' work in its
  // eyes.
  std::mutex hand_over;
  const auto pass = [&] { const std::lock_guard lock(hand_over); };
  pass();
  arena_->arena.execute([&] {
    tbb::parallel_for(
        0, count_,
        [&](int) {
          pass();
          work();
          pass();
        },
        tbb::simple_partitioner());
  });
  pass();
}

}  // namespace hosting
