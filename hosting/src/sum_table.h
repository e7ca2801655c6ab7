// Sums over a source that make the totals of any box a matter of a few look-ups.
#pragma once

#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "box_sum.h"
#include "hosting/memory.h"

namespace hosting {

/// Entry (x, y) is the sum over the pixels [0, x) x [0, y) of its band. The table is cut into bands
/// of rows with sums of their own. Each is made when it is first needed, by the thread that needs
/// it; one that finds its band being made by another makes the next one meanwhile.
template <class Pixel>
class SumTable {
 public:
  /// Makes no band yet. Throws std::bad_alloc.
  SumTable(const PF_EffectWorld& source, const std::shared_ptr<MemoryPool>& pool);

  /// Bytes that the table of a source takes.
  static std::size_t Size(A_long width, A_long height) {
    return (Count(width, 1) + 1) * (Count(height, 1) + Bands(height)) * sizeof(Totals<Entry>);
  }

  /// The mean over a box that is not empty. From any thread. False, at float, where too many digits
  /// are lost to the differences of large sums.
  bool Sample(const Sides& sides, Pixel* out) const;

 private:
  static constexpr bool kEightBits = std::is_same_v<Pixel, PF_Pixel>;
  /// Entries wrap around where the sums grow larger than their type, but their differences hold as
  /// long as the box's own sum fits.
  using Entry = std::conditional_t<kEightBits, std::uint32_t, RowTotal<Pixel>>;
  /// A box between two rows, whole rows in y and 1/65536 pixels in x.
  using Strip = RowTotal<Pixel>;
  using Total = std::conditional_t<kEightBits, std::uint64_t, BoxTotal<Pixel>>;

  static constexpr std::int64_t kBandRows = kIsFloat<Pixel> ? kMaxSide : 512;
  // What is looked up at once. The integers above hold the sums over 2^15 pixels: of 255 x 255 in
  // 32 bits, of 65535 x 65535 x 65536 in 64.
  static constexpr std::int64_t kPiecePixels = 1 << 15;

  enum State : int { kEmpty, kBeingMade, kMade };

  static std::size_t Count(std::int64_t pixels, std::int64_t step) {
    return static_cast<std::size_t>((pixels + step - 1) / step);
  }
  static std::int64_t BandOf(std::int64_t y) { return y / kOne / kBandRows; }
  static std::size_t Bands(A_long height) { return Count(height, kBandRows); }

  Totals<Entry>* Entries(std::size_t band) const {
    return reinterpret_cast<Totals<Entry>*>(memory_.get()) +
           band * static_cast<std::size_t>(kBandRows + 1) * stride_;
  }
  /// The band's entries, made if they are not yet.
  const Totals<Entry>* Band(std::size_t band) const {
    if (states_[band].load(std::memory_order_acquire) != kMade) WaitFor(band);
    return Entries(band);
  }
  void WaitFor(std::size_t band) const;
  bool MakeIfEmpty(std::size_t band) const;
  void Make(std::size_t band) const;
  [[gnu::always_inline]] Totals<Total> LookUp(std::int64_t band, const Side& x,
                                              const Side& y) const;
  Totals<BoxTotal<Pixel>> InPieces(const Sides& sides) const;

  PF_EffectWorld source_;
  std::size_t stride_;  // entries a row
  MemoryPool::Block memory_;
  mutable std::vector<std::atomic<int>> states_;
  // Float only: the least alpha total of a box that keeps its digits.
  mutable double least_alpha_ = 0;
};

template <class Pixel>
SumTable<Pixel>::SumTable(const PF_EffectWorld& source, const std::shared_ptr<MemoryPool>& pool)
    : source_(source),
      stride_(Count(source.width, 1) + 1),
      memory_(MemoryPool::Take(pool, Size(source.width, source.height))),
      states_(Bands(source.height)) {}

template <class Pixel>
void SumTable<Pixel>::WaitFor(std::size_t band) const {
  for (std::size_t i = 0; i < states_.size(); ++i) {
    if (MakeIfEmpty((band + i) % states_.size()) && i == 0) return;
    if (states_[band].load(std::memory_order_acquire) == kMade) return;
  }
  states_[band].wait(kBeingMade, std::memory_order_acquire);
}

template <class Pixel>
bool SumTable<Pixel>::MakeIfEmpty(std::size_t band) const {
  int empty = kEmpty;
  if (!states_[band].compare_exchange_strong(empty, kBeingMade)) return false;
  Make(band);
  states_[band].store(kMade, std::memory_order_release);
  states_[band].notify_all();
  return true;
}

template <class Pixel>
void SumTable<Pixel>::Make(std::size_t band) const {
  const std::int64_t first = static_cast<std::int64_t>(band) * kBandRows;
  const std::int64_t end = std::min<std::int64_t>(first + kBandRows, source_.height);
  const auto width = static_cast<std::size_t>(source_.width);
  Totals<Entry>* above = Entries(band);
  std::fill_n(above, stride_, Totals<Entry>{});
  Totals<double> magnitudes{};
  for (std::int64_t y = first; y < end; ++y) {
    const Pixel* row = RowOf<const Pixel>(source_, y);
    Totals<Entry>* const here = above + stride_;
    here[0] = {};
    Totals<Entry> row_totals{};
    for (std::size_t x = 0; x < width; ++x) {
      const auto weighted = Weighted(row[x]);
      for (std::size_t c = 0; c < 4; ++c) {
        row_totals[c] += weighted[c];
        here[x + 1][c] = above[x + 1][c] + row_totals[c];
        if constexpr (kIsFloat<Pixel>) magnitudes[c] += std::abs(weighted[c]);
      }
    }
    above = here;
  }
  if constexpr (kIsFloat<Pixel>) {
    // Sums carry an error of about their size x 2^-52; keep it below a millionth of a white pixel.
    constexpr double kLargestSum = 1e-6 * 0x1p52;
    least_alpha_ = magnitudes[0] * 0x1p-28 * kOne * kOne;
    for (const double magnitude : magnitudes) {
      if (!(magnitude <= kLargestSum)) least_alpha_ = std::numeric_limits<double>::infinity();
    }
  }
}

template <class Number>
Totals<Number> Minus(const Totals<Number>& a, const Totals<Number>& b) {
  Totals<Number> difference;
  for (std::size_t c = 0; c < 4; ++c) difference[c] = a[c] - b[c];
  return difference;
}

/// One side of a piece in terms of entries: whole pixels from a to b, and the parts of a pixel that
/// are too much at a and missing at b.
struct Edges {
  std::size_t a;
  std::size_t a1;
  std::size_t b;
  std::size_t b1;
  std::uint32_t over;
  std::uint32_t rest;

