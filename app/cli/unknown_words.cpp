#include "unknown_words.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "errors.h"
#include "suggest.h"

namespace app {
namespace {

bool Has(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

[[noreturn]] void Fail(const std::string& what, const std::string& word,
                       const std::vector<std::string>& names, const std::string& help) {
  const std::string hint = DidYouMean(word, names);
  throw InputError(what + (hint.empty() ? "; see " + help : hint));
}

std::vector<std::string> OptionsOf(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_snames()) names.push_back("-" + name);
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

}  // namespace

void CheckWords(const CLI::App& program, const std::vector<std::string>& arguments) {
  const auto commands = program.get_subcommands([](const CLI::App*) { return true; });
  std::vector<std::string> names;
  names.reserve(commands.size());
  for (const CLI::App* command : commands) names.push_back(command->get_name());
  const std::string word = arguments.empty() ? "" : arguments[0];
  if (word.empty()) Fail("a command is missing", word, names, "vorlin --help");
  if (word.starts_with('-')) {
    const std::vector<std::string> options = OptionsOf(program);
    if (Has(options, word)) return;
    Fail(fmt::format("vorlin has no option \"{}\"", word), word, options, "vorlin --help");
  }
  if (!Has(names, word)) {
    Fail(fmt::format("there is no command \"{}\"", word), word, names, "vorlin --help");
  }
  const std::vector<std::string> options = OptionsOf(*program.get_subcommand(word));
  for (const std::string& argument : arguments) {
    if (argument == "--") return;
    const std::string option = argument.substr(0, argument.find('='));
    if (!option.starts_with("--") || Has(options, option)) continue;
    Fail(fmt::format("{} has no option \"{}\"", word, option), option, options,
         fmt::format("vorlin {} --help", word));
  }
}

}  // namespace app
