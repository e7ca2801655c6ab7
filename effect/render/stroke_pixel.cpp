#include "render/stroke_pixel.h"

#include <algorithm>
#include <cmath>

#include "host/safe_cast.h"
#include "render/pixel.h"

namespace vorlin {
namespace {

/// The height itself is the normal's z: flat inside the stroke, tilting as the edge is neared.
template <class Pixel>
FX_D_Point Normal(const RIPInfo<Pixel>& info, const Heights& h) {
  const double gx = (h.left - h.here) * info.slopeX;
  const double gy = (h.up - h.here) * info.slopeY;
  const double len = info.inData->utils->ansi.sqrt(gx * gx + gy * gy + h.here * h.here);
  const double inv = 1.0 / (len + kDivisionFloor);
  return {gx * inv, gy * inv, h.here * inv};
}

/// u folded into [margin, last - margin] by mirrored repetition.
double Fold(double u, double margin, double last) {
  const double range = last - 2.0 * margin;
  // Most points lie inside, where the steps below would change nothing.
  if (u >= 0.0 && u < range) return margin + u;
  const double turns = u / range;
  // A layer of a single column has nothing to fold, and a point at infinity no place in the layer.
  if (!(range > 0.0 && std::abs(turns) < 2147483648.0)) return margin;
  auto k = static_cast<std::int32_t>(turns);
  double rem = u - k * range;
  if (rem < 0.0) {
    k -= 1;
    rem += range;
  }
  const double folded = margin + rem;
  return (k & 1) != 0 ? last - folded : folded;
}

bool OnEdge(const Heights& h) { return h.here < 0.0 || h.left < 0.0 || h.up < 0.0; }

}  // namespace

template <class Pixel>
PF_Err PlainPixel<Pixel>::Draw(const RIPInfo<Pixel>& info, float here, float left, float up,
                               A_long x, A_long y, Pixel* out) {
  const Heights heights{here, left, up};
  return DrawFacing(info, heights, Normal(info, heights), x, y, out);
}

template <class Pixel>
PF_Err PlainPixel<Pixel>::DrawFacing(const RIPInfo<Pixel>& info, const Heights& heights,
                                     const FX_D_Point& normal, A_long x, A_long y, Pixel* out) {
  const double ox = normal.x * info.reflectionScale;
  const double oy = normal.y * info.reflectionScale;

  // The further a reflection is displaced, the more it is blurred; only the copy is changed, for
  // other threads read the original.
  PF_SampPB samp = info.samp;
  double rx = 0.0;
  double ry = 0.0;
  if (info.highQuality) {
    rx = std::min(kMaxBlurRadius, std::abs(ox) * kBlurPerOffset);
    ry = std::min(kMaxBlurRadius, std::abs(oy) * kBlurPerOffset);
    samp.x_radius = TruncTo<PF_Fixed>(rx * info.toFixedX + kHalfPixelFixed);
    samp.y_radius = TruncTo<PF_Fixed>(ry * info.toFixedY + kHalfPixelFixed);
    samp.area = TruncTo<PF_Fixed>(4.0 * FixMul(samp.x_radius, samp.y_radius));
    if (info.layerMaxX - 2.0 * rx < 1.0 || info.layerMaxY - 2.0 * ry < 1.0) return PF_Err_NONE;
  }

  const FX_D_Point p = OnLayer(info, x, y);
  const double u = Fold(p.x + ox, rx, info.layerMaxX);
  const double v = Fold(p.y + oy, ry, info.layerMaxY);
  const PF_Err err = info.areaSample(info.effectRef, TruncTo<PF_Fixed>(u * info.toFixedX),
                                     TruncTo<PF_Fixed>(v * info.toFixedY), &samp, out);
  LightSample(info, heights, normal, x, y, out);
  return err;
}

template <class Pixel>
void PlainPixel<Pixel>::LightSample(const RIPInfo<Pixel>& info, const Heights& heights,
                                    const FX_D_Point& normal, A_long x, A_long y, Pixel* out) {
  using Traits = PixelTraits<Pixel>;
  const FX_D_Point p = OnLayer(info, x, y);
  const FX_Double_Pixel lit =
      info.lightShade->ShadePixel(NormalizePixel(*out, 1.0), normal, p.x, p.y);
  out->red = Traits::FromUnit(lit.red);
  out->green = Traits::FromUnit(lit.green);
  out->blue = Traits::FromUnit(lit.blue);
  if (OnEdge(heights)) CoverEdge(heights, out);
}

template <class Pixel>
void PlainPixel<Pixel>::CoverEdge(const Heights& h, Pixel* out) {
  const double highest = std::max({h.here, h.left, h.up});
  const double lowest = std::min({h.here, h.left, h.up});
  out->alpha =
      PixelTraits<Pixel>::Clamped(out->alpha * highest / (highest - lowest + kDivisionFloor));
}

template <class Pixel>
std::span<const NamedStrokePixel<Pixel>> StrokePixels() {
  static constexpr NamedStrokePixel<Pixel> kFunctions[] = {
    {"plain", PlainPixel<Pixel>::Draw},
#if defined(__x86_64__)
    {"AVX2", DrawAvx2<Pixel>},
#endif
  };
  std::size_t runnable = 1;
#if defined(__x86_64__)
  __builtin_cpu_init();  // may run before the constructors of the run-time library
  if (__builtin_cpu_supports("avx2")) runnable = 2;
#endif
  return std::span(kFunctions).first(runnable);
}

template struct PlainPixel<PF_Pixel>;
template struct PlainPixel<PF_Pixel16>;
template struct PlainPixel<PF_PixelFloat>;

template std::span<const NamedStrokePixel<PF_Pixel>> StrokePixels();
template std::span<const NamedStrokePixel<PF_Pixel16>> StrokePixels();
template std::span<const NamedStrokePixel<PF_PixelFloat>> StrokePixels();

}  // namespace vorlin
