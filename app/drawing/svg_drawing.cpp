#include "svg_drawing.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <numbers>
#include <optional>
#include <string_view>

#include "errors.h"

namespace app {
namespace {

using hosting::Point;

constexpr std::string_view kBlank = " \t\r\n";
constexpr std::string_view kBetweenNumbers = " \t\r\n,";

std::string_view SkipAny(std::string_view text, std::string_view characters) {
  return text.substr(std::min(text.size(), text.find_first_not_of(characters)));
}

struct Tag {
  std::string_view name;  // without its namespace
  bool opens = false;
  bool closes = false;  // both: an element without content
  std::map<std::string_view, std::string_view> attributes;

  std::string_view operator[](std::string_view key) const {
    const auto found = attributes.find(key);
    return found == attributes.end() ? std::string_view() : found->second;
  }
};

/// One tag after the other; comments, declarations and text are passed over. Attributes may hold
/// whole pictures, so nothing is copied.
class TagReader {
 public:
  explicit TagReader(std::string_view xml) : rest_(xml) {}

  std::optional<Tag> Next() {
    for (;;) {
      rest_ = rest_.substr(std::min(rest_.size(), rest_.find('<')));
      if (rest_.empty()) return std::nullopt;
      if (Skips("<!--", "-->") || Skips("<![CDATA[", "]]>") || Skips("<?", "?>") ||
          Skips("<!", ">")) {
        continue;
      }
      return Read();
    }
  }

 private:
  bool Skips(std::string_view begin, std::string_view end) {
    if (!rest_.starts_with(begin)) return false;
    const std::size_t found = rest_.find(end, begin.size());
    rest_ = rest_.substr(std::min(rest_.size(), found == rest_.npos ? found : found + end.size()));
    return true;
  }

  std::string_view Take(std::size_t count) {
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(taken.size());
    return taken;
  }

  Tag Read() {
    rest_.remove_prefix(1);
    Tag tag;
    tag.closes = rest_.starts_with('/');
    tag.opens = !tag.closes;
    if (tag.closes) rest_.remove_prefix(1);
    tag.name = Take(rest_.find_first_of(" \t\r\n/>"));
    tag.name.remove_prefix(std::min(tag.name.size(), tag.name.rfind(':') + 1));
    for (;;) {
      rest_ = SkipAny(rest_, kBlank);
      if (rest_.empty()) return tag;
      if (rest_.front() == '>') {
        Take(1);
        return tag;
      }
      if (rest_.front() == '/') {
        tag.closes = true;
        rest_.remove_prefix(1);
        continue;
      }
      const std::string_view key = Take(rest_.find_first_of(" \t\r\n=/>"));
      rest_ = SkipAny(rest_, kBlank);
      if (!rest_.starts_with('=')) continue;
      rest_ = SkipAny(rest_.substr(1), kBlank);
      if (rest_.empty() || (rest_.front() != '"' && rest_.front() != '\'')) continue;
      const char quote = Take(1).front();
      tag.attributes[key] = Take(rest_.find(quote));
      Take(1);
    }
  }

