#pragma once

#include <set>
#include <string>
#include <vector>

#include "hosting/composition.h"
#include "json_position.h"

namespace app {

/// What a scene may say of one type of light.
struct LightKeys {
  std::string type;
  std::set<std::string> keys;
  bool needs_position = false;
};

/// In the order of hosting::LightKind.
const std::vector<LightKeys>& KeysOfLights();

/// Puts the lights of a list into the composition, the first on top. Throws InputError.
void ReadLights(const JsonText& json, const Json::Value& value, hosting::Composition& composition);

}  // namespace app
