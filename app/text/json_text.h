#pragma once

#include <json/json.h>

#include <cstddef>
#include <filesystem>
#include <string>

namespace app {

/// A JSON text with its comments, parsed, that still knows where each of its values stands.
class JsonText {
 public:
  /// `name` begins every message. Throws InputError for text that is not JSON.
  JsonText(std::string name, std::string text);

  /// A text from the command line: messages name no line or column.
  static JsonText Inline(std::string name, std::string text);

  /// Reads the file. Throws FileError when it cannot be read.
  static JsonText Read(const std::filesystem::path& path);

  const Json::Value& root() const { return root_; }

  /// "name:line:column: ", where `value`, one of root()'s, begins.
  std::string Place(const Json::Value& value) const;
  /// `value` must belong to root(). Both throw InputError "name:line:column: message"; lines and
  /// columns (bytes) count from 1.
  [[noreturn]] void FailAt(const Json::Value& value, const std::string& message) const;
  /// At the key under which `value` stands in `object`.
  [[noreturn]] void FailAtKey(const Json::Value& object, const Json::Value& value,
                              const std::string& message) const;

  /// The characters of `value` as written.
  std::string_view Written(const Json::Value& value) const;

 private:
  /// The parser takes "01", "1.", "+1" and "-" for numbers; a scene must be what others read too.
  void CheckNumbers(const Json::Value& value) const;
  std::string PlaceAt(std::size_t offset) const;
  [[noreturn]] void FailAtOffset(std::size_t offset, const std::string& message) const;

  std::string name_;
  std::string text_;
  bool has_lines_ = true;
  Json::Value root_;
};

/// As text: on lines of their own when there is an indentation, else on one line. Numbers have 12
/// digits at most, so that 29.97 is not 29.969999999999999.
std::string WriteJson(const Json::Value& value, const std::string& indentation);

/// [a, b, ...]
template <class... Values>
Json::Value JsonList(const Values&... values) {
  Json::Value list(Json::arrayValue);
  (list.append(values), ...);
  return list;
}

}  // namespace app
