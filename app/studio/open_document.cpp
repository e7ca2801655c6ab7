#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>

#include "errors.h"
#include "file_pattern.h"
#include "files.h"
#include "look_edits.h"
#include "output_file.h"
#include "picture_file.h"
#include "scene_edit.h"
#include "studio.h"

namespace app {
namespace {

/// Of a new scene on a picture, until a longer way is drawn, seconds.
constexpr double kNewDuration = 3;
/// Wide and close enough that nothing beads, whatever the hand does.
constexpr const char* kNewControls =
    "  \"controls\": {\n    \"Stroke Width\": 8,\n    \"Density\": 60\n  }\n}\n";

/// A name that no file has yet: photo.json, photo-2.json.
std::filesystem::path FreeName(const std::filesystem::path& folder, const std::string& stem) {
  std::error_code ignored;
  std::filesystem::path name = folder / (stem + ".json");
  for (int i = 2; std::filesystem::exists(name, ignored); ++i) {
    name = folder / fmt::format("{}-{}.json", stem, i);
  }
  return name;
}

/// Neither a movie nor a numbered sequence.
bool IsStill(const std::filesystem::path& layer) {
  std::error_code ignored;
  const bool is_sequence =
      FilePattern(layer).numbered() && !std::filesystem::exists(layer, ignored);
  return !is_sequence && !IsMovieName(layer);
}

/// Where programs keep what is the user's own.
std::filesystem::path DataFolder() {
  const char* data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && *data != '\0') return std::filesystem::path(data) / "vorlin";
  const char* home = std::getenv("HOME");
  if (home == nullptr || *home == '\0') return std::filesystem::temp_directory_path() / "vorlin";
  return std::filesystem::path(home) / ".local/share/vorlin";
}

Document CopySample() {
  const std::filesystem::path from = FindSample();
  const std::filesystem::path to = DataFolder() / "sample";
  const std::filesystem::path scene = to / "honey.json";
  std::error_code error;
  std::filesystem::create_directories(to, error);
  const auto how = std::filesystem::copy_options::skip_existing;
  if (!error) std::filesystem::copy_file(from / "cloth.jpg", to / "cloth.jpg", how, error);
  if (error) {
    throw FileError(
        fmt::format("cannot copy the sample to \"{}\": {}", to.string(), error.message()));
  }
  if (!std::filesystem::exists(scene, error)) {
    std::string text = ReadTextFile(from / "honey.json");
    for (const Json::Value& edit : LookEdits("honey", {})) text = Edited(text, edit);
    OutputFile file(scene);
    file.Write(text);
    file.Commit();
  }
  return Document(scene);
}

Document NewScene(const std::filesystem::path& layer) {
  std::filesystem::path folder = std::filesystem::absolute(layer).parent_path();
  std::string name = layer.filename().string();
  if (access(folder.c_str(), W_OK) != 0) {
    folder = std::filesystem::current_path();
    name = std::filesystem::absolute(layer).lexically_normal().string();
  }
  std::string stem = layer.stem().string();
  stem.erase(stem.find_last_not_of(".#-_") + 1);  // of a sequence
  std::string text = fmt::format("{{\n  \"layer\": {},\n", Json::valueToQuotedString(name.c_str()));
  if (IsStill(layer)) text += fmt::format("  \"duration\": {},\n", kNewDuration);
  return Document(FreeName(folder, stem.empty() ? "scene" : stem), text + kNewControls);
}

}  // namespace

Document OpenDocument(const std::filesystem::path& file) {
  if (file.empty()) return CopySample();
  return ExtensionOf(file) == ".json" ? Document(std::filesystem::absolute(file)) : NewScene(file);
}

}  // namespace app
