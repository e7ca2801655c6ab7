#include "hosting/calls.h"

#include <array>
#include <charconv>

namespace hosting {

const char* Name(CallKind kind) {
  static constexpr std::array kNames{
      "add_param",
      "checkout_param",
      "checkin_param",
      "progress",
      "fill",
      "iterate",
      "iterate16",
      "iterate_float",
      "cos",
      "pow",
      "sin",
      "sqrt",
      "sprintf",
      "strcpy",
      "checkout_layer",
      "checkout_layer_pixels",
      "checkout_output",
      "AcquireSuite",
      "ReleaseSuite",
      "new_world",
      "dispose_world",
      "PF_NewWorld",
      "PF_DisposeWorld",
      "PF_GetPixelFormat",
      "PF_UpdateParamUI",
      "area_sample",
      "area_sample16",
      "area_sample_float",
      "PF_GetFloatingPointColorFromColorDef",
      "AEGP_GetEffectLayer",
      "AEGP_ConvertEffectToCompTime",
      "AEGP_GetCompNumLayers",
      "AEGP_GetCompLayerByIndex",
      "AEGP_GetLayerParentComp",
      "AEGP_IsVideoActive",
      "AEGP_GetLayerObjectType",
      "AEGP_GetLayerToWorldXformFromView",
      "AEGP_GetLightType",
      "AEGP_GetLayerStreamValue",
  };
  static_assert(kNames.size() == static_cast<std::size_t>(CallKind::kGetLayerStreamValue) + 1);
  return kNames[static_cast<std::size_t>(kind)];
}

std::string Call::Text() const {
  std::string text = std::string(Name(kind)) + "(";
  for (std::size_t i = 0; i < argument_count; ++i) {
    const Argument& argument = arguments[i];
    if (i > 0) text += ' ';
    if (argument.label[0] != '\0') text += std::string(argument.label) + "=";
    if (const auto* word = std::get_if<std::string_view>(&argument.value)) {
      text += '"';
      text += *word;
      text += '"';
    } else if (const auto* real = std::get_if<double>(&argument.value)) {
      char digits[32];
      text.append(digits, std::to_chars(digits, digits + sizeof digits, *real).ptr);
    } else {
      text += std::to_string(std::get<std::int64_t>(argument.value));
    }
  }
  return text + ")";
}

}  // namespace hosting
