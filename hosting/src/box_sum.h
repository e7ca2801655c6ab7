// A box over a source, and what the pixels in it add up to.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "hosting/area_sampler.h"

namespace hosting {

__extension__ using Wide = unsigned __int128;

inline constexpr std::int64_t kOne = 65536;  // a pixel

/// Alpha, and alpha times each colour. Operations on all four at once are loops that compilers make
/// vectors of.
template <class Number>
using Totals = std::array<Number, 4>;

template <class Pixel>
inline constexpr bool kIsFloat = std::is_same_v<Pixel, PF_PixelFloat>;

/// Holds a pixel's totals.
template <class Pixel>
using Weight = std::conditional_t<kIsFloat<Pixel>, double, std::uint32_t>;
/// Holds a row's totals: 2^16 of share x 2^32 x fewer than 2^15 pixels.
template <class Pixel>
using RowTotal = std::conditional_t<kIsFloat<Pixel>, double, std::uint64_t>;
/// Holds any box's totals.
template <class Pixel>
using BoxTotal = std::conditional_t<kIsFloat<Pixel>, double, Wide>;

template <class Pixel>
Totals<Weight<Pixel>> Weighted(const Pixel& p) {
  const auto alpha = static_cast<Weight<Pixel>>(p.alpha);
  return {alpha, alpha * static_cast<Weight<Pixel>>(p.red),
          alpha * static_cast<Weight<Pixel>>(p.green), alpha * static_cast<Weight<Pixel>>(p.blue)};
}

/// One side of a box in 1/65536 pixels, pixel i covering [i, i + 1): the whole, and what lies
/// inside.
struct Side {
  std::int64_t length;
  std::int64_t from;
  std::int64_t to;

  Side(PF_Fixed center, PF_Fixed radius, A_long pixels) {
    const std::int64_t reach = std::max<std::int64_t>(radius, 0);
    const std::int64_t begin = std::int64_t{center} + kOne / 2 - reach;
    length = std::max<std::int64_t>(2 * reach, 1);
    const std::int64_t size = pixels * kOne;
    from = std::clamp<std::int64_t>(begin, 0, size);
    to = std::clamp<std::int64_t>(begin + length, 0, size);
  }

  bool empty() const { return from >= to; }
  std::int64_t firstPixel() const { return from / kOne; }
  std::int64_t endPixel() const { return (to + kOne - 1) / kOne; }
  /// How much of pixel i lies inside.
  std::uint32_t Share(std::int64_t i) const {
    return static_cast<std::uint32_t>(std::min(to, (i + 1) * kOne) - std::max(from, i * kOne));
  }
};

struct Sides {
  Side x;
  Side y;
  Sides(const SampleBox& box, const PF_EffectWorld& source)
      : x(box.x, box.x_radius, source.width), y(box.y, box.y_radius, source.height) {}
  bool empty() const { return x.empty() || y.empty(); }
};

/// Totals in units of 1/65536 x 1/65536 of a pixel.
template <class Pixel>
Totals<BoxTotal<Pixel>> AddUp(const PF_EffectWorld& source, const Sides& sides) {
  Totals<BoxTotal<Pixel>> totals{};
  for (std::int64_t y = sides.y.firstPixel(); y < sides.y.endPixel(); ++y) {
    const Pixel* row = RowOf<const Pixel>(source, y);
    Totals<RowTotal<Pixel>> row_totals{};
    for (std::int64_t x = sides.x.firstPixel(); x < sides.x.endPixel(); ++x) {
      const std::uint32_t share = sides.x.Share(x);
      const auto weighted = Weighted(row[x]);
      for (std::size_t c = 0; c < 4; ++c) {
        row_totals[c] +=
            static_cast<RowTotal<Pixel>>(share) * static_cast<RowTotal<Pixel>>(weighted[c]);
      }
    }
    const std::uint32_t share = sides.y.Share(y);
    for (std::size_t c = 0; c < 4; ++c) {
      totals[c] +=
          static_cast<BoxTotal<Pixel>>(share) * static_cast<BoxTotal<Pixel>>(row_totals[c]);
    }
  }
  return totals;
}

/// The mean over a box with these totals. Number must hold their sum with half a box's area, in
/// units of 1/65536 x 1/65536 of a pixel. Written where it belongs, channel by channel: bytes that
/// are put together on the stack and then moved as one keep the processor waiting.
template <class Pixel, class Number>
void StoreMean(const Totals<Number>& totals, const Sides& sides, Pixel* out) {
  if (totals[0] == 0) {
    *out = {};
    return;
  }
  using Channel = decltype(Pixel::alpha);
  const auto quotient = [](Number num, Number den) {
    if constexpr (kIsFloat<Pixel>) return static_cast<Channel>(num / den);
    return static_cast<Channel>((num + den / 2) / den);  // rounded to nearest
  };
  const auto area = static_cast<Number>(sides.x.length) * static_cast<Number>(sides.y.length);
  out->alpha = quotient(totals[0], area);
  out->red = quotient(totals[1], totals[0]);
  out->green = quotient(totals[2], totals[0]);
  out->blue = quotient(totals[3], totals[0]);
}

}  // namespace hosting
