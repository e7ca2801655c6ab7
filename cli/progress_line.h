#pragma once

#include <chrono>
#include <string>

namespace cli {

/// Tells on standard error how far a run has come: one line that is written again and again on a
/// terminal, else a plain line about every tenth of the way.
class ProgressLine {
 public:
  ProgressLine(int frames, bool quiet);
  /// Leaves the terminal on a fresh line.
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// `part` (0..1) of the frame being rendered is done.
  void Within(int frame, double part);
  void Done(int frame);
  /// Says why in a line of its own, quiet or not.
  void Failed(int frame, const std::string& why);

 private:
  using Clock = std::chrono::steady_clock;

  void Draw(int frame, double part);
  std::string Remaining(double done) const;

  int frames_;
  int done_ = 0;
  int told_tenths_ = 0;
  bool quiet_;
  bool terminal_;
  bool drawn_ = false;
  Clock::time_point start_;
  Clock::time_point last_drawn_;
};

}  // namespace cli
