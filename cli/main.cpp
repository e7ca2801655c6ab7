// The command line's arguments, and what the program ends with.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <new>

#include "errors.h"
#include "hosting/errors.h"
#include "render_command.h"
#include "sheet_command.h"
#include "suggest.h"

namespace {

using cli::ExitCode;

void AddRender(CLI::App& app, cli::RenderArguments& to) {
  CLI::App* render = app.add_subcommand("render", "Render frames of a scene into pictures");
  render->add_option("SCENE", to.scene, "the scene's file")->required();
  render->add_option("-o,--output", to.output, "pictures to write: out.####.png, .tif or .exr")
      ->required();
  render->add_option("-F,--frames", to.frames, "frames, as 0-89 or 1-100x2,150; default: all");
  render
      ->add_option_function<int>(
          "--depth", [&to](int bits) { to.depth = hosting::DepthOf(bits); },
          "bits a channel to render with; default: 8")
      ->check(CLI::IsMember({8, 16, 32}))
      ->option_text("8|16|32");
  render
      ->add_option_function<std::string>(
          "--over", [&to](const std::string&) { to.over_layer = true; },
          "put the stroke over this: \"layer\", the scene's own layer")
      ->check(CLI::IsMember({"layer"}))
      ->option_text("layer");
  render->add_option("--effect", to.effect, "the effect's library, instead of VORLIN_EFFECT's");
  render->add_option("--threads", to.threads, "threads to render a frame with; 0: all there are")
      ->check(CLI::NonNegativeNumber);
  render->add_flag("--classic", to.classic, "use the classic render command");
  render
      ->add_option_function<std::string>(
          "--quality", [&to](const std::string& word) { to.best_quality = word == "best"; },
          "draft samples the layer roughly; default: best")
      ->check(CLI::IsMember({"draft", "best"}))
      ->option_text("draft|best");
  render->add_option("--trace", to.trace, "write every call that the effect makes into this file");
  render->add_flag("-q,--quiet", to.quiet, "show no progress");
  render->callback([&to] { cli::RunRender(to); });
}

void AddSheet(CLI::App& app, cli::SheetArguments& to) {
  CLI::App* sheet = app.add_subcommand("sheet", "Put numbered pictures side by side into one");
  sheet->add_option("PICTURES", to.pictures, "the pictures, as out.####.png")->required();
  sheet->add_option("-o,--output", to.output, "the picture to write")->required();
  sheet->add_option("-F,--frames", to.frames, "which of them, as 0-89x10; default: all");
  sheet->add_option("--columns", to.columns, "pictures in a row")->check(CLI::PositiveNumber);
  sheet->add_option("--width", to.width, "pixels of a picture's width on the sheet")
      ->check(CLI::Range(1, 30000));
  sheet->callback([&to] { cli::RunSheet(to); });
}

int Fail(std::string message, int code) {
  std::replace(message.begin(), message.end(), '\n', ' ');
  fmt::print(stderr, "vorlin: error: {}\n", message);
  return code;
}

int Fail(const std::exception& error, ExitCode code) {
  return Fail(error.what(), static_cast<int>(code));
}

/// The argument library only says that a command is missing; a slip of the fingers deserves more.
void CheckCommand(const CLI::App& app, int argc, char** argv) {
  const std::string_view word = argc > 1 ? argv[1] : "";
  if (word.starts_with('-')) return;
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  if (std::find(names.begin(), names.end(), word) != names.end()) return;
  const std::string what =
      word.empty() ? "a command is missing" : fmt::format("there is no command \"{}\"", word);
  const std::string hint = cli::DidYouMean(word, names);
  throw cli::InputError(what + (hint.empty() ? "; see vorlin --help" : hint));
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Draws liquid strokes into pictures.", "vorlin");
  app.require_subcommand(1);
  cli::RenderArguments render;
  cli::SheetArguments sheet;
  AddRender(app, render);
  AddSheet(app, sheet);
  try {
    CheckCommand(app, argc, argv);
    app.parse(argc, argv);
    return 0;
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    return Fail(error, ExitCode::kWrongInput);
  } catch (const cli::Interrupted& interrupted) {
    return 128 + interrupted.signal;
  } catch (const cli::Error& error) {
    return Fail(error, error.code());
  } catch (const hosting::Error& error) {
    return Fail(error, ExitCode::kEffect);
  } catch (const std::bad_alloc&) {
    return Fail("there is not enough memory", static_cast<int>(ExitCode::kFile));
  } catch (const std::exception& error) {
    return Fail(error, ExitCode::kFile);
  }
}
