#include "iterate.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <limits>
#include <mutex>

namespace hosting {
namespace {

// Rows that a thread takes at a time: few, so that uneven rows spread well and cancelling is quick.
constexpr int kBandRows = 8;

/// How the work ended, if early.
struct Failure {
  PF_Err code = 0;
  std::exception_ptr exception;
  explicit operator bool() const { return code != 0 || exception; }
};

template <class F>
Failure Try(F f) {
  try {
    return {f(), nullptr};
  } catch (...) {
    return {0, std::current_exception()};
  }
}

/// Bands are handed out from the top. A row that fails stops all rows below it, but not those
/// above, so that the topmost failure is the same for any number of threads.
class RowLoop {
 public:
  RowLoop(int first, int end, const std::function<PF_Err(int)>& row,
          const std::function<PF_Err(int)>& done)
      : row_(row), done_(done), end_(end), next_(first), stop_(end) {}

  void Work() {
    int from = 0;
    while ((from = next_.fetch_add(kBandRows)) < stop_.load()) {
      const int to = std::min(from + kBandRows, end_);
      for (int y = from; y < to && y < stop_.load(); ++y) {
        if (Failure failure = Try([&] { return row_(y); })) StopAt(y, std::move(failure));
      }
      Report(to - from);
    }
  }

  PF_Err Result() {
    const std::lock_guard lock(mutex_);
    const Failure& failure = failure_ ? failure_ : cancelled_;
    if (failure.exception) std::rethrow_exception(failure.exception);
    return failure.code;
  }

 private:
  void StopAt(int y, Failure failure) {
    const std::lock_guard lock(mutex_);
    if (failure_ && y > failed_row_) return;
    failed_row_ = y;
    failure_ = std::move(failure);
    stop_.store(std::min(stop_.load(), y));
  }

  void Report(int rows) {
    const std::lock_guard lock(mutex_);
    rows_done_ += rows;
    if (failure_ || cancelled_) return;
    cancelled_ = Try([&] { return done_(rows_done_); });
    if (cancelled_) stop_.store(std::numeric_limits<int>::min());
  }

  const std::function<PF_Err(int)>& row_;
  const std::function<PF_Err(int)>& done_;
  const int end_;
  std::atomic<int> next_;
  std::atomic<int> stop_;  // rows from here on need not be done
  std::mutex mutex_;       // guards what follows
  Failure failure_;
  Failure cancelled_;
  int failed_row_ = 0;
  int rows_done_ = 0;
};

}  // namespace

PF_Err ForEachRow(Workers& workers, int first, int end, const std::function<PF_Err(int y)>& row,
                  const std::function<PF_Err(int rows)>& done) {
  RowLoop loop(first, end, row, done);
  workers.Run([&] { loop.Work(); });
  return loop.Result();
}

}  // namespace hosting
