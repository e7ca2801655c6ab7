#include "json_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <string_view>

#include "errors.h"
#include "files.h"

namespace app {
namespace {

// Deeper than any scene, and far from what the stack holds.
constexpr int kDeepest = 100;

Json::CharReaderBuilder Dialect() {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["allowComments"] = true;
  builder["collectComments"] = false;
  builder["stackLimit"] = kDeepest;
  builder["skipBom"] = false;  // one has been taken off
  return builder;
}

/// Whether the text is a number as JSON writes it.
bool IsNumber(std::string_view text) {
  const auto take = [&](std::string_view any) {
    const bool found = !text.empty() && any.find(text.front()) != any.npos;
    if (found) text.remove_prefix(1);
    return found;
  };
  const auto take_digits = [&] {
    const std::size_t before = text.size();
    text.remove_prefix(std::min(text.find_first_not_of("0123456789"), text.size()));
    return text.size() < before;
  };
  take("-");
  if (!take("0") && !take_digits()) return false;
  if (take(".") && !take_digits()) return false;
  if (take("eE")) {
    take("+-");
    if (!take_digits()) return false;
  }
  return text.empty();
}

// The parser reports "* Line 7, Column 12\n  What is wrong\n..."; the first report is the cause.
std::string FirstReport(const std::string& name, const std::string& reports) {
  int line = 0;
  int column = 0;
  if (std::sscanf(reports.c_str(), "* Line %d, Column %d", &line, &column) != 2) {
    return fmt::format("{}: {}", name, reports);
  }
  const std::size_t start = reports.find_first_not_of("\n ", reports.find('\n'));
  std::string what = reports.substr(start, reports.find('\n', start) - start);
  if (what.ends_with('.')) what.pop_back();
  what[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(what[0])));
  return fmt::format("{}:{}:{}: {}", name, line, column, what);
}

// The end (past the last character) of the comment or string that starts at `start`, or `start`
// + 1.
std::size_t SkipToken(std::string_view text, std::size_t start) {
  const auto after = [&](std::string_view mark) {
    const std::size_t found = text.find(mark, start + 2);
    return found == std::string_view::npos ? text.size() : found + mark.size();
  };
  if (text.substr(start, 2) == "//") return after("\n");
  if (text.substr(start, 2) == "/*") return after("*/");
  if (text[start] != '"') return start + 1;
  std::size_t end = start + 1;
  while (end < text.size() && text[end] != '"') end += text[end] == '\\' ? 2 : 1;
  return end + 1;
}

// A key is the last string before its value.
std::size_t LastStringBefore(std::string_view text, std::size_t start, std::size_t end) {
  std::size_t last = start;
  while (start < end) {
    if (text[start] == '"') last = start;
    start = SkipToken(text, start);
  }
  return last;
}

// The first bracket whose content is nested too deep.
std::size_t DeepestBracket(std::string_view text) {
  int depth = 0;
  std::size_t at = 0;
  for (; at < text.size(); at = SkipToken(text, at)) {
    if (text[at] == '[' || text[at] == '{') ++depth;
    if (text[at] == ']' || text[at] == '}') --depth;
    if (depth == kDeepest) break;
  }
  return at;
}

std::size_t Start(const Json::Value& value) {
  return static_cast<std::size_t>(value.getOffsetStart());
}

}  // namespace

JsonText::JsonText(std::string name, std::string text)
    : name_(std::move(name)), text_(std::move(text)) {
  // The parser passes over a byte-order mark, but does not count it in its offsets.
  if (text_.starts_with("\xEF\xBB\xBF")) text_.erase(0, 3);
  static const Json::CharReaderBuilder kDialect = Dialect();
  const std::unique_ptr<Json::CharReader> reader(kDialect.newCharReader());
  std::string reports;
  bool good = false;
  try {
    good = reader->parse(text_.data(), text_.data() + text_.size(), &root_, &reports);
  } catch (const Json::Exception&) {
    FailAtOffset(DeepestBracket(text_), fmt::format("nested deeper than {} levels", kDeepest));
  }
  if (!good) throw InputError(FirstReport(name_, reports));
  CheckNumbers(root_);
}

JsonText JsonText::Inline(std::string name, std::string text) {
  JsonText json(std::move(name), std::move(text));
  json.has_lines_ = false;
  return json;
}

JsonText JsonText::Read(const std::filesystem::path& path) {
  return {path.string(), ReadTextFile(path)};
}

void JsonText::CheckNumbers(const Json::Value& value) const {
  if (value.isNumeric()) {
    const std::string_view written = Written(value);
    if (!IsNumber(written)) FailAt(value, fmt::format("'{}' is not a number", written));
  }
  if (value.isArray() || value.isObject()) {
    for (const Json::Value& part : value) CheckNumbers(part);
  }
}

std::string JsonText::Place(const Json::Value& value) const { return PlaceAt(Start(value)); }

void JsonText::FailAt(const Json::Value& value, const std::string& message) const {
  FailAtOffset(Start(value), message);
}

void JsonText::FailAtKey(const Json::Value& object, const Json::Value& value,
                         const std::string& message) const {
  FailAtOffset(LastStringBefore(text_, Start(object), Start(value)), message);
}

std::string_view JsonText::Written(const Json::Value& value) const {
  const auto length = static_cast<std::size_t>(value.getOffsetLimit() - value.getOffsetStart());
  return std::string_view(text_).substr(Start(value), length);
}

void JsonText::FailAtOffset(std::size_t offset, const std::string& message) const {
  throw InputError(PlaceAt(offset) + message);
}

std::string JsonText::PlaceAt(std::size_t offset) const {
  if (!has_lines_) return name_ + ": ";
  const std::string_view before = std::string_view(text_).substr(0, offset);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::size_t column = offset - (before.rfind('\n') + 1) + 1;
  return fmt::format("{}:{}:{}: ", name_, line, column);
}

std::string WriteJson(const Json::Value& value, const std::string& indentation) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = indentation;
  builder["precision"] = 12;
  builder["enableYAMLCompatibility"] = true;
  return Json::writeString(builder, value);
}

}  // namespace app
