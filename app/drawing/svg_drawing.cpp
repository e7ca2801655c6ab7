#include "svg_drawing.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <string_view>

#include "errors.h"
#include "suggest.h"
#include "svg_shape.h"
#include "svg_style.h"

namespace app {
namespace {

using hosting::Point;

/// Elements within one another, and in all, that are visited: "use" could go on for ever.
constexpr int kDeepest = 100;
constexpr int kMostElements = 200'000;

std::string Place(const std::string& file, std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, offset);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::size_t column = before.size() - (before.rfind('\n') + 1) + 1;
  return fmt::format("{}:{}:{}: ", file, line, column);
}

bool IsOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// Visits all elements in the order in which they are drawn.
class DrawingReader {
 public:
  DrawingReader(const std::string& file, const std::string& svg, const pugi::xml_document& xml,
                const std::vector<std::string>& ids)
      : file_(file), svg_(svg), xml_(xml), style_(xml), ids_(ids) {}

  Drawing Read() {
    for (const pugi::xml_node& node : xml_.children()) {
      if (node.type() == pugi::node_element) VisitRoot(node);
    }
    if (has_text_) {
      drawing_.notes.emplace_back("text is passed over; the editor can turn it into paths");
    }
    CheckIds();
    if (drawing_.strokes.empty()) {
      throw InputError(fmt::format("{}: there is no visible shape in it{}", file_,
                                   has_text_ ? "; the editor can turn text into paths" : ""));
    }
    return std::move(drawing_);
  }

 private:
  /// What holds for all that is within an element.
  struct Surroundings {
    Affine to_page;
    Viewport viewport;
    bool chosen;
    bool hidden = false;  // which something within can undo
    std::string fill = "black";
    std::string stroke = "none";
    int depth = 0;
  };

  /// What `f` returns; what it refuses is wrong in that element.
  template <class F>
  auto Placed(const pugi::xml_node& node, const F& f) const {
    try {
      return f();
    } catch (const InputError& error) {
      throw InputError(PlaceOf(node) + error.what());
    }
  }

  void VisitRoot(const pugi::xml_node& root) {
    const Viewport none;
    const bool percent = std::string_view(root.attribute("width").value()).ends_with('%');
    drawing_.page_width = percent ? 0 : SvgLength(root, "width", Along::kWidth, none);
    drawing_.page_height = percent ? 0 : SvgLength(root, "height", Along::kHeight, none);
    const std::vector<double> box = ParseNumbers(root.attribute("viewBox").value());
    if (box.size() == 4 && !(drawing_.page_width > 0 && drawing_.page_height > 0)) {
      drawing_.page_width = std::max(0.0, box[2]);
      drawing_.page_height = std::max(0.0, box[3]);
    }
    Surroundings around{{}, {drawing_.page_width, drawing_.page_height}, ids_.empty()};
    if (LocalName(root) != "svg") return Visit(root, around);
    around.to_page = Transform(root) * ViewBoxTransform(root, around.viewport);
    if (box.size() == 4) around.viewport = {box[2], box[3]};
    if (Enter(root, around)) VisitChildren(root, around);
  }

  void Visit(const pugi::xml_node& node, Surroundings here) {
    if (++here.depth > kDeepest || ++visited_ > kMostElements) {
      throw InputError(PlaceOf(node) + "elements use each other too often");
    }
    const std::string_view name = LocalName(node);
    if (IsOneOf(name, {"defs", "clipPath", "mask", "marker", "pattern", "symbol", "style", "title",
                       "desc", "metadata"})) {
      return;
    }
    here.to_page = here.to_page * Transform(node);
    if (!Enter(node, here)) return;
    if (name == "image") return AddPicture(node, here);
    if (name == "use") return VisitUsed(node, here);
    if (name == "switch") return VisitSwitch(node, here);
    if (name == "svg") return VisitViewport(node, node, here);
    if (name == "text") has_text_ = has_text_ || here.chosen;
    if (IsShape(name)) return AddShape(node, here);
    VisitChildren(node, here);
  }

  void VisitChildren(const pugi::xml_node& node, const Surroundings& here) {
    for (const pugi::xml_node& child : node.children()) {
      if (child.type() == pugi::node_element) Visit(child, here);
    }
  }

  /// Takes over what an element says for all within it; false when nothing of it is drawn.
  bool Enter(const pugi::xml_node& node, Surroundings& here) {
    const std::string id = node.attribute("id").value();
    const std::string label = node.attribute("inkscape:label").value();
    for (const std::string& name : {id, label}) {
      if (!name.empty()) names_.insert(name);
      if (!name.empty() && std::find(ids_.begin(), ids_.end(), name) != ids_.end()) {
        here.chosen = true;
        found_.insert(name);
      }
    }
    const auto take = [&](const char* property, std::string& value) {
      const std::string said = style_.Property(node, property);
      if (!said.empty() && said != "inherit") value = said;
    };
    take("fill", here.fill);
    take("stroke", here.stroke);
    std::string visibility;
    take("visibility", visibility);
    if (!visibility.empty()) here.hidden = visibility != "visible";
    const std::string opacity = style_.Property(node, "opacity");
    return style_.Property(node, "display") != "none" && opacity != "0" && opacity != "0%";
  }

  Affine Transform(const pugi::xml_node& node) const {
    return Placed(node, [&] { return ParseTransform(node.attribute("transform").value()); });
  }

