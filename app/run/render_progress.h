#pragma once

#include <chrono>
#include <string>

#include "shots.h"

namespace app {

/// How a run tells how far it has come.
enum class ProgressStyle {
  kAuto,   // kLine on a terminal, else kPlain
  kLine,   // one line that is written again and again
  kPlain,  // a line about every tenth of the way
  kJson,   // one JSON object a line
  kNone,   // errors only
};

/// Tells on standard error how far a run has come, and what went wrong.
class RenderProgress {
 public:
  RenderProgress(ProgressStyle style, int frames);
  /// Leaves the terminal on a fresh line.
  ~RenderProgress();
  RenderProgress(const RenderProgress&) = delete;
  RenderProgress& operator=(const RenderProgress&) = delete;

  /// `frame` is one that is being rendered; `parts` is the sum over all of them of what is done,
  /// each 0 to 1. To be called often.
  void Within(int frame, double parts);
  void Done(const Shot& shot);
  /// In a line of its own, whatever the style.
  void Failed(const Shot& shot, const std::string& why);
  void Note(const std::string& text);

  static void PrintError(ProgressStyle style, const std::string& what);

 private:
  using Clock = std::chrono::steady_clock;

  bool IsTimeToDraw() const;
  void Draw(int frame, double done);
  void PrintJson(int frame, double done);
  void ClearLine() const;
  double Elapsed() const;
  /// Seconds, from the speed so far; below 0 when nothing is known.
  double Remaining(double done) const;

  ProgressStyle style_;
  int frames_;
  int done_ = 0;
  int told_tenths_ = 0;
  bool drawn_ = false;
  Clock::time_point start_;
  Clock::time_point last_drawn_;
};

}  // namespace app