  std::string_view rest_;
};

std::optional<double> TakeNumber(std::string_view& text) {
  text = SkipAny(text, kBetweenNumbers);
  if (text.starts_with('+')) text.remove_prefix(1);
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || !std::isfinite(number)) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

std::vector<double> Numbers(std::string_view text) {
  std::vector<double> numbers;
  while (const auto number = TakeNumber(text)) numbers.push_back(*number);
  return numbers;
}

/// In pixels; 0 for none and for a share of something.
double Length(std::string_view text) {
  static constexpr std::pair<std::string_view, double> kUnits[] = {
      {"", 1},           {"px", 1},         {"in", 96}, {"mm", 96 / 25.4},
      {"cm", 96 / 2.54}, {"pt", 96 / 72.0}, {"pc", 16}, {"Q", 96 / 101.6}};
  const auto number = TakeNumber(text);
  for (const auto& [name, pixels] : kUnits) {
    if (number && text == name) return *number * pixels;
  }
  return 0;
}

Affine Rotation(double degrees) {
  const double radians = degrees * std::numbers::pi / 180;
  return {std::cos(radians), std::sin(radians), -std::sin(radians), std::cos(radians), 0, 0};
}

Affine Translation(double x, double y) { return {1, 0, 0, 1, x, y}; }

Affine OneTransform(std::string_view name, const std::vector<double>& n) {
  const auto tangent = [](double degrees) { return std::tan(degrees * std::numbers::pi / 180); };
  if (name == "matrix" && n.size() == 6) return {n[0], n[1], n[2], n[3], n[4], n[5]};
  if (name == "translate" && n.size() == 1) return Translation(n[0], 0);
  if (name == "translate" && n.size() == 2) return Translation(n[0], n[1]);
  if (name == "scale" && n.size() == 1) return {n[0], 0, 0, n[0], 0, 0};
  if (name == "scale" && n.size() == 2) return {n[0], 0, 0, n[1], 0, 0};
  if (name == "rotate" && n.size() == 1) return Rotation(n[0]);
  if (name == "rotate" && n.size() == 3) {
    return Translation(n[1], n[2]) * Rotation(n[0]) * Translation(-n[1], -n[2]);
  }
  if (name == "skewX" && n.size() == 1) return {1, 0, tangent(n[0]), 1, 0, 0};
  if (name == "skewY" && n.size() == 1) return {1, tangent(n[0]), 0, 1, 0, 0};
  throw InputError(fmt::format("SVG: the transformation \"{}\" is not understood", name));
}

Affine Transform(std::string_view text) {
  Affine all;
  for (;;) {
    text = SkipAny(text, kBetweenNumbers);
    const std::size_t open = text.find('(');
    const std::size_t close = text.find(')', open);
    if (open == text.npos || close == text.npos) return all;
    std::string_view name = text.substr(0, open);
    name = name.substr(0, name.find_last_not_of(kBlank) + 1);
    all = all * OneTransform(name, Numbers(text.substr(open + 1, close - open - 1)));
    text.remove_prefix(close + 1);
  }
}

/// The view box's way onto the page, whose size is set.
Affine Page(const Tag& svg, DrawnPath& drawing) {
  drawing.page_width = Length(svg["width"]);
  drawing.page_height = Length(svg["height"]);
  const std::vector<double> box = Numbers(svg["viewBox"]);
  if (box.size() != 4 || !(box[2] > 0 && box[3] > 0)) return {};
  if (!(drawing.page_width > 0 && drawing.page_height > 0)) {
    drawing.page_width = box[2];
    drawing.page_height = box[3];
  }
  double x = drawing.page_width / box[2];
  double y = drawing.page_height / box[3];
  if (svg["preserveAspectRatio"] != "none") x = y = std::min(x, y);
  return Translation(drawing.page_width / 2, drawing.page_height / 2) * Affine{x, 0, 0, y, 0, 0} *
         Translation(-box[0] - box[2] / 2, -box[1] - box[3] / 2);
}

bool IsDefinition(std::string_view name) {
  constexpr std::string_view kNotDrawn[] = {"defs",   "clipPath", "mask",
                                            "marker", "pattern",  "symbol"};
  return std::find(std::begin(kNotDrawn), std::end(kNotDrawn), name) != std::end(kNotDrawn);
}

}  // namespace

Point Affine::operator()(Point p) const { return {a * p.x + c * p.y + e, b * p.x + d * p.y + f}; }

Affine Affine::operator*(const Affine& inner) const {
  const Point origin = (*this)({inner.e, inner.f});
  return {a * inner.a + c * inner.b,
          b * inner.a + d * inner.b,
          a * inner.c + c * inner.d,
          b * inner.c + d * inner.d,
          origin.x,
          origin.y};
}

Affine Affine::Inverse() const {
  const double area = a * d - b * c;
  if (!std::isnormal(area)) throw InputError("SVG: the picture in the drawing has no size");
  return {d / area, -b / area, -c / area, a / area, (c * f - d * e) / area, (b * e - a * f) / area};
}

DrawnPath ReadDrawnPath(const std::string& svg, const std::string& id) {
  struct Element {
    Affine to_page;
    bool drawn = true;
  };
  DrawnPath drawing;
  bool found = false;
  std::vector<Element> open{{}};
  TagReader tags(svg);
  while (const std::optional<Tag> tag = tags.Next()) {
    if (!tag->opens) {
      if (open.size() > 1) open.pop_back();
      continue;
    }
    Element element = open.back();
    if (open.size() == 1 && tag->name == "svg") element.to_page = Page(*tag, drawing);
    element.to_page = element.to_page * Transform((*tag)["transform"]);
    element.drawn = element.drawn && !IsDefinition(tag->name);
    if (tag->name == "image" && element.drawn && !drawing.has_picture) {
      drawing.has_picture = true;
      drawing.picture =
          element.to_page *
          Affine{Length((*tag)["width"]), 0, 0, Length((*tag)["height"]), Length((*tag)["x"]),
                 Length((*tag)["y"])};
    }
    if (tag->name == "path" && element.drawn && !found && (id.empty() || (*tag)["id"] == id)) {
      found = true;
      drawing.curves = ParseSvgPath((*tag)["d"]);
      for (Curve& curve : drawing.curves) {
        for (Point& point : curve) point = element.to_page(point);
      }
    }
    if (!tag->closes) open.push_back(element);
  }
  if (found) return drawing;
  throw InputError(id.empty() ? "the SVG has no path; an editor makes paths of other shapes"
                              : fmt::format("the SVG has no path with the id \"{}\"", id));
}

}  // namespace app
