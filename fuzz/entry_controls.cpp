#include <algorithm>
#include <climits>
#include <cmath>

#include "entry_callbacks.h"
#include "entry_running.h"
#include "invariant.h"

namespace fuzz {
namespace {

constexpr A_long kLastUpdated = 20;  // the control whose update gives a supervision's result

A_long Moved(A_long value, A_long slope, A_long time) {
  const double moved = value + static_cast<double>(slope) * time / 1024.0;
  return static_cast<A_long>(std::clamp(moved, double{INT_MIN}, double{INT_MAX}));
}

PF_Err CheckoutParam(PF_ProgPtr ref, A_long index, A_long time, A_long, A_u_long,
                     PF_ParamDef* param) {
  Require(ref == kRef, "another effect_ref");
  Require(index >= 1 && index <= kControls && param != nullptr, "no such control");
  const PF_Err err = Arrive(CallKind::kCheckoutParam);
  Now().check_outs.push_back(param);  // a refused one is checked in as well
  if (err != 0) return err;
  const auto at = static_cast<std::size_t>(index);
  *param = Now().plan.values[at];
  const auto [dx, dy] = Now().plan.slopes[at];
  if (param->param_type == PF_Param_POINT) {
    param->u.td.x_value = Moved(param->u.td.x_value, dx, time);
    param->u.td.y_value = Moved(param->u.td.y_value, dy, time);
  } else if (param->param_type == PF_Param_FIX_SLIDER) {
    param->u.fd.value = Moved(param->u.fd.value, dx, time);
  }
  return PF_Err_NONE;
}

PF_Err CheckinParam(PF_ProgPtr, PF_ParamDef* param) {
  auto& outs = Now().check_outs;
  const auto found = std::find(outs.rbegin(), outs.rend(), param);
  Require(found != outs.rend(), "a control checked in that was not checked out");
  outs.erase(std::next(found).base());
  return Arrive(CallKind::kCheckinParam);
}

PF_Err AddParam(PF_ProgPtr, A_long, PF_ParamDef*) { return Arrive(CallKind::kAddParam); }
PF_Err Progress(PF_ProgPtr, A_long, A_long) { return Arrive(CallKind::kProgress); }

}  // namespace

const PF_InteractCallbacks kInteract{CheckoutParam, CheckinParam, AddParam, Progress};

const PF_ParamUtilsSuite1 kParamUtils{[](PF_ProgPtr, A_long index, const PF_ParamDef* def) {
  Require(index >= 1 && index <= kControls && def != nullptr, "an update of no control");
  return Arrive(CallKind::kUpdateParamUI, index == kLastUpdated);
}};

const PF_ColorParamSuite1 kColorParam{[](PF_ProgPtr, const PF_ParamDef* def, PF_PixelFloat* color) {
  const auto& outs = Now().check_outs;
  Require(std::find(outs.begin(), outs.end(), def) != outs.end(), "a colour not checked out");
  if (const PF_Err err = Arrive(CallKind::kFloatColor)) return err;
  const PF_Pixel& value = def->u.cd.value;
  *color = {1, static_cast<float>(value.red) / 100.0F, static_cast<float>(value.green) / 255.0F,
            value.blue == 7 ? NAN : static_cast<float>(value.blue)};
  return PF_Err_NONE;
}};

}  // namespace fuzz
