// Truncation of doubles to integers that is defined for every value.
#pragma once

#include <cstdint>
#include <limits>

namespace vorlin {

/// v truncated toward zero; what does not fit becomes the nearest integer that does, NaN becomes 0.
template <class Integer = std::int32_t>
inline Integer TruncTo(double v) {
  using Limits = std::numeric_limits<Integer>;
  static_assert(sizeof(Integer) <= 4, "the limits must be exact as doubles");
  constexpr auto kMin = static_cast<double>(Limits::min());
  constexpr auto kMax = static_cast<double>(Limits::max());
  if (v > kMin && v < kMax) [[likely]]
    return static_cast<Integer>(v);
  if (v >= kMax) return Limits::max();
  return v == v ? Limits::min() : Integer{0};
}

}  // namespace vorlin
