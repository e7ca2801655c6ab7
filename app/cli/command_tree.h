#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace app {

/// One option or argument of a command, as its help shows it.
struct OptionInfo {
  std::vector<std::string> flags;  // as "-o", "--output"; empty for an argument
  std::string name;                // of an argument, as SCENE
  std::string value;               // what follows the flag, as "8|16|32" or "FILE"; empty: nothing
  std::string description;
  bool required = false;

  bool takes_value() const { return !value.empty(); }
  /// The words of `value` that stand for themselves, as 8, 16 and 32.
  std::vector<std::string> Words() const;
  /// Whether `value` says that one may write this, as FILE.
  bool Takes(const std::string& placeholder) const;
};

OptionInfo InfoOf(const CLI::Option& option);

struct CommandInfo {
  std::string name;
  std::string description;
  std::vector<OptionInfo> options;  // arguments too, in the order of the help
};

/// The commands that the help lists. Completions and the manual page are made from them, so that
/// both always say what the program takes.
std::vector<CommandInfo> CommandsOf(const CLI::App& app);

}  // namespace app
