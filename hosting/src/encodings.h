// How channels are encoded in files and worlds, and exact conversions between any two encodings.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace hosting {

struct Bits8 {
  using Channel = std::uint8_t;
  static constexpr std::uint32_t kWhite = 255;
};
struct File16 {
  using Channel = std::uint16_t;
  static constexpr std::uint32_t kWhite = 65535;
};
struct World16 {
  using Channel = std::uint16_t;
  static constexpr std::uint32_t kWhite = 32768;
};
struct Real {
  using Channel = float;
  static constexpr std::uint32_t kWhite = 1;
};

template <class Encoding>
inline constexpr bool kIsReal = std::is_same_v<Encoding, Real>;

/// v, where white is 1, rounded to nearest; clamped unless the encoding is Real. NaN becomes 0
/// where it cannot be kept.
template <class To>
typename To::Channel Encode(double v) {
  if constexpr (kIsReal<To>) {
    return static_cast<float>(v);
  } else {
    if (!(v > 0)) return 0;
    return static_cast<typename To::Channel>(std::lround(std::min(v, 1.0) * To::kWhite));
  }
}

/// Rounded to nearest; what is over white becomes white.
template <class From, class To>
typename To::Channel Convert(typename From::Channel v) {
  if constexpr (std::is_same_v<From, To>) {
    return v;
  } else if constexpr (kIsReal<From>) {
    return Encode<To>(v);
  } else if constexpr (kIsReal<To>) {
    return static_cast<float>(v) / static_cast<float>(From::kWhite);
  } else {
    const std::uint32_t in_range = std::min<std::uint32_t>(v, From::kWhite);
    return static_cast<typename To::Channel>((in_range * To::kWhite + From::kWhite / 2) /
                                             From::kWhite);
  }
}

}  // namespace hosting
