#include "iterate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace hosting {
namespace {

const auto kCarryOn = [](int) -> PF_Err { return 0; };

TEST(ForEachRow, VisitsEveryRowOnceWithAnyNumberOfThreads) {
  for (const int threads : {0, 1, 2, 3, 8}) {
    Workers workers(threads);
    const auto caller = std::this_thread::get_id();
    for (const auto& [first, end] :
         {std::pair{0, 1}, {0, 1000}, {5, 77}, {-20, 13}, {4, 4}, {9, 2}}) {
      std::vector<std::atomic<int>> visits(1100);
      std::atomic<int> inside{0};
      int last_row = first - 1;
      int reported = 0;
      const auto row = [&, first = first](int y) -> PF_Err {
        ++visits[static_cast<std::size_t>(y + 50)];
        if (threads != 1) return 0;
        EXPECT_EQ(y, ++last_row);  // in order, on the caller's thread
        EXPECT_EQ(std::this_thread::get_id(), caller);
        return 0;
      };
      const auto done = [&](int rows) -> PF_Err {
        EXPECT_EQ(++inside, 1);  // from one thread at a time
        EXPECT_GT(rows, reported);
        reported = rows;
        std::this_thread::yield();
        --inside;
        return 0;
      };
      EXPECT_EQ(ForEachRow(workers, first, end, row, done), 0);
      EXPECT_EQ(reported, std::max(end - first, 0));
      for (int y = -50; y < 1050; ++y) {
        EXPECT_EQ(visits[static_cast<std::size_t>(y + 50)], y >= first && y < end ? 1 : 0) << y;
      }
    }
  }
}

TEST(ForEachRow, ReportsTheTopmostFailure) {
  for (const int threads : {1, 2, 3, 8}) {
    Workers workers(threads);
    for (int round = 0; round < 50; ++round) {
      // Row 41 fails late, the rows below it at once.
      const auto row = [](int y) -> PF_Err {
        if (y == 41) std::this_thread::sleep_for(std::chrono::microseconds(200));
        return y >= 41 ? 1000 + y : 0;
      };
      EXPECT_EQ(ForEachRow(workers, 0, 400, row, kCarryOn), 1041) << threads;
      const auto thrower = [](int y) -> PF_Err {
        if (y == 41) throw std::string("row 41");
        return y > 41 ? 7 : 0;
      };
      EXPECT_THROW(ForEachRow(workers, 0, 400, thrower, kCarryOn), std::string);
    }
  }
}

TEST(ForEachRow, StopsWhenCancelled) {
  for (const int threads : {1, 4}) {
    Workers workers(threads);
    std::atomic<int> after{0};
    std::atomic<bool> cancelled{false};
    const auto row = [&](int) -> PF_Err {
      after += cancelled;
      return 0;
    };
    const auto done = [&](int) -> PF_Err {
      cancelled = true;
      return PF_Interrupt_CANCEL;
    };
    EXPECT_EQ(ForEachRow(workers, 0, 100000, row, done), PF_Interrupt_CANCEL);
    // Other threads may be in the middle of a row.
    if (threads == 1) {
      EXPECT_EQ(after, 0);
    }
    const auto thrower = [](int) -> PF_Err { throw std::string("enough"); };
    EXPECT_THROW(ForEachRow(workers, 0, 500, kCarryOn, thrower), std::string);
  }
}

}  // namespace
}  // namespace hosting