  void VisitUsed(const pugi::xml_node& use, Surroundings here) {
    std::string_view link = use.attribute("href").value();
    if (link.empty()) link = use.attribute("xlink:href").value();
    if (!link.starts_with('#')) return;
    const std::string id(link.substr(1));
    const pugi::xml_node used =
        xml_.find_node([&](const pugi::xml_node& n) { return id == n.attribute("id").value(); });
    if (!used) return;
    here.to_page =
        here.to_page * Affine::Translation(SvgLength(use, "x", Along::kWidth, here.viewport),
                                           SvgLength(use, "y", Along::kHeight, here.viewport));
    const bool has_viewport = IsOneOf(LocalName(used), {"symbol", "svg"});
    if (!has_viewport) return Visit(used, here);
    if (++here.depth > kDeepest)
      throw InputError(PlaceOf(use) + "elements use each other too often");
    if (!Enter(used, here)) return;
    VisitViewport(used, use, here);
  }

  /// An element with a view box of its own; `sized` says how large it is.
  void VisitViewport(const pugi::xml_node& node, const pugi::xml_node& sized, Surroundings here) {
    const auto length = [&](const pugi::xml_node& n, const char* name, Along along,
                            double otherwise) {
      return SvgLength(n, name, along, here.viewport, otherwise);
    };
    const Viewport place{length(sized, "width", Along::kWidth,
                                length(node, "width", Along::kWidth, here.viewport.width)),
                         length(sized, "height", Along::kHeight,
                                length(node, "height", Along::kHeight, here.viewport.height))};
    if (LocalName(node) == "svg") {
      here.to_page = here.to_page * Affine::Translation(length(node, "x", Along::kWidth, 0),
                                                        length(node, "y", Along::kHeight, 0));
    }
    here.to_page = here.to_page * ViewBoxTransform(node, place);
    const std::vector<double> box = ParseNumbers(node.attribute("viewBox").value());
    here.viewport = box.size() == 4 ? Viewport{box[2], box[3]} : place;
    VisitChildren(node, here);
  }

  /// The first child that asks for nothing special.
  void VisitSwitch(const pugi::xml_node& node, const Surroundings& here) {
    for (const pugi::xml_node& child : node.children()) {
      const std::string_view language = child.attribute("systemLanguage").value();
      if (child.type() != pugi::node_element || child.attribute("requiredExtensions") ||
          !(language.empty() || language.starts_with("en"))) {
        continue;
      }
      return Visit(child, here);
    }
  }

  void AddPicture(const pugi::xml_node& image, const Surroundings& here) {
    if (drawing_.has_picture) return;
    const auto length = [&](const char* name, Along along) {
      return SvgLength(image, name, along, here.viewport);
    };
    drawing_.has_picture = true;
    drawing_.picture = here.to_page * Affine{length("width", Along::kWidth),
                                             0,
                                             0,
                                             length("height", Along::kHeight),
                                             length("x", Along::kWidth),
                                             length("y", Along::kHeight)};
  }

  void AddShape(const pugi::xml_node& shape, const Surroundings& here) {
    const bool inked = here.fill != "none" || here.stroke != "none";
    if (!here.chosen || here.hidden || !inked) return;
    for (Stroke& stroke : Placed(shape, [&] { return ShapeStrokes(shape, here.viewport); })) {
      for (Curve& curve : stroke) {
        for (Point& point : curve) point = here.to_page(point);
      }
      drawing_.strokes.push_back(std::move(stroke));
    }
  }

  void CheckIds() const {
    for (const std::string& id : ids_) {
      if (found_.contains(id)) continue;
      const std::vector<std::string> names(names_.begin(), names_.end());
      constexpr std::size_t kMostTold = 12;
      const bool all = names.size() <= kMostTold;
      throw InputError(fmt::format(
          "{}: nothing visible is called \"{}\"{} There is: {}{}", file_, id, DidYouMean(id, names),
          names.empty()
              ? "nothing with a name"
              : fmt::format("{}", fmt::join(names.begin(),
                                            names.begin() + static_cast<std::ptrdiff_t>(
                                                                std::min(kMostTold, names.size())),
                                            ", ")),
          all ? "" : ", ..."));
    }
  }

  std::string PlaceOf(const pugi::xml_node& node) const {
    return Place(file_, svg_,
                 static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, node.offset_debug())));
  }

  const std::string& file_;
  const std::string& svg_;
  const pugi::xml_document& xml_;
  SvgStyle style_;
  const std::vector<std::string>& ids_;
  Drawing drawing_;
  std::set<std::string> names_;
  std::set<std::string> found_;
  bool has_text_ = false;
  int visited_ = 0;
};

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

Drawing ReadSvgDrawing(const std::string& file, const std::string& svg,
                       const std::vector<std::string>& ids) {
  pugi::xml_document xml;
  const pugi::xml_parse_result parsed =
      xml.load_buffer(svg.data(), svg.size(), pugi::parse_default, pugi::encoding_utf8);
  if (!parsed) {
    const auto offset = static_cast<std::size_t>(parsed.offset);
    const bool at_end = offset + 1 >= svg.size() && !svg.empty();
    throw InputError(Place(file, svg, offset) +
                     std::string(at_end ? "the file ends too early" : WhatIsWrong(parsed.status)));
  }
  return DrawingReader(file, svg, xml, ids).Read();
}

}  // namespace app
