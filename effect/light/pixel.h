// The three pixel types: their scales, and conversions between them and 0..1.
#pragma once

#include "light/geometry.h"
#include "pf_types.h"

namespace vorlin {

/// v truncated into 0..white; NaN gives 0. Without branches: a pixel's channels are as often white
/// as not.
inline int TruncWithin(double v, double white) {
  const double positive = v > 0.0 ? v : 0.0;
  return static_cast<int>(positive < white ? positive : white);
}

template <class Pixel>
struct PixelTraits;

template <>
struct PixelTraits<PF_Pixel> {
  static constexpr double kToUnit = 0.00392156862745098;  // 1 / 255
  static A_u_char FromUnit(double v) { return Clamped(v * 255.0); }
  static A_u_char Clamped(double v) { return static_cast<A_u_char>(TruncWithin(v, 255.0)); }
};

template <>
struct PixelTraits<PF_Pixel16> {
  static constexpr double kWhite = 32768.0;
  static constexpr double kToUnit = 3.0517578125e-05;  // 1 / 32768
  static A_u_short FromUnit(double v) { return Clamped(v * kWhite); }
  static A_u_short Clamped(double v) { return static_cast<A_u_short>(TruncWithin(v, kWhite)); }
};

template <>
struct PixelTraits<PF_PixelFloat> {
  static constexpr double kToUnit = 1.0;
  static float FromUnit(double v) { return static_cast<float>(v); }
  /// Float pixels are never clamped.
  static float Clamped(double v) { return static_cast<float>(v); }
};

/// Red, green and blue of the pixel on a 0..1 scale, times scale. The alpha is not meaningful.
template <class Pixel>
FX_Double_Pixel NormalizePixel(const Pixel& pixel, double scale) {
  const double factor = PixelTraits<Pixel>::kToUnit * scale;
  return {0.0, pixel.red * factor, pixel.green * factor, pixel.blue * factor};
}

/// Converts an 8-bit pixel to another depth; 255 becomes that depth's white.
template <class Pixel>
void AdaptDepth(const PF_Pixel& pixel, Pixel& out);

template <>
inline void AdaptDepth(const PF_Pixel& pixel, PF_Pixel16& out) {
  const auto deepen = [](int c) { return static_cast<A_u_short>((c * 32768 + 128) / 255); };
  out = {deepen(pixel.alpha), deepen(pixel.red), deepen(pixel.green), deepen(pixel.blue)};
}

template <>
inline void AdaptDepth(const PF_Pixel& pixel, PF_PixelFloat& out) {
  const auto unit = [](int c) { return static_cast<float>(c) * 0.003921569f; };  // 1 / 255
  out = {unit(pixel.alpha), unit(pixel.red), unit(pixel.green), unit(pixel.blue)};
}

}  // namespace vorlin
