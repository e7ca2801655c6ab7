#pragma once

#include <json/json.h>

#include <filesystem>
#include <string>
#include <vector>

namespace app {

/// The edits that lay a look over a scene, in place of all its controls but the brush's way: one of
/// the user's own, in that folder, or one of the program's. "" is the effect's defaults. Throws
/// Error.
Json::Value LookEdits(const std::string& name, const Json::Value& scene,
                      const std::filesystem::path& own = {});

/// Names of both kinds, sorted.
std::vector<std::string> LookNames(const std::filesystem::path& own);

}  // namespace app
