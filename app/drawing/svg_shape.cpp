#include "svg_shape.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "numbers.h"
#include "svg_style.h"

namespace app {
namespace {

using hosting::Point;

/// Pixels of one "em", where nobody says another.
constexpr double kFontSize = 16;

double Whole(Along along, const Viewport& viewport) {
  if (along == Along::kWidth) return viewport.width;
  if (along == Along::kHeight) return viewport.height;
  return std::hypot(viewport.width, viewport.height) / std::sqrt(2.0);
}

void AddEllipse(StrokeMaker& pen, Point center, double rx, double ry) {
  if (!(rx > 0 && ry > 0)) return;
  pen.Move({center.x + rx, center.y});
  const Point quarters[] = {{0, 1}, {-1, 0}, {0, -1}, {1, 0}};
  for (const Point& p : quarters) {
    pen.Arc(rx, ry, 0, false, true, {center.x + rx * p.x, center.y + ry * p.y});
  }
}

void AddRectangle(StrokeMaker& pen, const pugi::xml_node& rect, const Viewport& viewport) {
  const double x = SvgLength(rect, "x", Along::kWidth, viewport);
  const double y = SvgLength(rect, "y", Along::kHeight, viewport);
  const double w = SvgLength(rect, "width", Along::kWidth, viewport);
  const double h = SvgLength(rect, "height", Along::kHeight, viewport);
  if (!(w > 0 && h > 0)) return;
  // A radius that is not said is as the other.
  double rx = SvgLength(rect, "rx", Along::kWidth, viewport, -1);
  double ry = SvgLength(rect, "ry", Along::kHeight, viewport, -1);
  if (rx < 0) rx = std::max(0.0, ry);
  if (ry < 0) ry = rx;
  rx = std::min(rx, w / 2);
  ry = std::min(ry, h / 2);
  const auto corner = [&](Point to) { pen.Arc(rx, ry, 0, false, true, to); };
  pen.Move({x + rx, y});
  pen.Line({x + w - rx, y});
  corner({x + w, y + ry});
  pen.Line({x + w, y + h - ry});
  corner({x + w - rx, y + h});
  pen.Line({x + rx, y + h});
  corner({x, y + h - ry});
  pen.Line({x, y + ry});
  corner({x + rx, y});
  pen.Close();
}

void AddPoints(StrokeMaker& pen, const pugi::xml_node& shape, bool closed) {
  const std::vector<double> numbers = ParseNumbers(shape.attribute("points").value());
  for (std::size_t i = 0; i + 1 < numbers.size(); i += 2) {
    const Point point{numbers[i], numbers[i + 1]};
    i == 0 ? pen.Move(point) : pen.Line(point);
  }
  if (closed) pen.Close();
}

}  // namespace

double SvgLength(const pugi::xml_node& element, const char* attribute, Along along,
                 const Viewport& viewport, double otherwise) {
  const std::pair<std::string_view, double> units[] = {{"", 1},
                                                       {"px", 1},
                                                       {"in", 96},
                                                       {"mm", 96 / 25.4},
                                                       {"cm", 96 / 2.54},
                                                       {"pt", 96 / 72.0},
                                                       {"pc", 16},
                                                       {"Q", 96 / 101.6},
                                                       {"em", kFontSize},
                                                       {"ex", kFontSize / 2},
                                                       {"%", Whole(along, viewport) / 100}};
  std::string_view text = element.attribute(attribute).value();
  SkipAny(text, " \t\r\n,");
  const auto number = TakeNumber(text);
  text = text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
  for (const auto& [name, pixels] : units) {
    if (number && text == name) return *number * pixels;
  }
  return otherwise;
}

Affine ViewBoxTransform(const pugi::xml_node& element, const Viewport& place) {
  const std::vector<double> box = ParseNumbers(element.attribute("viewBox").value());
  if (box.size() != 4 || !(box[2] > 0 && box[3] > 0)) return {};
  const std::string kept = element.attribute("preserveAspectRatio").value();
  const auto says = [&](const char* word) { return kept.find(word) != kept.npos; };
  double x = place.width / box[2];
  double y = place.height / box[3];
  if (!says("none")) x = y = says("slice") ? std::max(x, y) : std::min(x, y);
  // Of the room that is left: none before it, half of it, or all.
  const double left = says("xMin") ? 0 : says("xMax") ? 1 : 0.5;
  const double above = says("YMin") ? 0 : says("YMax") ? 1 : 0.5;
  return Affine::Translation((place.width - x * box[2]) * left,
                             (place.height - y * box[3]) * above) *
         Affine::Scale(x, y) * Affine::Translation(-box[0], -box[1]);
}

bool IsShape(std::string_view name) {
  constexpr std::string_view kShapes[] = {"path", "circle",   "ellipse", "rect",
                                          "line", "polyline", "polygon"};
  return std::find(std::begin(kShapes), std::end(kShapes), name) != std::end(kShapes);
}

std::vector<Stroke> ShapeStrokes(const pugi::xml_node& shape, const Viewport& viewport) {
  const std::string_view name = LocalName(shape);
  const auto length = [&](const char* attribute, Along along) {
    return SvgLength(shape, attribute, along, viewport);
  };
  if (name == "path") return ParseSvgPath(shape.attribute("d").value());
  StrokeMaker pen;
  if (name == "circle" || name == "ellipse") {
    double rx = SvgLength(shape, name == "circle" ? "r" : "rx",
                          name == "circle" ? Along::kDiagonal : Along::kWidth, viewport, -1);
    const double ry = name == "circle" ? rx : SvgLength(shape, "ry", Along::kHeight, viewport, rx);
    if (rx < 0) rx = ry;
    AddEllipse(pen, {length("cx", Along::kWidth), length("cy", Along::kHeight)}, rx, ry);
  } else if (name == "rect") {
    AddRectangle(pen, shape, viewport);
  } else if (name == "line") {
    pen.Move({length("x1", Along::kWidth), length("y1", Along::kHeight)});
    pen.Line({length("x2", Along::kWidth), length("y2", Along::kHeight)});
  } else {
    AddPoints(pen, shape, name == "polygon");
  }
  return std::move(pen).Take();
}

}  // namespace app
