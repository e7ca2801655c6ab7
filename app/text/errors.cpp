#include "errors.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <csignal>
#include <new>

#include "hosting/errors.h"

namespace app {
namespace {

// The only state that a signal handler may reach is global.
std::atomic<int> arrived{0};
static_assert(std::atomic<int>::is_always_lock_free);

void Note(int signal) { arrived = signal; }

}  // namespace

void Mistakes::Note(const Error& error) {
  if (!first_) {
    first_ = error;
  } else {
    others_.emplace_back(error.what());
  }
  others_.insert(others_.end(), error.others().begin(), error.others().end());
}

void Mistakes::Tell() const {
  if (!first_) return;
  if (first_->code() == ExitCode::kFile) throw FileError(first_->what(), others_);
  throw InputError(first_->what(), others_);
}

Error AsError(const std::exception_ptr& exception) {
  const auto one_line = [](std::string text) {
    const auto is_control = [](unsigned char c) { return std::iscntrl(c) != 0; };
    std::replace_if(text.begin(), text.end(), is_control, ' ');
    return text;
  };
  try {
    std::rethrow_exception(exception);
  } catch (const Error& error) {
    std::vector<std::string> others = error.others();
    std::transform(others.begin(), others.end(), others.begin(), one_line);
    return {error.code(), one_line(error.what()), others};
  } catch (const hosting::Error& error) {
    return {ExitCode::kEffect, one_line(error.what())};
  } catch (const std::bad_alloc&) {
    return FileError("there is not enough memory");
  } catch (const std::exception& error) {
    return FileError(one_line(error.what()));
  }
}

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
