#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "hosting/controls.h"
#include "scene_node.h"

namespace app {

/// Sets the controls that an object names, as {"Stroke Width": 6.5, "Paint Style": "Wobbly"}.
/// Names, types, choices and ranges are those of `controls`. Throws InputError.
void ReadControls(const Node& node, hosting::ControlTracks& controls);

/// What is laid over a scene's own controls, in this order.
struct SceneChanges {
  std::filesystem::path preset;       // a file {"controls": {...}}; empty: none
  std::vector<std::string> settings;  // as "Stroke Width=6" or "Paint Style=Wobbly"
};

/// Those as one object of controls, later ones in place of earlier ones. Throws Error.
Json::Value ChangedControls(const SceneChanges& changes);

/// Throws Error when a file cannot be read, or a preset or setting is wrong.
void ApplyChanges(const SceneChanges& changes, hosting::ControlTracks& controls);

}  // namespace app
