#pragma once

#include "hosting/controls.h"
#include "json_position.h"

namespace app {

/// Sets the controls that `value` names, as {"Stroke Width": 6.5, "Paint Style": "Wobbly"}. Names,
/// types, choices and ranges are those of `controls`. Throws InputError.
void ReadControls(const JsonText& json, const Json::Value& value, hosting::ControlTracks& controls);

}  // namespace app
