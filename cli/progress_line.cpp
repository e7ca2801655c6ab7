#include "progress_line.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace cli {
namespace {

constexpr std::chrono::milliseconds kRedraw{100};
constexpr int kBarWidth = 30;

double Seconds(std::chrono::steady_clock::duration d) {
  return std::chrono::duration<double>(d).count();
}

}  // namespace

ProgressLine::ProgressLine(int frames, bool quiet)
    : frames_(frames), quiet_(quiet), terminal_(isatty(STDERR_FILENO) != 0), start_(Clock::now()) {}

ProgressLine::~ProgressLine() {
  if (drawn_) fmt::print(stderr, "\n");
}

void ProgressLine::Within(int frame, double part) {
  if (quiet_ || !terminal_ || Clock::now() - last_drawn_ < kRedraw) return;
  Draw(frame, part);
}

void ProgressLine::Done(int frame) {
  ++done_;
  if (quiet_) return;
  if (terminal_) {
    if (done_ == frames_ || Clock::now() - last_drawn_ >= kRedraw) Draw(frame, 0);
    return;
  }
  const int tenths = 10 * done_ / frames_;
  if (tenths == told_tenths_) return;
  told_tenths_ = tenths;
  fmt::print(stderr, "frame {}: {} of {} done, {}\n", frame, done_, frames_, Remaining(done_));
}

void ProgressLine::Failed(int frame, const std::string& why) {
  fmt::print(stderr, "{}vorlin: error: {}\n", drawn_ ? "\r\x1b[K" : "", why);
  Done(frame);
}

void ProgressLine::Draw(int frame, double part) {
  last_drawn_ = Clock::now();
  drawn_ = true;
  const double done = done_ + std::clamp(part, 0.0, 1.0);
  const auto filled = static_cast<int>(done / frames_ * kBarWidth);
  const double rate = done / std::max(1e-3, Seconds(last_drawn_ - start_));
  fmt::print(stderr, "\r[{:#<{}}{:.<{}}] frame {}, {} of {}, {:.1f} frames/s, {}\x1b[K", "", filled,
             "", kBarWidth - filled, frame, done_, frames_, rate, Remaining(done));
  std::fflush(stderr);
}

std::string ProgressLine::Remaining(double done) const {
  const double elapsed = Seconds(Clock::now() - start_);
  if (done >= frames_) return fmt::format("{:.1f} s", elapsed);
  if (done <= 0) return "starting";
  const long left = std::lround(elapsed / done * (frames_ - done));
  return fmt::format("{}:{:02} left", left / 60, left % 60);
}

}  // namespace cli
