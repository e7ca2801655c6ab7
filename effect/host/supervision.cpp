#include "host/supervision.h"

#include "host/controls.h"

namespace vorlin {
namespace {

bool HasTwirlDown(PF_ParamType type) {
  switch (type) {
    case PF_Param_LAYER:
    case PF_Param_CHECKBOX:
    case PF_Param_COLOR:
    case PF_Param_POINT:
    case PF_Param_POPUP:
    case PF_Param_ARBITRARY_DATA:
    case PF_Param_PATH:
      return false;
    default:
      return true;
  }
}

PF_Err Update(Fxenv& env, int index, const PF_ParamDef& shown) {
  return env.suites.Use(kParamUtilsSuite, &PF_ParamUtilsSuite1::PF_UpdateParamUI)(
      env.inData->effect_ref, index, &shown);
}

PF_Err Show(Fxenv& env, int index, bool enabled) {
  return enabled ? FXE_EnableEffectControl(env, index) : FXE_DisableEffectControl(env, index);
}

}  // namespace

PF_Err FXE_EnableEffectControl(Fxenv& env, int index) {
  PF_ParamDef shown = *env.params[index];
  shown.ui_flags &= ~PF_PUI_DISABLED;
  return Update(env, index, shown);
}

PF_Err FXE_DisableEffectControl(Fxenv& env, int index) {
  PF_ParamDef shown = *env.params[index];
  shown.ui_flags |= PF_PUI_DISABLED;
  if (HasTwirlDown(shown.param_type)) shown.flags |= PF_ParamFlag_COLLAPSE_TWIRLY;
  return Update(env, index, shown);
}

PF_Err SuperviseControls(Fxenv& env) {
  const auto choice = [&](int index) { return env.params[index]->u.pd.value; };
  const bool wobbly = choice(kPaintStyle) != kPlain;
  const bool effect_light = choice(kUsing) == kEffectLight;
  const bool distant = choice(kLightType) == kDistantLight;

  for (const int index : {kWobbleWidth, kWobbleHeight, kWobbleSpeed}) Show(env, index, wobbly);
  for (const int index : {kLightIntensity, kLightColor, kLightType, kLightHeight}) {
    Show(env, index, effect_light);
  }
  Show(env, kLightPosition, effect_light && !distant);
  return Show(env, kLightDirection, effect_light && distant);
}

}  // namespace vorlin
