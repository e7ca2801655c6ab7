#include "svg_style.h"

#include <algorithm>
#include <sstream>

namespace app {
namespace {

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlank = " \t\r\n\f";
  const std::size_t from = std::min(text.size(), text.find_first_not_of(kBlank));
  return text.substr(from, text.find_last_not_of(kBlank) + 1 - from);
}

/// The last value that "name: value; ..." gives a property; empty when it gives none.
std::string Declared(std::string_view declarations, std::string_view name) {
  std::string value;
  while (!declarations.empty()) {
    const std::size_t end = std::min(declarations.size(), declarations.find(';'));
    const std::string_view one = declarations.substr(0, end);
    const std::size_t colon = one.find(':');
    if (colon != one.npos && Trimmed(one.substr(0, colon)) == name) {
      const std::string_view said = one.substr(colon + 1);
      value = Trimmed(said.substr(0, said.find('!')));
    }
    declarations.remove_prefix(std::min(declarations.size(), end + 1));
  }
  return value;
}

bool HasWord(const char* words, const std::string& word) {
  std::istringstream list(words);
  for (std::string one; list >> one;) {
    if (one == word) return true;
  }
  return false;
}

}  // namespace

std::string_view LocalName(const pugi::xml_node& node) {
  const std::string_view name = node.name();
  return name.substr(name.rfind(':') + 1);
}

SvgStyle::SvgStyle(const pugi::xml_node& document) {
  for (const pugi::xpath_node& found : document.select_nodes("//*[local-name()='style']")) {
    std::string text;
    for (const pugi::xml_node& part : found.node().children()) text += part.value();
    AddSheet(std::move(text));
  }
  // Of two that weigh the same the later one wins.
  std::reverse(rules_.begin(), rules_.end());
  std::stable_sort(rules_.begin(), rules_.end(),
                   [](const Rule& a, const Rule& b) { return a.Weight() > b.Weight(); });
}

void SvgStyle::AddSheet(std::string text) {
  for (std::size_t at = text.find("/*"); at != text.npos; at = text.find("/*", at)) {
    const std::size_t end = text.find("*/", at + 2);
    text.erase(at, end == text.npos ? text.npos : end + 2 - at);
  }
  for (std::size_t at = 0;;) {
    const std::size_t open = text.find('{', at);
    const std::size_t close = text.find('}', open);
    if (open == text.npos || close == text.npos) return;
    std::istringstream selectors(text.substr(at, open - at));
    for (std::string one; std::getline(selectors, one, ',');) {
      const std::string selector(Trimmed(one));
      if (selector.empty() || selector.find_first_of(" \t\n>+~:[@*") != selector.npos) continue;
      const std::size_t mark = std::min(selector.size(), selector.find_first_of(".#"));
      Rule rule{selector.substr(0, mark), {}, {}, text.substr(open + 1, close - open - 1)};
      if (mark < selector.size()) {
        (selector[mark] == '.' ? rule.classes : rule.id) = selector.substr(mark + 1);
      }
      rules_.push_back(std::move(rule));
    }
    at = close + 1;
  }
}

bool SvgStyle::Rule::Holds(const pugi::xml_node& node) const {
  return (element.empty() || element == LocalName(node)) &&
         (id.empty() || id == node.attribute("id").value()) &&
         (classes.empty() || HasWord(node.attribute("class").value(), classes));
}

std::string SvgStyle::Property(const pugi::xml_node& element, const char* name) const {
  if (std::string own = Declared(element.attribute("style").value(), name); !own.empty()) {
    return own;
  }
  for (const Rule& rule : rules_) {
    if (!rule.Holds(element)) continue;
    if (std::string said = Declared(rule.declarations, name); !said.empty()) return said;
  }
  return std::string(Trimmed(element.attribute(name).value()));
}

}  // namespace app
