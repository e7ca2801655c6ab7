#pragma once

#include <CLI/App.hpp>
#include <filesystem>

#include "scene.h"

namespace app {

/// The argument that names a scene.
void AddScene(CLI::App& command, std::filesystem::path& scene);

/// The options for what is laid over the scene's controls.
void AddSceneChanges(CLI::App& command, SceneChanges& changes);

}  // namespace app
