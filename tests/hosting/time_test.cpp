#include <gtest/gtest.h>

#include "hosting/rational.h"
#include "hosting/time_base.h"
#include "refusal.h"

namespace hosting {
namespace {

TEST(Rational, ReadsRatesAsTheyAreWritten) {
  const std::pair<const char*, const char*> cases[]{
      {"30", "30"},   {"30000/1001", "30000/1001"}, {"29.97", "2997/100"},  {"12.5", "25/2"},
      {"48/2", "24"}, {"0.9091", "9091/10000"},     {"23.976", "2997/125"}, {"1.0", "1"}};
  for (const auto& [text, ratio] : cases) EXPECT_EQ(Rational::Parse(text).Text(), ratio);
  for (const char* text : {"", "30fps", "-30", "30/0", "/1001", ".5", "1.2.3", "1234567890123456"})
    EXPECT_REFUSED(Rational::Parse(text), text);
}

TEST(FrameRates, WrittenShortAreThoseOfBroadcast) {
  const std::pair<const char*, const char*> cases[]{{"23.976", "24000/1001"},
                                                    {"23.98", "24000/1001"},
                                                    {"29.97", "30000/1001"},
                                                    {"59.94", "60000/1001"},
                                                    {"47.952", "48000/1001"},
                                                    {"30000/1001", "30000/1001"},
                                                    {"24", "24"},
                                                    {"12.5", "25/2"},
                                                    {"29.9", "299/10"}};
  for (const auto& [text, rate] : cases) {
    EXPECT_EQ(StandardFrameRate(Rational::Parse(text)).Text(), rate) << text;
  }
}

TEST(TimeBase, MakesWholeFramesOfAtLeastAThousandUnits) {
  const struct {
    Rational rate;
    Rational layer_rate;
    const char* expected;  // step, layer step, scale
  } cases[] = {{{30, 1}, {30, 1}, "1024 1024 30720"},
               {{30000, 1001}, {30000, 1001}, "1001 1001 30000"},
               {{60000, 1001}, {60000, 1001}, "1001 1001 60000"},
               {{2997, 100}, {2997, 100}, "1600 1600 47952"},
               {{1, 10}, {1, 10}, "1280 1280 128"},
               {{30, 1}, {30000, 1001}, "1000 1001 30000"},
               {{30, 1}, {24, 1}, "1024 1280 30720"}};
  for (const auto& c : cases) {
    const TimeBase base(c.rate, c.layer_rate);
    EXPECT_EQ(Text(base.step(), base.layer_step(), base.scale()), c.expected);
    EXPECT_EQ(base.FrameTime(-7), -7 * base.step());
  }
}

TEST(TimeBase, RefusesWhatDoesNotFitInto32Bits) {
  for (const int rate : {0, -30}) EXPECT_REFUSED(TimeBase(Rational(rate, 1)), "must be positive");
  EXPECT_REFUSED(TimeBase(Rational(1000, 1)), "3000 seconds");
  EXPECT_REFUSED(TimeBase(Rational(1, 3000000000)), "32-bit");
  EXPECT_REFUSED(TimeBase(Rational(30, 1), Rational(99991, 3001)), "32-bit");
  const TimeBase base;
  // 2^31 - 1 units at 30720 a second, less the 3001 seconds that the effect may look back.
  EXPECT_NEAR(base.MaxSeconds(), 69905.0667 - 3001, 1e-3);
  EXPECT_NO_THROW(base.FrameTime(30 * 66904));
  for (const std::int64_t frame : {std::int64_t{30 * 66905}, INT64_MAX, INT64_MIN}) {
    EXPECT_REFUSED(base.FrameTime(frame), "the longest at 30 frames a second");
  }
  EXPECT_EQ(base.Time(0.5), 15360);
}

}  // namespace
}  // namespace hosting
