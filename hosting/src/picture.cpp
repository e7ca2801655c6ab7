#include "hosting/picture.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "encodings.h"
#include "hosting/errors.h"

namespace hosting {
namespace {

/// The world pixel and encoding of a depth, as arguments of f.
template <class F>
void WithDepth(Depth depth, F f) {
  switch (depth) {
    case Depth::k8:
      return f(PF_Pixel{}, Bits8{});
    case Depth::k16:
      return f(PF_Pixel16{}, World16{});
    case Depth::k32:
      return f(PF_PixelFloat{}, Real{});
  }
}

template <class Channel>
struct FileEncoding;
template <>
struct FileEncoding<std::uint8_t> {
  using Type = Bits8;
};
template <>
struct FileEncoding<std::uint16_t> {
  using Type = File16;
};
template <>
struct FileEncoding<float> {
  using Type = Real;
};

/// What one reduced pixel covers of a side: source pixels from first on, with their shares of 1.
struct Coverage {
  int first;
  std::vector<double> shares;
};

std::vector<Coverage> Coverages(int pixels, Rational factor) {
  const double step = static_cast<double>(factor.den()) / static_cast<double>(factor.num());
  std::vector<Coverage> result(static_cast<std::size_t>(ReducedSize(pixels, factor)));
  for (std::size_t i = 0; i < result.size(); ++i) {
    const double from = static_cast<double>(i) * step;
    // The last pixel may reach over the edge; it shows what there is.
    const double to = std::min<double>(static_cast<double>(i + 1) * step, pixels);
    result[i].first = static_cast<int>(from);
    for (int p = result[i].first; p < to; ++p) {
      result[i].shares.push_back((std::min<double>(p + 1, to) - std::max<double>(p, from)) /
                                 (to - from));
    }
  }
  return result;
}

template <class Pixel, class From, class To>
void ConvertRows(const std::vector<typename From::Channel>& pixels, World& world) {
  const typename From::Channel* from = pixels.data();
  for (int y = 0; y < world.height(); ++y) {
    Pixel* to = world.Row<Pixel>(y);
    for (int x = 0; x < world.width(); ++x, from += 4, ++to) {
      *to = {Convert<From, To>(from[3]), Convert<From, To>(from[0]), Convert<From, To>(from[1]),
             Convert<From, To>(from[2])};
    }
  }
}

template <class Pixel, class From, class To>
void ReduceRows(const std::vector<typename From::Channel>& pixels, int width,
                const std::vector<Coverage>& columns, const std::vector<Coverage>& rows,
                World& world) {
  for (std::size_t y = 0; y < rows.size(); ++y) {
    Pixel* to = world.Row<Pixel>(static_cast<int>(y));
    for (const Coverage& column : columns) {
      double alpha = 0;
      double sums[3] = {};
      for (std::size_t j = 0; j < rows[y].shares.size(); ++j) {
        const std::size_t row = static_cast<std::size_t>(rows[y].first) + j;
        const typename From::Channel* from =
            pixels.data() +
            4 * (row * static_cast<std::size_t>(width) + static_cast<std::size_t>(column.first));
        for (const double share : column.shares) {
          const double weight = rows[y].shares[j] * share * from[3];
          alpha += weight;
          for (int c = 0; c < 3; ++c) sums[c] += weight * from[c];
          from += 4;
        }
      }
      const auto color = [&](double sum) {
        return alpha == 0 ? typename To::Channel{} : Encode<To>(sum / alpha / From::kWhite);
      };
      *to++ = {Encode<To>(alpha / From::kWhite), color(sums[0]), color(sums[1]), color(sums[2])};
    }
  }
}

/// Times the size of a picture.
constexpr double kMostEnlarged = 4;

void CheckFactor(Rational factor) {
  if (factor.num() <= 0 || factor.value() > kMostEnlarged ||
      factor.num() > std::numeric_limits<A_long>::max() ||
      factor.den() > std::numeric_limits<A_long>::max()) {
    throw Error("a layer can be rendered at a part of its size or a few times it, not at " +
                factor.Text() + " of it");
  }
}

}  // namespace

int ReducedSize(int pixels, Rational factor) {
  CheckFactor(factor);
  return static_cast<int>((pixels * factor.num() + factor.den() - 1) / factor.den());
}

Picture::Picture(int width, int height, Pixels pixels)
    : width_(width), height_(height), pixels_(std::move(pixels)) {
  const std::size_t size = std::visit([](const auto& p) { return p.size(); }, pixels_);
  if (width < 1 || height < 1 ||
      size != 4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
    throw Error("a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                " pixels cannot be made of " + std::to_string(size) + " numbers");
  }
}

Picture::Picture(const World& world, Depth depth) : Picture(world, depth, 0, world.height()) {}

Picture::Picture(const World& world, Depth depth, int first_row, int rows)
    : width_(world.width()), height_(rows) {
  if (first_row < 0 || rows < 0 || first_row > world.height() - rows) {
    throw Error("rows " + std::to_string(first_row) + " to " + std::to_string(first_row + rows) +
                " are not all in a world " + std::to_string(world.height()) + " pixels high");
  }
  const auto copy = [&]<class Channel>(std::vector<Channel> channels) {
    using To = typename FileEncoding<Channel>::Type;
    WithDepth(world.depth(), [&]<class Pixel, class From>(Pixel, From) {
      channels.resize(4 * static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
      Channel* to = channels.data();
      for (int y = first_row; y < first_row + rows; ++y) {
        const Pixel* row = world.Row<Pixel>(y);
        for (int x = 0; x < width_; ++x, to += 4) {
          to[0] = Convert<From, To>(row[x].red);
          to[1] = Convert<From, To>(row[x].green);
          to[2] = Convert<From, To>(row[x].blue);
          to[3] = Convert<From, To>(row[x].alpha);
        }
      }
    });
    pixels_ = std::move(channels);
  };
  if (depth == Depth::k8) {
    copy(std::vector<std::uint8_t>{});
  } else if (depth == Depth::k16) {
    copy(std::vector<std::uint16_t>{});
  } else {
    copy(std::vector<float>{});
  }
}

World Picture::ToWorld(Depth depth, Rational factor_x, Rational factor_y, const WorldLayout& layout,
                       const std::shared_ptr<MemoryPool>& pool) const {
  World world(ReducedSize(width_, factor_x), ReducedSize(height_, factor_y), depth, layout, pool);
  const bool whole = factor_x == Rational{} && factor_y == Rational{};
  std::visit(
      [&]<class Channel>(const std::vector<Channel>& pixels) {
        using From = typename FileEncoding<Channel>::Type;
        WithDepth(depth, [&]<class Pixel, class To>(Pixel, To) {
          if (whole) {
            ConvertRows<Pixel, From, To>(pixels, world);
          } else {
            ReduceRows<Pixel, From, To>(pixels, width_, Coverages(width_, factor_x),
                                        Coverages(height_, factor_y), world);
          }
        });
      },
      pixels_);
  return world;
}

}  // namespace hosting
