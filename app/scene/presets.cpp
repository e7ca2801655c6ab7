#include "presets.h"

#include <fmt/format.h>

#include <algorithm>

#include "errors.h"
#include "program_paths.h"
#include "suggest.h"

namespace app {
namespace {

std::filesystem::path PresetFolder() {
  const std::filesystem::path program = ProgramFolder();
  std::filesystem::path built = (program / "../presets").lexically_normal();
  std::error_code ignored;
  if (std::filesystem::is_directory(built, ignored)) return built;
  return (program / VORLIN_INSTALLED_PRESETS).lexically_normal();
}

}  // namespace

std::vector<std::string> PresetNames() {
  std::vector<std::string> names;
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(PresetFolder(), none)) {
    const std::filesystem::path name = entry.path().stem();
    // Other files there, as the schema, have a second extension.
    if (entry.path().extension() == ".json" && !name.has_extension()) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::filesystem::path FindPreset(const std::filesystem::path& chosen) {
  std::error_code ignored;
  const bool is_name = !chosen.has_parent_path() && !chosen.has_extension();
  if (!is_name || std::filesystem::exists(chosen, ignored)) return chosen;
  const std::vector<std::string> names = PresetNames();
  if (std::find(names.begin(), names.end(), chosen.string()) == names.end()) {
    std::string hint = DidYouMean(chosen.string(), names);
    if (hint.empty()) hint = fmt::format("; there are {}", fmt::join(names, ", "));
    throw InputError(fmt::format("there is no preset \"{}\"{}", chosen.string(), hint));
  }
  return PresetFolder() / (chosen.string() + ".json");
}

}  // namespace app
