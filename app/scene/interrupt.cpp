#include "interrupt.h"

#include <atomic>
#include <csignal>

#include "errors.h"

namespace app {
namespace {

// The only state that a signal handler may reach is global.
std::atomic<int> arrived{0};
static_assert(std::atomic<int>::is_always_lock_free);

void Note(int signal) { arrived = signal; }

}  // namespace

NotedSignals::NotedSignals() {
  arrived = 0;
  struct sigaction action {};
  action.sa_handler = Note;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

NotedSignals::~NotedSignals() {
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
}

int NotedSignals::Arrived() { return arrived; }

void NotedSignals::Check() {
  if (const int signal = arrived) throw Interrupted{signal};
}

}  // namespace app
