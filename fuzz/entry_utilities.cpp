#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "entry_callbacks.h"
#include "entry_running.h"
#include "invariant.h"

namespace fuzz {
namespace {

PF_Err Fill(PF_ProgPtr, const PF_Pixel* color, const PF_Rect* rect, PF_EffectWorld* view) {
  if (const PF_Err err = Arrive(CallKind::kFill)) return err;
  World& world = Now().Find(*view);
  Require(rect == nullptr && &world != &Now().input, "an odd fill");
  if (&world == &Now().output) Now().output_filled = true;
  for (A_long y = 0; y < world.view.height; ++y) {
    char* const row = world.Row(y);
    if (color == nullptr) {
      std::fill_n(row, world.row_pixels, '\0');
    } else {
      for (std::size_t at = 0; at < world.row_pixels; at += 4) std::memcpy(row + at, color, 4);
    }
  }
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err Iterate(PF_InData*, A_long, A_long, PF_EffectWorld* src, const PF_Rect* area, void* refcon,
               PF_IteratePixelFunc<Pixel> function, PF_EffectWorld* dst) {
  if (const PF_Err err = Arrive(CallKind::kIterate)) return err;
  const World& world = Now().Find(*dst);
  Require(src == nullptr && area == nullptr && &world == &Now().output, "an odd pass");
  if (world.pixel_bytes != sizeof(Pixel)) return PF_Err_BAD_CALLBACK_PARAM;
  const A_long width = std::max(dst->width, 0);
  const A_long count = width * std::max(dst->height, 0);
  for (A_long i = 0; i < count; ++i) {
    const A_long at = Now().command.backward ? count - 1 - i : i;
    auto* const row = reinterpret_cast<Pixel*>(world.Row(at / width));
    if (const PF_Err err = function(refcon, at % width, at / width, nullptr, row + at % width)) {
      return err;
    }
  }
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err Sample(PF_ProgPtr, PF_Fixed x, PF_Fixed y, const PF_SampPB* samp, Pixel* dst) {
  if (const PF_Err err = Arrive(CallKind::kSample)) return err;
  const World& world = Now().Find(*samp->src);
  Require(&world == &Now().input, "a sample of another world");
  Require(samp->x_radius >= 0 && samp->y_radius >= 0, "a negative radius");
  if (world.pixel_bytes != sizeof(Pixel)) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_EffectWorld& view = world.view;
  if (view.width <= 0 || view.height <= 0) return PF_Err_NONE;
  const PF_InData& in = Now().plan.in;
  const auto one = [](const PF_RationalScale& scale) { return scale.num == 1 && scale.den == 1; };
  if (one(in.downsample_x) && one(in.downsample_y) && one(in.pixel_aspect_ratio)) {
    Require(x >= 0 && x <= (view.width - 1) * 65536 && y >= 0 && y <= (view.height - 1) * 65536,
            "a sample outside the layer");
  }
  const A_long i = std::clamp(x / 65536, 0, view.width - 1);
  const A_long j = std::clamp(y / 65536, 0, view.height - 1);
  *dst = reinterpret_cast<const Pixel*>(world.Row(j))[i];
  return PF_Err_NONE;
}

template <double (*function)(double)>
A_FpLong Arithmetic(A_FpLong v) {
  Arrive(CallKind::kArithmetic);
  return function(v);
}

A_FpLong Pow(A_FpLong base, A_FpLong exponent) {
  Arrive(CallKind::kArithmetic);
  return std::pow(base, exponent);
}

A_long Sprintf(A_char* buffer, const A_char* format, ...) {
  Arrive(CallKind::kArithmetic);
  va_list args;
  va_start(args, format);
  const int n = std::vsprintf(buffer, format, args);
  va_end(args);
  return n;
}

A_char* Strcpy(A_char* to, const A_char* from) {
  Arrive(CallKind::kArithmetic);
  return std::strcpy(to, from);
}

}  // namespace

const PF_UtilCallbacks kUtilities{
    Fill,
    Iterate<PF_Pixel>,
    Iterate<PF_Pixel16>,
    {Arithmetic<std::cos>, Pow, Arithmetic<std::sin>, Arithmetic<std::sqrt>, Sprintf, Strcpy}};
const PF_Sampling8Suite1 kSampling8{nullptr, nullptr, Sample<PF_Pixel>};
const PF_Sampling16Suite1 kSampling16{nullptr, nullptr, Sample<PF_Pixel16>};
const PF_SamplingFloatSuite1 kSamplingFloat{nullptr, nullptr, Sample<PF_PixelFloat>};
const PF_iterateFloatSuite1 kIterateFloat{Iterate<PF_PixelFloat>};

}  // namespace fuzz
