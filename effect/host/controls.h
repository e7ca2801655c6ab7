// The effect's controls: one table from which parameter setup and read-out are derived.
#pragma once

#include <array>
#include <variant>

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

struct Range {
  double min;
  double max;
};

struct GroupStart {};
struct GroupEnd {};
struct Slider {
  Range valid;
  Range slider;
  double dephault;
  A_short precision = 1;
  A_short display_flags = 0;
};
struct Popup {
  const char* choices;  // separated by '|'
  A_short num_choices;
  A_short dephault;
};
struct Point {
  double x_percent;  // of the layer's width and height
  double y_percent;
};
struct Color {
  PF_Pixel dephault;
};
struct Angle {
  double degrees;
};

struct Control {
  ControlIndex index;
  A_long id;  // what saved work knows the control by: frozen
  const char* name;
  std::variant<GroupStart, GroupEnd, Slider, Popup, Point, Color, Angle> kind;
  PF_ParamFlags flags = 0;
  PF_ParamUIFlags ui_flags = 0;
};

/// In order of index, from 1.
extern const std::array<Control, kControlCount> kControls;

/// The control's record as given to the host, its value being the default, but without its name.
PF_ParamDef DefaultParam(const Control& control);
/// The same for an index from 1 to kControlCount.
PF_ParamDef DefaultParam(int index);

/// Hands all controls to the host in order; stops at and returns the first non-zero result.
PF_Err AddControls(PF_InData* in_data);

}  // namespace vorlin
