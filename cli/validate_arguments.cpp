#include "validate_arguments.h"

#include <memory>

#include "effect_path.h"
#include "errors.h"
#include "run_main.h"

namespace cli {

void AddValidate(CLI::App& app, int& exit_code) {
  CLI::App* command = app.add_subcommand("validate", "Try whatever could break an effect");
  const auto options = std::make_shared<validate::Options>();
  command->add_option("PLUGIN", options->plugin, "the library; default: as for render")
      ->option_text(" ");
  command->add_option("--level", options->level, "1: seconds, 2: minutes, 3: a night; default: 2")
      ->check(CLI::Range(1, 3))
      ->option_text("1|2|3");
  command->add_option("--only", options->only, "one check of any level")->option_text("ID");
  command->add_option("--config", options->config, "one configuration, as 8-smart-point-wobbly")
      ->option_text("CONFIG");
  command->add_option("--fault", options->fault, "one thing to try, as a failure names it")
      ->option_text("FAULT");
  command->add_option("--seed", options->seed, "of all that is drawn by lot; default: 1")
      ->option_text("N");
  command->add_flag("--json", options->json, "print one JSON object");
  command->callback([options, &exit_code] {
    options->plugin = FindEffect(options->plugin);
    try {
      exit_code = validate::RunMain(*options);
    } catch (const validate::NothingSelected& error) {
      throw InputError(error.what());
    }
  });
}

}  // namespace cli
