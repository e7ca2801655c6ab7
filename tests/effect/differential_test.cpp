// The effect and the plain second implementation, in the same random situations: pixels, calls with
// all their arguments, result, records and ownership are the same.
//
// VORLIN_SEEDS=first:count runs other seeds; a failure prints its own.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "reference.h"
#include "test_host.h"

namespace {

struct Seeds {
  unsigned long long first = 1;
  unsigned long long count = 200000;

  Seeds() {
    if (const char* asked = std::getenv("VORLIN_SEEDS"))
      std::sscanf(asked, "%llu:%llu", &first, &count);
  }
};

/// Every fourth seed from one of the first four on, so that the cases share them.
class Differential : public testing::TestWithParam<unsigned> {};

TEST_P(Differential, TheEffectIsTheReference) {
  const Seeds seeds;
  int drawn = 0;
  for (unsigned long long seed = seeds.first + GetParam(); seed < seeds.first + seeds.count;
       seed += 4) {
    const testhost::Situation situation = testhost::Random(seed);
    const testhost::Outcome effect = testhost::RunCommand(situation, MainEntry);
    const testhost::Outcome reference = testhost::RunCommand(situation, reference::MainEntry);
    drawn += effect.counts[static_cast<std::size_t>(testhost::Callback::kAreaSample)] > 0;
    const std::string difference = FirstDifference(effect, reference);
    ASSERT_EQ(difference, "") << "VORLIN_SEEDS=" << seed << ":1";
  }
  if (seeds.count > 1000) {
    EXPECT_GT(drawn, static_cast<int>(seeds.count / 24)) << "too few strokes";
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Differential, testing::Range(0u, 4u));

}  // namespace
