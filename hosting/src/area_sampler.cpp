#include "hosting/area_sampler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "huge_array.h"

namespace hosting {
namespace {

__extension__ using Wide = unsigned __int128;

constexpr std::int64_t kOne = 65536;  // a pixel
// Boxes up to this many pixels wide and high are added up directly: that is faster than a look-up.
constexpr std::int64_t kSmallBox = 3 * kOne;
constexpr std::size_t kMaxBytesPerPixel = 40;

/// Sums of alpha and of alpha times each colour.
template <class Number>
using Totals = std::array<Number, 4>;

template <class Pixel>
inline constexpr bool kIsFloat = std::is_same_v<Pixel, PF_PixelFloat>;

template <class Pixel>
using Sum = std::conditional_t<kIsFloat<Pixel>, double, std::uint64_t>;

template <class Pixel>
Totals<Sum<Pixel>> Weighted(const Pixel& p) {
  const auto alpha = static_cast<Sum<Pixel>>(p.alpha);
  return {alpha, alpha * static_cast<Sum<Pixel>>(p.red), alpha * static_cast<Sum<Pixel>>(p.green),
          alpha * static_cast<Sum<Pixel>>(p.blue)};
}

template <class Pixel>
const Pixel* Row(const PF_EffectWorld& world, std::int64_t y) {
  return reinterpret_cast<const Pixel*>(reinterpret_cast<const char*>(world.data) +
                                        y * world.rowbytes);
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
  std::int64_t Share(std::int64_t i) const {
    return std::min(to, (i + 1) * kOne) - std::max(from, i * kOne);
  }
};

struct Sides {
  Side x;
  Side y;
  Sides(const SampleBox& box, const PF_EffectWorld& source)
      : x(box.x, box.x_radius, source.width), y(box.y, box.y_radius, source.height) {}
};

/// Rounded to nearest.
template <class Number>
Number Quotient(Number num, Number den) {
  return (num + den / 2) / den;
}

/// The pixel of totals in units of 1/65536 x 1/65536 of a pixel, over a box of that area.
template <class Pixel, class Number>
Pixel Mean(const Totals<Number>& totals, Number area) {
  if (totals[0] == 0) return {};
  if constexpr (kIsFloat<Pixel>) {
    const auto color = [&](double total) { return static_cast<float>(total / totals[0]); };
    return {static_cast<float>(totals[0] / area), color(totals[1]), color(totals[2]),
            color(totals[3])};
  } else {
    using Channel = decltype(Pixel::alpha);
    const auto color = [&](Number t) { return static_cast<Channel>(Quotient(t, totals[0])); };
    return {static_cast<Channel>(Quotient(totals[0], area)), color(totals[1]), color(totals[2]),
            color(totals[3])};
  }
}

template <class Number>
Number Area(const Sides& sides) {
  return static_cast<Number>(sides.x.length) * static_cast<Number>(sides.y.length);
}

template <class Pixel>
Pixel AddUp(const PF_EffectWorld& source, const Sides& sides) {
  // A row's integer total fits 64 bits: 2^16 of share x 2^30 of alpha x colour x fewer than 2^15
  // pixels. The box's needs more.
  using Number = std::conditional_t<kIsFloat<Pixel>, double, Wide>;
  Totals<Number> totals{};
  for (std::int64_t y = sides.y.firstPixel(); y < sides.y.endPixel(); ++y) {
    const Pixel* row = Row<Pixel>(source, y);
    Totals<Sum<Pixel>> row_totals{};
    for (std::int64_t x = sides.x.firstPixel(); x < sides.x.endPixel(); ++x) {
      const auto share = static_cast<Sum<Pixel>>(sides.x.Share(x));
      const Totals<Sum<Pixel>> weighted = Weighted(row[x]);
      for (std::size_t c = 0; c < 4; ++c) row_totals[c] += share * weighted[c];
    }
    const auto share = static_cast<Number>(sides.y.Share(y));
    for (std::size_t c = 0; c < 4; ++c) totals[c] += share * static_cast<Number>(row_totals[c]);
  }
  return Mean<Pixel, Number>(totals, Area<Number>(sides));
}

/// Sums over all pixels above and to the left: entry (x, y) covers pixels [0, x) x [0, y).
template <class Number>
struct Table {
  std::size_t stride;
  HugeArray<Totals<Number>> entries;
  // Float only: a box with less alpha than this many pixels loses too many digits to the
  // differences of large sums.
  double least_alpha = 0;
};

template <class Pixel>
Table<Sum<Pixel>> MakeTable(const PF_EffectWorld& source) {
  using Number = Sum<Pixel>;
  const auto width = static_cast<std::size_t>(source.width);
  const auto height = static_cast<std::size_t>(source.height);
  Table<Number> table{width + 1, HugeArray<Totals<Number>>((width + 1) * (height + 1))};
  for (std::size_t x = 0; x <= width; ++x) table.entries[x] = {};
  for (std::size_t y = 0; y < height; ++y) {
    const Pixel* row = Row<Pixel>(source, static_cast<std::int64_t>(y));
    const Totals<Number>* above = &table.entries[y * table.stride];
    Totals<Number>* here = &table.entries[(y + 1) * table.stride];
    here[0] = {};
    Totals<Number> row_totals{};
    for (std::size_t x = 0; x < width; ++x) {
      const Totals<Number> weighted = Weighted(row[x]);
      for (std::size_t c = 0; c < 4; ++c) {
        row_totals[c] += weighted[c];
        here[x + 1][c] = above[x + 1][c] + row_totals[c];
      }
    }
  }
  return table;
}

/// One side of a box in terms of table entries: whole entries from a to b, and the parts of a pixel
/// that are too much at a and missing at b.
struct Edges {
  std::size_t a;
  std::size_t a1;
  std::size_t b;
  std::size_t b1;
  std::uint64_t over;
  std::uint64_t rest;

