#pragma once

#include <string>
#include <vector>

#include "command_tree.h"

namespace app {

/// What completions offer besides the commands' own words.
struct CompletionWords {
  std::vector<std::string> controls;  // after --set, followed by "="
  std::vector<std::string> presets;
};

/// Scripts that complete commands, options, their words, control names, presets and files.
std::string BashCompletion(const std::vector<CommandInfo>& commands, const CompletionWords& words);
std::string ZshCompletion(const std::vector<CommandInfo>& commands, const CompletionWords& words);
std::string FishCompletion(const std::vector<CommandInfo>& commands, const CompletionWords& words);

}  // namespace app
