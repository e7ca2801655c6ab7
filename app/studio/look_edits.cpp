#include "look_edits.h"

#include <fmt/format.h>

#include <algorithm>

#include "errors.h"
#include "files.h"
#include "json_text.h"
#include "scene_controls.h"

namespace app {
namespace {

std::filesystem::path LookFile(const std::string& name, const std::filesystem::path& folder) {
  const std::filesystem::path own = folder / (name + ".json");
  std::error_code ignored;
  if (name.find_first_of("/.") != name.npos) {
    throw InputError(fmt::format("there is no look \"{}\"", name));
  }
  return std::filesystem::exists(own, ignored) ? own : FindPreset(name);
}

}  // namespace

Json::Value LookEdits(const std::string& name, const Json::Value& scene,
                      const std::filesystem::path& own) {
  Json::Value edits(Json::arrayValue);
  const Json::Value looks = name.empty()
                                ? Json::Value(Json::objectValue)
                                : ChangedControls({.preset = LookFile(name, own), .settings = {}});
  const auto edit = [&](const std::string& control) -> Json::Value& {
    Json::Value one;
    one["path"] = JsonList("controls", control);
    return edits.append(one);
  };
  for (const std::string& control : scene["controls"].getMemberNames()) {
    if (control != "Brush Position" && !looks.isMember(control)) edit(control)["remove"] = true;
  }
  for (const std::string& control : looks.getMemberNames()) edit(control)["set"] = looks[control];
  return edits;
}

std::vector<std::string> LookNames(const std::filesystem::path& own) {
  std::vector<std::string> names = PresetNames();
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(own, none)) {
    if (entry.path().extension() == ".json") names.push_back(entry.path().stem());
  }
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

}  // namespace app
