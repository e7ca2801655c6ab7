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
/// above, so that the topmost failure is the same for any number of threads. Threads wait for each
/// other only where rows fail.
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
      rows_done_ += to - from;
      // Whoever finds another reporting leaves it to that one, or to the end.
      if (!reporting_.test_and_set(std::memory_order_acquire)) {
        ReportDone();
        reporting_.clear(std::memory_order_release);
      }
    }
  }

  /// Once all threads are done.
  PF_Err Result() {
    ReportDone();
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
    failed_.store(true);
    stop_.store(std::min(stop_.load(), y));
  }

  void ReportDone() {
    const int rows = rows_done_.load();
    if (rows == rows_reported_ || failed_.load() || cancelled_) return;
    rows_reported_ = rows;
    cancelled_ = Try([&] { return done_(rows); });
    if (cancelled_) stop_.store(std::numeric_limits<int>::min());
  }

  const std::function<PF_Err(int)>& row_;
  const std::function<PF_Err(int)>& done_;
  const int end_;
  std::atomic<int> next_;
  std::atomic<int> stop_;  // rows from here on need not be done
  std::atomic<int> rows_done_{0};
  std::atomic<bool> failed_{false};

  std::atomic_flag reporting_;  // guards what follows
  Failure cancelled_;
  int rows_reported_ = 0;

  std::mutex mutex_;  // guards what follows
  Failure failure_;
  int failed_row_ = 0;
};

}  // namespace

PF_Err ForEachRow(Workers& workers, int first, int end, const std::function<PF_Err(int y)>& row,
                  const std::function<PF_Err(int rows)>& done) {
  RowLoop loop(first, end, row, done);
  workers.Run([&] { loop.Work(); });
  return loop.Result();
}

}  // namespace hosting
