#pragma once

#include "hosting/controls.h"
#include "scene_node.h"

namespace app {

/// What an effect's control may be, as the effect set it up itself.
KeyFormat ControlFormat(const hosting::ControlInfo& control);
/// All that have a value.
ObjectFormat ControlsFormat(const std::vector<hosting::ControlInfo>& controls);

/// Sets the controls that an object names, as {"Stroke Width": 6.5, "Paint Style": "Wobbly"}.
/// Names, types, choices and ranges are those of `controls`. Throws InputError.
void ReadControls(const Node& node, hosting::ControlTracks& controls);

}  // namespace app
