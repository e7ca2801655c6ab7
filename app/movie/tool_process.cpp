#include "tool_process.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "errors.h"

namespace app {
namespace {

/// Of what a program says, the end is what matters.
constexpr std::size_t kKeptBytes = 4096;

/// The ends for reading and writing, closed where another program is started.
std::array<int, 2> Pipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw FileError(fmt::format("cannot make a pipe: {}", std::strerror(errno)));
  }
  return ends;
}

/// In the new process: becomes the program, or sends the error's number through `failure`.
[[noreturn]] void Become(char* const* command, pid_t parent, int input, int errors, int failure) {
  // The user's Ctrl-C is for this program, which ends the other in its own time.
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  std::signal(SIGPIPE, SIG_DFL);
  std::signal(SIGXFSZ, SIG_DFL);
  // Freed frames go back to the system at once: a quarter less memory, no slower.
  setenv("MALLOC_MMAP_THRESHOLD_", "262144", 0);
  if (getppid() == parent) {
    dup2(input, STDIN_FILENO);
    dup2(errors, STDERR_FILENO);
    dup2(errors, STDOUT_FILENO);
    execvp(command[0], command);
  }
  const int error = errno;
  [[maybe_unused]] const ssize_t written = write(failure, &error, sizeof error);
  _exit(EXIT_FAILURE);
}

std::string LastLine(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
  const std::size_t start = text.find_last_of("\r\n");
  return start == text.npos ? text : text.substr(start + 1);
}

}  // namespace

ToolProcess::ToolProcess(const std::vector<std::string>& command) : name_(command.front()) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const auto [input_end, input] = Pipe();
  const auto [errors, errors_end] = Pipe();
  const auto [failure, failure_end] = Pipe();
  const pid_t parent = getpid();
  process_ = fork();
  if (process_ == 0) Become(arguments.data(), parent, input_end, errors_end, failure_end);
  for (const int end : {input_end, errors_end, failure_end}) close(end);
  input_ = input;
  errors_ = errors;
  for (const int end : {input, errors}) fcntl(end, F_SETFL, O_NONBLOCK);
  int error = process_ < 0 ? EAGAIN : 0;
  const bool failed = read(failure, &error, sizeof error) > 0 || process_ < 0;
  close(failure);
  if (failed) {
    throw FileError(fmt::format("cannot run {}: {}; movies are made by that program", name_,
                                error == ENOENT ? "it is not installed" : std::strerror(error)));
  }
}

ToolProcess::~ToolProcess() {
  CloseInput();
  close(errors_);
  if (process_ <= 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

void ToolProcess::CloseInput() {
  if (input_ >= 0) close(std::exchange(input_, -1));
}

bool ToolProcess::ReadErrors() {
  char buffer[1024];
  ssize_t size = 0;
  while ((size = read(errors_, buffer, sizeof buffer)) > 0) {
    said_.append(buffer, static_cast<std::size_t>(size));
    if (said_.size() > 2 * kKeptBytes) said_.erase(0, said_.size() - kKeptBytes);
  }
  return size < 0 && (errno == EAGAIN || errno == EINTR);
}

void ToolProcess::Finish() {
  while (ReadErrors()) {
    pollfd wait{errors_, POLLIN, 0};
    poll(&wait, 1, 100);
  }
  int status = 0;
  while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  process_ = 0;
  if (status == 0) return;
  const std::string line = LastLine(said_);
  throw FileError(fmt::format("{} failed: {}", name_,
                              line.empty() ? std::string("it does not say why") : line));
}

}  // namespace app
