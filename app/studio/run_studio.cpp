#include "run_studio.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <unistd.h>

#include <boost/asio/signal_set.hpp>
#include <cstdio>

#include "errors.h"
#include "files.h"
#include "message_line.h"
#include "studio.h"

extern char** environ;

namespace app {
namespace {

/// Nothing happens where there is no desktop.
void OpenBrowser(std::string address) {
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&quiet, descriptor, "/dev/null", O_RDWR, 0);
  }
  std::string program = "xdg-open";
  char* words[] = {program.data(), address.data(), nullptr};
  pid_t ignored = 0;
  posix_spawnp(&ignored, program.c_str(), &quiet, nullptr, words, environ);
  posix_spawn_file_actions_destroy(&quiet);
}

}  // namespace

void RunStudio(const StudioArguments& arguments) {
  const std::filesystem::path effect = std::filesystem::absolute(FindEffect(arguments.effect));
  boost::asio::io_context context(1);
  Studio studio(context, OpenDocument(arguments.file), effect);
  WebServer server(context, arguments.port, [&](const WebRequest& request, Respond respond) {
    studio.Handle(request, std::move(respond));
  });
  boost::asio::signal_set signals(context, SIGINT, SIGTERM);
  signals.async_wait([&](const boost::system::error_code&, int) { context.stop(); });

  // A scene that cannot be read is told here, not on a page.
  std::string failure;
  studio.Handle({true, "/api/state", {}, "{}"}, [&](const WebResponse& response) {
    if (response.status != 200) {
      failure = ParseMessage(response.body)["error"].asString();
      return context.stop();
    }
    fmt::print(
        "{} is open in the studio; Ctrl-C ends it. Its address, for this computer alone:\n{}\n",
        studio.document().file().string(), server.Address());
    if (studio.document().is_recovered())
      fmt::print("Work that was not saved is taken up again.\n");
    std::fflush(stdout);
    if (arguments.open_browser) OpenBrowser(server.Address());
  });
  context.run();
  if (!failure.empty()) throw InputError(failure);
  if (!studio.document().is_saved()) {
    fmt::print("Not saved, but kept for the next time: {}\n", studio.document().file().string());
  }
}

}  // namespace app
