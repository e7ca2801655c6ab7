// vorlin about: the effect's own about text.
#include <fmt/format.h>

#include "commands.h"
#include "files.h"
#include "hosting/effect.h"
#include "shared_options.h"

namespace app {

void AddAbout(CLI::App& app) {
  const auto file = std::make_shared<std::filesystem::path>();
  CLI::App* command = app.add_subcommand("about", "Print the effect's about text");
  AddEffect(*command, *file);
  command->callback([file] {
    const hosting::Effect effect(FindEffect(*file));
    const std::string text = effect.About();
    fmt::print("{}{}", text, text.ends_with('\n') ? "" : "\n");
  });
}

}  // namespace app
