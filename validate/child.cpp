#include "child.h"

#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <exception>
#include <list>
#include <system_error>
#include <thread>

namespace validate {
namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void Throw(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

/// Memory that parent and child see alike.
class SharedText {
 public:
  SharedText()
      : text_(static_cast<char*>(mmap(nullptr, Report::kAtSize, PROT_READ | PROT_WRITE,
                                      MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    if (text_ == MAP_FAILED) Throw("mmap");
  }
  ~SharedText() { munmap(text_, Report::kAtSize); }
  SharedText(const SharedText&) = delete;
  SharedText& operator=(const SharedText&) = delete;
  char* get() const { return text_; }

 private:
  char* text_;
};

/// A running job. Killed and reaped when it goes.
class Child {
 public:
  Child(std::size_t job, const Check& check, const std::function<void(Report&)>& work)
      : job_(job), start_(Clock::now()), deadline_(start_ + std::chrono::seconds(check.seconds)) {
    std::array<int, 2> pipe_ends{};
    if (pipe(pipe_ends.data()) != 0) Throw("pipe");
    std::fflush(nullptr);
    pid_ = fork();
    if (pid_ < 0) Throw("fork");
    if (pid_ == 0) {
      close(pipe_ends[0]);
      Work(pipe_ends[1], work);
    }
    setpgid(pid_, pid_);
    close(pipe_ends[1]);
    fd_ = pipe_ends[0];
  }
  ~Child() {
    close(fd_);
    if (!reaped_) Reap(true);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  std::size_t job() const { return job_; }
  int fd() const { return fd_; }
  bool late() const { return Clock::now() > deadline_; }

  /// False at the end of what the child writes.
  bool Read() {
    std::array<char, 65536> buffer{};
    const ssize_t n = read(fd_, buffer.data(), buffer.size());
    if (n > 0) text_.append(buffer.data(), static_cast<std::size_t>(n));
    return n > 0;
  }

  Result End(bool timed_out) {
    const int how = Reap(timed_out);
    Result result;
    result.findings = ParseFindings(text_);
    result.at = at_.get();
    result.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
    if (timed_out) {
      result.status = Status::kTimeOut;
      result.ending = "killed";
    } else if (!result.findings.complete || how != 0) {
      result.status = Status::kCrash;
      result.ending = WIFSIGNALED(how) ? "signal " + std::to_string(WTERMSIG(how))
                                       : "exit " + std::to_string(WEXITSTATUS(how));
    } else if (result.findings.failure_count > 0) {
      result.status = Status::kFail;
    } else {
      result.status = result.findings.counts["runs"] > 0 ? Status::kPass : Status::kSkip;
    }
    return result;
  }

 private:
  [[noreturn]] void Work(int fd, const std::function<void(Report&)>& work) {
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    Report report(fd, at_.get());
    try {
      work(report);
    } catch (const std::exception& error) {
      report.Fail(error.what());
    }
    report.Finish();
    _exit(0);
  }

  int Reap(bool kill_first) {
    if (kill_first) {
      kill(-pid_, SIGKILL);
      kill(pid_, SIGKILL);
    }
    int how = 0;
    while (waitpid(pid_, &how, 0) < 0 && errno == EINTR) {
    }
    reaped_ = true;
    return how;
  }

  std::size_t job_;
  Clock::time_point start_;
  Clock::time_point deadline_;
  SharedText at_;
  pid_t pid_ = 0;
  int fd_ = -1;
  std::string text_;
  bool reaped_ = false;
};

}  // namespace

const char* Name(Status status) {
  static constexpr std::array kNames{"pass", "fail", "skip", "crash", "time-out"};
  return kNames[static_cast<std::size_t>(status)];
}

void RunJobs(const std::vector<Job>& jobs, const std::function<void(std::size_t, Report&)>& work,
             const std::function<void(std::size_t, const Result&)>& done) {
  const std::size_t at_once = std::max(1u, std::thread::hardware_concurrency());
  constexpr int kPollMilliseconds = 50;
  std::list<Child> running;
  std::size_t next = 0;
  while (next < jobs.size() || !running.empty()) {
    for (; next < jobs.size() && running.size() < at_once; ++next) {
      running.emplace_back(next, *jobs[next].check, [&](Report& report) { work(next, report); });
    }
    std::vector<pollfd> polled;
    for (const Child& child : running) polled.push_back({child.fd(), POLLIN, 0});
    if (poll(polled.data(), polled.size(), kPollMilliseconds) < 0 && errno != EINTR) Throw("poll");
    std::size_t i = 0;
    for (auto child = running.begin(); child != running.end(); ++i) {
      const bool told = polled[i].revents != 0;
      const bool ended = told && !child->Read();
      // What it told in time counts, even if this process was held up.
      if (!ended && (told || !child->late())) {
        ++child;
        continue;
      }
      done(child->job(), child->End(!ended));
      child = running.erase(child);
    }
  }
}

}  // namespace validate