  /// first: the pixel of entry 0; pixels: of the whole source.
  Edges(const Side& side, std::int64_t first, std::int64_t pixels)
      : a(static_cast<std::size_t>(side.from / kOne - first)),
        a1(a + 1),
        b(static_cast<std::size_t>(side.to / kOne - first)),
        b1(static_cast<std::size_t>(std::min(side.to / kOne + 1, pixels) - first)),
        over(static_cast<std::uint32_t>(side.from % kOne)),
        rest(static_cast<std::uint32_t>(side.to % kOne)) {}
};

/// whole x 65536 + right x rest - left x over.
template <class Result, class Number>
Totals<Result> Interpolated(const Totals<Number>& whole, const Totals<Number>& right,
                            const Totals<Number>& left, const Edges& edges) {
  constexpr auto kWhole = static_cast<std::uint32_t>(kOne);
  Totals<Result> totals;
  for (std::size_t c = 0; c < 4; ++c) {
    totals[c] = static_cast<Result>(whole[c]) * static_cast<Result>(kWhole) +
                static_cast<Result>(right[c]) * static_cast<Result>(edges.rest) -
                static_cast<Result>(left[c]) * static_cast<Result>(edges.over);
  }
  return totals;
}

/// The sums' bilinear interpolation at the corners of a piece within a band. Every difference that
/// is formed is itself the sum over some box, so that unsigned numbers hold it.
template <class Pixel>
inline auto SumTable<Pixel>::LookUp(std::int64_t band, const Side& x_side, const Side& y_side) const
    -> Totals<Total> {
  const Totals<Entry>* const entries = Band(static_cast<std::size_t>(band));
  const std::int64_t first = band * kBandRows;
  const Edges x(x_side, 0, source_.width);
  const Edges y(y_side, first, std::min<std::int64_t>(source_.height, first + kBandRows));
  const auto strip = [&](std::size_t from, std::size_t to) {
    const Totals<Entry>* const above = entries + from * stride_;
    const Totals<Entry>* const below = entries + to * stride_;
    const auto a = Minus(below[x.a], above[x.a]);
    const auto a1 = Minus(below[x.a1], above[x.a1]);
    const auto b = Minus(below[x.b], above[x.b]);
    const auto b1 = Minus(below[x.b1], above[x.b1]);
    return Interpolated<Strip>(Minus(b, a), Minus(b1, b), Minus(a1, a), x);
  };
  return Interpolated<Total>(strip(y.a, y.b), strip(y.b, y.b1), strip(y.a, y.a1), y);
}

template <class Pixel>
Totals<BoxTotal<Pixel>> SumTable<Pixel>::InPieces(const Sides& sides) const {
  Totals<BoxTotal<Pixel>> totals{};
  Side y = sides.y;
  for (; y.from < sides.y.to; y.from = y.to) {
    const std::int64_t band = BandOf(y.from);
    y.to = std::min(sides.y.to, (band + 1) * kBandRows * kOne);
    const std::int64_t columns = kPiecePixels * kOne / (y.to - y.from) * kOne;
    Side x = sides.x;
    for (; x.from < sides.x.to; x.from = x.to) {
      x.to = std::min(sides.x.to, x.from + columns);
      const Totals<Total> piece = LookUp(band, x, y);
      for (std::size_t c = 0; c < 4; ++c) totals[c] += piece[c];
    }
  }
  return totals;
}

template <class Pixel>
bool SumTable<Pixel>::Sample(const Sides& sides, Pixel* out) const {
  const std::int64_t band = BandOf(sides.y.from);
  if constexpr (kIsFloat<Pixel>) {
    const Totals<double> totals = LookUp(band, sides.x, sides.y);
    if (!(totals[0] > least_alpha_)) return false;
    StoreMean(totals, sides, out);
  } else if (sides.y.length <= kBandRows * kOne && BandOf(sides.y.to - 1) == band &&
             sides.x.length * sides.y.length <= kPiecePixels * kOne * kOne) {
    StoreMean(LookUp(band, sides.x, sides.y), sides, out);
  } else {
    StoreMean(InPieces(sides), sides, out);
  }
  return true;
}

}  // namespace hosting
