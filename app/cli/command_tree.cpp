#include "command_tree.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace app {
namespace {

std::vector<std::string> Split(const std::string& text, char between) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, between);) parts.push_back(part);
  return parts;
}

}  // namespace

OptionInfo InfoOf(const CLI::Option& option) {
  OptionInfo info;
  info.name = option.get_name(true);
  for (const std::string& name : option.get_snames()) info.flags.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) info.flags.push_back("--" + name);
  if (!info.flags.empty()) info.name.clear();
  const bool is_switch = option.get_type_size_max() == 0 || option.get_expected_max() == 0;
  const std::string shown = is_switch ? "" : CLI::Formatter().make_option_opts(&option);
  info.value = shown.substr(std::min(shown.size(), shown.find_first_not_of(' ')));
  if (info.value.empty() && info.flags.empty()) info.value = info.name;
  info.description = option.get_description();
  info.required = option.get_required();
  return info;
}

std::vector<std::string> OptionInfo::Words() const {
  std::vector<std::string> words;
  for (const std::string& part : Split(value, '|')) {
    const bool word = std::none_of(part.begin(), part.end(), [](unsigned char c) {
      return std::isupper(c) != 0 || std::ispunct(c) != 0;
    });
    if (word) words.push_back(part);
  }
  return words;
}

bool OptionInfo::Takes(const std::string& placeholder) const {
  const std::vector<std::string> parts = Split(value, '|');
  return std::find(parts.begin(), parts.end(), placeholder) != parts.end();
}

std::vector<CommandInfo> CommandsOf(const CLI::App& app) {
  std::vector<CommandInfo> commands;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (command->get_group().empty()) continue;
    CommandInfo info{command->get_name(), command->get_description(), {}};
    for (const CLI::Option* option : command->get_options())
      info.options.push_back(InfoOf(*option));
    commands.push_back(std::move(info));
  }
  return commands;
}

}  // namespace app
