#include "svg_drawing.h"

#include <fmt/format.h>

#include <algorithm>
#include <pugixml.hpp>
#include <string_view>

#include "errors.h"
#include "numbers.h"

namespace app {
namespace {

using hosting::Point;

/// In pixels; 0 for none and for a share of something.
double Length(std::string_view text) {
  static constexpr std::pair<std::string_view, double> kUnits[] = {
      {"", 1},           {"px", 1},         {"in", 96}, {"mm", 96 / 25.4},
      {"cm", 96 / 2.54}, {"pt", 96 / 72.0}, {"pc", 16}, {"Q", 96 / 101.6}};
  SkipAny(text, " \t\r\n,");
  const auto number = TakeNumber(text);
  for (const auto& [name, pixels] : kUnits) {
    if (number && text == name) return *number * pixels;
  }
  return 0;
}

/// The way from the view box onto the page, whose size is set.
Affine Page(const pugi::xml_node& svg, DrawnPath& drawing) {
  drawing.page_width = Length(svg.attribute("width").value());
  drawing.page_height = Length(svg.attribute("height").value());
  const std::vector<double> box = ParseNumbers(svg.attribute("viewBox").value());
  if (box.size() != 4 || !(box[2] > 0 && box[3] > 0)) return {};
  if (!(drawing.page_width > 0 && drawing.page_height > 0)) {
    drawing.page_width = box[2];
    drawing.page_height = box[3];
  }
  double x = drawing.page_width / box[2];
  double y = drawing.page_height / box[3];
  const std::string_view kept = svg.attribute("preserveAspectRatio").value();
  if (kept != "none") x = y = std::min(x, y);
  return Affine::Translation(drawing.page_width / 2, drawing.page_height / 2) *
         Affine::Scale(x, y) * Affine::Translation(-box[0] - box[2] / 2, -box[1] - box[3] / 2);
}

bool IsDefinition(std::string_view name) {
  constexpr std::string_view kNotDrawn[] = {"defs",   "clipPath", "mask",
                                            "marker", "pattern",  "symbol"};
  return std::find(std::begin(kNotDrawn), std::end(kNotDrawn), name) != std::end(kNotDrawn);
}

/// Visits all elements in the order in which they are drawn.
class DrawingWalker : public pugi::xml_tree_walker {
 public:
  explicit DrawingWalker(const std::string& id) : id_(id) {}

  bool found() const { return found_; }
  DrawnPath drawing() && { return std::move(drawing_); }

 private:
  /// What holds for all that is within an element.
  struct Surroundings {
    Affine to_page;
    bool drawn = true;
  };

  bool for_each(pugi::xml_node& node) override {
    if (node.type() != pugi::node_element) return true;
    std::string_view name = node.name();
    name.remove_prefix(name.rfind(':') + 1);  // its namespace
    const auto level = static_cast<std::size_t>(depth());
    around_.resize(level + 1);
    Surroundings here = around_.back();
    if (level == 0 && name == "svg") here.to_page = Page(node, drawing_);
    here.to_page = here.to_page * ParseTransform(node.attribute("transform").value());
    here.drawn = here.drawn && !IsDefinition(name);
    if (here.drawn && name == "image") AddPicture(node, here.to_page);
    if (here.drawn && name == "path") AddPath(node, here.to_page);
    around_.push_back(here);
    return true;
  }

  void AddPicture(const pugi::xml_node& image, const Affine& to_page) {
    if (drawing_.has_picture) return;
    const auto length = [&](const char* name) { return Length(image.attribute(name).value()); };
    drawing_.has_picture = true;
    drawing_.picture =
        to_page * Affine{length("width"), 0, 0, length("height"), length("x"), length("y")};
  }

  void AddPath(const pugi::xml_node& path, const Affine& to_page) {
    if (found_ || !(id_.empty() || id_ == path.attribute("id").value())) return;
    found_ = true;
    drawing_.curves = ParseSvgPath(path.attribute("d").value());
    for (Curve& curve : drawing_.curves) {
      for (Point& point : curve) point = to_page(point);
    }
  }

  const std::string& id_;
  DrawnPath drawing_;
  bool found_ = false;
  std::vector<Surroundings> around_{{}};  // of each level down to the element that is visited
};

[[noreturn]] void FailAt(const std::string& file, std::string_view text, std::size_t offset,
                         std::string_view why) {
  const std::string_view before = text.substr(0, offset);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::size_t column = before.size() - (before.rfind('\n') + 1) + 1;
  throw InputError(fmt::format("{}:{}:{}: {}", file, line, column, why));
}

/// The parser's own texts speak of its inside.
std::string_view WhatIsWrong(pugi::xml_parse_status status) {
  switch (status) {
    case pugi::status_end_element_mismatch:
      return "this tag does not close the element that is open";
    case pugi::status_bad_attribute:
      return "an attribute is written as name=\"value\", with both quotes";
    case pugi::status_no_document_element:
      return "there is no XML element";
    default:
      return "this is not XML";
  }
}

}  // namespace

DrawnPath ReadDrawnPath(const std::string& file, const std::string& svg, const std::string& id) {
  pugi::xml_document xml;
  const pugi::xml_parse_result parsed =
      xml.load_buffer(svg.data(), svg.size(), pugi::parse_default, pugi::encoding_utf8);
  if (!parsed) {
    const auto offset = static_cast<std::size_t>(parsed.offset);
    const bool at_end = offset + 1 >= svg.size() && !svg.empty();
    FailAt(file, svg, offset, at_end ? "the file ends too early" : WhatIsWrong(parsed.status));
  }
  DrawingWalker walker(id);
  xml.traverse(walker);
  if (walker.found()) return std::move(walker).drawing();
  throw InputError(id.empty() ? "the SVG has no path; an editor makes paths of other shapes"
                              : fmt::format("the SVG has no path with the id \"{}\"", id));
}

}  // namespace app
