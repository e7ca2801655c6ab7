// Drawing one pixel of a stroke, plainly and with the vector units that processors have.
#pragma once

#include <span>

#include "render/blob.h"

namespace vorlin {

/// Draws the pixel at (x, y), which belongs to the stroke or its edge. here, left and up are the
/// field at the pixel and at its left and upper neighbours. Returns the area sampler's result.
template <class Pixel>
using StrokePixelFunc = PF_Err (*)(const RIPInfo<Pixel>& info, float here, float left, float up,
                                   A_long x, A_long y, Pixel* out);

template <class Pixel>
struct NamedStrokePixel {
  const char* name;
  StrokePixelFunc<Pixel> draw;
};

/// The functions that this processor runs, the plain one first and the fastest last. All give the
/// same bytes, save which NaN a float channel holds, and make the same calls of the host; but
/// vector units take the square roots of all lights before the first power, and those of a pixel
/// with numbers that are none twice.
template <class Pixel>
std::span<const NamedStrokePixel<Pixel>> StrokePixels();

struct Heights {
  double here;
  double left;
  double up;
};

/// As the formulas state it, and its later parts, in which the others end where a pixel is unusual.
template <class Pixel>
struct PlainPixel {
  static PF_Err Draw(const RIPInfo<Pixel>& info, float here, float left, float up, A_long x,
                     A_long y, Pixel* out);
  /// Everything after the normal.
  static PF_Err DrawFacing(const RIPInfo<Pixel>& info, const Heights& heights,
                           const FX_D_Point& normal, A_long x, A_long y, Pixel* out);
  /// Everything after the sample, which is in out.
  static void LightSample(const RIPInfo<Pixel>& info, const Heights& heights,
                          const FX_D_Point& normal, A_long x, A_long y, Pixel* out);
  /// Scales the alpha of a pixel on the edge by the part of it that a linear field would cover.
  static void CoverEdge(const Heights& heights, Pixel* out);
};

#if defined(__x86_64__)
template <class Pixel>
[[gnu::target("avx2")]] PF_Err DrawAvx2(const RIPInfo<Pixel>& info, float here, float left,
                                        float up, A_long x, A_long y, Pixel* out);
#endif

/// An output pixel in layer units, measured from the input's corner.
template <class Pixel>
FX_D_Point OnLayer(const RIPInfo<Pixel>& info, A_long x, A_long y) {
  return {x * info.toLayerX + info.originX, y * info.toLayerY + info.originY, 0.0};
}

// Constants of the formulas.
inline constexpr double kMaxBlurRadius = 64.0;  // layer units
inline constexpr double kBlurPerOffset = 0.25;  // blur radius per displacement of the reflection
inline constexpr double kDivisionFloor = 1e-5;  // keeps a quotient finite at a divisor of 0
inline constexpr double kHalfPixelFixed = 32768.0;

}  // namespace vorlin
