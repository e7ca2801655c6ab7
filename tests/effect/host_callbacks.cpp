// The host's callbacks: numbers, controls, filling, worlds for smart render.
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "host_state.h"

namespace testhost {
namespace {

// Slightly other numbers than the library's, so that whoever does not ask the host is seen.
double Own(double v) { return g_host->s.exact_math ? v : v * (1.0 + 0x1p-40); }
double Cos(double v) {
  g_host->Note(Callback::kCos, v);
  return Own(std::cos(v));
}
double Sin(double v) {
  g_host->Note(Callback::kSin, v);
  return Own(std::sin(v));
}
double Sqrt(double v) {
  g_host->Note(Callback::kSqrt, v);
  return Own(std::sqrt(v));
}
double Pow(double v, double e) {
  g_host->Note(Callback::kPow, v, e);
  return Own(std::pow(v, e));
}

A_long Sprintf(A_char* to, const A_char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char text[2048];
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  g_host->Note(Callback::kSprintf, std::string_view(format), std::string_view(text));
  std::strcpy(to, text);
  return length;
}

A_char* Strcpy(A_char* to, const A_char* from) {
  g_host->Note(Callback::kStrcpy, std::string_view(from));
  return std::strcpy(to, from);
}

PF_Err CheckoutParam(PF_ProgPtr ref, A_long index, A_long time, A_long step, A_u_long scale,
                     PF_ParamDef* param) {
  Host& h = *g_host;
  ++h.lent_params[param];
  const Verdict v = h.Note(Callback::kCheckoutParam, ref == kEffectRef, index, time, step, scale);
  if (!v.act) return v.code;
  const ControlValue& value = h.s.controls[static_cast<std::size_t>(index)];
  *param = h.params[static_cast<std::size_t>(index)];
  param->param_type = kTypes[index];
  switch (param->param_type) {
    case PF_Param_FIX_SLIDER:
      param->u.fd.value = value.x.At(time);
      break;
    case PF_Param_ANGLE:
      param->u.ad.value = value.x.At(time);
      break;
    case PF_Param_POPUP:
      param->u.pd.value = value.x.At(time);
      break;
    case PF_Param_COLOR:
      param->u.cd.value = value.color;
      break;
    case PF_Param_POINT:
      param->u.td.x_value = value.x.At(time);
      param->u.td.y_value = value.y.At(time);
      break;
    default:
      h.Blame("a control without a value was checked out");
  }
  return v.code;
}

PF_Err CheckinParam(PF_ProgPtr ref, PF_ParamDef* param) {
  Host& h = *g_host;
  if (h.lent_params[param]-- <= 0) h.Blame("a control was checked in that was not out");
  return h.Note(Callback::kCheckinParam, ref == kEffectRef).code;
}

PF_Err AddParam(PF_ProgPtr ref, A_long index, PF_ParamDef* def) {
  PF_ParamDef copy = *def;
  std::string choices;
  if (copy.param_type == PF_Param_POPUP) choices = std::exchange(copy.u.pd.u.namesptr, nullptr);
  return g_host
      ->Note(Callback::kAddParam, ref == kEffectRef, index, std::string_view(def->name), def->uu.id,
             def->param_type, std::string_view(choices), Bytes(copy))
      .code;
}

PF_Err Progress(PF_ProgPtr ref, A_long current, A_long total) {
  return g_host->Note(Callback::kProgress, ref == kEffectRef, current, total).code;
}

int PixelBytes(const PF_EffectWorld& world) {
  const Host& h = *g_host;
  if (h.Name(&world) == 3) return 4;
  return h.s.format == PF_PixelFormat_ARGB128 ? 16 : h.s.format == PF_PixelFormat_ARGB64 ? 8 : 4;
}

PF_Err Fill(PF_ProgPtr ref, const PF_Pixel* color, const PF_Rect* rect, PF_EffectWorld* world) {
  Host& h = *g_host;
  const Verdict v =
      h.Note(Callback::kFill, ref == kEffectRef, color,
             color == nullptr ? std::string_view() : Bytes(*color), rect, h.Name(world));
  if (!v.act) return v.code;
  const auto row = static_cast<std::size_t>(world->width * PixelBytes(*world));
  for (A_long y = 0; y < world->height; ++y) {
    auto* to = reinterpret_cast<std::byte*>(world->data) + std::ptrdiff_t{y} * world->rowbytes;
    for (std::size_t i = 0; i < row; ++i) {
      to[i] = color == nullptr ? std::byte{} : reinterpret_cast<const std::byte*>(color)[i % 4];
    }
  }
  return v.code;
}

PF_Err CheckoutLayer(PF_ProgPtr ref, A_long index, A_long id, const PF_RenderRequest* request,
                     A_long time, A_long step, A_u_long scale, PF_CheckoutResult* result) {
  Host& h = *g_host;
  const Verdict v =
      h.Note(Callback::kCheckoutLayer, ref == kEffectRef, index, id, request->rect.left,
             request->rect.top, request->rect.right, request->rect.bottom, request->field,
             request->channel_mask, request->preserve_rgb_of_zero_alpha, time, step, scale);
  if (!v.act) return v.code;
  *result = {{-3, -4, 1000, 2000}, h.s.max_rect};
  if (id == 0) result->max_result_rect = {-9, -9, 900, 900};  // not to be used
  return v.code;
}

PF_Err CheckoutLayerPixels(PF_ProgPtr ref, A_long id, PF_EffectWorld** world) {
  Host& h = *g_host;
  const Verdict v = h.Note(Callback::kCheckoutLayerPixels, ref == kEffectRef, id);
  *world = v.act && !h.s.input.null ? &h.input : nullptr;
  return v.code;
}

PF_Err CheckoutOutput(PF_ProgPtr ref, PF_EffectWorld** world) {
  Host& h = *g_host;
  const Verdict v = h.Note(Callback::kCheckoutOutput, ref == kEffectRef);
  *world = v.act && !h.s.output.null ? &h.output : nullptr;
  return v.code;
}

}  // namespace

PF_InteractCallbacks g_interact{CheckoutParam, CheckinParam, AddParam, Progress};
PF_UtilCallbacks g_utils{Fill,
                         Iterate<PF_Pixel, Callback::kIterate>,
                         Iterate<PF_Pixel16, Callback::kIterate16>,
                         {Cos, Pow, Sin, Sqrt, Sprintf, Strcpy}};
PF_PreRenderCallbacks g_pre_render{CheckoutLayer};
PF_SmartRenderCallbacks g_smart_render{CheckoutLayerPixels, CheckoutOutput};

}  // namespace testhost
