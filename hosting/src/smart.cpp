// Callbacks of smart render.
#include <algorithm>

#include "command.h"
#include "rects.h"

namespace hosting {
namespace {

PF_Err CheckoutLayer(PF_ProgPtr effect_ref, A_long index, A_long checkout_id,
                     const PF_RenderRequest* req, A_long what_time, A_long time_step,
                     A_u_long time_scale, PF_CheckoutResult* result) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_LRect& asked = req->rect;
  const PF_Err err =
      command->Arrive(CallKind::kCheckoutLayer,
                      {Arg("", index), Arg("id", checkout_id), Arg("left", asked.left),
                       Arg("top", asked.top), Arg("right", asked.right),
                       Arg("bottom", asked.bottom), Arg("t", what_time), Arg("scale", time_scale)});
  if (err != 0) return err;
  SmartFrame* const smart = command->smart;
  // There is one layer, and its picture is at hand for the frame's own time only.
  const PF_InData& in = command->in_data;
  if (command->cmd() != PF_Cmd_SMART_PRE_RENDER || smart == nullptr || index != 0 ||
      what_time != in.current_time || time_step != in.time_step || time_scale != in.time_scale) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const auto same = [&](const SmartFrame::CheckOut& c) { return c.id == checkout_id; };
  if (checkout_id < 0 || std::any_of(smart->check_outs.begin(), smart->check_outs.end(), same)) {
    command->ledger.Note("checkout_layer with id " + std::to_string(checkout_id) +
                         ", which is negative or taken");
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const PF_LRect rect = Intersection(asked, smart->bounds);
  smart->check_outs.push_back({checkout_id, rect, {}});
  *result = {rect, smart->bounds};
  return PF_Err_NONE;
}

PF_Err CheckoutLayerPixels(PF_ProgPtr effect_ref, A_long checkout_id, PF_EffectWorld** pixels) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_Err err = command->Arrive(CallKind::kCheckoutLayerPixels, {Arg("id", checkout_id)});
  if (err != 0) return err;
  if (command->cmd() != PF_Cmd_SMART_RENDER || command->smart == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  auto& check_outs = command->smart->check_outs;
  const auto at = std::find_if(check_outs.begin(), check_outs.end(),
                               [&](const SmartFrame::CheckOut& c) { return c.id == checkout_id; });
  if (at == check_outs.end()) {
    command->ledger.Note("checkout_layer_pixels with id " + std::to_string(checkout_id) +
                         ", which no checkout_layer announced");
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *pixels = nullptr;
  if (IsEmpty(at->rect)) return PF_Err_NONE;
  World& input = *command->input;
  command->Lend(input);
  PF_EffectWorld& view = at->view;
  view = input.record();
  view.data = reinterpret_cast<PF_Pixel*>(input.RowBytes(at->rect.top) +
                                          static_cast<std::size_t>(at->rect.left) *
                                              PixelSize(input.depth()));
  view.width = at->rect.right - at->rect.left;
  view.height = at->rect.bottom - at->rect.top;
  view.origin_x = at->rect.left;
  view.origin_y = at->rect.top;
  *pixels = &view;
  return PF_Err_NONE;
}

PF_Err CheckoutOutput(PF_ProgPtr effect_ref, PF_EffectWorld** output) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_Err err = command->Arrive(CallKind::kCheckoutOutput, {});
  if (err != 0) return err;
  if (command->cmd() != PF_Cmd_SMART_RENDER || command->output == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  command->Lend(*command->output);
  *output = command->output->lend();
  return PF_Err_NONE;
}

}  // namespace

PF_PreRenderCallbacks PreRenderCallbacks() { return {CheckoutLayer}; }

PF_SmartRenderCallbacks SmartRenderCallbacks() { return {CheckoutLayerPixels, CheckoutOutput}; }

}  // namespace hosting
