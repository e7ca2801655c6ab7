#pragma once

#include <json/json.h>

#include <string>
#include <vector>

#include "hosting/controls.h"
#include "hosting/effect.h"

namespace app {

/// A line for each control, groups indented.
std::string ControlsAsText(const std::vector<hosting::ControlInfo>& controls,
                           const hosting::Panel& panel);

/// {"controls": [{"index": 1, "id": 1, "name": ..., "type": ..., "default": ...}, ...]}
Json::Value ControlsAsJson(const std::vector<hosting::ControlInfo>& controls,
                           const hosting::Panel& panel);

/// The name of a type, as "slider".
const char* TypeName(hosting::ControlType type);

/// A control's default as scenes write it; points in percent of the layer's size.
Json::Value DefaultAsJson(const hosting::ControlInfo& control);

}  // namespace app
