#pragma once

#include <json/json.h>

#include <vector>

#include "hosting/controls.h"

namespace app {

/// A JSON Schema (2020-12) of scenes: what the scene reader accepts, with the effect's own
/// controls.
Json::Value SceneSchema(const std::vector<hosting::ControlInfo>& controls);

/// The same for presets, which hold controls alone.
Json::Value PresetSchema(const std::vector<hosting::ControlInfo>& controls);

}  // namespace app
