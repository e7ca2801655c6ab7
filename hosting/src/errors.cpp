#include "hosting/errors.h"

namespace hosting {

std::string CommandName(PF_Cmd command) {
  switch (command) {
    case PF_Cmd_ABOUT:
      return "PF_Cmd_ABOUT";
    case PF_Cmd_GLOBAL_SETUP:
      return "PF_Cmd_GLOBAL_SETUP";
    case PF_Cmd_PARAMS_SETUP:
      return "PF_Cmd_PARAMS_SETUP";
    case PF_Cmd_RENDER:
      return "PF_Cmd_RENDER";
    case PF_Cmd_USER_CHANGED_PARAM:
      return "PF_Cmd_USER_CHANGED_PARAM";
    case PF_Cmd_UPDATE_PARAMS_UI:
      return "PF_Cmd_UPDATE_PARAMS_UI";
    case PF_Cmd_QUERY_DYNAMIC_FLAGS:
      return "PF_Cmd_QUERY_DYNAMIC_FLAGS";
    case PF_Cmd_SMART_PRE_RENDER:
      return "PF_Cmd_SMART_PRE_RENDER";
    case PF_Cmd_SMART_RENDER:
      return "PF_Cmd_SMART_RENDER";
    default:
      return "command " + std::to_string(command);
  }
}

std::string CodeName(PF_Err code) {
  switch (code) {
    case PF_Err_NONE:
      return "PF_Err_NONE";
    case PF_Err_OUT_OF_MEMORY:
      return "PF_Err_OUT_OF_MEMORY";
    case PF_Err_BAD_CALLBACK_PARAM:
      return "PF_Err_BAD_CALLBACK_PARAM";
    case PF_Interrupt_CANCEL:
      return "PF_Interrupt_CANCEL";
    default:
      return "code " + std::to_string(code);
  }
}

EffectError::EffectError(PF_Cmd command, PF_Err code)
    : Error("the effect answered " + CommandName(command) + " with " + std::to_string(code) + " (" +
            CodeName(code) + ")"),
      command_(command),
      code_(code) {}

}  // namespace hosting
