// The effect's controls: one table from which parameter setup and read-out are derived.
#pragma once

#include <array>

#include "pf_effect.h"

namespace vorlin {

/// Position in the host's params array; 0 is the input layer.
enum ControlIndex : int {
  kInputLayer = 0,
  kBrushPosition = 1,
  kStrokeWidth = 2,
  kDensity = 3,
  kTimeSpan = 4,
  kReflection = 5,
  kStrength = 6,
  kStyleGroup = 7,
  kPaintStyle = 8,
  kWobbleWidth = 9,
  kWobbleHeight = 10,
  kWobbleSpeed = 11,
  kStyleGroupEnd = 12,
  kLightGroup = 13,
  kUsing = 14,
  kLightIntensity = 15,
  kLightColor = 16,
  kLightType = 17,
  kLightHeight = 18,
  kLightPosition = 19,
  kLightDirection = 20,
  kLightGroupEnd = 21,
  kShadingGroup = 22,
  kAmbient = 23,
  kDiffuse = 24,
  kSpecular = 25,
  kRoughness = 26,
  kMetal = 27,
  kShadingGroupEnd = 28,
};
inline constexpr int kControlCount = 28;
inline constexpr int kParamCount = kControlCount + 1;

/// Choices of the popups.
enum PaintStyle : int { kPlain = 1, kWobbly = 2 };
enum Using : int { kEffectLight = 1, kAELights = 2 };
enum LightType : int { kDistantLight = 1, kPointLight = 2 };

/// Of a slider, in its displayed unit.
struct Range {
  double min;
  double max;
};

/// A control as it is handed to the host, its value being the default. The record has no name yet:
/// the host's own strcpy writes that.
struct Control {
  const char* name;  // empty: none
  PF_ParamDef param;
};

/// All controls in order: the control of an index stands at index - 1.
const std::array<Control, kControlCount>& Controls();

/// The record that stands for a control, from 1 to kControlCount, whose value the host refuses: its
/// default; for a point that is its part of the layer, in buffer pixels.
PF_ParamDef DefaultParam(const PF_InData& in_data, int index);

/// Hands all controls to the host in order; stops at and returns the first non-zero result.
PF_Err AddControls(PF_InData* in_data);

}  // namespace vorlin
