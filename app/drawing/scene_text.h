#pragma once

#include <json/json.h>

#include <filesystem>
#include <string>

#include "pen_times.h"

namespace app {

/// A drawing as a scene's "Brush Position", each line after `indent`. A key is one line, in the
/// order in which people write it.
std::string BrushPositionText(const DrawnStrokes& drawn, const std::string& indent = {});

/// The spans in which the pen is down as a scene's "pen", with a comma; nothing when it always is.
std::string PenText(const DrawnStrokes& drawn, const std::string& indent = {});

/// A whole scene of a layer and a drawing. `more` holds further keys of the scene, as frame_rate;
/// `controls` other controls.
std::string SceneText(const std::filesystem::path& layer, const DrawnStrokes& drawn,
                      const Json::Value& more, const Json::Value& controls);

}  // namespace app
