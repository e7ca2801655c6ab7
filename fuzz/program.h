// What the bytes given to the fuzzer of the entry mean: steps of eight bytes, each of which sets
// something about the host, or gives the effect a command.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace fuzz {

enum class StepKind : std::uint8_t {
  kCommand,    // a: which; b: variations
  kValue,      // of control a; v as its record holds it, b: 1 for the second coordinate
  kSlope,      // v: what the value of control a changes by in 1024 time units; b as above
  kTime,       // a: which field of the times
  kScale,      // a: which of the six numbers of the scales
  kLayerSize,  // a: width or height
  kVersion,    // of the interface: v; a: the quality
  kDepth,      // a
  kWorld,      // a: input or output, where it lies; b: width and height; v: origin
  kLayout,     // a: input or output; b: padding, rows upward; v: null instead of a world
  kPixels,     // a: what the worlds hold
  kRequest,    // a: edge of the rectangle asked for, or of the layer's extent
  kLight,      // adds a layer to the composition: a, b, v
  kStack,      // a: what the host says of the composition itself
  kSuite,      // suite a: b: 0 sound, 1 an error, 2 no table, n without function n - 3
  kScratch,    // a: what is wrong with new worlds
  kFormat,     // a: how the host tells the pixels' format
  kFault,      // call a, b: its number and what befalls it, v: code
  kHeal,       // no more faults
  kCount
};

struct Step {
  std::uint8_t kind = 0;
  std::uint8_t a = 0;
  std::uint16_t b = 0;
  std::int32_t v = 0;
};
static_assert(sizeof(Step) == 8);

inline StepKind KindOf(const Step& step) {
  return static_cast<StepKind>(step.kind % static_cast<std::uint8_t>(StepKind::kCount));
}

/// Bytes after the last whole step are passed over.
inline std::vector<Step> ReadProgram(std::span<const std::uint8_t> bytes) {
  std::vector<Step> steps(bytes.size() / sizeof(Step));
  if (!steps.empty()) std::memcpy(steps.data(), bytes.data(), steps.size() * sizeof(Step));
  return steps;
}

}  // namespace fuzz
