#pragma once

#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace app {

/// What an SVG's style sheets, style attributes and presentation attributes say of its elements.
/// Selectors may be a name, .class, #id, or a name with one of them; others are passed over.
class SvgStyle {
 public:
  explicit SvgStyle(const pugi::xml_node& document);

  /// An element's own value of a property, without what it inherits; empty when it has none.
  std::string Property(const pugi::xml_node& element, const char* name) const;

 private:
  struct Rule {
    std::string element;  // empty: any
    std::string classes;  // without the dot; empty: any
    std::string id;       // likewise
    std::string declarations;

    int Weight() const { return (id.empty() ? 0 : 100) + (classes.empty() ? 0 : 10); }
    bool Holds(const pugi::xml_node& node) const;
  };

  void AddSheet(std::string text);

  std::vector<Rule> rules_;  // the strongest first
};

/// Without its namespace.
std::string_view LocalName(const pugi::xml_node& node);

}  // namespace app
