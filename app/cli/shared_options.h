#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "scene_source.h"

namespace app {

/// The argument that names a scene or a layer, and the options for a drawing on that layer.
void AddScene(CLI::App& command, SceneSource& scene);

/// The options that say when a drawing is drawn, and which of its shapes.
void AddDrawing(CLI::App& command, PathImport& drawing, bool* has_end = nullptr);

/// The options for what is laid over the scene's controls.
void AddSceneChanges(CLI::App& command, SceneChanges& changes);

/// The option that names another effect than the program's own.
void AddEffect(CLI::App& command, std::filesystem::path& effect);

/// An option that takes one of some words, each of which stands for a value of `to`.
template <class T>
CLI::Option* AddChoice(CLI::App& command, const std::string& name, T& to,
                       const std::vector<std::pair<std::string, T>>& choices,
                       const std::string& description) {
  const auto choose = [&to, choices](const std::string& chosen) {
    for (const auto& [word, value] : choices) {
      if (word == chosen) to = value;
    }
  };
  std::vector<std::string> words;
  std::string all;
  for (const auto& [word, value] : choices) {
    words.push_back(word);
    all += (all.empty() ? "" : "|") + word;
  }
  return command.add_option_function<std::string>(name, choose, description)
      ->check(CLI::IsMember(words))
      ->option_text(all);
}

}  // namespace app
