#include "render_progress.h"

#include <fmt/format.h>
#include <json/json.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace app {
namespace {

constexpr std::chrono::milliseconds kRedraw{100};
constexpr std::chrono::milliseconds kNextObject{500};
constexpr int kBarWidth = 30;

bool IsTerminal() {
  const char* const kind = std::getenv("TERM");
  return isatty(STDERR_FILENO) != 0 && !(kind != nullptr && std::string_view(kind) == "dumb");
}

int TerminalWidth() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

/// What cannot be told is not worth ending a run for.
template <class... Values>
void Say(fmt::format_string<Values...> text, Values&&... values) {
  std::fputs(fmt::format(text, std::forward<Values>(values)...).c_str(), stderr);
}

double Rounded(double value) { return std::round(value * 1e3) / 1e3; }

/// One line of its own.
void SayJson(const Json::Value& object) {
  Json::StreamWriterBuilder writer;
  writer["indentation"] = "";
  writer["precision"] = 9;
  writer["emitUTF8"] = true;
  Say("{}\n", Json::writeString(writer, object));
}

Json::Value EventOf(const char* kind) {
  Json::Value event;
  event["event"] = kind;
  return event;
}

void SayMessage(const char* kind, const std::string& message) {
  Json::Value event = EventOf(kind);
  event["message"] = message;
  SayJson(event);
}

std::string MinutesText(double seconds) {
  const long whole = std::lround(seconds);
  if (whole < 3600) return fmt::format("{}:{:02}", whole / 60, whole % 60);
  return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

}  // namespace

RenderProgress::RenderProgress(ProgressStyle style, int frames)
    : style_(style != ProgressStyle::kAuto ? style
             : IsTerminal()                ? ProgressStyle::kLine
                                           : ProgressStyle::kPlain),
      frames_(frames),
      start_(Clock::now()) {}

RenderProgress::~RenderProgress() {
  if (drawn_) Say("\n");
}

void RenderProgress::Within(int frame, double parts) {
  if (!IsTimeToDraw()) return;
  const double done = done_ + parts;
  if (style_ == ProgressStyle::kLine) Draw(frame, done);
  if (style_ == ProgressStyle::kJson) PrintJson(frame, done);
}

void RenderProgress::Done(const Shot& shot) {
  ++done_;
  if (style_ == ProgressStyle::kLine && (done_ == frames_ || IsTimeToDraw())) {
    Draw(shot.number, done_);
  }
  if (style_ == ProgressStyle::kJson) {
    Json::Value event = EventOf("frame");
    event["frame"] = shot.number;
    event["file"] = shot.file.string();
    event["done"] = done_;
    event["frames"] = frames_;
    SayJson(event);
  }
  if (style_ == ProgressStyle::kPlain) {
    const int tenths = 10 * done_ / frames_;
    if (tenths == told_tenths_) return;
    told_tenths_ = tenths;
    Say("frame {}: {} of {} done, {}\n", shot.number, done_, frames_,
        done_ < frames_ ? MinutesText(Remaining(done_)) + " left"
                        : fmt::format("{:.1f} s", Elapsed()));
  }
}

void RenderProgress::Failed(const Shot& shot, const std::string& why) {
  ClearLine();
  if (style_ == ProgressStyle::kJson) {
    Json::Value event = EventOf("error");
    event["frame"] = shot.number;
    event["message"] = why;
    SayJson(event);
  } else {
    PrintError(style_, why);
  }
  ++done_;
}

void RenderProgress::Note(const std::string& text) {
  if (style_ == ProgressStyle::kNone) return;
  ClearLine();
  if (style_ == ProgressStyle::kJson) {
    SayMessage("note", text);
  } else {
    Say("vorlin: note: {}\n", text);
  }
}

void RenderProgress::PrintError(ProgressStyle style, const std::string& what) {
  if (style == ProgressStyle::kJson) {
    SayMessage("error", what);
  } else {
    Say("vorlin: error: {}\n", what);
  }
}

bool RenderProgress::IsTimeToDraw() const {
  return Clock::now() - last_drawn_ >= (style_ == ProgressStyle::kJson ? kNextObject : kRedraw);
}

void RenderProgress::Draw(int frame, double done) {
  last_drawn_ = Clock::now();
  drawn_ = true;
  const double rate = done / std::max(1e-3, Elapsed());
  const std::string text =
      fmt::format("frame {}, {} of {}, {:.1f} frames/s, {}", frame, done_, frames_, rate,
                  done_ >= frames_ ? fmt::format("{:.1f} s", Elapsed())
                  : done <= 0      ? "starting"
                                   : MinutesText(Remaining(done)) + " left");
  const int width = TerminalWidth();
  const int bar = std::min(kBarWidth, width - static_cast<int>(text.size()) - 4);
  std::string line = text;
  if (bar > 0) {
    const int filled = std::clamp(static_cast<int>(done / frames_ * bar), 0, bar);
    line = fmt::format("[{:#<{}}{:.<{}}] {}", "", filled, "", bar - filled, text);
  }
  Say("\r{}\x1b[K", line.substr(0, static_cast<std::size_t>(width - 1)));
  std::fflush(stderr);
}

void RenderProgress::PrintJson(int frame, double done) {
  last_drawn_ = Clock::now();
  const double left = Remaining(done);
  Json::Value event = EventOf("progress");
  event["frame"] = frame;
  event["done"] = Rounded(done);
  event["frames"] = frames_;
  event["fps"] = Rounded(done / std::max(1e-3, Elapsed()));
  event["left"] = left < 0 ? Json::Value() : Json::Value(Rounded(left));
  SayJson(event);
}

void RenderProgress::ClearLine() const {
  if (drawn_) Say("\r\x1b[K");
}

double RenderProgress::Elapsed() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

double RenderProgress::Remaining(double done) const {
  return done > 0 ? Elapsed() / done * (frames_ - done) : -1;
}

}  // namespace app
