#include "svg_path.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <numbers>
#include <utility>

#include "affine.h"
#include "errors.h"
#include "numbers.h"

namespace app {
namespace {

using hosting::Point;

/// Follows the commands of a path.
class PathReader {
 public:
  explicit PathReader(std::string_view d) : rest_(d) {}

  std::vector<Stroke> Read() {
    SkipSpace();
    char command = 0;
    while (!rest_.empty()) {
      if (std::isalpha(static_cast<unsigned char>(rest_.front())) != 0) {
        command = rest_.front();
        rest_.remove_prefix(1);
      } else if (command == 0 || command == 'Z' || command == 'z') {
        Fail(fmt::format("expected a command at \"{}\"", rest_.substr(0, 20)));
      }
      if (is_first_ && command != 'M' && command != 'm') Fail("a path begins with M");
      is_first_ = false;
      Follow(command);
      // Further pairs after a move are lines.
      if (command == 'M') command = 'L';
      if (command == 'm') command = 'l';
      SkipSpace();
    }
    return std::move(pen_).Take();
  }

 private:
  void Follow(char command) {
    const bool relative = std::islower(static_cast<unsigned char>(command)) != 0;
    const Point at = pen_.at();
    const Point base = relative ? at : Point{};
    const Piece before = std::exchange(last_, Piece::kOther);
    switch (std::toupper(static_cast<unsigned char>(command))) {
      case 'M':
        return pen_.Move(TakePoint(base));
      case 'L':
        return pen_.Line(TakePoint(base));
      case 'H':
        return pen_.Line({base.x + TakeNumber(), at.y});
      case 'V':
        return pen_.Line({at.x, base.y + TakeNumber()});
      case 'Z':
        return pen_.Close();
      case 'C': {
        const Point out = TakePoint(base);
        return Cubic(out, TakePoint(base), base);
      }
      case 'S':
        return Cubic(before == Piece::kCubic ? mirrored_ : at, TakePoint(base), base);
      case 'Q':
        return Quadratic(TakePoint(base), base);
      case 'T':
        return Quadratic(before == Piece::kQuadratic ? mirrored_ : at, base);
      case 'A': {
        const double rx = TakeNumber();
        const double ry = TakeNumber();
        const double degrees = TakeNumber();
        const bool large = TakeFlag();
        const bool sweep = TakeFlag();
        return pen_.Arc(rx, ry, degrees, large, sweep, TakePoint(base));
      }
      default:
        Fail(fmt::format("there is no command \"{}\"", command));
    }
  }

  void Cubic(Point out, Point in, Point base) {
    const Point to = TakePoint(base);
    mirrored_ = to + (to - in);
    pen_.Cubic(out, in, to);
    last_ = Piece::kCubic;
  }

  void Quadratic(Point handle, Point base) {
    const Point to = TakePoint(base);
    pen_.Quadratic(handle, to);
    mirrored_ = to + (to - handle);
    last_ = Piece::kQuadratic;
  }

  void SkipSpace() { SkipAny(rest_, " ,\t\n\v\f\r"); }

  double TakeNumber() {
    SkipSpace();
    const auto number = app::TakeNumber(rest_);
    if (!number) Fail(fmt::format("expected a number at \"{}\"", rest_.substr(0, 20)));
    return *number;
  }

  /// One digit, which may stand before the next number without a space.
  bool TakeFlag() {
    SkipSpace();
    if (!rest_.starts_with('0') && !rest_.starts_with('1')) {
      Fail(fmt::format("expected 0 or 1 at \"{}\"", rest_.substr(0, 20)));
    }
    const bool flag = rest_.front() == '1';
    rest_.remove_prefix(1);
    return flag;
  }

  Point TakePoint(Point base) {
    const double x = TakeNumber();
    return base + Point{x, TakeNumber()};
  }

  [[noreturn]] static void Fail(const std::string& why) { throw InputError("SVG path: " + why); }

  enum class Piece { kOther, kCubic, kQuadratic };

