#pragma once

#include <json/json.h>

#include <string>
#include <vector>

#include "hosting/controls.h"

namespace app {

/// A JSON Schema (2020-12) of scenes: what the scene reader accepts, with the effect's own
/// controls.
Json::Value SceneSchema(const std::vector<hosting::ControlInfo>& controls);

/// The same for presets, which hold controls alone.
Json::Value PresetSchema(const std::vector<hosting::ControlInfo>& controls);

/// The page with its tables of a scene's keys written anew. They stand between the lines
/// "<!-- table: scene -->" and "<!-- end of table -->"; there are scene, key and lights. Throws
/// InputError when a table is unknown or has no end.
std::string WithTables(const std::string& page);

}  // namespace app
