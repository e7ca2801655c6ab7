#include "export_run.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/asio/read_until.hpp>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <istream>

#include "errors.h"
#include "message_line.h"
#include "own_process.h"

namespace app {

std::vector<std::string> ExportWords(const std::filesystem::path& scene,
                                     const Json::Value& request) {
  constexpr std::array kValues{"frames", "time",        "depth",       "over",  "quality",
                               "codec",  "supersample", "compression", "alpha", "downsample"};
  constexpr std::array kFlags{"overwrite", "no-sound"};
  const std::filesystem::path output = request["output"].asString();
  const bool leads_out = std::find(output.begin(), output.end(), "..") != output.end();
  if (output.empty() || output.is_absolute() || leads_out) {
    throw InputError(
        fmt::format("\"{}\" is not a file in the scene's own folder", output.string()));
  }
  std::vector<std::string> words{"render", scene.string(),
                                 "--output=" + (scene.parent_path() / output).string(),
                                 "--progress=json"};
  for (const std::string& name : request.getMemberNames()) {
    if (name == "output") continue;
    const Json::Value& value = request[name];
    if (std::find(kFlags.begin(), kFlags.end(), name) != kFlags.end() && value.isBool()) {
      if (value.asBool()) words.push_back("--" + name);
    } else if (std::find(kValues.begin(), kValues.end(), name) != kValues.end() &&
               value.isString()) {
      const std::string text = value.asString();
      if (name == "over" && text != "layer" && text != "checker" && !text.starts_with('#')) {
        throw InputError(fmt::format("\"{}\" is neither layer, checker nor a colour", text));
      }
      if (!text.empty()) words.push_back(fmt::format("--{}={}", name, text));
    } else {
      throw InputError(fmt::format("an export has no option \"{}\" of that kind", name));
    }
  }
  return words;
}

ExportRun::ExportRun(boost::asio::io_context& context, std::filesystem::path scene,
                     const std::vector<std::string>& words, std::function<void()> changed)
    : errors_(context), scene_(std::move(scene)), changed_(std::move(changed)) {
  int ends[2];
  const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (nowhere < 0 || pipe2(ends, O_CLOEXEC) != 0) {
    throw FileError(fmt::format("cannot export: {}", std::strerror(errno)));
  }
  errors_.assign(ends[0]);
  try {
    process_ = StartOwnProgram(
        words, {{nowhere, STDIN_FILENO}, {nowhere, STDOUT_FILENO}, {ends[1], STDERR_FILENO}}, true);
  } catch (...) {
    close(nowhere);
    close(ends[1]);
    throw;
  }
  close(nowhere);
  close(ends[1]);
  status_["running"] = true;
  ReadLine();
}

ExportRun::~ExportRun() {
  if (process_ <= 0) return;
  Cancel();
  waitpid(process_, nullptr, 0);
  std::error_code ignored;
  std::filesystem::remove(scene_, ignored);
}

void ExportRun::Cancel() const {
  if (process_ > 0) kill(process_, SIGINT);
}

void ExportRun::ReadLine() {
  boost::asio::async_read_until(errors_, said_, '\n',
                                [this](const boost::system::error_code& error, std::size_t) {
                                  if (error == boost::asio::error::operation_aborted) return;
                                  if (error) return OnEnd();
                                  std::string line;
                                  std::istream stream(&said_);
                                  std::getline(stream, line);
                                  try {
                                    const Json::Value event = ParseMessage(line);
                                    const std::string kind = event["event"].asString();
                                    if (kind == "error" && !status_.isMember("error"))
                                      status_["error"] = event["message"];
                                    if (kind == "note") status_["notes"].append(event["message"]);
                                    for (const char* const key : {"done", "frames", "left"}) {
                                      if (event.isMember(key)) status_[key] = event[key];
                                    }
                                  } catch (const InputError&) {  // a line of another program's
                                  }
                                  changed_();
                                  ReadLine();
                                });
}

void ExportRun::OnEnd() {
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = 0;
  std::error_code ignored;
  std::filesystem::remove(scene_, ignored);
  status_["running"] = false;
  // It may not have come as far as to note signals.
  const bool is_cancelled =
      WIFSIGNALED(status) ? WTERMSIG(status) == SIGINT : WEXITSTATUS(status) == 128 + SIGINT;
  if (is_cancelled) {
    status_["cancelled"] = true;
  } else if (status != 0 && !status_.isMember("error")) {
    status_["error"] = "the export ended untimely";
  }
  changed_();
}

}  // namespace app