  std::string_view rest_;
  StrokeMaker pen_;
  Point mirrored_;  // the last handle, on the other side of where the path is
  Piece last_ = Piece::kOther;
  bool is_first_ = true;
};

}  // namespace

void StrokeMaker::Move(Point to) {
  at_ = start_ = to;
  moved_ = true;
}

void StrokeMaker::Line(Point to) {
  Cubic(hosting::Blend(at_, to, 1.0 / 3), hosting::Blend(at_, to, 2.0 / 3), to);
}

void StrokeMaker::Cubic(Point out, Point in, Point to) {
  if (!(at_ == out && out == in && in == to)) {
    if (moved_) strokes_.emplace_back();
    moved_ = false;
    strokes_.back().push_back({at_, out, in, to});
  }
  at_ = to;
}

void StrokeMaker::Quadratic(Point handle, Point to) {
  Cubic(hosting::Blend(at_, handle, 2.0 / 3), hosting::Blend(to, handle, 2.0 / 3), to);
}

// https://www.w3.org/TR/SVG11/implnote.html, "Elliptical arc implementation notes": the centre from
// both ends, then a curve for each quarter turn at most.
void StrokeMaker::Arc(double rx, double ry, double degrees, bool large, bool sweep, Point to) {
  rx = std::abs(rx);
  ry = std::abs(ry);
  if (rx == 0 || ry == 0 || at_ == to) return Line(to);
  const double turn = degrees * std::numbers::pi / 180;
  const Affine turned{std::cos(turn), std::sin(turn), -std::sin(turn), std::cos(turn), 0, 0};
  // Half the way back from the end, in the ellipse's axes.
  const Point half = turned.Inverse()({(at_.x - to.x) / 2, (at_.y - to.y) / 2});
  const double too_far = half.x * half.x / (rx * rx) + half.y * half.y / (ry * ry);
  if (too_far > 1) {
    rx *= std::sqrt(too_far);
    ry *= std::sqrt(too_far);
  }
  const double across = rx * rx * half.y * half.y + ry * ry * half.x * half.x;
  const double distance =
      std::sqrt(std::max(0.0, rx * rx * ry * ry / across - 1)) * (large == sweep ? -1 : 1);
  const Point center{distance * rx * half.y / ry, -distance * ry * half.x / rx};
  const auto angle = [&](double side) {
    return std::atan2((side * half.y - center.y) / ry, (side * half.x - center.x) / rx);
  };
  const double from = angle(1);
  double sweep_angle = angle(-1) - from;
  if (sweep && sweep_angle < 0) sweep_angle += 2 * std::numbers::pi;
  if (!sweep && sweep_angle > 0) sweep_angle -= 2 * std::numbers::pi;

  const Affine unit_to_page = Affine::Translation((at_.x + to.x) / 2, (at_.y + to.y) / 2) * turned *
                              Affine::Translation(center.x, center.y) * Affine::Scale(rx, ry);
  const int pieces = std::max(
      1, static_cast<int>(std::ceil(std::abs(sweep_angle) / (std::numbers::pi / 2) - 1e-9)));
  const double step = sweep_angle / pieces;
  const double handle = 4.0 / 3 * std::tan(step / 4);
  for (int i = 0; i < pieces; ++i) {
    const double a = from + i * step;
    const double b = a + step;
    const Point out{std::cos(a) - handle * std::sin(a), std::sin(a) + handle * std::cos(a)};
    const Point in{std::cos(b) + handle * std::sin(b), std::sin(b) - handle * std::cos(b)};
    const Point end = i + 1 == pieces ? to : unit_to_page({std::cos(b), std::sin(b)});
    Cubic(unit_to_page(out), unit_to_page(in), end);
  }
}

void StrokeMaker::Close() {
  if (!moved_) Line(start_);
  moved_ = true;
  at_ = start_;
}

std::vector<Stroke> StrokeMaker::Take() && { return std::move(strokes_); }

std::vector<Stroke> ParseSvgPath(std::string_view d) { return PathReader(d).Read(); }

}  // namespace app
