#include "over.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace app {
namespace {

template <class Pixel>
constexpr double kWhite = 1;
template <>
constexpr double kWhite<PF_Pixel> = 255;
template <>
constexpr double kWhite<PF_Pixel16> = 32768;

template <class Channel>
Channel Stored(double v) {
  if constexpr (std::is_integral_v<Channel>) {
    return static_cast<Channel>(std::lround(v));
  } else {
    return static_cast<Channel>(v);
  }
}

template <class Pixel>
void PutPixelOver(Pixel& top, const Pixel& below) {
  using Channel = decltype(Pixel::alpha);
  if constexpr (std::is_integral_v<Channel>) {  // most pixels; the same as below, sooner
    if (top.alpha == kWhite<Pixel>) return;
    if (top.alpha == 0 && below.alpha == kWhite<Pixel>) {
      top = below;
      return;
    }
  }
  const double top_share = top.alpha / kWhite<Pixel>;
  const double below_share = below.alpha / kWhite<Pixel> * (1 - top_share);
  const double alpha = top_share + below_share;
  if (alpha == 0) return;
  const auto mixed = [&](Channel Pixel::*channel) {
    top.*channel =
        Stored<Channel>((top.*channel * top_share + below.*channel * below_share) / alpha);
  };
  mixed(&Pixel::red);
  mixed(&Pixel::green);
  mixed(&Pixel::blue);
  top.alpha = Stored<Channel>(alpha * kWhite<Pixel>);
}

template <class Pixel>
void PutRowsOver(hosting::World& top, const hosting::World& below) {
  const PF_LRect t = top.rect();
  const PF_LRect b = below.rect();
  const A_long left = std::max(t.left, b.left);
  const A_long right = std::min(t.right, b.right);
  for (A_long y = std::max(t.top, b.top); y < std::min(t.bottom, b.bottom); ++y) {
    Pixel* top_row = top.Row<Pixel>(y - t.top);
    const Pixel* below_row = below.Row<Pixel>(y - b.top);
    for (A_long x = left; x < right; ++x) PutPixelOver(top_row[x - t.left], below_row[x - b.left]);
  }
}

}  // namespace

void PutOver(hosting::World& top, const hosting::World& below) {
  switch (top.depth()) {
    case hosting::Depth::k8:
      return PutRowsOver<PF_Pixel>(top, below);
    case hosting::Depth::k16:
      return PutRowsOver<PF_Pixel16>(top, below);
    case hosting::Depth::k32:
      return PutRowsOver<PF_PixelFloat>(top, below);
  }
}

}  // namespace app
