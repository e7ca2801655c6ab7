// Giving back what the host lent, however the stretch of code that used it ends.
#pragma once

#include <utility>

namespace vorlin {

/// Calls give_back and drops what it throws: whatever is given back on the way out must neither end
/// the process while another exception passes nor keep others from being given back.
template <class Action>
void IgnoringExceptions(const Action& action) noexcept {
  try {
    action();
  } catch (...) {  // as with the host's result: not examined
  }
}

/// Gives back once: by Now(), whose exceptions pass on, or else on destruction.
template <class Action>
class GiveBack {
 public:
  explicit GiveBack(Action action) : action_(std::move(action)) {}
  ~GiveBack() {
    if (!done_) IgnoringExceptions(action_);
  }
  GiveBack(const GiveBack&) = delete;
  GiveBack& operator=(const GiveBack&) = delete;

  void Now() {
    done_ = true;
    action_();
  }

 private:
  Action action_;
  bool done_ = false;
};

}  // namespace vorlin
