#include "render/blob.h"

#include "render/force_field.h"
#include "render/stroke_pixel.h"

namespace vorlin {
namespace {

template <class Pixel>
const StrokePixelFunc<Pixel> kDrawStroke = StrokePixels<Pixel>().back().draw;

}  // namespace

// Most pixels hold no stroke: they cost a few comparisons and no stack frame.
template <class Pixel>
PF_Err BlobRIP(void* refcon, A_long x, A_long y, Pixel* /*in*/, Pixel* out) {
  const auto& info = *static_cast<const RIPInfo<Pixel>*>(refcon);
  const float* const cell = FieldRow(*info.field, y) + x;
  const float here = *cell;
  const float left = x == 0 ? here : cell[-1];
  const float up = y == 0 ? here : cell[-info.fieldStride];
  if (here < 0.0F && left < 0.0F && up < 0.0F) [[likely]]
    return PF_Err_NONE;
  return kDrawStroke<Pixel>(info, here, left, up, x, y, out);
}

template PF_Err BlobRIP<PF_Pixel>(void*, A_long, A_long, PF_Pixel*, PF_Pixel*);
template PF_Err BlobRIP<PF_Pixel16>(void*, A_long, A_long, PF_Pixel16*, PF_Pixel16*);
template PF_Err BlobRIP<PF_PixelFloat>(void*, A_long, A_long, PF_PixelFloat*, PF_PixelFloat*);

}  // namespace vorlin
