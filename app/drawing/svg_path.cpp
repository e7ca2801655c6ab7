#include "svg_path.h"

#include <fmt/format.h>

#include <cctype>

#include "errors.h"
#include "numbers.h"

namespace app {
namespace {

using hosting::Point;

Point operator+(Point a, Point b) { return {a.x + b.x, a.y + b.y}; }
Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }

/// Follows the commands of one subpath.
class PathReader {
 public:
  explicit PathReader(std::string_view d) : rest_(d) {}

  std::vector<Curve> Read() {
    char command = TakeCommand();
    if (command != 'M' && command != 'm') Fail("a path begins with M");
    at_ = start_ = mirrored_ = TakePoint({});
    // Further pairs after a move are lines.
    command = command == 'm' ? 'l' : 'L';
    for (;;) {
      SkipSpace();
      if (rest_.empty()) return std::move(curves_);
      if (std::isalpha(static_cast<unsigned char>(rest_.front())) != 0) command = TakeCommand();
      if (command == 'M' || command == 'm') return std::move(curves_);
      Follow(command);
      // Numbers after the end of a subpath belong to nothing.
      if (command == 'Z' || command == 'z') return std::move(curves_);
    }
  }

 private:
  void Follow(char command) {
    const bool relative = std::islower(static_cast<unsigned char>(command)) != 0;
    const Point base = relative ? at_ : Point{};
    switch (std::toupper(static_cast<unsigned char>(command))) {
      case 'L':
        return Line(TakePoint(base));
      case 'H':
        return Line({base.x + TakeNumber(), at_.y});
      case 'V':
        return Line({at_.x, base.y + TakeNumber()});
      case 'Z':
        return Line(start_);
      case 'C': {
        const Point out = TakePoint(base);
        return Cubic(out, TakePoint(base), base);
      }
      case 'S':
        return Cubic(last_ == Piece::kCubic ? mirrored_ : at_, TakePoint(base), base);
      case 'Q':
        return Quadratic(TakePoint(base), base);
      case 'T':
        return Quadratic(last_ == Piece::kQuadratic ? mirrored_ : at_, base);
      default:
        Fail(fmt::format("\"{}\" is not supported; convert the path to lines and Bezier curves",
                         command));
    }
  }

  void Line(Point to) {
    const auto part = [&](double t) { return hosting::Blend(at_, to, t); };
    Add(part(1.0 / 3), part(2.0 / 3), to);
    last_ = Piece::kLine;
  }

  void Cubic(Point out, Point in, Point base) {
    const Point to = TakePoint(base);
    mirrored_ = to + (to - in);
    Add(out, in, to);
    last_ = Piece::kCubic;
  }

  void Quadratic(Point handle, Point base) {
    const Point to = TakePoint(base);
    mirrored_ = to + (to - handle);
    Add(hosting::Blend(at_, handle, 2.0 / 3), hosting::Blend(to, handle, 2.0 / 3), to);
    last_ = Piece::kQuadratic;
  }

  void Add(Point out, Point in, Point to) {
    if (!(at_ == out && out == in && in == to)) curves_.push_back({at_, out, in, to});
    at_ = to;
  }

  void SkipSpace() { SkipAny(rest_, " ,\t\n\v\f\r"); }

  char TakeCommand() {
    SkipSpace();
    if (rest_.empty()) Fail("the path is empty");
    const char command = rest_.front();
    rest_.remove_prefix(1);
    return command;
  }

  double TakeNumber() {
    SkipSpace();
    const auto number = app::TakeNumber(rest_);
    if (!number) Fail(fmt::format("expected a number at \"{}\"", rest_.substr(0, 20)));
    return *number;
  }

  Point TakePoint(Point base) {
    const double x = TakeNumber();
    return base + Point{x, TakeNumber()};
  }

  [[noreturn]] static void Fail(const std::string& why) { throw InputError("SVG path: " + why); }

  enum class Piece { kLine, kCubic, kQuadratic };

  std::string_view rest_;
  std::vector<Curve> curves_;
  Point at_;
  Point start_;
  Point mirrored_;  // the last handle, on the other side of where the path is
  Piece last_ = Piece::kLine;
};

}  // namespace

std::vector<Curve> ParseSvgPath(std::string_view d) { return PathReader(d).Read(); }

}  // namespace app
