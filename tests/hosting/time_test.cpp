#include <gtest/gtest.h>

#include "hosting/rational.h"
#include "hosting/time_base.h"
#include "refusal.h"

namespace hosting {
namespace {

TEST(Rational, ReadsRatesAsTheyAreWritten) {
  const struct {
    const char* text;
    std::int64_t num;
    std::int64_t den;
  } cases[] = {{"30", 30, 1},   {"30000/1001", 30000, 1001}, {"29.97", 2997, 100},  {"12.5", 25, 2},
               {"48/2", 24, 1}, {"0.9091", 9091, 10000},     {"23.976", 2997, 125}, {"1.0", 1, 1}};
  for (const auto& c : cases) {
    const Rational r = Rational::Parse(c.text);
    EXPECT_EQ(r.num(), c.num) << c.text;
    EXPECT_EQ(r.den(), c.den) << c.text;
  }
}

TEST(Rational, RefusesWhatIsNoRatio) {
  for (const char* text : {"", "x", "30fps", "-30", "30/0", "30/", "/1001", "1/-2", ".5", "5.",
                           "1.2.3", " 30", "1234567890123456", "--1", "3/-0"}) {
    EXPECT_REFUSED(Rational::Parse(text), text);
  }
}

TEST(TimeBase, MakesFramesOfAtLeastAThousandUnits) {
  const struct {
    Rational rate;
    A_long step;
    A_u_long scale;
  } cases[] = {
      {{30, 1}, 1024, 30720},       {{25, 1}, 1024, 25600},       {{60, 1}, 1024, 61440},
      {{30000, 1001}, 1001, 30000}, {{24000, 1001}, 1001, 24000}, {{60000, 1001}, 1001, 60000},
      {{25, 2}, 1024, 12800},       {{2997, 100}, 1600, 47952},   {{1, 1}, 1024, 1024},
      {{1, 10}, 1280, 128},
  };
  for (const auto& c : cases) {
    const TimeBase base(c.rate);
    EXPECT_EQ(base.step(), c.step) << c.rate.Text();
    EXPECT_EQ(base.scale(), c.scale) << c.rate.Text();
    EXPECT_EQ(base.layer_step(), c.step) << c.rate.Text();
    EXPECT_EQ(base.FrameTime(7), 7 * c.step);
    EXPECT_EQ(base.FrameTime(-7), -7 * c.step);
  }
}

TEST(TimeBase, FitsTheLayersFramesTooWhole) {
  const TimeBase base(Rational(30, 1), Rational(30000, 1001));
  EXPECT_EQ(base.scale(), 30000u);
  EXPECT_EQ(base.step(), 1000);
  EXPECT_EQ(base.layer_step(), 1001);
  const TimeBase film(Rational(30, 1), Rational(24, 1));
  EXPECT_EQ(film.scale(), 30720u);
  EXPECT_EQ(film.step(), 1024);
  EXPECT_EQ(film.layer_step(), 1280);
}

TEST(TimeBase, RefusesWhatDoesNotFitInto32Bits) {
  EXPECT_REFUSED(TimeBase(Rational(0, 1)), "must be positive");
  EXPECT_REFUSED(TimeBase(Rational(-30, 1)), "must be positive");
  EXPECT_REFUSED(TimeBase(Rational(1000, 1)), "3000 seconds");
  EXPECT_REFUSED(TimeBase(Rational(1, 3000000000)), "32-bit");
  EXPECT_REFUSED(TimeBase(Rational(30, 1), Rational(99991, 3001)), "32-bit");

  const TimeBase base;
  // 2^31 - 1 units at 30720 a second, less the 3001 seconds that the effect may look back.
  EXPECT_NEAR(base.MaxSeconds(), 69905.0667 - 3001, 1e-3);
  EXPECT_NO_THROW(base.FrameTime(30 * 66904));
  EXPECT_REFUSED(base.FrameTime(30 * 66905), "the longest at 30 frames a second");
  EXPECT_REFUSED(base.FrameTime(INT64_MAX), "is beyond");
  EXPECT_REFUSED(base.FrameTime(INT64_MIN), "is beyond");
  EXPECT_EQ(base.Time(0.5), 15360);
}

}  // namespace
}  // namespace hosting
