#include "render/blob.h"

#include <algorithm>
#include <cmath>

#include "host/safe_cast.h"
#include "light/pixel.h"
#include "render/force_field.h"

namespace vorlin {
namespace {

constexpr double kMaxBlurRadius = 64.0;  // layer units
constexpr double kBlurPerOffset = 0.25;  // blur radius per displacement of the reflection
constexpr double kDivisionFloor = 1e-5;  // keeps a quotient finite where its divisor vanishes
constexpr double kHalfPixelFixed = 32768.0;

/// The field at a pixel and at its left and upper neighbours; at the first column and row the pixel
/// stands in for the missing one.
struct Heights {
  double here;
  double left;
  double up;

  bool OnEdge() const { return here < 0.0 || left < 0.0 || up < 0.0; }

  /// The part of the pixel that a linear field would cover.
  double CoverageOf(double alpha) const {
    const double highest = std::max({here, left, up});
    const double lowest = std::min({here, left, up});
    return alpha * highest / (highest - lowest + kDivisionFloor);
  }
};

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
inline double Fold(double u, double margin, double last) {
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

// Kept out of the pixel function, so that most pixels, which hold no stroke, cost a few comparisons
// and no stack frame.
template <class Pixel>
[[gnu::noinline]] PF_Err ShadeStroke(const RIPInfo<Pixel>& info, float here, float left, float up,
                                     A_long x, A_long y, Pixel* out) {
  using Traits = PixelTraits<Pixel>;
  const Heights h{here, left, up};
  const FX_D_Point normal = Normal(info, h);
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

  const double px = x * info.toLayerX + info.originX;
  const double py = y * info.toLayerY + info.originY;
  const double u = Fold(px + ox, rx, info.layerMaxX);
  const double v = Fold(py + oy, ry, info.layerMaxY);
  const PF_Err err = info.areaSample(info.effectRef, TruncTo<PF_Fixed>(u * info.toFixedX),
                                     TruncTo<PF_Fixed>(v * info.toFixedY), &samp, out);

  const FX_Double_Pixel lit =
      info.lightShade->ShadePixel(NormalizePixel(*out, 1.0), normal, px, py);
  out->red = Traits::FromUnit(lit.red);
  out->green = Traits::FromUnit(lit.green);
  out->blue = Traits::FromUnit(lit.blue);
  if (h.OnEdge()) out->alpha = Traits::Clamped(h.CoverageOf(out->alpha));
  return err;
}

}  // namespace

template <class Pixel>
PF_Err BlobRIP(void* refcon, A_long x, A_long y, Pixel* /*in*/, Pixel* out) {
  const auto& info = *static_cast<const RIPInfo<Pixel>*>(refcon);
  const float* const cell = FieldRow(*info.field, y) + x;
  const float here = *cell;
  const float left = x == 0 ? here : cell[-1];
  const float up = y == 0 ? here : cell[-info.fieldStride];
  if (here < 0.0F && left < 0.0F && up < 0.0F) [[likely]]
    return PF_Err_NONE;
  return ShadeStroke(info, here, left, up, x, y, out);
}

template PF_Err BlobRIP<PF_Pixel>(void*, A_long, A_long, PF_Pixel*, PF_Pixel*);
template PF_Err BlobRIP<PF_Pixel16>(void*, A_long, A_long, PF_Pixel16*, PF_Pixel16*);
template PF_Err BlobRIP<PF_PixelFloat>(void*, A_long, A_long, PF_PixelFloat*, PF_PixelFloat*);

}  // namespace vorlin
