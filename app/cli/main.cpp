// The command line's arguments, and what the program ends with.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <new>

#include "about_commands.h"
#include "completion_arguments.h"
#include "errors.h"
#include "help_format.h"
#include "hosting/errors.h"
#include "path_import.h"
#include "render_arguments.h"
#include "sheet_arguments.h"
#include "standard_streams.h"
#include "suggest.h"

namespace {

using app::ExitCode;

void AddImportPath(CLI::App& app, app::PathImport& to) {
  CLI::App* command = app.add_subcommand("import-path", "Print a drawn path as \"Brush Position\"");
  command->add_option("FILE", to.file, "an SVG, or rows frame,x,y in a .csv")
      ->required()
      ->option_text(" ");
  command->add_option("--id", to.id, "the SVG path's id; default: the first path")
      ->option_text("ID");
  const auto add_time = [&](const char* name, double& seconds, const char* what) {
    const auto read = [&seconds](const std::string& text) { seconds = app::ParseSeconds(text); };
    command->add_option_function<std::string>(name, read, what)->option_text("SECONDS");
  };
  add_time("--from", to.from, "when the SVG's path begins, as 0s; default: 0s");
  add_time("--to", to.to, "when it ends, as 3s; default: 3s");
  const auto read_ease = [&to](const std::string& ease) { to.smooth = ease == "smooth"; };
  command
      ->add_option_function<std::string>("--ease", read_ease,
                                         "smooth starts and ends gently; default: linear")
      ->check(CLI::IsMember({"linear", "smooth"}))
      ->option_text("linear|smooth");
  command->add_option("--layer", to.layer, "fit the path to this picture; print a whole scene")
      ->option_text("FILE");
  command->add_option("--frame-rate", to.frame_rate, "of CSV rows and the scene; default: 30")
      ->check(CLI::PositiveNumber)
      ->option_text("RATE");
  command->callback([&to] { app::RunImportPath(to); });
}

void AddEffect(CLI::App& command, app::AboutArguments& to) {
  command.add_option("--effect", to.effect, "the effect's library, instead of VORLIN_EFFECT's")
      ->option_text("FILE");
}

void AddAbout(CLI::App& app, app::AboutArguments& to) {
  CLI::App* about = app.add_subcommand("about", "Print the effect's about text");
  about->callback([&to] { app::RunAbout(to); });
  CLI::App* controls = app.add_subcommand("controls", "List the effect's controls");
  controls->add_option("SCENE", to.scene, "a scene whose settings grey controls")->option_text(" ");
  controls->add_flag("--json", to.json, "as one JSON object");
  controls->callback([&to] { app::RunControls(to); });
  CLI::App* check = app.add_subcommand("check", "Judge a scene without rendering it");
  check->add_option("SCENE", to.scene, "the scene's file")->required()->option_text(" ");
  check->callback([&to] { app::RunCheck(to); });
  CLI::App* schema = app.add_subcommand("schema", "Print a JSON Schema of scenes");
  schema->add_flag("--preset", to.preset, "of presets instead");
  schema->callback([&to] { app::RunSchema(to); });
  for (CLI::App* command : {about, controls, check, schema}) AddEffect(*command, to);
}

int Fail(std::string message, int code) {
  if (message.empty()) return code;  // it has been told
  // A name from a file may hold anything; the terminal gets one line.
  const auto is_control = [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; };
  std::replace_if(message.begin(), message.end(), is_control, ' ');
  fmt::print(stderr, "vorlin: error: {}\n", message);
  return code;
}

int Fail(const std::exception& error, ExitCode code) {
  return Fail(error.what(), static_cast<int>(code));
}

/// The code, unless what was printed did not get out.
int Finish(int code) try {
  app::PrintResult({});
  return code;
} catch (const app::Error& error) {
  return Fail(error, error.code());
}

[[noreturn]] void FailUnknown(const std::string& what, std::string_view word,
                              const std::vector<std::string>& names, const std::string& otherwise) {
  const std::string hint = app::DidYouMean(word, names);
  throw app::InputError(what + (hint.empty() ? otherwise : hint));
}

/// The argument library only says that something is unexpected; a slip of the fingers deserves
/// more.
void CheckWords(const CLI::App& app, int argc, char** argv) {
  const std::string_view word = argc > 1 ? argv[1] : "";
  if (word.starts_with('-')) return;
  const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
  std::vector<std::string> names;
  names.reserve(commands.size());
  for (const CLI::App* command : commands) names.push_back(command->get_name());
  const auto found = std::find(names.begin(), names.end(), word);
  if (found == names.end()) {
    FailUnknown(
        word.empty() ? "a command is missing" : fmt::format("there is no command \"{}\"", word),
        word, names, "; see vorlin --help");
  }
  std::vector<std::string> flags;
  for (const CLI::Option* option :
       commands[static_cast<std::size_t>(found - names.begin())]->get_options()) {
    for (const std::string& name : option->get_lnames()) flags.push_back("--" + name);
  }
  for (int i = 2; i < argc && std::string_view(argv[i]) != "--"; ++i) {
    const std::string flag(argv[i], std::strcspn(argv[i], "="));
    if (!flag.starts_with("--") || std::find(flags.begin(), flags.end(), flag) != flags.end())
      continue;
    FailUnknown(fmt::format("{} has no option \"{}\"", word, flag), flag, flags,
                fmt::format("; see vorlin {} --help", word));
  }
}

/// The exit code; everything that goes wrong has been said.
int Run(int argc, char** argv) {
  CLI::App app("Draws liquid strokes into pictures.", "vorlin");
  app.formatter(std::make_shared<app::HelpFormat>());
  app.require_subcommand(1);
  app.set_version_flag("--version", "vorlin " VORLIN_VERSION, "Print the version and exit");
  app::RenderArguments render;
  app::SheetArguments sheet;
  app::AboutArguments about;
  app::PathImport path;
  app::AddRender(app, render);
  app::AddSheet(app, sheet);
  AddAbout(app, about);
  AddImportPath(app, path);
  int exit_code = 0;
  app::AddCompletion(app);
  try {
    CheckWords(app, argc, argv);
    app.parse(argc, argv);
    return Finish(exit_code);
  } catch (const CLI::Success& help) {
    return Finish(app.exit(help));
  } catch (const CLI::ParseError& error) {
    return Fail(error, ExitCode::kWrongInput);
  } catch (const app::Interrupted& interrupted) {
    return 128 + interrupted.signal;
  } catch (const app::Error& error) {
    return Fail(error, error.code());
  } catch (const hosting::Error& error) {
    return Fail(error, ExitCode::kEffect);
  } catch (const std::bad_alloc&) {
    return Fail("there is not enough memory", static_cast<int>(ExitCode::kFile));
  } catch (const std::exception& error) {
    return Fail(error, ExitCode::kFile);
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    app::GuardStandardStreams();
    return Run(argc, argv);
  } catch (...) {  // not even the message could be written
    return static_cast<int>(ExitCode::kFile);
  }
}
