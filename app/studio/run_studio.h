#pragma once

#include <filesystem>

namespace app {

struct StudioArguments {
  std::filesystem::path file;  // a scene, a picture or a movie; empty: the sample
  std::filesystem::path effect;
  unsigned short port = 0;  // 0: any that is free
  bool open_browser = true;
};

/// Serves the studio's page until the user ends it, on the page or with Ctrl-C. Throws Error when
/// the scene is wrong or the port is taken.
void RunStudio(const StudioArguments& arguments);

}  // namespace app
