#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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
  /// 30, 29.97 or "30000/1001", exactly as written.
  hosting::Rational Rate() const;
  hosting::Rational WholePair() const;
  hosting::Point Point() const;
  hosting::Vec3 Triple() const;
  hosting::Color Color() const;
  hosting::Handle Handle() const;
  /// The index among the format's choices; `what` names what is chosen, else the key does.
  std::size_t Choice(std::string_view what = {}) const;

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

}  // namespace app
