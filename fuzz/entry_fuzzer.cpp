// The bytes draw a situation; the effect and the plain second implementation must leave the same
// behind.
#include <algorithm>

#include "invariant.h"
#include "reference.h"
#include "test_host.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Two bytes a number; what is missing is 0.
  const auto next = [&] {
    std::uint32_t number = 0;
    for (int i = 0; i < 2; ++i) {
      number = number << 8 | (size > 0 ? *data : 0u);
      if (size > 0) ++data, --size;
    }
    return number;
  };
  const testhost::Situation situation = testhost::Drawn(next);
  const std::string difference =
      FirstDifference(testhost::RunCommand(situation, MainEntry),
                      testhost::RunCommand(situation, reference::MainEntry));
  fuzz::Require(difference.empty(), difference);
  return 0;
}
