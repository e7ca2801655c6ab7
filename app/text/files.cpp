#include "files.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "errors.h"
#include "suggest.h"

namespace app {
namespace {

/// That this program was started from.
std::filesystem::path ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::filesystem::path Checked(const std::filesystem::path& path) {
  std::error_code ignored;
  if (std::filesystem::is_regular_file(path, ignored)) return path;
  throw FileError(fmt::format("there is no effect \"{}\"", path.string()));
}

std::filesystem::path PresetFolder() {
  const std::filesystem::path program = ProgramFolder();
  std::filesystem::path built = (program / "../presets").lexically_normal();
  std::error_code ignored;
  if (std::filesystem::is_directory(built, ignored)) return built;
  return (program / VORLIN_INSTALLED_PRESETS).lexically_normal();
}

}  // namespace

std::filesystem::path FindEffect(const std::filesystem::path& chosen) {
  if (!chosen.empty()) return Checked(chosen);
  const char* environment = std::getenv("VORLIN_EFFECT");
  if (environment != nullptr && *environment != '\0') return Checked(environment);

  const std::filesystem::path folder = ProgramFolder();
  for (const char* place : {"../../effect/vorlin.so", VORLIN_INSTALLED_EFFECT}) {
    std::filesystem::path path = (folder / place).lexically_normal();
    std::error_code ignored;
    if (std::filesystem::is_regular_file(path, ignored)) return path;
  }
  throw FileError(fmt::format(
      "the effect vorlin.so is not installed with \"{}\"; name it with --effect or VORLIN_EFFECT",
      folder.string()));
}

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

std::string ExtensionOf(const std::filesystem::path& name) {
  std::string extension = name.extension().string();
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return extension;
}

std::string ReadTextFile(const std::filesystem::path& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    throw FileError(fmt::format("cannot read \"{}\": {}", path.string(), std::strerror(EISDIR)));
  }
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::string text;
  if (file) text.assign(std::istreambuf_iterator<char>(file), {});
  if (!file) {
    throw FileError(fmt::format("cannot read \"{}\": {}", path.string(), std::strerror(errno)));
  }
  return text;
}

}  // namespace app
