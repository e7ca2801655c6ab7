#include "iterate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace hosting {
namespace {

const auto kCarryOn = [](int) -> PF_Err { return 0; };

TEST(ForEachRow, VisitsEveryRowOnceWithAnyNumberOfThreads) {
  for (const int threads : {0, 1, 2, 3, 8}) {
    Workers workers(threads);
    for (const auto& [first, end] :
         {std::pair{0, 1}, {0, 100}, {5, 77}, {-20, 13}, {4, 4}, {9, 2}}) {
      std::vector<std::atomic<int>> visits(200);
      int last = 0;
      EXPECT_EQ(ForEachRow(
                    workers, first, end,
                    [&](int y) -> PF_Err {
                      ++visits[static_cast<std::size_t>(y + 50)];
                      return 0;
                    },
                    [&](int rows) -> PF_Err {
                      EXPECT_GT(rows, last);
                      last = rows;
                      return 0;
                    }),
                0);
      EXPECT_EQ(last, std::max(end - first, 0));
      for (int y = -50; y < 150; ++y) {
        EXPECT_EQ(visits[static_cast<std::size_t>(y + 50)], y >= first && y < end ? 1 : 0) << y;
      }
    }
  }
}

TEST(ForEachRow, RunsInOrderOnTheCallersThreadWhenThereIsOne) {
  Workers workers(1);
  const auto caller = std::this_thread::get_id();
  int next = 0;
  const auto row = [&](int y) -> PF_Err {
    EXPECT_EQ(y, next++);
    EXPECT_EQ(std::this_thread::get_id(), caller);
    return 0;
  };
  ForEachRow(workers, 0, 50, row, kCarryOn);
  EXPECT_EQ(next, 50);
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
        if (y == 41) throw std::runtime_error("row 41");
        return y > 41 ? 7 : 0;
      };
      try {
        ForEachRow(workers, 0, 400, thrower, kCarryOn);
        ADD_FAILURE() << "nothing was thrown";
      } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "row 41");
      }
    }
  }
}

TEST(ForEachRow, ReportsProgressFromOneThreadAtATime) {
  Workers workers(8);
  std::atomic<int> inside{0};
  ForEachRow(
      workers, 0, 2000, [](int) -> PF_Err { return 0; },
      [&](int) -> PF_Err {
        EXPECT_EQ(++inside, 1);
        std::this_thread::yield();
        --inside;
        return 0;
      });
}

TEST(ForEachRow, StopsSoonWhenCancelled) {
  for (const int threads : {1, 4}) {
    Workers workers(threads);
    std::atomic<int> after{0};
    std::atomic<bool> cancelled{false};
    const auto row = [&](int) -> PF_Err {
      if (cancelled) ++after;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      return 0;
    };
    std::chrono::steady_clock::time_point asked;
    const auto done = [&](int) -> PF_Err {
      if (!cancelled.exchange(true)) asked = std::chrono::steady_clock::now();
      return PF_Interrupt_CANCEL;
    };
    EXPECT_EQ(ForEachRow(workers, 0, 100000, row, done), PF_Interrupt_CANCEL);
    EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::milliseconds(50));
    EXPECT_LE(after, threads);  // each finishes at most the row it is in
  }
}

TEST(ForEachRow, CarriesAnExceptionOfProgressToTheCaller) {
  Workers workers(3);
  EXPECT_THROW(ForEachRow(
                   workers, 0, 500, [](int) -> PF_Err { return 0; },
                   [](int rows) -> PF_Err {
                     if (rows > 100) throw std::string("enough");
                     return 0;
                   }),
               std::string);
}

}  // namespace
}  // namespace hosting
