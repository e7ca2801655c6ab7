// What every fuzzer checks with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

/// What libFuzzer and the replay of a corpus call; 0 keeps the input, -1 leaves it out.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the process, which the fuzzer takes for a crash, unless the condition holds.
inline void Require(bool condition, std::string_view what) {
  if (condition) return;
  std::fprintf(stderr, "broken: %.*s\n", static_cast<int>(what.size()), what.data());
  std::abort();
}

}  // namespace fuzz
