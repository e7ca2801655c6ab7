#pragma once

#include <json/json.h>

#include <string>
#include <vector>

#include "hosting/controls.h"
#include "hosting/effect.h"
#include "scene_format.h"

namespace app {

/// A line for each control, groups indented.
std::string ControlsAsText(const std::vector<hosting::ControlInfo>& controls,
                           const hosting::Panel& panel);

/// {"controls": [{"index": 1, "id": 1, "name": ..., "type": ..., "default": ...}, ...]}
Json::Value ControlsAsJson(const std::vector<hosting::ControlInfo>& controls,
                           const hosting::Panel& panel);

/// What an effect's control may be, as the effect set it up itself.
KeyFormat ControlFormat(const hosting::ControlInfo& control);
/// All that have a value.
ObjectFormat ControlsFormat(const std::vector<hosting::ControlInfo>& controls);

}  // namespace app
