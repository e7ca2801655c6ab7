#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "errors.h"
#include "hosting/errors.h"
#include "hosting/keyframes.h"
#include "hosting/rational.h"
#include "hosting/values.h"
#include "json_text.h"
#include "scene_format.h"

namespace app {

/// A value of a JSON text that knows where it stands there, and in the format. A cheap copy; the
/// text and the format outlive it. Everything throws InputError with the value's position when the
/// value is not what its format allows.
class Node {
 public:
  /// The whole text.
  explicit Node(const JsonText& text) : text_(&text), value_(&text.root()) {}
  /// The same value, as a format has it.
  Node As(const KeyFormat& format) const;

  /// The same object, of which every key is one of the format, and no needed one is missing.
  Node Open(const ObjectFormat& format) const;
  /// The same; keys that are wrong or missing are noted, and passed over.
  Node Open(const ObjectFormat& format, Mistakes& mistakes) const;
  std::optional<Node> Find(std::string_view key) const;
  Node Need(std::string_view key) const;
  /// Values of an object or a list, as they stand in the text.
  std::vector<Node> Parts() const;
  bool IsObject() const { return value_->isObject(); }
  bool IsList() const { return value_->isArray(); }
  /// Under which it stands in its object.
  const std::string& key() const { return key_; }
  /// What its key allows; needs one.
  const KeyFormat& format() const { return *format_; }

  std::string Text() const;
  double Number() const;
  /// 30, 29.97 or "30000/1001"; the rate that is meant.
  hosting::Rational Rate() const;
  hosting::Rational WholePair() const;
  hosting::Point Point() const;
  hosting::Vec3 Triple() const;
  hosting::Color Color() const;
  std::vector<hosting::Span> Spans() const;
  hosting::Handle Handle() const;
  /// The index among the format's choices; `what` names what is chosen, else the key does.
  std::size_t Choice(std::string_view what = {}) const;

  /// "name:line:column: " in the text.
  std::string Place() const { return text_->Place(*value_); }
  [[noreturn]] void Fail(const std::string& message) const;
  /// At the key under which it stands.
  [[noreturn]] void FailAtKey(const std::string& message) const;
  /// Says what is expected and what was found.
  [[noreturn]] void Expected(std::string_view what) const;
  /// What `f` returns; what the host refuses in it is wrong here.
  template <class F>
  auto Try(const F& f) const {
    try {
      return f();
    } catch (const hosting::Error& error) {
      Fail(error.what());
    }
  }

 private:
  Node Part(const Json::Value& value, std::string key) const;
  template <std::size_t N>
  std::array<double, N> Numbers(std::string_view what) const;
  void CheckRange(double number) const;

  const JsonText* text_;
  const Json::Value* value_;
  const Json::Value* parent_ = nullptr;
  std::string key_;
  const ObjectFormat* keys_ = nullptr;  // of an opened object
  const KeyFormat* format_ = nullptr;
};

/// How a key of an animated value is timed and bent, whatever it is a key of.
template <class Value>
void ReadTiming(const Node& key, hosting::Key<Value>& to) {
  to.seconds = key.Need("time").Number();
  if (const auto ease = key.Find("ease")) {
    const std::string& name = ease->format().choices[ease->Choice()];
    to.hold = name == "hold";
    if (name == "smooth") to.in = to.out = hosting::kSmooth;
  }
  if (const auto in = key.Find("in")) to.in = in->Handle();
  if (const auto out = key.Find("out")) to.out = out->Handle();
  for (const auto& [name, tangent] :
       {std::pair("in_tangent", &to.in_tangent), std::pair("out_tangent", &to.out_tangent)}) {
    const auto written = key.Find(name);
    if (!written) continue;
    if (!std::is_same_v<Value, hosting::Point>) {
      written->FailAtKey("only points in the plane have tangents");
    }
    *tangent = written->Point();
  }
}

/// A value that never changes, or {"keys": [{"time": 0, "value": ...}, ...]}. `read` makes a value
/// of a node.
template <class Read>
auto ReadTrack(const Node& node, const Read& read) {
  using Value = decltype(read(node));
  if (!node.IsObject()) return hosting::Track<Value>(read(node));
  if (!node.format().animated) {
    node.Fail('"' + node.format().name + "\" cannot change over time");
  }
  const Node list = node.Open(KeysFormat()).Need("keys");
  const std::vector<Node> elements = list.Parts();
  if (!list.IsList() || elements.empty()) list.Expected("a list of keys");

  std::vector<hosting::Key<Value>> keys;
  for (const Node& element : elements) {
    const Node written = element.Open(KeyframeFormat());
    hosting::Key<Value> key;
    ReadTiming(written, key);
    key.value = read(written.Need("value").As(node.format()));
    if (!keys.empty() && !(keys.back().seconds < key.seconds)) {
      written.Need("time").Fail("keys must rise in time");
    }
    keys.push_back(std::move(key));
  }
  return hosting::Track<Value>(std::move(keys));
}

}  // namespace app
