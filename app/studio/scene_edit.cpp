#include "scene_edit.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <vector>

#include "errors.h"
#include "json_text.h"
#include "scene_format.h"

namespace app {
namespace {

std::size_t Begin(const Json::Value& value) {
  return static_cast<std::size_t>(value.getOffsetStart());
}
std::size_t End(const Json::Value& value) {
  return static_cast<std::size_t>(value.getOffsetLimit());
}

std::string Quoted(const std::string& text) { return Json::valueToQuotedString(text.c_str()); }

/// The next character that is neither space nor comment.
std::size_t NextToken(const std::string& text, std::size_t at) {
  while (at < text.size()) {
    if (text.compare(at, 2, "//") == 0) {
      at = std::min(text.find('\n', at), text.size());
    } else if (text.compare(at, 2, "/*") == 0) {
      at = std::min(text.find("*/", at) + 2, text.size());
    } else if (std::isspace(static_cast<unsigned char>(text[at])) != 0) {
      ++at;
    } else {
      break;
    }
  }
  return at;
}

std::string IndentAt(const std::string& text, std::size_t at) {
  const std::size_t line = text.rfind('\n', at == 0 ? 0 : at - 1);
  const std::size_t begin = line == text.npos ? 0 : line + 1;
  return text.substr(begin, text.find_first_not_of(" \t", begin) - begin);
}

/// An object or a list in a text, and where its parts stand there.
struct Container {
  Container(const std::string& text, const Json::Value& json) : value(json) {
    for (auto part = json.begin(); part != json.end(); ++part) {
      parts.push_back({json.isObject() ? part.name() : "", 0, End(*part)});
      parts.back().begin = Begin(*part);
    }
    std::sort(parts.begin(), parts.end(),
              [](const Part& a, const Part& b) { return a.end < b.end; });
    if (!json.isObject()) return;
    std::size_t after = Begin(json) + 1;
    for (Part& part : parts) {  // a member begins with its key
      part.begin = NextToken(text, after);
      after = NextToken(text, part.end);
      if (text[after] == ',') ++after;
    }
  }

