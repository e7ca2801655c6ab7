#include "iterate.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace hosting {
namespace {

TEST(ForEachRow, VisitsEveryRowOnceAndReportsTheTopmostFailure) {
  for (const int threads : {1, 2, 8}) {
    Workers workers(threads);
    for (int round = 0; round < 150; ++round) {
      std::vector<int> visits(400);
      int reported = 0;
      // In two rounds of three row 41 fails late, the rows below it at once.
      const auto row = [&](int y) -> PF_Err {
        ++visits[static_cast<std::size_t>(y)];
        if (round % 3 == 0 || y < 41) return 0;
        if (y == 41) std::this_thread::sleep_for(std::chrono::microseconds(200));
        if (y == 41 && round % 3 == 1) throw std::string("row 41");
        return 1000 + y;
      };
      const auto done = [&](int rows) -> PF_Err { return reported = rows, 0; };
      const auto run = [&] { return ForEachRow(workers, 0, 400, row, done); };
      if (round % 3 == 1) {
        EXPECT_THROW(run(), std::string) << threads;
      } else {
        EXPECT_EQ(run(), round % 3 == 0 ? 0 : 1041) << threads;
      }
      EXPECT_EQ(round % 3 == 0, reported == 400);
      EXPECT_EQ(visits == std::vector<int>(400, 1), round % 3 == 0);
    }
  }
}

}  // namespace
}  // namespace hosting
