#include "worker_process.h"

#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <system_error>
#include <utility>

namespace app {
namespace {

[[noreturn]] void Fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

std::array<int, 2> SocketEnds() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    Fail("cannot talk to another process");
  }
  return ends;
}

/// The life of a new process.
[[noreturn]] void Live(pid_t parent, const std::function<void(const MessageSocket&)>& work,
                       int end) {
  std::signal(SIGINT, SIG_IGN);
  std::signal(SIGTERM, SIG_IGN);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(EXIT_FAILURE);  // it died before it could be waited for
  int code = EXIT_FAILURE;
  try {
    const MessageSocket socket(end);
    work(socket);
    code = EXIT_SUCCESS;
  } catch (...) {  // the parent sees the code
  }
  // Nothing of the parent's is destroyed or flushed twice.
  _exit(code);
}

pid_t Fork(const std::function<void(const MessageSocket&)>& work, std::array<int, 2> ends) {
  const pid_t parent = getpid();
  std::fflush(nullptr);
  const pid_t process = fork();
  if (process < 0) Fail("cannot start another process");
  if (process == 0) {
    close(ends[0]);
    Live(parent, work, ends[1]);
  }
  close(ends[1]);
  return process;
}

}  // namespace

MessageSocket::~MessageSocket() {
  if (descriptor_ >= 0) close(descriptor_);
}

MessageSocket::MessageSocket(MessageSocket&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

void MessageSocket::SendBytes(std::span<const std::byte> bytes) const {
  while (send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0 && errno == EINTR) {
  }
}

bool MessageSocket::ReceiveBytes(std::span<std::byte> bytes) const {
  ssize_t size = 0;
  do {
    size = recv(descriptor_, bytes.data(), bytes.size(), 0);
  } while (size < 0 && errno == EINTR);
  return size == static_cast<ssize_t>(bytes.size());
}

void MessageSocket::EndSending() const { shutdown(descriptor_, SHUT_WR); }

bool ProcessEnd::killed() const { return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL; }

std::string ProcessEnd::Text() const {
  if (!WIFSIGNALED(status)) return fmt::format("ended with code {}", WEXITSTATUS(status));
  return fmt::format("was killed by signal {} ({})", WTERMSIG(status), strsignal(WTERMSIG(status)));
}

WorkerProcess::WorkerProcess(const std::function<void(const MessageSocket&)>& work)
    : WorkerProcess(work, SocketEnds()) {}

WorkerProcess::WorkerProcess(const std::function<void(const MessageSocket&)>& work,
                             std::array<int, 2> ends)
    : process_(Fork(work, ends)), socket_(ends[0]) {}

WorkerProcess::~WorkerProcess() {
  if (process_ <= 0) return;
  Kill();
  Wait();
}

WorkerProcess::WorkerProcess(WorkerProcess&& other) noexcept
    : process_(std::exchange(other.process_, 0)), socket_(std::move(other.socket_)) {}

void WorkerProcess::Kill() const { kill(process_, SIGKILL); }

ProcessEnd WorkerProcess::Wait() {
  ProcessEnd end;
  rusage usage{};
  while (wait4(process_, &end.status, 0, &usage) < 0 && errno == EINTR) {
  }
  process_ = 0;
  end.peak_kib = usage.ru_maxrss;
  return end;
}

}  // namespace app
