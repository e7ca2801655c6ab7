// Changes programs by whole steps, so that most of what comes out still means something.
#include <algorithm>
#include <climits>
#include <random>

#include "program.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

namespace {

using fuzz::Step;
using fuzz::StepKind;
using Random = std::minstd_rand;

std::uint32_t Below(Random& random, std::size_t limit) {
  return static_cast<std::uint32_t>((random() >> 8) % limit);
}

std::int32_t Value(Random& random) {
  static constexpr std::int32_t kValues[]{
      0,       1,           -1,          2,       3,       -2,      65536, -65536,
      32768,   65535,       1024,        30720,   3276800, 6553600, 66,    INT_MAX,
      INT_MIN, INT_MAX - 1, INT_MIN + 1, 1 << 30, 517,     4711};
  switch (Below(random, 4)) {
    case 0:
      return static_cast<std::int32_t>(random() * 2654435761u);
    case 1:
      return static_cast<std::int32_t>(Below(random, 400)) * 65536 / 4;
    default:
      return kValues[Below(random, std::size(kValues))];
  }
}

Step NewStep(Random& random) {
  Step step;
  step.kind = static_cast<std::uint8_t>(Below(random, std::size_t(StepKind::kCount)));
  // Commands, values and faults are what most of it is about.
  if (Below(random, 2) == 0) {
    static constexpr StepKind kCommon[]{StepKind::kCommand, StepKind::kValue, StepKind::kSlope,
                                        StepKind::kFault};
    step.kind = static_cast<std::uint8_t>(kCommon[Below(random, std::size(kCommon))]);
  }
  step.a = static_cast<std::uint8_t>(Below(random, Below(random, 4) == 0 ? 256 : 30));
  step.b = static_cast<std::uint16_t>(Below(random, Below(random, 2) == 0 ? 65536 : 32));
  step.v = Value(random);
  if (step.kind == static_cast<std::uint8_t>(StepKind::kCommand)) {
    step.a =
        static_cast<std::uint8_t>(Below(random, 3) == 0 ? Below(random, 10) : Below(random, 2));
  }
  if (step.kind == static_cast<std::uint8_t>(StepKind::kFault)) {
    // Early calls are there more often than late ones.
    const std::uint32_t nth = Below(random, std::size_t{1} << Below(random, 11));
    step.b = static_cast<std::uint16_t>(nth | Below(random, 32) << 11);
  }
  return step;
}

void Change(Step& step, Random& random) {
  switch (Below(random, 5)) {
    case 0:
      step.a = static_cast<std::uint8_t>(step.a + 1 - 2 * Below(random, 2));
      break;
    case 1:
      step.b ^= static_cast<std::uint16_t>(1u << Below(random, 16));
      break;
    case 2:
      step.v = static_cast<std::int32_t>(static_cast<std::uint32_t>(step.v) + Below(random, 9) - 4);
      break;
    case 3:
      step.v = Value(random);
      break;
    default:
      step = NewStep(random);
  }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned seed) {
  Random random(seed);
  if (Below(random, 5) == 0) return LLVMFuzzerMutate(data, size, max_size);
  std::vector<Step> steps = fuzz::ReadProgram({data, size});
  const std::uint32_t changes = 1 + Below(random, 3);
  for (std::uint32_t i = 0; i < changes; ++i) {
    if (steps.empty()) steps.push_back(NewStep(random));
    const std::size_t at = Below(random, steps.size());
    const auto place = steps.begin() + static_cast<std::ptrdiff_t>(at);
    switch (Below(random, 6)) {
      case 0:
        steps.erase(place);
        break;
      case 1:
      case 2:
        steps.insert(place, NewStep(random));
        break;
      case 3:
        std::swap(steps[at], steps[Below(random, steps.size())]);
        break;
      case 4:
        steps.push_back(Step(steps[at]));
        break;
      default:
        Change(steps[at], random);
    }
  }
  steps.resize(std::min(steps.size(), max_size / sizeof(Step)));
  if (!steps.empty()) std::memcpy(data, steps.data(), steps.size() * sizeof(Step));
  return steps.size() * sizeof(Step);
}
