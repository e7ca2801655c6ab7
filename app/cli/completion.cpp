#include "completion.h"

#include <fmt/format.h>

namespace app {
namespace {

/// What may stand for a value: words, names of controls, files.
struct Candidates {
  std::vector<std::string> words;
  bool controls = false;
  bool files = false;
};

Candidates CandidatesOf(const OptionInfo& option, const std::vector<std::string>& presets) {
  Candidates out{option.Words(), option.Takes("NAME=VALUE"), option.Takes("FILE")};
  if (option.Takes("NAME")) out.words.insert(out.words.end(), presets.begin(), presets.end());
  // An argument is a file unless it is one of some words.
  if (option.flags.empty() && out.words.empty()) out.files = true;
  return out;
}

/// `text` with `mark` before each of `characters`.
std::string Marked(const std::string& text, std::string_view characters, std::string_view mark) {
  std::string out;
  for (const char c : text) {
    if (characters.find(c) != characters.npos) out += mark;
    out += c;
  }
  return out;
}

/// As one word of bash and zsh, which know no escapes between single quotes.
std::string Quoted(const std::string& text) {
  return fmt::format("'{}'", Marked(text, "'", "'\\'"));
}

std::string QuotedAll(const std::vector<std::string>& texts) {
  std::vector<std::string> quoted;
  quoted.reserve(texts.size());
  for (const std::string& text : texts) quoted.push_back(Quoted(text));
  return fmt::format("{}", fmt::join(quoted, " "));
}

std::string NamesOf(const std::vector<CommandInfo>& commands) {
  std::vector<std::string> names;
  names.reserve(commands.size());
  for (const CommandInfo& command : commands) names.push_back(command.name);
  return fmt::format("{}", fmt::join(names, " "));
}

}  // namespace

std::string BashCompletion(const std::vector<CommandInfo>& commands, const CompletionWords& words) {
  std::string values;
  std::string options;
  for (const CommandInfo& command : commands) {
    std::string flags;
    std::string arguments;
    for (const OptionInfo& option : command.options) {
      const Candidates offered = CandidatesOf(option, words.presets);
      std::string does;
      if (!offered.words.empty())
        does += fmt::format("_vorlin_words {}; ", QuotedAll(offered.words));
      if (offered.controls) does += fmt::format("_vorlin_controls {}; ", QuotedAll(words.controls));
      if (offered.files) does += "_vorlin_files; ";
      if (option.flags.empty()) {
        arguments += does;
        continue;
      }
      flags += fmt::format("{} ", fmt::join(option.flags, " "));
      if (!option.takes_value()) continue;
      std::vector<std::string> places;
      for (const std::string& flag : option.flags) {
        places.push_back(fmt::format("'{} {}'", command.name, flag));
      }
      values += fmt::format("    {}) {};;\n", fmt::join(places, " | "), does);
    }
    options += fmt::format("    '{} '-*) _vorlin_words {};;\n    '{} '*) {};;\n", command.name,
                           flags, command.name, arguments.empty() ? ": " : arguments);
  }
  return fmt::format(R"sh(# bash completion for vorlin; made by: vorlin completion bash
_vorlin_words() {{
  local word
  for word; do
    [[ $word == "$cur"* ]] && COMPREPLY+=("$word")
  done
}}
_vorlin_files() {{
  compopt -o filenames 2>/dev/null
  local file
  while IFS= read -r file; do COMPREPLY+=("$file"); done < <(compgen -f -- "$cur")
}}
_vorlin_controls() {{
  compopt -o nospace 2>/dev/null
  local name typed=${{cur//\\/}}
  typed=${{typed#[\"\']}}
  for name; do
    [[ $name == "$typed"* ]] || continue
    [[ $cur == [\"\']* ]] || printf -v name %q "$name"
    COMPREPLY+=("$name=")
  done
}}
_vorlin() {{
  local cur=${{COMP_WORDS[COMP_CWORD]}} prev=${{COMP_WORDS[COMP_CWORD - 1]}}
  # The shell makes words of the parts of --option=value.
  [[ $cur == = ]] && cur=
  [[ $prev == = ]] && prev=${{COMP_WORDS[COMP_CWORD - 2]}}
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    _vorlin_words {} --help --version
    return
  fi
  case "${{COMP_WORDS[1]}} $prev" in
{}    *) case "${{COMP_WORDS[1]}} $cur" in
{}    esac ;;
  esac
}}
complete -F _vorlin vorlin
)sh",
                     NamesOf(commands), values, options);
}

std::string ZshCompletion(const std::vector<CommandInfo>& commands, const CompletionWords& words) {
  const auto escaped = [](const std::string& text) { return Marked(text, "[]:", "\\"); };
  const auto action = [&](const OptionInfo& option) -> std::string {
    const Candidates offered = CandidatesOf(option, words.presets);
    if (offered.controls) return "_vorlin_controls";
    const std::string list = fmt::format("{}", fmt::join(offered.words, " "));
    if (offered.files && !list.empty()) {
      return fmt::format("_alternative \"words\\:word\\:({})\" \"files\\:file\\:_files\"", list);
    }
    return offered.files ? "_files" : list.empty() ? " " : fmt::format("({})", list);
  };
  std::string verbs;
  std::string cases;
  for (const CommandInfo& command : commands) {
    verbs += fmt::format("    {}\n",
                         Quoted(fmt::format("{}:{}", command.name, escaped(command.description))));
    cases += fmt::format("    {}) _arguments -S", command.name);
    int place = 0;
    for (const OptionInfo& option : command.options) {
      if (option.flags.empty()) {
        cases +=
            " \\\n      " + Quoted(fmt::format("{}:{}:{}", ++place, option.name, action(option)));
      }
      for (const std::string& flag : option.flags) {
        std::string spec = fmt::format("{}{}[{}]", option.Takes("NAME=VALUE") ? "*" : "", flag,
                                       escaped(option.description));
        if (option.takes_value())
          spec += fmt::format(":{}:{}", escaped(option.value), action(option));
        cases += " \\\n      " + Quoted(spec);
      }
    }
    cases += " ;;\n";
  }
  return fmt::format(R"sh(#compdef vorlin
# zsh completion for vorlin; made by: vorlin completion zsh
_vorlin_controls() {{
  local -a names=({})
  compadd -S = -- $names
}}
_vorlin() {{
  local -a commands=(
{}  )
  if ((CURRENT == 2)); then
    _describe command commands
    return
  fi
  local verb=$words[2]
  shift words
  ((CURRENT--))
  case $verb in
{}  esac
}}
if [[ $funcstack[1] == _vorlin ]]; then
  _vorlin "$@"
else
  compdef _vorlin vorlin
fi
)sh",
                     QuotedAll(words.controls), verbs, cases);
}

std::string FishCompletion(const std::vector<CommandInfo>& commands, const CompletionWords& words) {
  const auto quoted = [](const std::string& text) {
    return fmt::format("'{}'", Marked(text, "'\\", "\\"));
  };
  std::string script =
      "# fish completion for vorlin; made by: vorlin completion fish\ncomplete -c vorlin -f\n";
  for (const CommandInfo& command : commands) {
    script += fmt::format("complete -c vorlin -n __fish_use_subcommand -a {} -d {}\n", command.name,
                          quoted(command.description));
  }
  for (const CommandInfo& command : commands) {
    for (const OptionInfo& option : command.options) {
      const Candidates offered = CandidatesOf(option, words.presets);
      std::string line =
          fmt::format("complete -c vorlin -n '__fish_seen_subcommand_from {}'", command.name);
      for (const std::string& flag : option.flags) {
        const bool is_long = flag.starts_with("--");
        line += fmt::format(" -{} {}", is_long ? "l" : "s", flag.substr(is_long ? 2 : 1));
      }
      if (!option.flags.empty()) line += fmt::format(" -d {}", quoted(option.description));
      if (!option.flags.empty() && option.takes_value()) line += offered.files ? " -r" : " -x";
      if (offered.files) line += " -F";
      std::vector<std::string> list = offered.words;
      if (offered.controls) {
        for (const std::string& name : words.controls) list.push_back(fmt::format("\"{}=\"", name));
      }
      if (!list.empty())
        line += fmt::format(" -a {}", quoted(fmt::format("{}", fmt::join(list, " "))));
      script += line + "\n";
    }
  }
  return script;
}

}  // namespace app