  Edges(const Side& side, A_long pixels)
      : a(static_cast<std::size_t>(side.from / kOne)),
        a1(a + 1),
        b(static_cast<std::size_t>(side.to / kOne)),
        b1(std::min(b + 1, static_cast<std::size_t>(pixels))),
        over(static_cast<std::uint64_t>(side.from % kOne)),
        rest(static_cast<std::uint64_t>(side.to % kOne)) {}
};

/// The box's totals: the sums' bilinear interpolation at its corners. Every difference that is
/// formed is itself the sum over some box, so that unsigned numbers hold it.
template <class Number, class Result>
Totals<Result> LookUp(const Table<Number>& table, const Edges& x, const Edges& y) {
  const Totals<Number>* rows[4];
  const std::size_t row_numbers[4] = {y.a, y.a1, y.b, y.b1};
  for (std::size_t i = 0; i < 4; ++i) rows[i] = &table.entries[row_numbers[i] * table.stride];

  Totals<Result> totals;
  for (std::size_t c = 0; c < 4; ++c) {
    // Between two rows, along the whole side in x.
    const auto strip = [&](const Totals<Number>* above, const Totals<Number>* below) {
      const auto box = [&](std::size_t left, std::size_t right) {
        return static_cast<Result>((below[right][c] - below[left][c]) -
                                   (above[right][c] - above[left][c]));
      };
      return box(x.a, x.b) * static_cast<Result>(kOne) +
             box(x.b, x.b1) * static_cast<Result>(x.rest) -
             box(x.a, x.a1) * static_cast<Result>(x.over);
    };
    totals[c] = strip(rows[0], rows[2]) * static_cast<Result>(kOne) +
                strip(rows[2], rows[3]) * static_cast<Result>(y.rest) -
                strip(rows[0], rows[1]) * static_cast<Result>(y.over);
  }
  return totals;
}

}  // namespace

struct AreaSampler::Sums {
  std::variant<Table<std::uint64_t>, Table<double>> table;
};

template <class Pixel>
Pixel PlainAreaSample(const PF_EffectWorld& source, const SampleBox& box) {
  const Sides sides(box, source);
  if (sides.x.empty() || sides.y.empty()) return {};
  return AddUp<Pixel>(source, sides);
}

AreaSampler::AreaSampler(const PF_EffectWorld& source, Depth depth)
    : source_(source), depth_(depth) {}

AreaSampler::~AreaSampler() = default;

const AreaSampler::Sums* AreaSampler::GetSums() const {
  std::call_once(once_, [this] {
    const auto width = static_cast<std::size_t>(source_.width);
    const auto height = static_cast<std::size_t>(source_.height);
    // Narrow sources are quickly added up, and their border of zeros would weigh too much.
    if ((width + 1) * (height + 1) * sizeof(Totals<double>) > kMaxBytesPerPixel * width * height) {
      return;
    }
    if (depth_ == Depth::k8) {
      sums_.reset(new Sums{MakeTable<PF_Pixel>(source_)});
    } else if (depth_ == Depth::k16) {
      sums_.reset(new Sums{MakeTable<PF_Pixel16>(source_)});
    } else {
      Totals<double> magnitudes{};
      for (A_long y = 0; y < source_.height; ++y) {
        const auto* row = Row<PF_PixelFloat>(source_, y);
        for (A_long x = 0; x < source_.width; ++x) {
          const Totals<double> weighted = Weighted(row[x]);
          for (std::size_t c = 0; c < 4; ++c) magnitudes[c] += std::abs(weighted[c]);
        }
      }
      // Sums carry an error of about their size x 2^-52; keep it below a millionth of a white
      // pixel.
      constexpr double kLargestSum = 1e-6 * 0x1p52;
      for (const double magnitude : magnitudes) {
        if (!(magnitude <= kLargestSum)) return;
      }
      Table<double> table = MakeTable<PF_PixelFloat>(source_);
      table.least_alpha = magnitudes[0] * 0x1p-28;
      sums_.reset(new Sums{std::move(table)});
    }
  });
  return sums_.get();
}

template <class Pixel>
Pixel AreaSampler::Sample(const SampleBox& box) const {
  const Sides sides(box, source_);
  if (sides.x.empty() || sides.y.empty()) return {};
  const bool small = std::max(sides.x.length, sides.y.length) <= kSmallBox;
  const Sums* const sums = small ? nullptr : GetSums();
  if (sums == nullptr) return AddUp<Pixel>(source_, sides);

  const auto& table = *std::get_if<Table<Sum<Pixel>>>(&sums->table);
  const Edges x(sides.x, source_.width);
  const Edges y(sides.y, source_.height);
  if constexpr (kIsFloat<Pixel>) {
    const auto totals = LookUp<double, double>(table, x, y);
    const double pixels = totals[0] / (static_cast<double>(kOne) * kOne);
    if (!(pixels > table.least_alpha)) return AddUp<Pixel>(source_, sides);
    return Mean<Pixel>(totals, Area<double>(sides));
  } else {
    // 64 bits hold the totals of an 8-bit box of fewer than 2^15 pixels.
    const bool narrow = std::is_same_v<Pixel, PF_Pixel> && Area<Wide>(sides) < (Wide{1} << 47);
    if (narrow) {
      return Mean<Pixel>(LookUp<std::uint64_t, std::uint64_t>(table, x, y),
                         Area<std::uint64_t>(sides));
    }
    return Mean<Pixel>(LookUp<std::uint64_t, Wide>(table, x, y), Area<Wide>(sides));
  }
}

template PF_Pixel PlainAreaSample(const PF_EffectWorld&, const SampleBox&);
template PF_Pixel16 PlainAreaSample(const PF_EffectWorld&, const SampleBox&);
template PF_PixelFloat PlainAreaSample(const PF_EffectWorld&, const SampleBox&);
template PF_Pixel AreaSampler::Sample(const SampleBox&) const;
template PF_Pixel16 AreaSampler::Sample(const SampleBox&) const;
template PF_PixelFloat AreaSampler::Sample(const SampleBox&) const;

}  // namespace hosting
