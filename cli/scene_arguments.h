#pragma once

#include <CLI/App.hpp>
#include <filesystem>

#include "scene.h"

namespace cli {

/// The arguments that name a scene and what is laid over its controls.
void AddSceneArguments(CLI::App& command, std::filesystem::path& scene, SceneChanges& changes);

}  // namespace cli
