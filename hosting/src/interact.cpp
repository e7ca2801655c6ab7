// Callbacks about the applied effect: its controls and its progress.
#include "command.h"
#include "hosting/errors.h"

namespace hosting {
namespace {

PF_Err CheckoutParam(PF_ProgPtr effect_ref, A_long index, A_long what_time, A_long time_step,
                     A_u_long time_scale, PF_ParamDef* param) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_Err err =
      command->Arrive(CallKind::kCheckoutParam,
                      {Arg("", index), Arg("", command->ControlName(index)), Arg("t", what_time),
                       Arg("step", time_step), Arg("scale", time_scale)});
  const double seconds = time_scale == 0 ? 0 : static_cast<double>(what_time) / time_scale;
  // A refused check-out is checked in like any other.
  command->ledger.Add({param, index, seconds});
  if (err != 0) return err;
  const Setup* const setup = command->setup;
  if (setup == nullptr || time_scale == 0 || index < 1 ||
      index > static_cast<A_long>(setup->controls.controls().size())) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *param = setup->controls.At(index, seconds, command->downsample_x, command->downsample_y);
  return PF_Err_NONE;
}

PF_Err CheckinParam(PF_ProgPtr effect_ref, PF_ParamDef* param) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const Ledger::CheckOut* const check_out = command->ledger.Find(param);
  const int index = check_out == nullptr ? -1 : check_out->index;
  command->ledger.CheckIn(param);
  return command->Arrive(CallKind::kCheckinParam,
                         {Arg("", index), Arg("", command->ControlName(index))});
}

PF_Err AddParam(PF_ProgPtr effect_ref, A_long index, PF_ParamDef* def) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_Err err = command->Arrive(CallKind::kAddParam, {Arg("", index), Arg("id", def->uu.id)});
  if (err != 0) return err;
  std::vector<ControlInfo>* const controls = command->new_controls;
  if (controls == nullptr || index != -1) return PF_Err_BAD_CALLBACK_PARAM;
  try {
    controls->push_back(DescribeControl(static_cast<int>(controls->size()) + 1, *def));
  } catch (const Error& error) {
    command->ledger.Note(error.what());
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return PF_Err_NONE;
}

PF_Err ShowProgress(PF_ProgPtr effect_ref, A_long current, A_long total) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_Err err = command->Arrive(CallKind::kProgress, {Arg("", current), Arg("of", total)});
  if (err != 0) return err;
  const Progress* const progress = command->progress;
  const bool go_on = progress == nullptr || !*progress || (*progress)(current, total);
  return go_on ? PF_Err_NONE : PF_Interrupt_CANCEL;
}

}  // namespace

PF_InteractCallbacks InteractCallbacks() {
  return {CheckoutParam, CheckinParam, AddParam, ShowProgress};
}

}  // namespace hosting
