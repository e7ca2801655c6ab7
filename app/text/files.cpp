#include "files.h"

#include <dlfcn.h>
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

/// Of what this code is part of: the program, or a library that another program has loaded.
std::filesystem::path OwnFolder() {
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  Dl_info info{};
  static const int kHere = 0;
  // Of the program itself the system knows no more than what it was called as.
  if (dladdr(&kHere, &info) == 0 || std::strchr(info.dli_fname, '/') == nullptr) {
    return program.parent_path();
  }
  std::error_code ignored;
  const std::filesystem::path file = std::filesystem::canonical(info.dli_fname, ignored);
  return (file.empty() ? program : file).parent_path();
}

/// What belongs to this program: the first that is there of where builds have it, seen from the own
/// folder, and of `installed`, seen from a prefix; empty: it is nowhere.
std::filesystem::path FindOwn(std::vector<std::filesystem::path> places,
                              const std::filesystem::path& installed) {
  // Programs lie one folder below the prefix, libraries and Python's modules deeper.
  for (const char* const prefix : {"..", "../..", "../../..", "../../../.."}) {
    places.push_back(prefix / installed);
  }
  for (const std::filesystem::path& place : places) {
    std::error_code ignored;
    std::filesystem::path path = (OwnFolder() / place).lexically_normal();
    if (std::filesystem::exists(path, ignored)) return path;
  }
  return {};
}

std::filesystem::path Checked(const std::filesystem::path& path) {
  std::error_code ignored;
  if (std::filesystem::is_regular_file(path, ignored)) return path;
  throw FileError(fmt::format("there is no effect \"{}\"", path.string()));
}

std::filesystem::path PresetFolder() {
  return FindOwn({"../presets", "../../presets"}, VORLIN_INSTALLED_DATA "/presets");
}

}  // namespace

std::filesystem::path FindEffect(const std::filesystem::path& chosen) {
  if (!chosen.empty()) return Checked(chosen);
  const char* environment = std::getenv("VORLIN_EFFECT");
  if (environment != nullptr && *environment != '\0') return Checked(environment);

  std::filesystem::path effect =
      FindOwn({"../../effect/vorlin.so", "../../../effect/vorlin.so"}, VORLIN_INSTALLED_EFFECT);
  if (!effect.empty()) return effect;
  throw FileError(fmt::format(
      "the effect vorlin.so is not installed with \"{}\"; name it with --effect or VORLIN_EFFECT",
      OwnFolder().string()));
}

std::filesystem::path FindSample() {
  std::filesystem::path sample = FindOwn({"../sample"}, VORLIN_INSTALLED_DATA "/sample");
  if (!sample.empty()) return sample;
  throw FileError("the sample scene is not installed with this program; name a scene or a picture");
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
