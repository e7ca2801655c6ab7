#include "iterate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace hosting {
namespace {

const auto kCarryOn = [](int) -> PF_Err { return 0; };

TEST(ForEachRow, VisitsEveryRowOnceWithAnyNumberOfThreads) {
  for (const int threads : {0, 1, 2, 8}) {
    Workers workers(threads);
    for (const auto& [first, end] : {std::pair{0, 1000}, {5, 77}, {-20, 13}, {4, 4}, {9, 2}}) {
      std::vector<std::atomic<int>> visits(1050);
      std::atomic<int> inside{0};
      int next = first;
      int reported = 0;
      const auto row = [&](int y) -> PF_Err {
        ++visits[static_cast<std::size_t>(y + 50)];
        return threads == 1 && y != next++;  // one thread goes in order
      };
      const auto done = [&](int rows) -> PF_Err {
        EXPECT_EQ(++inside, 1);  // from one thread at a time
        std::this_thread::yield();
        EXPECT_GT(rows, std::exchange(reported, rows));
        --inside;
        return 0;
      };
      EXPECT_EQ(ForEachRow(workers, first, end, row, done), 0);
      EXPECT_EQ(reported, std::max(end - first, 0));
      for (int y = -50; y < 1000; ++y) {
        EXPECT_EQ(visits[static_cast<std::size_t>(y + 50)], y >= first && y < end ? 1 : 0) << y;
      }
    }
  }
}

TEST(ForEachRow, ReportsTheTopmostFailure) {
  for (const int threads : {1, 2, 8}) {
    Workers workers(threads);
    for (int round = 0; round < 100; ++round) {
      // Row 41 fails late, the rows below it at once.
      const auto row = [&](int y) -> PF_Err {
        if (y == 41) std::this_thread::sleep_for(std::chrono::microseconds(200));
        if (y == 41 && round % 2 == 1) throw std::string("row 41");
        return y >= 41 ? 1000 + y : 0;
      };
      if (round % 2 == 0) {
        EXPECT_EQ(ForEachRow(workers, 0, 400, row, kCarryOn), 1041) << threads;
      } else {
        EXPECT_THROW(ForEachRow(workers, 0, 400, row, kCarryOn), std::string) << threads;
      }
    }
  }
}

TEST(ForEachRow, StopsWhenCancelled) {
  for (const int threads : {1, 4}) {
    Workers workers(threads);
    std::atomic<int> rows{0};
    const auto row = [&](int) -> PF_Err { return ++rows, 0; };
    const auto cancel = [](int) -> PF_Err { return PF_Interrupt_CANCEL; };
    EXPECT_EQ(ForEachRow(workers, 0, 100000, row, cancel), PF_Interrupt_CANCEL);
    EXPECT_TRUE(threads > 1 || rows == 8) << rows;  // other threads may be far ahead
    const auto thrower = [](int) -> PF_Err { throw std::string("enough"); };
    EXPECT_THROW(ForEachRow(workers, 0, 500, kCarryOn, thrower), std::string);
  }
}

}  // namespace
}  // namespace hosting
