#include "host/smart_commands.h"

#include <algorithm>

#include "host/controls.h"
#include "render/driver.h"

namespace vorlin {
namespace {

// Names of the two check-outs of the input: a look at its extent, and the pixels to be read.
constexpr A_long kProbeCheckout = 9999;
constexpr A_long kInputCheckout = 0;

bool IsEmpty(const PF_LRect& r) { return r.left >= r.right || r.top >= r.bottom; }

bool IsEmpty(const PF_EffectWorld& world) { return world.width <= 0 || world.height <= 0; }

/// bounds must not be empty. Unlike an intersection it keeps the result's edges inside bounds when
/// the two do not meet.
PF_LRect ClampedInto(const PF_LRect& r, const PF_LRect& bounds) {
  return {std::clamp(r.left, bounds.left, bounds.right),
          std::clamp(r.top, bounds.top, bounds.bottom),
          std::clamp(r.right, bounds.left, bounds.right),
          std::clamp(r.bottom, bounds.top, bounds.bottom)};
}

PF_Err CheckOutInput(Fxenv& env, PF_PreRenderExtra& extra, A_long checkout_id,
                     const PF_RenderRequest& request, PF_CheckoutResult& result) {
  const PF_InData& in = *env.inData;
  return extra.cb->checkout_layer(in.effect_ref, kInputLayer, checkout_id, &request,
                                  in.current_time, in.time_step, in.time_scale, &result);
}

}  // namespace

PF_Err SmartPreRender(Fxenv& env, PF_PreRenderExtra& extra) {
  PF_RenderRequest request = extra.input->output_request;
  request.rect = {0, 0, 1, 1};
  request.preserve_rgb_of_zero_alpha = 0;
  PF_CheckoutResult probe{};
  if (const PF_Err err = CheckOutInput(env, extra, kProbeCheckout, request, probe); err != 0) {
    return err;
  }

  // Any pixel of the layer may be mirrored in the stroke.
  const PF_LRect all = probe.max_result_rect;
  request.rect = all;
  PF_CheckoutResult unused{};
  if (const PF_Err err = CheckOutInput(env, extra, kInputCheckout, request, unused); err != 0) {
    return err;
  }

  extra.output->max_result_rect = all;
  extra.output->result_rect =
      IsEmpty(all) ? all : ClampedInto(extra.input->output_request.rect, all);
  return PF_Err_NONE;
}

PF_Err SmartRender(Fxenv& env, PF_SmartRenderExtra& extra) {
  PF_InData& in = *env.inData;
  PF_EffectWorld* input = nullptr;
  PF_EffectWorld* output = nullptr;
  if (const PF_Err err = extra.cb->checkout_layer_pixels(in.effect_ref, kInputCheckout, &input);
      err != 0) {
    return err;
  }
  if (const PF_Err err = extra.cb->checkout_output(in.effect_ref, &output); err != 0) return err;
  if (input == nullptr || output == nullptr) return PF_Err_NONE;

  env.output = output;
  env.input = input;
  env.extra = &extra;
  if (IsEmpty(extra.input->output_request.rect)) {
    return in.utils->fill(in.effect_ref, nullptr, nullptr, output);
  }
  if (IsEmpty(*input) || IsEmpty(*output)) return PF_Err_NONE;
  return RenderSmart(env);
}

}  // namespace vorlin
