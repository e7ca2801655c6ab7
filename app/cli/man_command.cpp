// vorlin man: the manual page, section 1, in roff with the man macros.

#include <fmt/format.h>

#include "command_tree.h"
#include "commands.h"
#include "shared_options.h"

namespace app {
namespace {

constexpr const char* kHead = R"(.SH NAME
vorlin \- draw liquid strokes into pictures
.SH SYNOPSIS
.B vorlin
.I command
.RI [ options ]
.SH DESCRIPTION
Renders scenes: small JSON files that name a picture or a film, the way of a brush over it, and what
the stroke looks like. The effect redraws on every frame the whole stroke that the brush has laid
down, as a relief of glossy liquid that mirrors the picture beneath it. Results go to standard
output or into files, everything else to standard error.
.SH COMMANDS
)";

constexpr const char* kTail = R"(.SH ENVIRONMENT
.TP
.B VORLIN_EFFECT
The effect's library, where it is not the one installed together with the program.
.SH EXIT STATUS
.TP
.B 0
Everything asked for is complete.
.TP
.B 2
The scene or an argument is wrong.
.TP
.B 3
A file cannot be read or written.
.TP
.B 4
The effect returned an error.
.TP
.B 128+n
Ended by the signal n: 130 after Ctrl\-C.
)";

std::string Escaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else {
      out += c;
    }
  }
  // These begin a request.
  return out.starts_with('.') || out.starts_with('\'') ? "\\&" + out : out;
}

std::string Item(const OptionInfo& option) {
  std::string head = option.flags.empty() ? "\\fI" + Escaped(option.name) + "\\fR" : "";
  for (const std::string& flag : option.flags) {
    head += fmt::format("{}\\fB{}\\fR", head.empty() ? "" : ", ", Escaped(flag));
  }
  if (!option.flags.empty() && option.takes_value())
    head += " \\fI" + Escaped(option.value) + "\\fR";
  return fmt::format(".TP\n{}\n{}\n", head, Escaped(option.description));
}

std::string ManPage(const std::vector<CommandInfo>& commands, const std::string& version) {
  std::string page =
      fmt::format(".TH VORLIN 1 \"\" \"vorlin {}\" \"User Commands\"\n{}", version, kHead);
  for (const CommandInfo& command : commands) {
    std::string arguments;
    for (const OptionInfo& option : command.options) {
      if (!option.flags.empty()) continue;
      arguments += option.required ? " " + option.name : " [" + option.name + "]";
    }
    page += fmt::format(".SS \"vorlin {}{}\"\n{}.\n", Escaped(command.name), Escaped(arguments),
                        Escaped(command.description));
    for (const OptionInfo& option : command.options) page += Item(option);
  }
  return page + kTail;
}

}  // namespace

void AddMan(CLI::App& app) {
  app.add_subcommand("man", "Print the manual page")->group("")->callback([&app] {
    fmt::print("{}", ManPage(CommandsOf(app), VORLIN_VERSION));
  });
}

}  // namespace app