  struct Part {
    std::string key;
    std::size_t begin;
    std::size_t end;
  };
  const Json::Value& value;
  std::vector<Part> parts;
};

/// Puts an item, which is written for a line's begin or not, before part `index` or at the end.
template <class Write>
void Insert(std::string& text, const Container& in, std::size_t index, const Write& write) {
  const std::size_t open = Begin(in.value);
  const std::size_t close = End(in.value) - 1;
  if (in.parts.empty()) {
    const std::string indent = IndentAt(text, open);
    const std::size_t last = text.find_last_not_of(" \t\r\n", close - 1) + 1;
    text.replace(last, close - last, fmt::format("\n{0}  {1}\n{0}", indent, write(indent + "  ")));
    return;
  }
  const bool by_lines = text.substr(open, in.parts.front().begin - open).find('\n') != text.npos;
  const std::string indent = IndentAt(text, in.parts.front().begin);
  const std::string gap = by_lines ? "\n" + indent : " ";
  if (index < in.parts.size()) {
    text.insert(in.parts[index].begin, write(indent) + "," + gap);
    return;
  }
  const std::size_t last = in.parts.back().end;
  const std::size_t there =
      by_lines ? text.find_last_not_of(" \t\r\n", close - 1) + 1 : last;  // after its comments
  text.insert(there, gap + write(indent));
  text.insert(last, ",");
}

/// Takes characters out, with the comment behind them and, when nothing else is on it, their line.
void Cut(std::string& text, std::size_t begin, std::size_t end) {
  const std::size_t line = text.rfind('\n', begin);
  const std::size_t start = line == text.npos ? 0 : line + 1;
  const bool is_first = text.find_first_not_of(" \t", start) == begin;
  std::size_t after = std::min(text.find_first_not_of(" \t", end), text.size());
  if (is_first && text.compare(after, 2, "//") == 0) {
    after = std::min(text.find('\n', after), text.size());
  }
  if (is_first && after < text.size() && text[after] == '\n') {
    text.erase(start, after + 1 - start);
  } else {
    text.erase(begin, after - begin);
  }
}

void Remove(std::string& text, const Container& in, std::size_t index) {
  const Container::Part& part = in.parts[index];
  const std::size_t next = NextToken(text, part.end);
  if (text[next] == ',') {
    Cut(text, part.begin, next + 1);
    return;
  }
  Cut(text, part.begin, part.end);
  if (index > 0) text.erase(NextToken(text, in.parts[index - 1].end), 1);
}

[[noreturn]] void NoSuchPlace(const Json::Value& path) {
  throw InputError(fmt::format("there is no {} in the scene", WriteJson(path, "")));
}

/// What `set` means where only the first `known` steps of the path are there.
Json::Value Wrapped(Json::Value value, const Json::Value& path, Json::ArrayIndex known) {
  for (Json::ArrayIndex i = path.size(); i > known; --i) {
    if (!path[i - 1].isString()) NoSuchPlace(path);
    Json::Value object(Json::objectValue);
    object[path[i - 1].asString()] = std::move(value);
    value = std::move(object);
  }
  return value;
}

/// Names in the order in which people write them: a key's time comes first.
std::vector<std::string> OrderedNames(const Json::Value& object) {
  std::vector<std::string> names = object.getMemberNames();
  const auto rank = [](const std::string& name) {
    if (name == "type" || name == "name") return -1;
    const auto& keys = KeyframeFormat().keys;
    return static_cast<int>(
        std::find_if(keys.begin(), keys.end(), [&](const KeyFormat& k) { return k.name == name; }) -
        keys.begin());
  };
  std::stable_sort(names.begin(), names.end(),
                   [&](const std::string& a, const std::string& b) { return rank(a) < rank(b); });
  return names;
}

bool IsOnLines(const Json::Value& value) {
  if (value.isArray()) {
    return std::any_of(value.begin(), value.end(),
                       [](const Json::Value& v) { return v.isObject(); });
  }
  return value.isObject() &&
         (value.isMember("keys") || std::any_of(value.begin(), value.end(), IsOnLines));
}

std::string ScalarText(const Json::Value& value) {
  if (value.type() != Json::realValue) return WriteJson(value, "");
  const double number = value.asDouble();
  if (!std::isfinite(number)) throw InputError("a number is too large");
  const bool is_whole = number == std::floor(number) && std::abs(number) < 1e15;
  return is_whole ? fmt::format("{:.0f}", number) : fmt::format("{}", number);
}

}  // namespace

std::string SceneValueText(const Json::Value& value, const std::string& indent) {
  if (!value.isArray() && !value.isObject()) return ScalarText(value);
  const bool on_lines = IsOnLines(value);
  const std::string inner = on_lines ? indent + "  " : indent;
  std::vector<std::string> parts;
  if (value.isArray()) {
    for (const Json::Value& part : value) parts.push_back(SceneValueText(part, inner));
  } else {
    for (const std::string& name : OrderedNames(value)) {
      parts.push_back(fmt::format("{}: {}", Quoted(name), SceneValueText(value[name], inner)));
    }
  }
  const auto [open, close] = value.isArray() ? std::pair('[', ']') : std::pair('{', '}');
  if (!on_lines) return fmt::format("{}{}{}", open, fmt::join(parts, ", "), close);
  return fmt::format("{0}\n{1}{2}\n{3}{4}", open, inner, fmt::join(parts, ",\n" + inner), indent,
                     close);
}

std::string Edited(const std::string& text, const Json::Value& edit) {
  const Json::Value& path = edit["path"];
  if (!path.isArray() || path.empty()) throw InputError("an edit needs a path");
  const JsonText json("the scene", text);
  const Json::Value* at = &json.root();
  std::string edited = text;
  for (Json::ArrayIndex step = 0; step < path.size(); ++step) {
    const bool is_last = step + 1 == path.size();
    if (path[step].isString() ? !at->isObject() : !at->isArray()) NoSuchPlace(path);
    const Container in(text, *at);
    // Of the parts; a new one's is their number.
    std::size_t index = in.parts.size();
    if (!path[step].isString()) {
      if (!path[step].isIntegral() || path[step] < 0) NoSuchPlace(path);
      index = std::min<std::size_t>(index, path[step].asLargestUInt());
    } else {
      const auto found = std::find_if(in.parts.begin(), in.parts.end(), [&](const auto& part) {
        return part.key == path[step].asString();
      });
      index = static_cast<std::size_t>(found - in.parts.begin());
    }
    const bool is_there = index < in.parts.size();
    if (is_last && edit.isMember("remove")) {
      if (!is_there) NoSuchPlace(path);
      Remove(edited, in, index);
      return edited;
    }
    if (is_last && edit.isMember("insert")) {
      if (!at->isArray()) NoSuchPlace(path);
      Insert(edited, in, index,
             [&](const std::string& indent) { return SceneValueText(edit["insert"], indent); });
      return edited;
    }
    if (!edit.isMember("set")) {
      if (is_last || !is_there) NoSuchPlace(path);
    } else if (!is_there) {
      if (!path[step].isString()) NoSuchPlace(path);
      const Json::Value value = Wrapped(edit["set"], path, step + 1);
      Insert(edited, in, index, [&](const std::string& indent) {
        return fmt::format("{}: {}", Quoted(path[step].asString()), SceneValueText(value, indent));
      });
      return edited;
    }
    at = path[step].isString() ? &(*at)[path[step].asString()] : &(*at)[path[step].asUInt()];
  }
  edited.replace(Begin(*at), End(*at) - Begin(*at),
                 SceneValueText(edit["set"], IndentAt(text, Begin(*at))));
  return edited;
}

}  // namespace app
