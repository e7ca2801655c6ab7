// MainEntry: the library's one exported function. It dispatches the host's commands and is the
// fence behind which every exception becomes a result code.

#include <cstring>
#include <new>
#include <string>

#include "host/control_values.h"
#include "host/controls.h"
#include "host/fxenv.h"
#include "host/identity.h"
#include "host/smart_commands.h"
#include "host/supervision.h"
#include "render/driver.h"

namespace vorlin {
namespace {

PF_Err About(PF_InData* in_data, PF_OutData* out_data) {
  // The host's message, which may fill its record to the last byte.
  const std::string message(out_data->return_msg,
                            strnlen(out_data->return_msg, PF_MAX_EFFECT_MSG_LEN));
  // Room for the fixed text and that message.
  A_char text[2 * (PF_MAX_EFFECT_MSG_LEN + 1)] = {};
  in_data->utils->ansi.sprintf(text, "%s\r%s, v%d.%d  (%s)\r%s%s", kFamilyAndRelease, kEffectName,
                               kMajorVersion, kMinorVersion, kPlatformTag, kAboutBody,
                               message.c_str());
  text[PF_MAX_EFFECT_MSG_LEN] = '\0';
  in_data->utils->ansi.sprintf(out_data->return_msg, "%s", text);
  return PF_Err_NONE;
}

PF_Err GlobalSetup(PF_OutData* out_data) {
  out_data->my_version = kMyVersion;
  out_data->out_flags |= kOutFlags;
  out_data->out_flags2 |= kOutFlags2;
  return PF_Err_NONE;
}

PF_Err ParamsSetup(PF_InData* in_data, PF_OutData* out_data) {
  if (const PF_Err err = AddControls(in_data); err != 0) return err;
  out_data->num_params = kParamCount;
  return PF_Err_NONE;
}

PF_Err Render(Fxenv& env) {
  env.input = &env.params[kInputLayer]->u.ld;
  return RenderSmart(env);
}

PF_Err QueryDynamicFlags(Fxenv& env) {
  PF_InData* const in = env.inData;
  PF_OutFlags2& flags = env.outData->out_flags2;
  // Lights that were not seen are neither wanted nor ruled out: then the flag stays.
  flags = WithControl(in, kUsing, in->current_time, in->time_step, in->time_scale,
                      [&](PF_Err err, const PF_ParamDef& param) {
                        if (err != 0) return flags;
                        return param.u.pd.value == kEffectLight
                                   ? flags & ~PF_OutFlag2_I_USE_3D_LIGHTS
                                   : flags | PF_OutFlag2_I_USE_3D_LIGHTS;
                      });
  return PF_Err_NONE;
}

PF_Err Dispatch(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                PF_LayerDef* output, void* extra) {
  const auto in_environment = [&](PF_EffectWorld* world, auto handle) {
    Fxenv env(in_data, out_data, params, world);
    return handle(env);
  };
  switch (cmd) {
    case PF_Cmd_ABOUT:
      return About(in_data, out_data);
    case PF_Cmd_GLOBAL_SETUP:
      return GlobalSetup(out_data);
    case PF_Cmd_PARAMS_SETUP:
      return ParamsSetup(in_data, out_data);
    case PF_Cmd_RENDER:
      return in_environment(output, Render);
    case PF_Cmd_USER_CHANGED_PARAM:
    case PF_Cmd_UPDATE_PARAMS_UI:
      return in_environment(nullptr, SuperviseControls);
    case PF_Cmd_QUERY_DYNAMIC_FLAGS:
      return in_environment(nullptr, QueryDynamicFlags);
    case PF_Cmd_SMART_PRE_RENDER:
      return in_environment(nullptr, [&](Fxenv& env) {
        return SmartPreRender(env, *static_cast<PF_PreRenderExtra*>(extra));
      });
    case PF_Cmd_SMART_RENDER:
      return in_environment(nullptr, [&](Fxenv& env) {
        return SmartRender(env, *static_cast<PF_SmartRenderExtra*>(extra));
      });
    default:
      return PF_Err_NONE;
  }
}

}  // namespace
}  // namespace vorlin

extern "C" __attribute__((visibility("default"))) PF_Err MainEntry(PF_Cmd cmd, PF_InData* in_data,
                                                                   PF_OutData* out_data,
                                                                   PF_ParamDef* params[],
                                                                   PF_LayerDef* output,
                                                                   void* extra) {
  try {
    return vorlin::Dispatch(cmd, in_data, out_data, params, output, extra);
  } catch (const std::bad_alloc&) {
    return PF_Err_OUT_OF_MEMORY;
  } catch (int err) {
    return err;
  } catch (...) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
}
