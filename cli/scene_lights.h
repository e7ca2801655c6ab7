#pragma once

#include "hosting/composition.h"
#include "json_position.h"

namespace cli {

/// Puts the lights of a list into the composition, the first on top. Throws InputError.
void ReadLights(const JsonText& json, const Json::Value& value, hosting::Composition& composition);

}  // namespace cli
