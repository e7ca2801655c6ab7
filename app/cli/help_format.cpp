#include "help_format.h"

#include <CLI/CLI.hpp>
#include <sstream>

#include "command_tree.h"

namespace app {

std::string HelpFormat::make_option(const CLI::Option* option, bool /*is_positional*/) const {
  constexpr std::size_t kColumns = 80;
  const OptionInfo info = InfoOf(*option);
  std::string text = "  " + info.name;
  for (const std::string& flag : info.flags)
    text += (&flag == info.flags.data() ? "" : ", ") + flag;
  if (!info.flags.empty() && info.takes_value()) text += " " + info.value;
  const std::size_t indent = get_column_width();
  std::size_t column = text.size();
  const auto go_to_next_line = [&] {
    text += "\n" + std::string(indent, ' ');
    column = indent;
  };
  if (column + 2 > indent) {
    go_to_next_line();
  } else {
    text.append(indent - column, ' ');
    column = indent;
  }
  std::istringstream words(info.description);
  for (std::string word; words >> word;) {
    if (column + 1 + word.size() > kColumns) go_to_next_line();
    if (column > indent) text += ' ';
    text += word;
    column += word.size() + (column > indent ? 1 : 0);
  }
  return text + "\n";
}

}  // namespace app
