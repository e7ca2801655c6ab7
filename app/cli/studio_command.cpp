// vorlin studio: the page on which strokes are drawn; and the processes that render for it.
#include "commands.h"
#include "picture_worker.h"
#include "run_studio.h"
#include "shared_options.h"

namespace app {

void AddStudio(CLI::App& app) {
  const auto to = std::make_shared<StudioArguments>();
  CLI::App* command = app.add_subcommand("studio", "Draw the stroke by hand, in your browser");
  command
      ->add_option("SCENE|PICTURE|MOVIE", to->file,
                   "a scene's file (.json), or what to draw on; default: a sample")
      ->option_text(" ");
  command->add_option("--port", to->port, "of its address; default: any that is free")
      ->option_text("N")
      ->check(CLI::Range(1, 65535));
  command->add_flag_callback(
      "--no-open", [to] { to->open_browser = false; }, "only print the address");
  AddEffect(*command, to->effect);
  command->callback([to] { RunStudio(*to); });
}

void AddStudioWorker(CLI::App& app) {
  struct Arguments {
    std::filesystem::path effect;
    int threads = 0;
  };
  const auto to = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand("studio-worker")->group("");
  AddEffect(*command, to->effect);
  command->add_option("--threads", to->threads);
  command->callback([to] { RunPictureWorker(to->effect, to->threads); });
}

}  // namespace app
