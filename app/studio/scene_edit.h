#pragma once

#include <json/json.h>

#include <string>

namespace app {

/// The text of a scene with one value changed; everything else, comments too, stays as it is
/// written. An edit names the place by a path of keys and indices, as ["controls", "Density"], and
/// says what becomes of it:
///   {"path": [...], "set": value}     takes the place of what is there, or is added
///   {"path": [...], "insert": value}  goes before the element of that index of a list, or at its
///   end
///   {"path": [...], "remove": true}
/// Throws InputError when there is no such place, or the text is not JSON.
std::string Edited(const std::string& text, const Json::Value& edit);

/// A value as people write it in a scene: keys on a line each, numbers as short as they can be.
/// Further lines begin with `indent`.
std::string SceneValueText(const Json::Value& value, const std::string& indent);

}  // namespace app
